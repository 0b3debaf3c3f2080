// The documents that the installation really ships.
#include "pgm/zorva/rules/zorva_action_table.h"
#include "services/pgm_common.h"
#include "tests/test_support.h"

#include <memory>

namespace {

class ShippedDataTest : public InstallationTest {
  protected:
    ShippedDataTest() {
        pgm_host::set_common_programmer("");
        pgm_host::set_flash_table({});
        mgr = std::make_unique<ZORVA_QSPI_MGR>();
    }

    std::unique_ptr<ZORVA_QSPI_MGR> mgr;
};

// A flow is the five operations in their order, each value of their actions good.
void expect_good_flow(const std::vector<ZORVA_OPERATION*>& flow) {
    ASSERT_EQ(flow.size(), 5u);
    for (std::size_t place = 0; place < flow.size(); ++place) {
        EXPECT_EQ(flow[place]->get_operation_type(), static_cast<int>(place));
        for (ZORVA_ACTION* action : *flow[place]->get_action_list())
            for (const ZORVA_ACT_PROPERTY property : action->get_property_enum_list())
                EXPECT_FALSE(zorva_judge_property(property, action->get_property_value(property)))
                    << action->get_property_value(property);
    }
    EXPECT_FALSE(flow[ZORVA_OP_TYPE_PROGRAM]->get_action_list()->empty());
    EXPECT_FALSE(flow[ZORVA_OP_TYPE_ERASE]->get_action_list()->empty());
}

TEST_F(ShippedDataTest, EveryDeviceAndEveryVendorIsWhole) {
    const std::vector<std::string> names = device_names(*mgr);
    EXPECT_GE(names.size(), 150u);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        ZORVA_FLASH* flash = mgr->get_flash(name, true);
        ASSERT_TRUE(flash);
        EXPECT_EQ(flash->get_name(), name);
        EXPECT_FALSE(flash->get_flash_removable_permission());
        expect_good_flow(*flash->get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL));
        expect_good_flow(*flash->get_operation_list(ZORVA_PROG_FLOW_TYPE_SDM));
        EXPECT_TRUE(mgr->is_parameter_valid(
            ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE,
            flash->get_parameter_value(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE), nullptr));
    }
    for (int vendor = 0; vendor < 5; ++vendor)
        for (const auto flow : {ZORVA_PROG_FLOW_TYPE_SFL, ZORVA_PROG_FLOW_TYPE_SDM}) {
            SCOPED_TRACE(vendor);
            expect_good_flow(*mgr->get_prog_flow_template_operation_list(
                number<ZORVA_PROG_FLOW_TEMPLATE>(vendor), flow));
        }
    EXPECT_EQ(joined(posted_ids()), "");
}

TEST_F(ShippedDataTest, AnIdOnTheBusFindsItsDevices) {
    constexpr dword id = 0x19BA20;  // 0x20 0xBA 0x19
    const std::vector<ZORVA_FLASH*> found = mgr->get_flash_list_with_id(id, 0xFFFFFF);
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found[0], mgr->get_flash_with_id(id, 0xFFFFFF));
    for (ZORVA_FLASH* flash : found) EXPECT_EQ(flash->get_density(), "256Mb") << flash->get_name();
}

// Nobody asks the schema when the file loads, but what ships keeps it.
TEST_F(ShippedDataTest, TheDocumentKeepsTheSchema) {
    const std::string root = PGM_COMMON::pgm_get_common_programmer();
    std::string first_text;
    std::string second_text;
    PGM_COMMON_XML::check_xsd(root + "xml/pgm_flash_db_qspi.xml", root + "xsd/zorva_qspi.xsd",
                              first_text, second_text);
    EXPECT_EQ(first_text + second_text, "");
}

}  // namespace
