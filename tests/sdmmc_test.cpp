// The SD/MMC manager: its load, its short lists, its files, and the registry with both managers.
#include "pgm/zorva/zorva_helper.h"
#include "pgm/zorva/zorva_sdmmc_flash.h"
#include "pgm/zorva/zorva_sdmmc_mgr.h"
#include "tests/test_support.h"

#include <functional>
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
    const auto told = [](ZORVA_MGR& mgr) {
        return joined(device_names(mgr)) + " of " + joined(mgr.get_device_family_list());
    };
    const auto mgr = load();
    EXPECT_EQ(told(*mgr), "CARD_A CARD_B MINE of 41 48");
    EXPECT_TRUE(mgr->is_new_device_supported());
    EXPECT_TRUE(mgr->get_flash("MINE", true)->get_flash_removable_permission());
    EXPECT_FALSE(mgr->get_flash("CARD_A", true)->get_flash_removable_permission());
    pgm_host::set_setting("pgm_enable_custom_sdmmc", false);
    pgm_host::set_setting("pgm_enable_sdmmc_orlane", true);
    EXPECT_FALSE(mgr->is_new_device_supported()) << "the setting is read at each call";
    EXPECT_EQ(told(*load()), "CARD_A CARD_B of 28 41 48");
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
    const auto high_family = number<DEV_FAMILY_ENUM>(41);
    mgr->set_active_device_family(high_family);
    EXPECT_EQ(joined(mgr->get_new_config_device_list(high_family, PGMIO_CONFIG_SCHEME_QSPI, false)),
              "CARD_A CARD_B");
    EXPECT_FALSE(mgr->get_flash("CARD_A", false));
    // A card is found by all of its size, and by the voltage that it has now.
    EXPECT_EQ(mgr->get_flash_with_density(8ull << 30)->get_name(), "CARD_A");
    EXPECT_FALSE(mgr->get_flash_with_density(5ull << 30)) << "as 1GB in 32 bits";
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
    for (const auto& [density, name] :
         {std::pair{"512GB", "SDMMC_512GB"}, {"1GB", "SDMMC_1GB"}, {"", "SDMMC_0MB"}}) {
        flash.set_density(density);
        EXPECT_EQ(flash.get_generic_name(), name);
    }
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
        {without(cards(card("A")), "DEVICE_NAME"), "status"},
        {cards("<FLASH/>"), "flash_element->get_child_count(PGM_COMMON_XML_ENUM_DEVICE_INFO) == 1"},
    };
    for (const auto& [bytes, text] : rows) {
        write_installed("pgm_flash_db_sdmmc.xml", bytes);
        EXPECT_EQ(internal_error_of(load), text) << bytes;
    }
    write_installed("pgm_flash_db_sdmmc.xml", cards(""));  // for the registry to be cleared
}

TEST_F(SdmmcTest, StoresAndDeletesBesideTheOtherInterface) {
    auto mgr = load();
    const auto store = [&](const std::string& name, const std::string& density,
                           const std::string& io_voltage = low_voltage) {
        ZORVA_FLASH* flash = mgr->create_flash(name);
        flash->set_density(density);
        flash->set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, io_voltage);
        return mgr->update_db(flash, m_custom_dir);
    };
    write_custom("pgm_flash_TAKEN.xml", document(devices("TAKEN")));
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
    EXPECT_EQ(mgr->get_flash("CARD_A", true)->get_density(), "4GB");
    EXPECT_TRUE(mgr->delete_db("CARD_A", m_custom_dir));
    EXPECT_FALSE(mgr->delete_db("CARD_B", m_xml_dir)) << "a shipped device stays";
    EXPECT_EQ(load()->get_flash("CARD_A", true)->get_density(), "8GB");
    EXPECT_TRUE(ZORVA_QSPI_MGR().get_flash("TAKEN", true));
}

TEST_F(SdmmcTest, ANewInstanceStandsLastAndIsAskedLast) {
    using helper = ZORVA_HELPER;
    write_custom("pgm_flash_a.xml", document(devices("BOTH")));
    write_custom("pgm_flash_b.xml", cards(card("BOTH")));
    const auto expect_order = [](const std::vector<ZORVA_MGR*>& managers) {
        EXPECT_EQ(helper::get_helper()->get_manager_list(), managers);
        EXPECT_EQ(helper::get_flash_manager("BOTH", true, false), managers.front());
    };
    helper::refresh_flash_managers();
    ZORVA_MGR* qspi = helper::get_flash_manager(DEV_FAMILY_QSPI_FLASH, false);
    ZORVA_MGR* sdmmc = helper::get_flash_manager(DEV_FAMILY_SDMMC_FLASH, false);
    EXPECT_TRUE(helper::is_supported_mode(PGMIO_CONFIG_SCHEME_QSPI_SDM));
    EXPECT_TRUE(helper::is_supported_family(DEV_FAMILY_SDMMC_FLASH, number<DEV_FAMILY_ENUM>(48)));
    expect_order({qspi, sdmmc});  // a question never swaps
    qspi = helper::get_flash_manager(PGMIO_CONFIG_SCHEME_QSPI_SDM, true);
    expect_order({sdmmc, qspi});
    sdmmc = helper::get_flash_manager(DEV_FAMILY_SDMMC_FLASH, true);
    expect_order({qspi, sdmmc});

    // The active family outlives the manager that served it.
    EXPECT_TRUE(helper::set_active_flash_family(PGMIO_CONFIG_SCHEME_SDMMC));
    EXPECT_EQ(helper::get_active_flash_manager(false), sdmmc);
    pgm_host::set_setting("pgm_enable_sdmmc", false);
    helper::refresh_flash_managers();
    EXPECT_FALSE(helper::get_active_flash_manager(false));
    EXPECT_FALSE(helper::set_active_flash_family(DEV_FAMILY_SDMMC_FLASH));
    EXPECT_TRUE(helper::set_active_flash_family(DEV_FAMILY_QSPI_FLASH));
}

}  // namespace
