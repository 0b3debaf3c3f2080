// The registry: which manager serves what, and how managers are replaced.
#include "pgm/zorva/zorva_helper.h"
#include "tests/test_support.h"

#include <functional>

namespace {

class RegistryTest : public InstallationTest {
  protected:
    RegistryTest() { ZORVA_HELPER::refresh_flash_managers(); }
    // The registry outlives the test: it keeps nothing of this installation.
    ~RegistryTest() override { ZORVA_HELPER::get_helper()->clear(); }

    static ZORVA_MGR* active() { return ZORVA_HELPER::get_active_flash_manager(false); }
};

TEST_F(RegistryTest, TheQspiManagerServesItsFamilyAndSchemesAndStays) {
    ZORVA_MGR* const mgr = active();
    EXPECT_EQ(ZORVA_HELPER::get_helper()->get_manager_list(), std::vector{mgr});
    mgr->set_active_device_family(number<DEV_FAMILY_ENUM>(12));  // which a new one wouldn't have
    for (const int i : {10, 55, 73, 0}) {
        SCOPED_TRACE(i);
        const auto family = number<DEV_FAMILY_ENUM>(i);
        const bool served = i == 10;
        EXPECT_EQ(ZORVA_HELPER::get_flash_manager(family, false), served ? mgr : nullptr);
        EXPECT_EQ(ZORVA_HELPER::is_supported_family(family), served);
        EXPECT_EQ(ZORVA_HELPER::is_supported_family(family, DEV_FAMILY_LAST), served);
        EXPECT_EQ(ZORVA_HELPER::set_active_flash_family(family), served);
        EXPECT_EQ(active(), mgr) << "a refused family leaves the active one";
    }
    EXPECT_FALSE(
        ZORVA_HELPER::is_supported_family(DEV_FAMILY_QSPI_FLASH, number<DEV_FAMILY_ENUM>(41)));
    for (const int i : {7, 13, 23, 0}) {
        SCOPED_TRACE(i);
        const auto scheme = number<PGMIO_CONFIG_SCHEME>(i);
        const bool served = i == 7 || i == 13;
        EXPECT_EQ(ZORVA_HELPER::get_flash_manager(scheme, false), served ? mgr : nullptr);
        EXPECT_EQ(ZORVA_HELPER::is_supported_mode(scheme), served);
        EXPECT_EQ(ZORVA_HELPER::set_active_flash_family(scheme), served);
        EXPECT_EQ(active(), mgr);
    }
    EXPECT_EQ(active()->get_active_device_family(), number<DEV_FAMILY_ENUM>(12));
    EXPECT_EQ(joined(posted_ids()), "");
}

TEST_F(RegistryTest, FindsAManagerByDeviceName) {
    const struct {
        const char* name;
        bool skip_filtering;
        bool found;
        bool own;  // has a record; not a legacy device
    } rows[] = {{"SHIP_A", false, true, true},   {"SHIP_B", false, false, false},
                {"SHIP_B", true, true, true},    {"LEG_LOW", false, true, false},
                {"LEG_HIGH", true, true, false}, {"LEG_HIGH", false, false, false},
                {"missing", true, false, false}, {"", true, false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const bool skip = row.skip_filtering;
        EXPECT_EQ(ZORVA_HELPER::get_flash_manager(row.name, skip, false),
                  row.found ? active() : nullptr);
        using helper = ZORVA_HELPER;
        EXPECT_EQ(helper::is_zorva_flash(row.name, skip, false), row.own);
        EXPECT_EQ(helper::is_zorva_flash(row.name, DEV_FAMILY_QSPI_FLASH, skip, false), row.own);
        EXPECT_EQ(helper::is_zorva_flash(row.name, PGMIO_CONFIG_SCHEME_QSPI, skip, false), row.own);
        EXPECT_FALSE(helper::is_zorva_flash(row.name, DEV_FAMILY_SDMMC_FLASH, skip, false));
    }
}

TEST_F(RegistryTest, ANewManagerHasLoadedAnewAndStartsFromDefaults) {
    using helper = ZORVA_HELPER;
    const auto& qspi = DEV_FAMILY_QSPI_FLASH;
    const auto& scheme = PGMIO_CONFIG_SCHEME_QSPI;
    const struct {
        std::string name;
        std::function<void()> replace;
    } rows[] = {
        {"BY_FAMILY", [&] { helper::get_flash_manager(qspi, true); }},
        {"BY_SCHEME", [&] { helper::get_flash_manager(scheme, true); }},
        {"ACTIVE", [] { helper::get_active_flash_manager(true); }},
        {"RELOADED", [] { helper::get_flash_manager("RELOADED", true, true); }},
        {"REFRESHED", [] { helper::refresh_flash_managers(); }},
        {"ASKED", [] { EXPECT_TRUE(helper::is_zorva_flash("ASKED", true, true)); }},
        {"OF_FAMILY", [&] { EXPECT_TRUE(helper::is_zorva_flash("OF_FAMILY", qspi, true, true)); }},
        {"OF_MODE", [&] { EXPECT_TRUE(helper::is_zorva_flash("OF_MODE", scheme, true, true)); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        write_custom("pgm_flash_" + row.name + ".xml", document(devices(row.name)));
        active()->set_active_device_family(number<DEV_FAMILY_ENUM>(12));
        EXPECT_FALSE(helper::get_flash_manager(row.name, true, false));
        EXPECT_FALSE(helper::get_flash_manager(DEV_FAMILY_LAST, true));
        row.replace();
        EXPECT_EQ(helper::get_helper()->get_manager_list(), std::vector{active()});
        EXPECT_TRUE(active()->get_flash(row.name, true));
        EXPECT_EQ(active()->get_active_device_family(), DEV_FAMILY_LAST);
    }
}

TEST_F(RegistryTest, AnEmptyRegistryIsACallersFault) {
    ZORVA_HELPER* helper = ZORVA_HELPER::get_helper();
    for (int time = 0; time < 2; ++time) helper->clear();
    const std::string text = "m_mgr_list.size() > 0";
    EXPECT_EQ(internal_error_of([&] { helper->get_manager("SHIP_A", true, false); }), text);
    EXPECT_EQ(internal_error_of([&] { helper->get_manager(DEV_FAMILY_QSPI_FLASH, true); }), text);
    EXPECT_EQ(internal_error_of([] { ZORVA_HELPER::is_supported_family(DEV_FAMILY_LAST); }), text);
    EXPECT_EQ(internal_error_of([] { ZORVA_HELPER::is_supported_mode(PGMIO_CONFIG_SCHEME_QSPI); }),
              text);
    EXPECT_TRUE(helper->get_manager("SHIP_A", true, true)) << "a reload fills it again";
}

}  // namespace
