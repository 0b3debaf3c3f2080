// What tests share: a whole installation in a temporary directory, and short helpers that spell
// QSPI documents.
#pragma once

#include "pgm/zorva/zorva_action.h"
#include "pgm/zorva/zorva_qspi_mgr.h"
#include "services/host.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

inline constexpr const char* low_voltage = "1.8V";
inline constexpr const char* high_voltage = "3.0V/3.3V";

// What an internal error becomes while a test runs.
struct internal_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The text of the internal error that `call` ends in; empty if it ends well.
template <class CALL>
std::string internal_error_of(CALL call) {
    try {
        call();
    } catch (const internal_error& error) {
        return error.what();
    }
    return {};
}

template <class ENUM>
constexpr ENUM number(int value) {
    return static_cast<ENUM>(value);
}

// A list as one text with blanks between its items, and the items of a text with bars between them.
template <class ITEM>
std::string joined(const std::vector<ITEM>& items) {
    std::ostringstream text;
    for (std::size_t i = 0; i < items.size(); ++i) text << (i == 0 ? "" : " ") << items[i];
    return text.str();
}
std::vector<std::string> split(const std::string& text);

// The parts of a QSPI document. Everything defaults to something good.
std::string action(ZORVA_ACT_TYPE type);  // an ACTION with all that its type reads
// A PROGRAMMING_FLOW whose Program operations hold these actions and whose others are empty.
std::string flows(const std::string& sfl_program = action(ZORVA_ACT_TYPE_WRITE_REGISTER),
                  const std::string& sdm_program = action(ZORVA_ACT_TYPE_WRITE_REGISTER));
struct device_text {
    std::string name = "DEVICE";
    std::string id = "0x01 0x02 0x03";
    std::string io_voltage = low_voltage;
    std::string density = "128Mb";
    std::string total_die = "1";
    std::string dummy_clock_cycle = "8";
    std::string dummy_clock_cycle_x4 = "10";
    std::string prog_flow_template = "Micron";
    std::string flow = flows();
};
std::string device(const device_text& text);    // a FLASH
std::string devices(const std::string& names);  // one for each name, "A|B"
std::string user_template(const std::string& name, const std::string& flow = flows());
std::string golden_template();
std::string document(const std::string& definitions);

// The text with its first `from` replaced; a text without it is a mistake in the test.
std::string replaced(std::string text, const std::string& from, const std::string& to);
// The text without its first element of that tag.
std::string without(const std::string& xml, const std::string& tag);

void write_file(const std::string& path, const std::string& bytes);
// Lets the process find its user's files below a directory, and no other choice of the real user.
void use_home(const std::string& directory);
// The names of all devices with a record, in name order.
std::vector<std::string> device_names(ZORVA_MGR& mgr);

// A temporary directory with xml/ and custom/ below it, in which the schemas and a shipped file
// with three devices stand:
//
//   SHIP_A     1.8V        128Mb  0x20 0xBA 0x18  Micron
//   SHIP_B     3.0V/3.3V   256Mb  0x20 0xBA 0x19  Macronix
//   SHIP_ISSI  1.8V        128Mb  0x9D 0x60 0x18  Issi
//
// Families 3 (high voltage), 12, 23, 28 and 73 (low voltage; all but 12 through SDM) program
// through QSPI, 41 doesn't. Legacy devices are LEG_LOW, LEG_TYRN and LEG_HIGH.
class InstallationTest : public testing::Test {
  protected:
    InstallationTest();
    ~InstallationTest() override;

    // Each writes a file and returns its path.
    std::string write_shipped(const std::string& xml) const;
    std::string write_installed(const std::string& name, const std::string& xml) const;
    std::string write_custom(const std::string& name, const std::string& xml) const;

    std::vector<unsigned> posted_ids() const;
    // Forgets what was posted and traced so far.
    void forget();

    std::string m_root;  // each directory ends in a slash
    std::string m_xml_dir;
    std::string m_custom_dir;
    std::string m_shipped_file;
    std::vector<pgm_host::message> m_messages;
    std::vector<std::string> m_traces;
};
