// The registry: which manager serves what, and how managers are replaced.
#include "pgm/zorva/zorva_helper.h"
#include "tests/test_support.h"

#include <functional>

namespace {

using helper = ZORVA_HELPER;

class RegistryTest : public InstallationTest {
  protected:
    RegistryTest() { helper::refresh_flash_managers(); }
    // The registry outlives the test: it keeps nothing of this installation.
    ~RegistryTest() override { helper::get_helper()->clear(); }

    static ZORVA_MGR* active() { return helper::get_active_flash_manager(false); }
};

TEST_F(RegistryTest, TheQspiManagerServesItsFamilyAndSchemesAndStays) {
    ZORVA_MGR* const mgr = active();
    mgr->set_active_device_family(number<DEV_FAMILY_ENUM>(12));  // which a new one wouldn't have
    const auto expect_served = [&](auto number, bool served, bool is_supported) {
        SCOPED_TRACE(number);
        EXPECT_EQ(helper::get_flash_manager(number, false), served ? mgr : nullptr);
        EXPECT_EQ(is_supported, served);
        EXPECT_EQ(helper::set_active_flash_family(number), served);
        EXPECT_EQ(active(), mgr) << "a refused one leaves the active one";
    };
    for (const int i : {10, 55, 73, 0}) {
        const auto family = number<DEV_FAMILY_ENUM>(i);
        expect_served(family, i == 10, helper::is_supported_family(family));
        EXPECT_EQ(helper::is_supported_family(family, DEV_FAMILY_LAST), i == 10);
    }
    EXPECT_FALSE(helper::is_supported_family(DEV_FAMILY_QSPI_FLASH, number<DEV_FAMILY_ENUM>(41)));
    for (const int i : {7, 13, 23, 0}) {
        const auto scheme = number<PGMIO_CONFIG_SCHEME>(i);
        expect_served(scheme, i == 7 || i == 13, helper::is_supported_mode(scheme));
    }
    EXPECT_EQ(active()->get_active_device_family(), number<DEV_FAMILY_ENUM>(12));
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
    for (const auto& [name, skip, found, own] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(helper::get_flash_manager(name, skip, false), found ? active() : nullptr);
        EXPECT_EQ(helper::is_zorva_flash(name, skip, false), own);
        EXPECT_EQ(helper::is_zorva_flash(name, DEV_FAMILY_QSPI_FLASH, skip, false), own);
        EXPECT_EQ(helper::is_zorva_flash(name, PGMIO_CONFIG_SCHEME_QSPI, skip, false), own);
        EXPECT_FALSE(helper::is_zorva_flash(name, DEV_FAMILY_SDMMC_FLASH, skip, false));
    }
}

TEST_F(RegistryTest, ANewManagerHasLoadedAnewAndStartsFromDefaults) {
    const auto& qspi = DEV_FAMILY_QSPI_FLASH;
    const auto& scheme = PGMIO_CONFIG_SCHEME_QSPI;
    const std::pair<std::string, std::function<void()>> rows[] = {
        {"BY_FAMILY", [&] { helper::get_flash_manager(qspi, true); }},
        {"BY_SCHEME", [&] { helper::get_flash_manager(scheme, true); }},
        {"ACTIVE", [] { helper::get_active_flash_manager(true); }},
        {"RELOADED", [] { helper::get_flash_manager("RELOADED", true, true); }},
        {"REFRESHED", [] { helper::refresh_flash_managers(); }},
        {"ASKED", [] { EXPECT_TRUE(helper::is_zorva_flash("ASKED", true, true)); }},
        {"OF_FAMILY", [&] { EXPECT_TRUE(helper::is_zorva_flash("OF_FAMILY", qspi, true, true)); }},
        {"OF_MODE", [&] { EXPECT_TRUE(helper::is_zorva_flash("OF_MODE", scheme, true, true)); }},
    };
    for (const auto& [name, replace] : rows) {
        SCOPED_TRACE(name);
        write_custom("pgm_flash_" + name + ".xml", document(devices(name)));
        active()->set_active_device_family(number<DEV_FAMILY_ENUM>(12));
        EXPECT_FALSE(helper::get_flash_manager(name, true, false));
        EXPECT_FALSE(helper::get_flash_manager(DEV_FAMILY_LAST, true));
        replace();
        EXPECT_EQ(helper::get_helper()->get_manager_list(), std::vector{active()});
        EXPECT_TRUE(active()->get_flash(name, true));
        EXPECT_EQ(active()->get_active_device_family(), DEV_FAMILY_LAST);
    }
}

TEST_F(RegistryTest, AnEmptyRegistryIsACallersFault) {
    helper* registry = helper::get_helper();
    registry->clear();
    const std::function<void()> calls[] = {
        [&] { registry->get_manager("SHIP_A", true, false); },
        [&] { registry->get_manager(DEV_FAMILY_QSPI_FLASH, true); },
        [] { helper::is_supported_mode(PGMIO_CONFIG_SCHEME_QSPI); },
    };
    for (const auto& call : calls) EXPECT_EQ(internal_error_of(call), "m_mgr_list.size() > 0");
    EXPECT_TRUE(registry->get_manager("SHIP_A", true, true)) << "a reload fills it again";
}

}  // namespace
