// The QSPI manager: look-ups, placeholders of legacy devices, lists and permissions.
#include "tests/test_support.h"

#include <functional>
#include <memory>

namespace {

constexpr DEV_FAMILY_ENUM high_family = number<DEV_FAMILY_ENUM>(3);
constexpr DEV_FAMILY_ENUM plain_family = number<DEV_FAMILY_ENUM>(12);
constexpr DEV_FAMILY_ENUM unknown_family = number<DEV_FAMILY_ENUM>(70);

class ManagerTest : public InstallationTest {
  protected:
    // A manager that has loaded what stands in the installation now.
    static std::unique_ptr<ZORVA_QSPI_MGR> load() { return std::make_unique<ZORVA_QSPI_MGR>(); }

    static std::string name_of(ZORVA_FLASH* flash) { return flash ? flash->get_name() : "none"; }
};

TEST_F(ManagerTest, StartsFromItsDefaults) {
    const auto mgr = load();
    EXPECT_EQ(mgr->get_flash_family(), DEV_FAMILY_QSPI_FLASH);
    EXPECT_EQ(mgr->get_active_device_family(), DEV_FAMILY_LAST);
    EXPECT_EQ(mgr->get_active_config_mode(), PGMIO_CONFIG_SCHEME_QSPI_SDM);
    EXPECT_FALSE(mgr->get_use_sdm_mode()) << "until a family is set, whatever family 73 says";
    EXPECT_TRUE(mgr->is_new_device_supported() && mgr->is_flash_operation_supported() &&
                mgr->is_flash_action_supported());
    ZORVA_FLASH* record = mgr->get_flash("SHIP_A", true);
    mgr->set_active_device_family(high_family);
    const std::unique_ptr<ZORVA_MGR> other(mgr->get_new_instance());
    EXPECT_EQ(other->get_active_device_family(), DEV_FAMILY_LAST);
    EXPECT_NE(other->get_flash("SHIP_A", true), record) << "an instance shares nothing";
}

TEST_F(ManagerTest, AskingForAnUnknownFamilyMakesAnEntry) {
    const auto mgr = load();
    const auto family = number<DEV_FAMILY_ENUM>;
    const std::vector known{family(3), family(12), family(23), family(28), family(73)};
    EXPECT_EQ(mgr->get_family_info(unknown_family), nullptr);
    EXPECT_EQ(mgr->get_device_family_list(), known);
    mgr->set_active_device_family(DEV_FAMILY_LAST);
    EXPECT_TRUE(mgr->get_use_sdm_mode());
    mgr->set_active_device_family(unknown_family);
    EXPECT_FALSE(mgr->get_use_sdm_mode());
    EXPECT_EQ(mgr->get_device_family_list().at(4), unknown_family);
    EXPECT_EQ(mgr->get_family_info(unknown_family)->io_voltage, "");
    EXPECT_TRUE(
        mgr->get_new_config_device_list(family(0), PGMIO_CONFIG_SCHEME_QSPI, false).empty());
    EXPECT_EQ(mgr->get_device_family_list().at(0), family(0));
}

// A look-up by name asks the legacy list first, and so for the active family, the one that a
// manager starts with too.
TEST_F(ManagerTest, ALookUpMakesAnEntryForTheActiveFamily) {
    struct row {
        const char* what;
        bool has_legacy;
        std::function<void(ZORVA_MGR&)> call;
        bool made;
    };
    const row rows[] = {
        {"filtered", true, [](ZORVA_MGR& mgr) { mgr.device_is_legacy("X", false); }, true},
        {"in the database", true, [](ZORVA_MGR& mgr) { mgr.device_exist_in_db("X", false); }, true},
        {"record", true, [](ZORVA_MGR& mgr) { mgr.get_flash("X", false); }, true},
        {"unfiltered", true, [](ZORVA_MGR& mgr) { mgr.get_flash("X", true); }, false},
        {"no name", true, [](ZORVA_MGR& mgr) { mgr.device_is_legacy("", false); }, false},
        {"no legacy devices", false, [](ZORVA_MGR& mgr) { mgr.get_flash("X", false); }, false},
    };
    pgm_host::set_device_table({});
    for (const row& row : rows) {
        SCOPED_TRACE(row.what);
        if (!row.has_legacy) pgm_host::set_flash_table({});
        const auto mgr = load();
        row.call(*mgr);
        EXPECT_EQ(joined(mgr->get_device_family_list()), row.made ? "73" : "");
    }
}

TEST_F(ManagerTest, LookUpsByNameKeepToTheActiveFamily) {
    struct row {
        DEV_FAMILY_ENUM family;
        const char* name;
        bool skip_filtering;
        bool found;
        bool legacy = false;
    };
    const row rows[] = {{DEV_FAMILY_LAST, "SHIP_A", false, true},
                        {DEV_FAMILY_LAST, "SHIP_B", false, false},
                        {DEV_FAMILY_LAST, "SHIP_B", true, true},
                        {high_family, "SHIP_B", false, true},
                        {unknown_family, "SHIP_A", false, false},
                        {DEV_FAMILY_LAST, "ship_a", true, false},
                        {DEV_FAMILY_LAST, "", true, false},
                        {DEV_FAMILY_LAST, "LEG_LOW", false, true, true},
                        {DEV_FAMILY_LAST, "LEG_HIGH", false, false},
                        {unknown_family, "LEG_HIGH", true, true, true},
                        {DEV_FAMILY_LAST, "NOT_LEGACY", true, false},
                        {DEV_FAMILY_LAST, "NO_VOLTAGE", true, false}};
    const auto mgr = load();
    for (const row& row : rows) {
        SCOPED_TRACE(row.name + std::string(row.skip_filtering ? " of all" : ""));
        mgr->set_active_device_family(row.family);
        EXPECT_EQ(name_of(mgr->get_flash(row.name, row.skip_filtering)),
                  row.found ? row.name : "none");
        EXPECT_EQ(mgr->device_exist_in_db(row.name, row.skip_filtering), row.found);
        EXPECT_EQ(mgr->device_is_legacy(row.name, row.skip_filtering), row.legacy);
    }

    pgm_host::set_setting("pgm_zorva_skip_device_filtering", true);
    EXPECT_FALSE(mgr->get_flash("SHIP_B", false)) << "the setting is read at construction";
    const auto unfiltered = load();
    EXPECT_TRUE(unfiltered->get_flash("SHIP_B", false));
    EXPECT_TRUE(unfiltered->device_is_legacy("LEG_HIGH", false));
    EXPECT_EQ(joined(unfiltered->get_new_config_device_list(plain_family, PGMIO_CONFIG_SCHEME_QSPI,
                                                            false)),
              "SHIP_A SHIP_B SHIP_ISSI");
}

TEST_F(ManagerTest, LookUpsByDensityAndIdTakeTheFirstInNameOrder) {
    write_installed("pgm_flash_a.xml", document(device({.name = "Z", .id = "0x20 0xBA 0x19"}) +
                                                device({.name = "B", .id = "0x20 0xBA 25 7"})));
    const auto mgr = load();
    EXPECT_EQ(name_of(mgr->get_flash_with_density(16777216)), "B");
    EXPECT_EQ(name_of(mgr->get_flash_with_density(33554432)), "SHIP_B");
    EXPECT_EQ(name_of(mgr->get_flash_with_density(0)), "none");
    struct row {
        dword id;
        dword mask;
        std::string found;
    };
    const row rows[] = {
        {0x19BA20, 0xFFFFFF, "B SHIP_B Z"}, {0x19BA20, 0xFFFFFFFF, "SHIP_B Z"},
        {0x0719BA20, 0xFFFFFFFF, "B"},      {0xFF00FF20, 0xFF, "B SHIP_A SHIP_B Z"},
        {0x19BA21, 0xFFFFFF, ""},           {0x123456, 0, "B SHIP_A SHIP_B SHIP_ISSI Z"}};
    for (const row& row : rows) {
        SCOPED_TRACE(row.found);
        std::vector<std::string> found;
        for (ZORVA_FLASH* flash : mgr->get_flash_list_with_id(row.id, row.mask))
            found.push_back(flash->get_name());
        EXPECT_EQ(joined(found), row.found);
        EXPECT_EQ(name_of(mgr->get_flash_with_id(row.id, row.mask)),
                  found.empty() ? "none" : found.front());
    }
}

TEST_F(ManagerTest, AMissDropsTheRecordLastHandedOut) {
    write_installed("pgm_flash_a.xml",
                    document(device({.name = "A", .prog_flow_template = "ITS_OWN"})));
    const auto mgr = load();
    const auto holds_a = [&] {
        return mgr->is_parameter_valid(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, "ITS_OWN", nullptr);
    };
    const auto expect_dropped_by = [&](const char* what, auto look_up) {
        SCOPED_TRACE(what);
        ASSERT_TRUE(mgr->get_flash("A", true));
        EXPECT_TRUE(holds_a());
        EXPECT_FALSE(look_up());
        EXPECT_FALSE(holds_a());
    };
    expect_dropped_by("name", [&] { return mgr->get_flash("missing", true); });
    expect_dropped_by("hidden name", [&] { return mgr->get_flash("SHIP_B", false); });
    expect_dropped_by("no name", [&] { return mgr->get_flash("", true); });
    expect_dropped_by("density", [&] { return mgr->get_flash_with_density(1); });
    expect_dropped_by("ID", [&] { return mgr->get_flash_with_id(0x77, 0xFF); });
}

// Who owns a record decides whether a look-up drops it, not its name.
TEST_F(ManagerTest, APlaceholderOfALegacyNameEndsNobodyElsesRecord) {
    write_installed("pgm_flash_a.xml", document(device({.name = "LEG_TYRN", .density = "64Mb"})));
    const auto mgr = load();
    ZORVA_FLASH* made = mgr->create_flash("LEG_LOW");
    made->set_density("2Mb");
    ZORVA_FLASH* made_after = mgr->create_flash("NEW");

    // Scheme 13 doesn't count it as legacy, scheme 7 does.
    ZORVA_FLASH* stored = mgr->get_flash("LEG_TYRN", false);
    EXPECT_EQ(stored->get_density(), "64Mb");
    mgr->set_active_config_mode(PGMIO_CONFIG_SCHEME_QSPI);
    for (const bool skip_filtering : {false, true}) {
        ZORVA_FLASH* placeholder = mgr->get_flash("LEG_TYRN", skip_filtering);
        EXPECT_EQ(placeholder->get_name(), "LEG_TYRN");
        EXPECT_EQ(placeholder->get_density(), "");
        EXPECT_TRUE(placeholder->get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL)->empty());
    }
    mgr->set_active_config_mode(PGMIO_CONFIG_SCHEME_QSPI_SDM);
    EXPECT_EQ(mgr->get_flash("LEG_TYRN", false), stored);
    EXPECT_EQ(stored->get_density(), "64Mb");
    EXPECT_FALSE(mgr->get_flash("missing", true));
    EXPECT_EQ(made->get_density(), "2Mb");
    EXPECT_EQ(made_after->get_name(), "NEW");
    EXPECT_EQ(mgr->get_flash("LEG_LOW", false)->get_density(), "");
    EXPECT_EQ(joined(device_names(*mgr)), "LEG_TYRN SHIP_A SHIP_B SHIP_ISSI");
}

