// The SD/MMC manager: its load, its short lists, its files, and the registry with both managers.
#include "pgm/zorva/zorva_helper.h"
#include "pgm/zorva/zorva_sdmmc_flash.h"
#include "pgm/zorva/zorva_sdmmc_mgr.h"
#include "tests/test_support.h"

#include <filesystem>
#include <memory>

namespace {

std::string card(const std::string& name, const std::string& density = "8GB",
                 const std::string& io_voltage = low_voltage) {
    return "<FLASH><DEVICE_INFO><DEVICE_DENSITY>" + density +
           "</DEVICE_DENSITY><DEVICE_IO_VOLTAGE>" + io_voltage +
           "</DEVICE_IO_VOLTAGE><DEVICE_NAME>" + name + "</DEVICE_NAME></DEVICE_INFO></FLASH>";
}

std::string cards(const std::string& definitions) {
    return "<SDMMC_FLASH version=\"7\">" + definitions + "</SDMMC_FLASH>";
}

class SdmmcTest : public InstallationTest {
  protected:
    SdmmcTest() {
        for (const char* key : {"pgm_enable_sdmmc", "pgm_enable_custom_sdmmc"})
            pgm_host::set_setting(key, true);
        write_installed("pgm_flash_db_sdmmc.xml", cards(card("CARD_A") + card("CARD_B", "1GB")));
        const auto family = [](int i) { return number<DEV_FAMILY_ENUM>(i); };
        pgm_host::set_device_table({{family(12), "No card", true, false, false, low_voltage},
                                    {family(28), "Orlane", true, true, true, low_voltage},
                                    {family(41), "High", false, true, false, high_voltage},
                                    {family(48), "Card", false, true, true, low_voltage},
                                    {family(73), "Generic", true, false, true, low_voltage}});
    }
    ~SdmmcTest() override { ZORVA_HELPER::get_helper()->clear(); }

    static std::unique_ptr<ZORVA_SDMMC_MGR> load() { return std::make_unique<ZORVA_SDMMC_MGR>(); }
};

TEST_F(SdmmcTest, TheSettingsDecideWhatIsLoadedAndServed) {
    write_custom("pgm_flash_MINE.xml", cards(card("MINE")));
    const auto families = [](ZORVA_MGR& mgr) { return joined(mgr.get_device_family_list()); };
    auto mgr = load();
    EXPECT_EQ(joined(device_names(*mgr)), "CARD_A CARD_B MINE");
    EXPECT_EQ(families(*mgr), "41 48");
    EXPECT_TRUE(mgr->is_new_device_supported());
    EXPECT_TRUE(mgr->get_flash("MINE", true)->get_flash_removable_permission());
    EXPECT_FALSE(mgr->get_flash("CARD_A", true)->get_flash_removable_permission());
    pgm_host::set_setting("pgm_enable_custom_sdmmc", false);
    pgm_host::set_setting("pgm_enable_sdmmc_orlane", true);
    EXPECT_FALSE(mgr->is_new_device_supported()) << "the setting is read at each call";
    mgr = load();
    EXPECT_EQ(joined(device_names(*mgr)), "CARD_A CARD_B");
    EXPECT_EQ(families(*mgr), "28 41 48");
}

TEST_F(SdmmcTest, AnswersWithItsListsAndRefusesWhatItHasNot) {
    const auto mgr = load();
    EXPECT_EQ(joined(mgr->get_device_density_list()),
              "1GB 2GB 4GB 8GB 16GB 32GB 64GB 128GB 256GB 512GB");
    EXPECT_EQ(joined(mgr->get_device_io_voltage_list()), "1.8V");
    EXPECT_EQ(joined(mgr->get_config_mode_list()), "23 24");
    EXPECT_EQ(mgr->get_active_device_family(), 48u);
    EXPECT_EQ(mgr->get_active_config_mode(), PGMIO_CONFIG_SCHEME_SDMMC);
    EXPECT_TRUE(mgr->get_use_sdm_mode());
    // The list knows no filter, a look-up does.
    mgr->set_active_device_family(number<DEV_FAMILY_ENUM>(41));
    EXPECT_EQ(joined(mgr->get_new_config_device_list(number<DEV_FAMILY_ENUM>(41),
                                                     PGMIO_CONFIG_SCHEME_QSPI, false)),
              "CARD_A CARD_B");
    EXPECT_FALSE(mgr->get_flash("CARD_A", false));
    EXPECT_TRUE(mgr->get_flash("CARD_A", true));
    // A card is found by all of its size, and by the voltage that it has now.
    EXPECT_EQ(mgr->get_flash_with_density(8ull << 30)->get_name(), "CARD_A");
    EXPECT_EQ(mgr->get_flash_with_density(1ull << 30)->get_name(), "CARD_B");
    EXPECT_FALSE(mgr->get_flash_with_density(5ull << 30)) << "the same in 32 bits";
    mgr->get_flash("CARD_A", true)->set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, high_voltage);
    EXPECT_TRUE(mgr->get_flash("CARD_A", false));
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"Unsupported function: get_flash_with_id", [&] { mgr->get_flash_with_id(0, 0); }},
        {"Unsupported function: create_action", [&] { mgr->create_action(ZORVA_ACT_TYPE_ERASE); }},
        {"Unsupported function: create_operation",
         [&] { mgr->create_operation(ZORVA_OP_TYPE_ERASE); }},
        {"Unknown flash parameter: 1",
         [&] { mgr->is_parameter_valid(ZORVA_FLASH_PARAM_ID, "1", nullptr); }},
    };
    for (const auto& [text, call] : rows) EXPECT_EQ(internal_error_of(call), text);
}

