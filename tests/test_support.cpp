#include "tests/test_support.h"

#include "services/pgm_common.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> items{""};
    for (const char character : text) {
        if (character == '|')
            items.emplace_back();
        else
            items.back() += character;
    }
    return items;
}

std::string action(ZORVA_ACT_TYPE type) {
    static const std::string actions[] = {
        R"(<ACTION type="WRITE_REG"><NAME>Write_enable</NAME><COMMAND>0x06</COMMAND><DATA></DATA>)"
        R"(<DELAY unit="us">0</DELAY><BUS_WIDTH>1-1</BUS_WIDTH></ACTION>)",
        R"(<ACTION type="READ_REG"><NAME>Poll status</NAME><COMMAND>0x05</COMMAND>)"
        "<DATA_LENGTH>1</DATA_LENGTH><EXPECTED_DATA>0x00</EXPECTED_DATA>"
        "<EXPECTED_DATA_MASK>0x01</EXPECTED_DATA_MASK><ATTEMPT_COUNT>500</ATTEMPT_COUNT>"
        R"(<DELAY unit="us">10</DELAY><BUS_WIDTH>1-1</BUS_WIDTH></ACTION>)",
        R"(<ACTION type="WRITE_DATA"><NAME>Program</NAME><COMMAND>0x02</COMMAND>)"
        "<ADDRESS>jic</ADDRESS><DATA>jic</DATA><PAGE_SIZE>256</PAGE_SIZE>"
        R"(<ADDRESSING_MODE>3</ADDRESSING_MODE><DELAY unit="us">0</DELAY>)"
        "<BUS_WIDTH>1-1-1</BUS_WIDTH></ACTION>",
        R"(<ACTION type="READ_DATA"><NAME>Read</NAME><COMMAND>0x0B</COMMAND>)"
        "<ADDRESS>jic</ADDRESS><DATA_LENGTH>256</DATA_LENGTH><EXPECTED_DATA>jic</EXPECTED_DATA>"
        "<EXPECTED_DATA_MASK></EXPECTED_DATA_MASK><ADDRESSING_MODE>3</ADDRESSING_MODE>"
        "<ACT_DUMMY_CLOCK_CYCLE>8</ACT_DUMMY_CLOCK_CYCLE>"
        R"(<DELAY unit="us">0</DELAY><BUS_WIDTH>1-1-1</BUS_WIDTH></ACTION>)",
        R"(<ACTION type="ERASE"><NAME>Erase sector</NAME><COMMAND>0xD8</COMMAND>)"
        "<ADDRESS>jic</ADDRESS><ERASE_SIZE>65536</ERASE_SIZE><ADDRESSING_MODE>3</ADDRESSING_MODE>"
        R"(<DELAY unit="us">0</DELAY><BUS_WIDTH>1-1</BUS_WIDTH></ACTION>)",
        R"(<ACTION type="CUSTOM"><DESCRIPTION>Program data</DESCRIPTION>)"
        "<DIRECTION>start</DIRECTION></ACTION>",
    };
    return actions[type];
}

std::string flows(const std::string& sfl_program, const std::string& sdm_program) {
    const auto flow = [](const std::string& tag, const std::string& program) {
        return "<" + tag + "><INITIALIZATION/>\n<PROGRAM>" + program +
               "</PROGRAM>\n<ERASE/><VERIFY_BLANKCHECK_EXAMINE/><TERMINATION/></" + tag + ">\n";
    };
    return "<PROGRAMMING_FLOW>\n" + flow("SFL", sfl_program) + flow("SDM", sdm_program) +
           "</PROGRAMMING_FLOW>\n";
}

std::string device(const device_text& text) {
    const auto child = [](const std::string& tag, const std::string& value) {
        return "<" + tag + ">" + value + "</" + tag + ">\n";
    };
    return "<FLASH><DEVICE_INFO>\n" + child("DEVICE_NAME", text.name) +
           child("DEVICE_ID", text.id) + child("DEVICE_IO_VOLTAGE", text.io_voltage) +
           child("DEVICE_DENSITY", text.density) + child("TOTAL_DEVICE_DIE", text.total_die) +
           child("DUMMY_CLOCK_CYCLE", text.dummy_clock_cycle) +
           child("DUMMY_CLOCK_CYCLE_X4", text.dummy_clock_cycle_x4) +
           child("PROG_FLOW_TEMPLATE", text.prog_flow_template) + "</DEVICE_INFO>" + text.flow +
           "</FLASH>\n";
}

std::string devices(const std::string& names) {
    std::string xml;
    for (const std::string& name : split(names)) xml += device({.name = name});
    return xml;
}

std::string user_template(const std::string& name, const std::string& flow) {
    return "<USER_TEMPLATE><TEMPLATE_NAME>" + name + "</TEMPLATE_NAME>" + flow +
           "</USER_TEMPLATE>\n";
}

std::string golden_template() {
    std::string vendors;
    for (const std::string tag : {"MICRON", "MACRONIX", "CYPRESS", "WINBOND", "ISSI"})
        vendors += "<" + tag + ">" + flows() + "</" + tag + ">";
    return "<GOLDEN_TEMPLATE>" + vendors + "</GOLDEN_TEMPLATE>\n";
}