TEST_F(ManagerTest, DevicesAreListedByVoltageVendorAndScheme) {
    write_installed("pgm_flash_a.xml",
                    document(device({.name = "upper", .prog_flow_template = "ISSI"}) +
                             device({.name = "longer", .prog_flow_template = "Issi_2"}) +
                             device({.name = "none", .prog_flow_template = ""})));
    pgm_host::set_flash_table({{"G", "TYRN", true, 1, low_voltage},
                               {"G", "a_tyrn", true, 2, low_voltage},
                               {"G", "TYR", true, 3, low_voltage},
                               {"G", "xTYRNx", true, 4, low_voltage},
                               {"G", "HIGH", true, 5, high_voltage},
                               {"G", "TWICE", true, 6, high_voltage},
                               {"G", "TWICE", true, 7, low_voltage}});
    struct row {
        int family;
        int scheme;
        bool skip_filtering;
        std::string new_devices;
        std::string legacy_devices;
    };
    const std::string with_issi = "SHIP_A SHIP_ISSI longer none upper";
    const std::string all_new = "SHIP_A SHIP_B SHIP_ISSI longer none upper";
    const std::string all_legacy = "HIGH TWICE TYR TYRN a_tyrn xTYRNx";
    const row rows[] = {
        {28, 7, false, with_issi, "TWICE TYR TYRN a_tyrn xTYRNx"},
        {23, 13, false, with_issi, "TWICE TYR a_tyrn"},
        {73, 13, false, "SHIP_A longer none", "TWICE TYR a_tyrn"},
        {73, 23, false, "SHIP_A longer none", ""},
        {3, 13, false, "SHIP_B", "HIGH"},
        {70, 7, false, "", ""},
        {70, 0, true, all_new, all_legacy},
    };
    const auto mgr = load();
    for (const row& row : rows) {
        SCOPED_TRACE(testing::Message() << "family " << row.family << " scheme " << row.scheme);
        const auto family = number<DEV_FAMILY_ENUM>(row.family);
        const auto scheme = number<PGMIO_CONFIG_SCHEME>(row.scheme);
        EXPECT_EQ(joined(mgr->get_new_config_device_list(family, scheme, row.skip_filtering)),
                  row.new_devices);
        EXPECT_EQ(joined(mgr->get_legacy_config_device_list(family, scheme, row.skip_filtering)),
                  row.legacy_devices);
    }
}