TEST_F(SdmmcTest, ARecordHoldsAVoltageADensityAndTheSdmFlow) {
    ZORVA_SDMMC_FLASH flash("X");
    flash.set_density("512GB");
    EXPECT_EQ(flash.get_generic_name(), "SDMMC_512GB");
    EXPECT_EQ(flash.get_density_in_bytes_qword(), 512ull << 30);
    flash.set_density("1GB");
    EXPECT_EQ(flash.get_generic_name(), "SDMMC_1GB");
    flash.set_density("");
    EXPECT_EQ(flash.get_generic_name(), "SDMMC_0MB");
    EXPECT_EQ(flash.get_parameter_value_in_dword(ZORVA_FLASH_PARAM_TOTAL_DIE, nullptr), 1u);
    EXPECT_TRUE(flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SDM)->empty());
    EXPECT_EQ(internal_error_of([&] { flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL); }),
              "Unknown programming flow type");
    EXPECT_EQ(internal_error_of([&] { flash.set_parameter_value(ZORVA_FLASH_PARAM_ID, "1"); }),
              "Unknown flash parameter: 1");
}

TEST_F(SdmmcTest, FilesAreJudgedAndAShippedOneHasToBeGood) {
    const std::string bad = cards(card("BAD", "3GB", "5V") + card("GOOD"));
    const ZORVA_LOAD_REPORT report = ZORVA_SDMMC_MGR::judge_files({write_custom("a.xml", bad)});
    EXPECT_EQ(report.at(0).definitions.at(0).findings.size(), 2u);
    EXPECT_EQ(report[0].definitions.at(1).state, ZORVA_DEFINITION_STATE::IN_FORCE);
    write_custom("pgm_flash_a.xml", cards(card("FIRST") + card("BAD", "3GB") + card("BEHIND")));
    write_custom("pgm_flash_b.xml", document(devices("QSPI_DEVICE")));
    EXPECT_EQ(joined(device_names(*load())), "CARD_A CARD_B FIRST");
    EXPECT_EQ(joined(posted_ids()), "20478");
    const std::pair<std::string, std::string> rows[] = {
        {document(devices("A")), "*object != 0"},
        {bad, "status"},
        {cards(card("A") + card("A")), "status"},
        {replaced(cards(card("A")), "<DEVICE_NAME>A</DEVICE_NAME>", ""), "status"},
        {cards("<FLASH/>"), "flash_element->get_child_count(PGM_COMMON_XML_ENUM_DEVICE_INFO) == 1"},
    };
    for (const auto& [bytes, text] : rows) {
        write_installed("pgm_flash_db_sdmmc.xml", bytes);
        EXPECT_EQ(internal_error_of(load), text) << bytes;
    }
}

