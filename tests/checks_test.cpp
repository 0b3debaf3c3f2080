// The checks of device parameters, through a manager.
#include "tests/test_support.h"

#include <memory>

namespace {

class ChecksTest : public InstallationTest {
  protected:
    ChecksTest() {
        write_installed("pgm_flash_mine.xml", document(devices("MINE") + user_template("MY_FLOW") +
                                                       user_template("SHIP_A")));
        mgr = std::make_unique<ZORVA_QSPI_MGR>();
    }

    // Runs a check of a value with and without a sentence asked for. A good value has no id.
    template <class CHECK>
    void expect_verdict(CHECK check, const std::string& value, unsigned id) {
        forget();
        EXPECT_EQ(check(nullptr), id == 0);
        EXPECT_EQ(joined(posted_ids()), "") << "a check that nobody listens to is silent";
        std::string sentence = "as it was";
        EXPECT_EQ(check(&sentence), id == 0);
        EXPECT_EQ(joined(posted_ids()), id == 0 ? "" : std::to_string(id));
        const bool is_told = sentence.find("'" + value + "' is ") != sentence.npos;
        EXPECT_TRUE(id == 0 ? sentence == "as it was" : is_told) << sentence;
    }
    // Values of a parameter; those of a numeric one are spelled in decimal.
    void expect_verdicts(ZORVA_FLASH_PARAM param, const std::string& values, unsigned id = 0) {
        for (const std::string& value : split(values)) {
            SCOPED_TRACE(testing::Message() << "parameter " << param << " = " << value);
            const auto check = [&](std::string* sentence) {
                if (!is_numeric(param)) return mgr->is_parameter_valid(param, value, sentence);
                return mgr->is_parameter_valid(param, dword(std::stoul(value)), sentence);
            };
            expect_verdict(check, value, id);
        }
    }
    static bool is_numeric(ZORVA_FLASH_PARAM param) { return param >= 4 && param <= 6; }

    std::unique_ptr<ZORVA_QSPI_MGR> mgr;
};

// Values that are good, or that this message is posted for.
const struct {
    ZORVA_FLASH_PARAM param;
    std::string values;
    unsigned id = 0;
} value_rows[] = {
    {ZORVA_FLASH_PARAM_NAME, "NEW_1|DB|db_|micron|ship_a"},
    {ZORVA_FLASH_PARAM_NAME, "|db|a-b|a b|a/b|\u00fc|%1!s!", 20473},
    {ZORVA_FLASH_PARAM_NAME, "Micron|Issi", 20474},
    {ZORVA_FLASH_PARAM_NAME, "SHIP_A|SHIP_B|MINE|LEG_LOW|LEG_HIGH", 20475},
    {ZORVA_FLASH_PARAM_ID, "0x20|0xf|0x20 0xBA 0x18|  6 |1 2 3 4 5"},
    {ZORVA_FLASH_PARAM_ID, "|  |0X20|0x20 0x100|0x20 -1|1 2,3|1\t2|1 \t2|0x20 0x|jic", 20477},
    {ZORVA_FLASH_PARAM_IO_VOLTAGE, "1.8V|3.0V/3.3V"},
    {ZORVA_FLASH_PARAM_IO_VOLTAGE, "|1.8v|3.3V|1.8V ", 20476},
    {ZORVA_FLASH_PARAM_DENSITY, "1Mb|2Mb|4Mb|8Mb|16Mb|32Mb|64Mb|128Mb|256Mb|512Mb|1024Mb|2048Mb"},
    {ZORVA_FLASH_PARAM_DENSITY, "|128MB|128mb| 128Mb|4096Mb|128", 20478},
    {ZORVA_FLASH_PARAM_TOTAL_DIE, "1|4294967295"},
    {ZORVA_FLASH_PARAM_TOTAL_DIE, "0", 20479},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, "0|15"},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, "16|4294967295", 20543},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, "0|15"},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, "16|4294967295", 20543},
    {ZORVA_FLASH_PARAM_TEMPLATE_NAME, "NEW_FLOW|micron|my_flow"},
    {ZORVA_FLASH_PARAM_TEMPLATE_NAME, "|db|a-b", 20673},
    {ZORVA_FLASH_PARAM_TEMPLATE_NAME, "Micron", 20674},
    // A name that is a device's too is told as a template's.
    {ZORVA_FLASH_PARAM_TEMPLATE_NAME, "MY_FLOW|SHIP_A", 20676},
    {ZORVA_FLASH_PARAM_TEMPLATE_NAME, "SHIP_B|MINE|LEG_HIGH", 20675},
    {ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, "Micron|Issi|MY_FLOW"},
    {ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, "|issi|NEW_FLOW", 20481},
};