// The order that the service's numbers give. Only devices of one group and one prefix of four
// characters compare, so where a device can go first it jumps over those that it has no order
// with, and elsewhere it is stopped by them.
TEST_F(ManagerTest, LegacyDevicesAreSortedByInsertion) {
    struct device_row {
        const char* group;
        std::string name;
        dword order;
    };
    struct row {
        const char* what;
        std::vector<device_row> table;
        std::string expected;
    };
    row rows[] = {
        {"within a group",
         {{"G", "CFG_A", 3}, {"G", "CFG_B", 1}, {"G", "CFG_C", 2}},
         "CFG_B CFG_C CFG_A"},
        {"equal numbers",
         {{"G", "CFG_A", 1}, {"G", "CFG_C", 0}, {"G", "CFG_B", 1}},
         "CFG_C CFG_A CFG_B"},
        {"a large number", {{"G", "CFG_A", 0x80000000}, {"G", "CFG_B", 1}}, "CFG_B CFG_A"},
        {"over another group to the front",
         {{"G", "CFG_A", 3}, {"H", "CFG_B", 1}, {"G", "CFG_C", 2}},
         "CFG_C CFG_A CFG_B"},
        {"stopped by another group",
         {{"G", "AAAA", 9}, {"G", "CFG_A", 3}, {"H", "CFG_B", 1}, {"G", "CFG_C", 2}},
         "AAAA CFG_A CFG_B CFG_C"},
        {"past one neighbour and no further",
         {{"G", "AAAA", 9}, {"G", "CFG_A", 1}, {"G", "CFG_B", 3}, {"G", "CFG_C", 2}},
         "AAAA CFG_A CFG_C CFG_B"},
        {"other prefixes, short ones too",
         {{"G", "AB", 9}, {"G", "ABC", 5}, {"G", "ABCD1", 3}, {"G", "ABCD2", 2}, {"G", "ABCE", 1}},
         "AB ABC ABCD2 ABCD1 ABCE"},
        {"a long list", {{"G", "CFG_0000", 3}}, "CFG_9999 CFG_0000"},
    };
    row& long_list = rows[std::size(rows) - 1];
    for (int i = 1001; i <= 1100; ++i) {
        long_list.table.push_back({"H", "CFG_" + std::to_string(i), 7});
        long_list.expected += " " + long_list.table.back().name;
    }
    long_list.table.push_back({"G", "CFG_9999", 2});

    for (const row& row : rows) {
        std::vector<PGMDEV_SFL_FLASH_INFO> table;
        for (const device_row& device : row.table)
            table.push_back({device.group, device.name, true, device.order, low_voltage});
        pgm_host::set_flash_table(table);
        EXPECT_EQ(joined(load()->get_legacy_config_device_list(unknown_family,
                                                               PGMIO_CONFIG_SCHEME_QSPI, true)),
                  row.expected)
            << row.what;
    }
}

