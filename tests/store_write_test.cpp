// What stands in a file that was written, and what comes back out of it.
#include "pgm/zorva/rules/zorva_action_table.h"
#include "tests/store_support.h"

#include <iterator>

namespace {

// A value for each property, in the order of their numbers.
// clang-format off
const char* const values[] = {
    "Write_status 1", "0x01", "0x02 0xfC", "0x10", "1-1",
    "Read_status", "0x05", "256", "0x00 0x01", "0x80 0xFF", "010", "7", "1-1",
    " Page_program ", "0x02", "0x1000", "my.jic", "256", "4", "4294967295", "1-1-1",
    "Read_ID", "0x9f", "017", "jic", "JIC", "0x0F", "3", "15", "0", "1-1-1",
    "Erase_64KiB", "0xD8", "jic", "65536", "0x5", "70000", "1-1",
    " <Erase> & \"check\"\t\n\xC3\xBC'\\\r\n", "nil"};
// clang-format on
static_assert(std::size(values) == ZORVA_ACT_PROPERTY_COUNT);

ZORVA_ACTION* new_action(ZORVA_MGR& mgr, int type) {
    ZORVA_ACTION* action = mgr.create_action(number<ZORVA_ACT_TYPE>(type));
    for (const ZORVA_ACT_PROPERTY property : action->get_property_enum_list())
        action->set_property_value(property, values[property]);
    return action;
}

class StoreWriteTest : public StoreTest {
  protected:
    // A record with an action of each type, in the first operation of one flow or the other's last.
    ZORVA_FLASH* full_record(const std::string& name, const std::string& template_name = "") {
        ZORVA_FLASH* flash = new_record(m_mgr, name, "0x20 0xBA 0x18", template_name);
        ZORVA_OPERATION* const homes[] = {
            flash->get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL)->front(),
            flash->get_operation_list(ZORVA_PROG_FLOW_TYPE_SDM)->back()};
        for (int type = 0; type < ZORVA_ACT_TYPE_COUNT; ++type)
            homes[type % 2]->add_action_into_list(new_action(m_mgr, type));
        return flash;
    }

    ZORVA_QSPI_MGR m_mgr;
};

// One file of each kind stands in tests/data as it is to be written.
TEST_F(StoreWriteTest, WhatIsWrittenIsReadAndWrittenAgain) {
    EXPECT_TRUE(m_mgr.update_db(full_record("X"), m_custom_dir));
    EXPECT_TRUE(run(m_mgr, "store template_T") && run(m_mgr, "add T"));
    EXPECT_TRUE(m_mgr.update_template_db(full_record("", "Full"), m_custom_dir));
    EXPECT_EQ(files_in(m_custom_dir), files_in(PGM_TEST_DATA));
    ZORVA_QSPI_MGR again;
    for (const char* name : {"X", "template_T"})
        EXPECT_TRUE(again.update_db(again.get_flash(name, true), m_custom_dir));
    // A neighbour comes and goes.
    EXPECT_TRUE(run(again, "store template_Full") && run(again, "delete template_Full"));
    EXPECT_EQ(files_in(m_custom_dir), files_in(PGM_TEST_DATA));
}

TEST_F(StoreWriteTest, ValuesThatTheFileSpellsInAnotherWay) {
    const struct {
        ZORVA_ACT_TYPE type;
        ZORVA_ACT_PROPERTY property;
        const char *value, *read;  // null: refused
    } rows[] = {
        {ZORVA_ACT_TYPE_ERASE, ZORVA_ACT_PROPERTY_ER_DELAY, "0xFFFFFFFF", "4294967295"},
        {ZORVA_ACT_TYPE_ERASE, ZORVA_ACT_PROPERTY_ER_DELAY, "4294967296", nullptr},
        {ZORVA_ACT_TYPE_ERASE, ZORVA_ACT_PROPERTY_ER_DELAY, "18446744073709551616", nullptr},
        {ZORVA_ACT_TYPE_ERASE, ZORVA_ACT_PROPERTY_ER_DELAY, "0x", "0"},
        {ZORVA_ACT_TYPE_ERASE, ZORVA_ACT_PROPERTY_ER_ADDRESSING_MODE, "010", "8"},
        {ZORVA_ACT_TYPE_ERASE, ZORVA_ACT_PROPERTY_ER_ADDRESSING_MODE, "08", nullptr},  // 0
        {ZORVA_ACT_TYPE_READ_REGISTER, ZORVA_ACT_PROPERTY_RR_DATA_LENGTH, "010", "010"},
        {ZORVA_ACT_TYPE_CUSTOM, ZORVA_ACT_PROPERTY_CU_DESCRIPTION, "\n", "\n"},
        {ZORVA_ACT_TYPE_CUSTOM, ZORVA_ACT_PROPERTY_CU_DESCRIPTION, "\n\n.", "\n\n."},
        {ZORVA_ACT_TYPE_CUSTOM, ZORVA_ACT_PROPERTY_CU_DESCRIPTION, "\x1B", nullptr},
    };
    const auto erase_of = [](ZORVA_FLASH& of) {
        return of.get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL)->at(ZORVA_OP_TYPE_ERASE);
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        put_files(m_custom_dir, {});
        forget();
        ZORVA_QSPI_MGR mgr;
        ZORVA_FLASH* flash = new_record(mgr, "X");
        ZORVA_ACTION* action = new_action(mgr, row.type);
        action->set_property_value(row.property, row.value);
        erase_of(*flash)->add_action_into_list(action);
        EXPECT_EQ(mgr.update_db(flash, m_custom_dir), row.read != nullptr);
        EXPECT_EQ(posted_ids(), row.read ? ids{} : ids{20560});
        ZORVA_QSPI_MGR again;
        ZORVA_FLASH* read = again.get_flash("X", true);
        ASSERT_EQ(read != nullptr, row.read != nullptr);
        if (!read) continue;
        const auto* actions = erase_of(*read)->get_action_list();
        EXPECT_EQ(actions->at(0)->get_property_value(row.property), row.read);
    }
}

TEST_F(StoreWriteTest, AFlowIsCompletedInTheFileOnly) {
    ZORVA_FLASH* flash = new_record(m_mgr, "X", "0x77", "T");
    flash->clear_operation_list();
    for (const auto type : {ZORVA_OP_TYPE_TERMINATION, ZORVA_OP_TYPE_ERASE})
        flash->add_operation_into_list(m_mgr.create_operation(type), ZORVA_PROG_FLOW_TYPE_SFL);
    const std::string exported = m_mgr.get_flash_document(flash);
    ASSERT_TRUE(m_mgr.update_db(flash, m_custom_dir));
    EXPECT_EQ(exported, bytes_of(own_file("X")));
    EXPECT_EQ(flash->get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL)->size(), 2U);
    EXPECT_EQ(flash->get_operation_list(ZORVA_PROG_FLOW_TYPE_SDM)->size(), 0U);
    const std::string empty_flows = "\n0:\n1:\n2:\n3:\n4:\n0:\n1:\n2:\n3:\n4:";
    EXPECT_EQ(loaded().at("template T"), empty_flows);
    EXPECT_TRUE(loaded().at("device X").ends_with(empty_flows));
}

}  // namespace