TEST_F(SdmmcTest, StoresReplacesAndDeletesBesideTheOtherInterface) {
    auto mgr = load();
    const auto store = [&](const std::string& name, const std::string& density,
                           const std::string& io_voltage = low_voltage) {
        ZORVA_FLASH* flash = mgr->create_flash(name);
        flash->set_density(density);
        flash->set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, io_voltage);
        return mgr->update_db(flash, m_custom_dir);
    };
    const std::string foreign = write_custom("pgm_flash_TAKEN.xml", document(devices("TAKEN")));
    EXPECT_TRUE(store("MINE", "8GB"));
    EXPECT_TRUE(store("MINE", "16GB"));
    EXPECT_TRUE(store("CARD_A", "4GB")) << "a shipped device may be shadowed";
    EXPECT_EQ(joined(posted_ids()), "");
    EXPECT_FALSE(store("TAKEN", "4GB")) << "a file of the other interface is left alone";
    EXPECT_EQ(joined(posted_ids()), "20560");
    EXPECT_EQ(internal_error_of([&] { store("ODD", "5GB"); }),
              "device_density_is_valid(flash->get_density(), &err_msg)");
    EXPECT_EQ(internal_error_of([&] { store("ODD", "4GB", high_voltage); }),
              "device_io_voltage_is_valid(flash->get_parameter_value("
              "ZORVA_FLASH_PARAM_IO_VOLTAGE), &err_msg)");
    mgr = load();
    EXPECT_EQ(joined(device_names(*mgr)), "CARD_A CARD_B MINE");
    EXPECT_EQ(mgr->get_flash("MINE", true)->get_density(), "16GB");
    EXPECT_TRUE(mgr->delete_db("MINE", m_custom_dir));
    EXPECT_TRUE(mgr->delete_db("CARD_A", m_custom_dir));
    EXPECT_FALSE(mgr->delete_db("CARD_B", m_xml_dir)) << "a shipped device stays";
    mgr = load();
    EXPECT_EQ(mgr->get_flash("CARD_A", true)->get_density(), "8GB");
    EXPECT_EQ(joined(device_names(*std::make_unique<ZORVA_QSPI_MGR>())),
              "SHIP_A SHIP_B SHIP_ISSI TAKEN");
    EXPECT_TRUE(std::filesystem::exists(foreign));
}

// What "the QSPI manager's place" is in the registry's list.
std::string order() {
    std::string families;
    for (ZORVA_MGR* mgr : ZORVA_HELPER::get_helper()->get_manager_list())
        families += std::to_string(mgr->get_flash_family()) + " ";
    return families;
}

TEST_F(SdmmcTest, ANewInstanceStandsLastAndIsAskedLast) {
    write_custom("pgm_flash_a.xml", document(devices("BOTH")));
    write_custom("pgm_flash_b.xml", cards(card("BOTH")));
    const auto asked_first = [] {
        return ZORVA_HELPER::get_flash_manager("BOTH", true, false)->get_flash_family();
    };
    ZORVA_HELPER::refresh_flash_managers();
    EXPECT_EQ(order(), "10 55 ");
    EXPECT_EQ(asked_first(), DEV_FAMILY_QSPI_FLASH);
    EXPECT_TRUE(ZORVA_HELPER::is_supported_mode(PGMIO_CONFIG_SCHEME_QSPI_SDM));
    EXPECT_EQ(order(), "10 55 ") << "a question never swaps";
    ZORVA_MGR* mgr = ZORVA_HELPER::get_flash_manager(PGMIO_CONFIG_SCHEME_QSPI_SDM, true);
    EXPECT_EQ(mgr, ZORVA_HELPER::get_helper()->get_manager_list().back());
    EXPECT_EQ(order(), "55 10 ");
    EXPECT_EQ(asked_first(), DEV_FAMILY_SDMMC_FLASH);
    ZORVA_HELPER::get_flash_manager(DEV_FAMILY_SDMMC_FLASH, true);
    EXPECT_EQ(order(), "10 55 ");
    EXPECT_FALSE(ZORVA_HELPER::get_flash_manager("NOBODY", true, false));
    EXPECT_FALSE(ZORVA_HELPER::get_flash_manager(DEV_FAMILY_LAST, false));
}

TEST_F(SdmmcTest, TheActiveFamilyOutlivesTheManagerThatServedIt) {
    ZORVA_HELPER::refresh_flash_managers();
    EXPECT_TRUE(
        ZORVA_HELPER::is_supported_family(DEV_FAMILY_SDMMC_FLASH, number<DEV_FAMILY_ENUM>(48)));
    EXPECT_TRUE(ZORVA_HELPER::set_active_flash_family(PGMIO_CONFIG_SCHEME_SDMMC));
    EXPECT_EQ(ZORVA_HELPER::get_active_flash_manager(false)->get_flash_family(),
              DEV_FAMILY_SDMMC_FLASH);
    pgm_host::set_setting("pgm_enable_sdmmc", false);
    ZORVA_HELPER::refresh_flash_managers();
    EXPECT_FALSE(ZORVA_HELPER::get_active_flash_manager(false));
    EXPECT_FALSE(ZORVA_HELPER::get_flash_manager(PGMIO_CONFIG_SCHEME_SDMMC, false));
    EXPECT_FALSE(ZORVA_HELPER::set_active_flash_family(DEV_FAMILY_SDMMC_FLASH));
    EXPECT_TRUE(ZORVA_HELPER::set_active_flash_family(DEV_FAMILY_QSPI_FLASH));
}

}  // namespace