TEST_F(ManagerTest, TemplatesAreTheGoldenOnesAndThenTheUsers) {
    write_installed("pgm_flash_a.xml",
                    document(user_template("Zeta") +
                             user_template("Alpha", flows("", action(ZORVA_ACT_TYPE_ERASE)))));
    const auto mgr = load();
    EXPECT_EQ(joined(mgr->get_user_template_list()), "Alpha Zeta");
    EXPECT_EQ(joined(mgr->get_prog_flow_template_list()),
              "Micron Macronix Cypress Winbond Issi Alpha Zeta");
    const auto other_flow = number<ZORVA_PROG_FLOW_TYPE>(7);
    for (int i = -1; i <= 5; ++i) {
        const std::vector<ZORVA_OPERATION*>* list = nullptr;
        const auto ask = [&](ZORVA_PROG_FLOW_TYPE flow) {
            return internal_error_of([&] {
                list = mgr->get_prog_flow_template_operation_list(
                    number<ZORVA_PROG_FLOW_TEMPLATE>(i), flow);
            });
        };
        const bool known = i >= 0 && i < 5;
        EXPECT_EQ(ask(ZORVA_PROG_FLOW_TYPE_SFL), known ? "" : "Unknown programming flow template");
        if (!known) continue;
        const auto* sfl = list;
        EXPECT_EQ(ask(other_flow), "");
        EXPECT_EQ(list, sfl);
        EXPECT_EQ(ask(ZORVA_PROG_FLOW_TYPE_SDM), "");
        EXPECT_NE(list, sfl);
        EXPECT_EQ(list->size(), 5u);
    }
    std::string alpha = "Alpha";
    const auto program = [&](ZORVA_PROG_FLOW_TYPE flow) {
        return *mgr->get_user_template_operation_list(alpha, flow)->at(1)->get_action_list();
    };
    EXPECT_TRUE(program(other_flow).empty());
    EXPECT_EQ(program(ZORVA_PROG_FLOW_TYPE_SDM).at(0)->get_action_type(), ZORVA_ACT_TYPE_ERASE);
    alpha = "Miss%d";
    EXPECT_EQ(internal_error_of([&] { program(other_flow); }), "Unknown user template Miss%d");
}

TEST_F(ManagerTest, FlowsAreEditableOfNewAndOfRemovableDevicesWithoutSdm) {
    write_custom("pgm_flash_a.xml", document(devices("MINE")));
    const auto mgr = load();
    // Of nobody's record, a stored one of the user, a shipped, a new and a legacy one.
    const auto permissions = [&] {
        std::vector<bool> given{mgr->get_operation_editable_permission(nullptr)};
        for (const char* name : {"MINE", "SHIP_A", "NEW", "LEG_LOW"}) {
            ZORVA_FLASH* flash = mgr->get_flash(name, true);
            if (!flash) flash = mgr->create_flash(name);
            given.push_back(mgr->get_operation_editable_permission(flash));
        }
        return given;
    };
    mgr->set_active_device_family(plain_family);
    EXPECT_EQ(permissions(), (std::vector{true, true, false, true, false}));
    mgr->set_active_device_family(DEV_FAMILY_LAST);
    EXPECT_EQ(permissions(), std::vector<bool>(5, false));
    pgm_host::set_setting("pgm_zorva_enable_operation_editable", true);
    EXPECT_EQ(permissions(), std::vector<bool>(5, true));
}

}  // namespace
