// The QSPI manager: look-ups, placeholders of legacy devices, lists and permissions.
#include "tests/store_support.h"

#include <tuple>

namespace {

constexpr DEV_FAMILY_ENUM high_family = number<DEV_FAMILY_ENUM>(3);
constexpr DEV_FAMILY_ENUM plain_family = number<DEV_FAMILY_ENUM>(12);
constexpr DEV_FAMILY_ENUM unknown_family = number<DEV_FAMILY_ENUM>(70);

class ManagerTest : public InstallationTest {
  protected:
    static std::string name_of(ZORVA_FLASH* flash) { return flash ? flash->get_name() : "none"; }
    // Sets the legacy devices: group, name and number of each; one with "^" has the high voltage.
    static void set_legacy_devices(const std::string& listed) {
        std::vector<PGMDEV_SFL_FLASH_INFO> table;
        std::istringstream text(listed);
        std::string group;
        std::string name;
        for (dword order = 0; text >> group >> name >> order;) {
            const bool is_high = std::erase(name, '^') != 0;
            table.push_back({group, name, true, order, is_high ? high_voltage : low_voltage});
        }
        pgm_host::set_flash_table(table);
    }
};

TEST_F(ManagerTest, StartsFromItsDefaults) {
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(mgr.get_flash_family(), DEV_FAMILY_QSPI_FLASH);
    EXPECT_EQ(mgr.get_active_device_family(), DEV_FAMILY_LAST);
    EXPECT_EQ(mgr.get_active_config_mode(), PGMIO_CONFIG_SCHEME_QSPI_SDM);
    EXPECT_FALSE(mgr.get_use_sdm_mode()) << "until a family is set, whatever family 73 says";
    EXPECT_TRUE(mgr.is_new_device_supported() && mgr.is_flash_operation_supported() &&
                mgr.is_flash_action_supported());
    mgr.set_active_device_family(DEV_FAMILY_LAST);
    EXPECT_TRUE(mgr.get_use_sdm_mode());
    mgr.set_active_device_family(high_family);
    EXPECT_FALSE(mgr.get_use_sdm_mode());
    const std::unique_ptr<ZORVA_MGR> other(mgr.get_new_instance());
    EXPECT_EQ(other->get_active_device_family(), DEV_FAMILY_LAST);
    EXPECT_NE(other->get_flash("SHIP_A", true), mgr.get_flash("SHIP_A", true));
}

// Asking for a family makes an entry for it. A look-up by name asks the legacy list first, and so
// for the active family, the one that a manager starts with too.
TEST_F(ManagerTest, AskingForAnUnknownFamilyMakesAnEntry) {
    ZORVA_QSPI_MGR whole;
    EXPECT_EQ(joined(whole.get_device_family_list()), "3 12 23 28 73");
    EXPECT_EQ(whole.get_family_info(unknown_family), nullptr);
    EXPECT_EQ(whole.get_family_info(high_family)->io_voltage, high_voltage);
    pgm_host::set_device_table({});
    const auto made_by = [](const std::function<void(ZORVA_MGR&)>& call) {
        ZORVA_QSPI_MGR mgr;
        call(mgr);
        return joined(mgr.get_device_family_list());
    };
    EXPECT_EQ(made_by([](auto& mgr) { mgr.get_flash("X", false); }), "73");
    EXPECT_EQ(made_by([](auto& mgr) { mgr.device_is_legacy("X", false); }), "73");
    EXPECT_EQ(made_by([](auto& mgr) { mgr.device_is_legacy("", false); }), "");
    EXPECT_EQ(made_by([](auto& mgr) { mgr.get_flash("X", true); }), "");
    EXPECT_EQ(made_by([](auto& mgr) { mgr.get_family_info(unknown_family); }), "");
    EXPECT_EQ(made_by([](auto& mgr) { mgr.set_active_device_family(unknown_family); }), "70");
    pgm_host::set_flash_table({});
    EXPECT_EQ(made_by([](auto& mgr) { mgr.get_flash("X", false); }), "") << "no legacy list";
}

TEST_F(ManagerTest, LookUpsByNameKeepToTheActiveFamily) {
    const std::tuple<int, std::string, bool, bool, bool> rows[] = {
        {73, "SHIP_A", false, true, false},     {73, "SHIP_B", false, false, false},
        {73, "SHIP_B", true, true, false},      {3, "SHIP_B", false, true, false},
        {70, "SHIP_A", false, false, false},    {73, "ship_a", true, false, false},
        {73, "", true, false, false},           {73, "LEG_LOW", false, true, true},
        {73, "LEG_HIGH", false, false, false},  {70, "LEG_HIGH", true, true, true},
        {73, "NOT_LEGACY", true, false, false}, {73, "NO_VOLTAGE", true, false, false}};
    ZORVA_QSPI_MGR mgr;
    for (const auto& [family, name, skip_filtering, found, legacy] : rows) {
        SCOPED_TRACE(name + (skip_filtering ? " of all" : ""));
        mgr.set_active_device_family(number<DEV_FAMILY_ENUM>(family));
        EXPECT_EQ(name_of(mgr.get_flash(name, skip_filtering)), found ? name : "none");
        EXPECT_EQ(mgr.device_exist_in_db(name, skip_filtering), found);
        EXPECT_EQ(mgr.device_is_legacy(name, skip_filtering), legacy);
    }
    pgm_host::set_setting("pgm_zorva_skip_device_filtering", true);
    EXPECT_FALSE(mgr.get_flash("SHIP_B", false)) << "the setting is read at construction";
    ZORVA_QSPI_MGR unfiltered;
    EXPECT_TRUE(unfiltered.get_flash("SHIP_B", false));
    EXPECT_TRUE(unfiltered.device_is_legacy("LEG_HIGH", false));
}

TEST_F(ManagerTest, LookUpsByDensityAndIdTakeTheFirstInNameOrder) {
    write_installed("pgm_flash_a.xml", document(device({.name = "Z", .id = "0x20 0xBA 0x19"}) +
                                                device({.name = "B", .id = "0x20 0xBA 25 7"})));
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(name_of(mgr.get_flash_with_density(16777216)), "B");
    EXPECT_EQ(name_of(mgr.get_flash_with_density(33554432)), "SHIP_B");
    EXPECT_EQ(name_of(mgr.get_flash_with_density(0)), "none");
    EXPECT_EQ(name_of(mgr.get_flash_with_density((1ull << 32) + 33554432)), "none");
    const auto expect_found = [&](dword id, dword mask, const std::string& expected) {
        names found;
        for (ZORVA_FLASH* flash : mgr.get_flash_list_with_id(id, mask))
            found.push_back(flash->get_name());
        EXPECT_EQ(joined(found), expected) << std::hex << id << " in " << mask;
        EXPECT_EQ(name_of(mgr.get_flash_with_id(id, mask)), found.empty() ? "none" : found[0]);
    };
    expect_found(0x19BA20, 0xFFFFFF, "B SHIP_B Z");
    expect_found(0x0719BA20, 0xFFFFFFFF, "B");
    expect_found(0x19BA20, 0xFFFFFFFF, "SHIP_B Z");
    expect_found(0xFF00FF20, 0xFF, "B SHIP_A SHIP_B Z");
    expect_found(0x19BA21, 0xFFFFFF, "");
    expect_found(0x123456, 0, "B SHIP_A SHIP_B SHIP_ISSI Z");
    // They follow a record that changes.
    ZORVA_FLASH* changed = mgr.get_flash("SHIP_A", false);
    changed->set_parameter_value(ZORVA_FLASH_PARAM_ID, "0x42");
    expect_found(0x42, 0xFF, "SHIP_A");
    changed->set_parameter_value(ZORVA_FLASH_PARAM_ID, 0x43u);
    expect_found(0x43, 0xFF, "SHIP_A");
    changed->set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, high_voltage);
    EXPECT_FALSE(mgr.get_flash("SHIP_A", false));
    changed->set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, low_voltage);
    EXPECT_TRUE(mgr.get_flash("SHIP_A", false));
}

