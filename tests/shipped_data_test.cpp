// The documents that the installation really ships, as the library takes them. What has to stand in
// them is tried where they are made.
#include "pgm/zorva/rules/zorva_action_table.h"
#include "pgm/zorva/zorva_sdmmc_mgr.h"
#include "tests/test_support.h"

namespace {

class ShippedDataTest : public InstallationTest {};

// A flow is the five operations in their order, each value of their actions good.
void expect_good_flow(const std::vector<ZORVA_OPERATION*>& flow) {
    ASSERT_EQ(flow.size(), 5u);
    for (int place = 0; place < 5; ++place) {
        EXPECT_EQ(flow[place]->get_operation_type(), place);
        for (ZORVA_ACTION* action : *flow[place]->get_action_list())
            for (const ZORVA_ACT_PROPERTY property : action->get_property_enum_list())
                EXPECT_FALSE(zorva_judge_property(property, action->get_property_value(property)))
                    << action->get_property_value(property);
    }
    EXPECT_FALSE(flow[ZORVA_OP_TYPE_PROGRAM]->get_action_list()->empty());
}

TEST_F(ShippedDataTest, EveryDeviceIsWholeAndFoundByItsId) {
    pgm_host::set_common_programmer("");
    ZORVA_QSPI_MGR mgr;
    EXPECT_GE(device_names(mgr).size(), 150u);
    for (const std::string& name : device_names(mgr)) {
        SCOPED_TRACE(name);
        ZORVA_FLASH* flash = mgr.get_flash(name, true);
        ASSERT_TRUE(flash);
        EXPECT_FALSE(flash->get_flash_removable_permission());
        for (const auto flow : {ZORVA_PROG_FLOW_TYPE_SFL, ZORVA_PROG_FLOW_TYPE_SDM})
            expect_good_flow(*flash->get_operation_list(flow));
        dword mask = 0;
        const dword id = flash->get_parameter_value_in_dword(ZORVA_FLASH_PARAM_ID, &mask);
        for (ZORVA_FLASH* same : mgr.get_flash_list_with_id(id, mask))
            EXPECT_EQ(same->get_density(), flash->get_density()) << same->get_name();
    }
    for (int vendor = 0; vendor < 5; ++vendor)
        for (const auto flow : {ZORVA_PROG_FLOW_TYPE_SFL, ZORVA_PROG_FLOW_TYPE_SDM})
            expect_good_flow(*mgr.get_prog_flow_template_operation_list(
                number<ZORVA_PROG_FLOW_TEMPLATE>(vendor), flow));
    ZORVA_SDMMC_MGR cards;
    EXPECT_GE(device_names(cards).size(), 40u);
    EXPECT_EQ(joined(posted_ids()), "");
}

}  // namespace