std::string document(const std::string& definitions) {
    return "<QSPI_FLASH version=\"1\">\n" + definitions + "</QSPI_FLASH>\n";
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    if (at == std::string::npos) throw std::logic_error("no " + from + " in " + text);
    return text.replace(at, from.size(), to);
}

std::string without(const std::string& xml, const std::string& tag) {
    const std::string end_tag = "</" + tag + ">";
    const std::size_t begin = std::min(xml.find("<" + tag + ">"), xml.find("<" + tag + " "));
    const std::size_t end = xml.find(end_tag, begin);
    if (end == std::string::npos) return replaced(xml, "<" + tag + "/>", "");
    return xml.substr(0, begin) + xml.substr(end + end_tag.size());
}

void write_file(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

void use_home(const std::string& directory) {
    ::setenv("HOME", directory.c_str(), 1);
    for (const char* variable :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "PGM_COMMON_PROGRAMMER_DIR", "ZORVA_CUSTOM_DIR"})
        ::unsetenv(variable);
}

std::vector<std::string> device_names(ZORVA_MGR& mgr) {
    return mgr.get_new_config_device_list(DEV_FAMILY_LAST, PGMIO_CONFIG_SCHEME_QSPI, true);
}

namespace {

// For tests without an installation of their own.
const bool has_no_home = (use_home("/nonexistent"), true);

void set_device_tables() {
    const auto family = number<DEV_FAMILY_ENUM>;
    pgm_host::set_device_table({{family(3), "High", true, false, false, high_voltage},
                                {family(12), "Plain", true, false, false, low_voltage},
                                {family(23), "Issi_1", true, false, true, low_voltage},
                                {family(28), "Issi_2", true, true, true, low_voltage},
                                {family(41), "Card", false, true, true, low_voltage},
                                {family(73), "Generic", true, true, true, low_voltage}});
    pgm_host::set_flash_table({{"Group", "LEG_TYRN", true, 3, low_voltage},
                               {"Group", "LEG_LOW", true, 2, low_voltage},
                               {"Group", "LEG_HIGH", true, 1, high_voltage},
                               {"Group", "NOT_LEGACY", false, 4, low_voltage},
                               {"Group", "NO_VOLTAGE", true, 5, ""},
                               {"Group", "", true, 6, low_voltage}});
}

}  // namespace

InstallationTest::InstallationTest() {
    m_root = (fs::temp_directory_path() / "zorva_test_XXXXXX").string();
    if (!::mkdtemp(m_root.data())) throw std::system_error(errno, std::generic_category());
    m_root += "/";
    m_xml_dir = m_root + "xml/";
    m_custom_dir = m_root + "custom/";
    m_shipped_file = m_xml_dir + "pgm_flash_db_qspi.xml";
    fs::create_directory(m_xml_dir);
    fs::create_directory(m_custom_dir);
    fs::copy(PGM_COMMON::pgm_get_common_programmer() + "xsd", m_root + "xsd");
    write_shipped(document(
        golden_template() + device({.name = "SHIP_A", .id = "0x20 0xBA 0x18"}) +
        device({.name = "SHIP_B",
                .id = "0x20 0xBA 0x19",
                .io_voltage = high_voltage,
                .density = "256Mb",
                .prog_flow_template = "Macronix"}) +
        device({.name = "SHIP_ISSI", .id = "0x9D 0x60 0x18", .prog_flow_template = "Issi"})));
    set_device_tables();
    use_home(m_root);
    pgm_host::set_common_programmer(m_root);
    pgm_host::set_user_ini_file(m_root + "settings.ini");
    pgm_host::set_message_sink([this](const pgm_host::message& m) { m_messages.push_back(m); });
    pgm_host::set_trace_sink(
        [this](const char*, int, const std::string& text) { m_traces.push_back(text); });
    pgm_host::set_internal_error_handler(
        [](const char* text, const char*, const char*, int) { throw internal_error(text); });
    ZORVA_MGR::set_db_custom_dir(m_custom_dir);
}

InstallationTest::~InstallationTest() {
    ZORVA_MGR::set_db_custom_dir("");
    pgm_host::reset();
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
}

std::string InstallationTest::write_shipped(const std::string& xml) const {
    write_file(m_shipped_file, xml);
    return m_shipped_file;
}

std::string InstallationTest::write_installed(const std::string& name,
                                              const std::string& xml) const {
    write_file(m_xml_dir + name, xml);
    return m_xml_dir + name;
}

std::string InstallationTest::write_custom(const std::string& name, const std::string& xml) const {
    write_file(m_custom_dir + name, xml);
    return m_custom_dir + name;
}

std::vector<unsigned> InstallationTest::posted_ids() const {
    std::vector<unsigned> ids;
    std::ranges::transform(m_messages, std::back_inserter(ids), &pgm_host::message::id);
    return ids;
}

void InstallationTest::forget() {
    m_messages.clear();
    m_traces.clear();
}