// A miss also drops the record last handed out, which a check could ask.
TEST_F(ManagerTest, ALookUpEndsThePlaceholderOfTheOneBefore) {
    write_installed("pgm_flash_a.xml",
                    document(device({.name = "A", .prog_flow_template = "ITS_OWN"})));
    const std::pair<const char*, std::function<ZORVA_FLASH*(ZORVA_MGR&)>> rows[] = {
        {"none", [](auto& mgr) { return mgr.get_flash("missing", true); }},
        {"none", [](auto& mgr) { return mgr.get_flash("SHIP_B", false); }},
        {"none", [](auto& mgr) { return mgr.get_flash_with_density(1); }},
        {"none", [](auto& mgr) { return mgr.get_flash_with_id(0x77, 0xFF); }},
        {"SHIP_ISSI", [](auto& mgr) { return mgr.get_flash_with_id(0x9D, 0xFF); }},
        {"LEG_TYRN", [](auto& mgr) { return mgr.get_flash("LEG_TYRN", true); }},
        {"NEW", [](auto& mgr) { return mgr.create_flash("NEW"); }},
    };
    for (const auto& [found, call] : rows) {
        SCOPED_TRACE(found);
        ZORVA_QSPI_MGR mgr;
        const lifetime made(*mgr.create_flash("LEG_LOW"));
        const lifetime placeholder(*mgr.get_flash("LEG_LOW", true));
        EXPECT_EQ(name_of(call(mgr)), found);
        EXPECT_TRUE(placeholder.is_over());
        EXPECT_FALSE(made.is_over()) << "who owns a record decides, not its name";
        const auto holds_a = [&] {
            return mgr.is_parameter_valid(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, "ITS_OWN", nullptr);
        };
        ASSERT_TRUE(mgr.get_flash("A", true));
        EXPECT_TRUE(holds_a());
        call(mgr);
        EXPECT_FALSE(holds_a());
    }
}