TEST_F(ChecksTest, AValueIsJudgedByItsParameter) {
    for (const auto& [param, values, id] : value_rows) expect_verdicts(param, values, id);
}

struct other_lists_mgr : ZORVA_QSPI_MGR {
    const std::vector<std::string> get_device_io_voltage_list() override { return {"", "5V"}; }
    const std::vector<std::string> get_device_density_list() override { return {"", "3Mb"}; }
};

TEST_F(ChecksTest, AManagersOwnListsCount) {
    mgr = std::make_unique<other_lists_mgr>();
    expect_verdicts(ZORVA_FLASH_PARAM_DENSITY, "3Mb");
    expect_verdicts(ZORVA_FLASH_PARAM_DENSITY, "|1Mb", 20478);
    expect_verdicts(ZORVA_FLASH_PARAM_IO_VOLTAGE, "5V");
    expect_verdicts(ZORVA_FLASH_PARAM_IO_VOLTAGE, "|1.8V", 20476);
}

TEST_F(ChecksTest, EachParameterIsServedInOneForm) {
    for (int i = -1; i <= 9; ++i) {
        SCOPED_TRACE(i);
        const auto param = number<ZORVA_FLASH_PARAM>(i);
        const bool is_served = i >= 0 && i <= 8;
        const std::string refused = "Unknown flash parameter: " + std::to_string(i);
        const auto is_valid = [&](auto value) { mgr->is_parameter_valid(param, value, nullptr); };
        EXPECT_EQ(mgr->is_parameter_valid(param), is_served);
        EXPECT_EQ(internal_error_of([&] { is_valid(dword{1}); }), is_numeric(param) ? "" : refused);
        EXPECT_EQ(internal_error_of([&] { is_valid(std::string("x")); }),
                  is_served && !is_numeric(param) ? "" : refused);
        EXPECT_EQ(internal_error_of([&] { mgr->is_parameter_compatible(param, "x", nullptr); }),
                  param == ZORVA_FLASH_PARAM_IO_VOLTAGE ? "" : refused);
        const auto range = ZORVA_QSPI_MGR::get_parameter_range(param);
        ASSERT_EQ(range.has_value(), is_numeric(param));
        const bool is_die = param == ZORVA_FLASH_PARAM_TOTAL_DIE;
        EXPECT_TRUE(!range ||
                    (range->least == is_die && range->most == (is_die ? 4294967295 : 15)));
    }
}

TEST_F(ChecksTest, TheDeviceUnderDefinitionMayBeFirstToUseATemplate) {
    const auto param = ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE;
    mgr->create_flash("NEW")->set_parameter_value(param, "ITS_OWN");
    expect_verdicts(param, "ITS_OWN");
    mgr->create_flash("NEWER");
    expect_verdicts(param, "ITS_OWN|", 20481);
}

TEST_F(ChecksTest, AVoltageIsCompatibleIfItIsTheActiveFamilys) {
    // Family 70 is unknown and has no voltage, and no voltage is a voltage.
    const std::pair<int, std::string> rows[] = {{73, "1.8V"}, {3, "3.0V/3.3V"}, {70, "none"}};
    for (const auto& [family, its_own] : rows) {
        mgr->set_active_device_family(number<DEV_FAMILY_ENUM>(family));
        for (const std::string& voltage : split("1.8V|3.0V/3.3V|2.5V|")) {
            SCOPED_TRACE(testing::Message() << voltage << " of family " << family);
            const auto check = [&](std::string* sentence) {
                return mgr->is_parameter_compatible(ZORVA_FLASH_PARAM_IO_VOLTAGE, voltage,
                                                    sentence);
            };
            expect_verdict(check, voltage, voltage == its_own ? 0 : 20535);
        }
    }
}

}  // namespace