// Scheme 13 doesn't count it as legacy, scheme 7 does.
TEST_F(ManagerTest, AStoredDeviceCanHaveALegacyName) {
    write_installed("pgm_flash_a.xml", document(device({.name = "LEG_TYRN", .density = "64Mb"})));
    ZORVA_QSPI_MGR mgr;
    ZORVA_FLASH* stored = mgr.get_flash("LEG_TYRN", false);
    const lifetime end(*stored);
    mgr.set_active_config_mode(PGMIO_CONFIG_SCHEME_QSPI);
    ZORVA_FLASH* placeholder = mgr.get_flash("LEG_TYRN", false);
    EXPECT_EQ(placeholder->get_name() + placeholder->get_density(), "LEG_TYRN");
    EXPECT_TRUE(placeholder->get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL)->empty());
    mgr.set_active_config_mode(PGMIO_CONFIG_SCHEME_QSPI_SDM);
    EXPECT_EQ(mgr.get_flash("LEG_TYRN", false), stored);
    EXPECT_FALSE(end.is_over());
}

TEST_F(ManagerTest, DevicesAreListedByVoltageVendorAndScheme) {
    write_installed("pgm_flash_a.xml",
                    document(device({.name = "upper", .prog_flow_template = "ISSI"}) +
                             device({.name = "longer", .prog_flow_template = "Issi_2"}) +
                             device({.name = "none", .prog_flow_template = ""})));
    set_legacy_devices("G TYRN 1 G a_tyrn 2 G TYR 3 G xTYRNx 4 G HIGH^ 5 G TWICE^ 6 G TWICE 7");
    const std::string with_issi = "SHIP_A SHIP_ISSI longer none upper";
    const std::tuple<int, int, bool, std::string, std::string> rows[] = {
        {28, 7, false, with_issi, "TWICE TYR TYRN a_tyrn xTYRNx"},
        {23, 13, false, with_issi, "TWICE TYR a_tyrn"},
        {73, 13, false, "SHIP_A longer none", "TWICE TYR a_tyrn"},
        {73, 23, false, "SHIP_A longer none", ""},
        {3, 13, false, "SHIP_B", "HIGH"},
        {70, 7, false, "", ""},
        {70, 0, true, "SHIP_A SHIP_B SHIP_ISSI longer none upper",
         "HIGH TWICE TYR TYRN a_tyrn xTYRNx"},
    };
    ZORVA_QSPI_MGR mgr;
    for (const auto& [family_number, scheme_number, take_all, new_devices, legacy_devices] : rows) {
        SCOPED_TRACE(testing::Message() << family_number << " through " << scheme_number);
        const auto family = number<DEV_FAMILY_ENUM>(family_number);
        const auto scheme = number<PGMIO_CONFIG_SCHEME>(scheme_number);
        EXPECT_EQ(joined(mgr.get_new_config_device_list(family, scheme, take_all)), new_devices);
        EXPECT_EQ(joined(mgr.get_legacy_config_device_list(family, scheme, take_all)),
                  legacy_devices);
    }
}

// The order that the service's numbers give. Only devices of one group and one prefix of four
// characters compare, so where a device can go first it jumps over those that it has no order
// with, and elsewhere it is stopped by them.
TEST_F(ManagerTest, LegacyDevicesAreSortedByInsertion) {
    const std::pair<const char*, const char*> rows[] = {
        {"G CFG_A 3 G CFG_B 1 G CFG_C 2", "CFG_B CFG_C CFG_A"},
        {"G CFG_A 1 G CFG_C 0 G CFG_B 1", "CFG_C CFG_A CFG_B"},
        {"G CFG_A 2147483648 G CFG_B 1", "CFG_B CFG_A"},
        {"G CFG_A 3 H CFG_B 1 G CFG_C 2", "CFG_C CFG_A CFG_B"},
        {"G AAAA 9 G CFG_A 3 H CFG_B 1 G CFG_C 2", "AAAA CFG_A CFG_B CFG_C"},
        {"G AAAA 9 G CFG_A 1 G CFG_B 3 G CFG_C 2", "AAAA CFG_A CFG_C CFG_B"},
        {"G AB 9 G ABC 5 G ABCD1 3 G ABCD2 2 G ABCE 1", "AB ABC ABCD2 ABCD1 ABCE"},
    };
    for (const auto& [listed, expected] : rows) {
        set_legacy_devices(listed);
        EXPECT_EQ(joined(ZORVA_QSPI_MGR().get_legacy_config_device_list(
                      unknown_family, PGMIO_CONFIG_SCHEME_QSPI, true)),
                  expected);
    }
}

TEST_F(ManagerTest, FlowsAreEditableOfNewAndOfRemovableDevicesWithoutSdm) {
    write_custom("pgm_flash_a.xml", document(devices("MINE")));
    ZORVA_QSPI_MGR mgr;
    // Of nobody's record, a stored one of the user, a shipped, a new and a legacy one.
    const auto permissions = [&] {
        std::vector<bool> given{mgr.get_operation_editable_permission(nullptr)};
        for (const char* name : {"MINE", "SHIP_A", "NEW", "LEG_LOW"}) {
            ZORVA_FLASH* flash = mgr.get_flash(name, true);
            if (!flash) flash = mgr.create_flash(name);
            given.push_back(mgr.get_operation_editable_permission(flash));
        }
        return given;
    };
    mgr.set_active_device_family(plain_family);
    EXPECT_EQ(permissions(), (std::vector{true, true, false, true, false}));
    mgr.set_active_device_family(DEV_FAMILY_LAST);
    EXPECT_EQ(permissions(), std::vector<bool>(5, false));
    pgm_host::set_setting("pgm_zorva_enable_operation_editable", true);
    EXPECT_EQ(permissions(), std::vector<bool>(5, true));
}

}  // namespace
