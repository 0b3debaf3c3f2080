// Operations and device records.
#include "pgm/zorva/zorva_qspi_action.h"
#include "pgm/zorva/zorva_qspi_flash.h"
#include "pgm/zorva/zorva_qspi_operation.h"
#include "tests/test_support.h"

#include <iterator>
#include <memory>

namespace {

class OperationTest : public InstallationTest {};
class FlashTest : public InstallationTest {};

TEST_F(OperationTest, EachTypeHasItsNameAndDescription) {
    struct row {
        const char* name;
        std::size_t description_bytes;
        const char* description_part;
    };
    const row rows[] = {
        {"Initialization", 171, "at the beginning of the Program, Erase, Verify, Blank-Check, or"},
        {"Program", 137, "when the Program option is enabled in the Programmer tool"},
        {"Erase", 283, "\u201cErase data\u201d and \u201cEnd of data?\u201d"},
        {"Verify/Blank-Check/Examine", 175, "the Verify/Blank-Check/Examine option is enabled"},
        {"Termination", 162, "at the end of the Program, Erase, Verify, Blank-Check, or Examine"}};
    for (int i = 0; i < std::ssize(rows); ++i) {
        SCOPED_TRACE(rows[i].name);
        ZORVA_QSPI_OPERATION operation(number<ZORVA_OP_TYPE>(i));
        EXPECT_EQ(operation.get_name(), rows[i].name);
        EXPECT_EQ(operation.get_operation_type(), i);
        const std::string description = operation.get_operation_description();
        EXPECT_EQ(description.size(), rows[i].description_bytes);
        EXPECT_NE(description.find(rows[i].description_part), std::string::npos) << description;
    }
    for (const int type : {-1, 5, 9})
        EXPECT_EQ(internal_error_of([&] { ZORVA_QSPI_OPERATION{number<ZORVA_OP_TYPE>(type)}; }),
                  "Unknown operation type");
}

TEST_F(OperationTest, ACopySharesNothingWithItsSource) {
    auto source = std::make_unique<ZORVA_QSPI_OPERATION>(ZORVA_OP_TYPE_ERASE);
    source->set_name("Mine");
    for (const char* command : {"1", "2", "3"}) {
        source->add_action_into_list(new ZORVA_QSPI_ACTION(ZORVA_ACT_TYPE_ERASE));
        source->get_action_list()->back()->set_property_value(ZORVA_ACT_PROPERTY_ER_COMMAND,
                                                              command);
    }
    ZORVA_QSPI_OPERATION copy(*source);
    source->get_action_list()->at(0)->set_property_value(ZORVA_ACT_PROPERTY_ER_COMMAND, "9");
    source.reset();
    EXPECT_EQ(copy.get_name(), "Mine");
    EXPECT_EQ(copy.get_operation_type(), ZORVA_OP_TYPE_ERASE);
    std::string commands;
    for (ZORVA_ACTION* action : *copy.get_action_list())
        commands += action->get_property_value(ZORVA_ACT_PROPERTY_ER_COMMAND);
    EXPECT_EQ(commands, "123");
    for (int time = 0; time < 2; ++time) copy.clear_action_list();
    EXPECT_TRUE(copy.get_action_list()->empty());
    EXPECT_EQ(internal_error_of([&] { copy.add_action_into_list(nullptr); }), "action");
}

TEST_F(OperationTest, EachVendorAnswersWithItsOwnFlows) {
    const std::vector<std::string> tags = split("MICRON|MACRONIX|CYPRESS|WINBOND|ISSI");
    const auto marked = [](const std::string& mark) {
        return replaced(action(ZORVA_ACT_TYPE_CUSTOM), "Program data", mark);
    };
    std::string vendors;
    for (const std::string& tag : tags)
        vendors +=
            "<" + tag + ">" + flows(marked(tag + " SFL"), marked(tag + " SDM")) + "</" + tag + ">";
    write_shipped(document("<GOLDEN_TEMPLATE>" + vendors + "</GOLDEN_TEMPLATE>" + devices("A")));
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(joined(mgr.get_prog_flow_template_list()), "Micron Macronix Cypress Winbond Issi");
    for (std::size_t i = 0; i < tags.size(); ++i)
        for (const auto flow : {ZORVA_PROG_FLOW_TYPE_SFL, ZORVA_PROG_FLOW_TYPE_SDM}) {
            const auto* operations = mgr.get_prog_flow_template_operation_list(
                number<ZORVA_PROG_FLOW_TEMPLATE>(static_cast<int>(i)), flow);
            EXPECT_EQ(operations->at(1)->get_action_list()->at(0)->get_property_value(
                          ZORVA_ACT_PROPERTY_CU_DESCRIPTION),
                      tags[i] + (flow == ZORVA_PROG_FLOW_TYPE_SFL ? " SFL" : " SDM"));
        }
}

// A leading 0 means octal to a file's readers. A good number that would be a bad one there isn't
// written; the text in the document is empty for it.
TEST_F(OperationTest, NumbersStandInAFileInDecimal) {
    struct row {
        ZORVA_ACT_PROPERTY property;
        const char* value;
        const char* written;
    };
    const row rows[] = {
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "16", "ATTEMPT_COUNT>16<"},
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "0x1f", "ATTEMPT_COUNT>31<"},
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "010", "ATTEMPT_COUNT>8<"},
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "4294967295", "ATTEMPT_COUNT>4294967295<"},
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "4294967296", ""},
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "08", ""},
        {ZORVA_ACT_PROPERTY_RR_DATA_LENGTH, "08", "DATA_LENGTH>08<"},
        {ZORVA_ACT_PROPERTY_RR_DELAY, "08", ">0</DELAY>"},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.value);
        ZORVA_QSPI_FLASH flash("F");
        auto* action = new ZORVA_QSPI_ACTION(ZORVA_ACT_TYPE_READ_REGISTER);
        action->set_property_value(ZORVA_ACT_PROPERTY_RR_NAME, "Poll");
        action->set_property_value(ZORVA_ACT_PROPERTY_RR_COMMAND, "5");
        action->set_property_value(ZORVA_ACT_PROPERTY_RR_DATA_LENGTH, "1");
        action->set_property_value(row.property, row.value);
        auto* operation = new ZORVA_QSPI_OPERATION(ZORVA_OP_TYPE_PROGRAM);
        operation->add_action_into_list(action);
        flash.add_operation_into_list(operation, ZORVA_PROG_FLOW_TYPE_SDM);
        const std::string document = ZORVA_QSPI_MGR::get_template_document("T", &flash);
        EXPECT_EQ(document.empty(), *row.written == '\0');
        EXPECT_NE(document.find(row.written), document.npos) << document;
    }
}

TEST_F(FlashTest, DensityTurnsIntoBytesAndAName) {
    struct row {
        const char* density;
        qword bytes;
        const char* generic_name;
    };
    const row rows[] = {{"", 0, ""},
                        {"512", 0, ""},
                        {"512K", 0, ""},
                        {"Mb", 0, ""},
                        {" 1Mb", 0, ""},
                        {"64Mb", 8388608, ""},
                        {"128Mb", 16777216, "QSPI128MB"},
                        {"0128Mbit", 16777216, "QSPI128MB"},
                        {"1024Mb", 134217728, "QSPI1GB"},
                        {"2048Mb", 268435456, "QSPI2GB"},
                        {"128M", 134217728, "QSPI1GB"},
                        {"4096Mb", 536870912, ""},
                        {"128GB", 137438953472, ""}};
    for (const row& row : rows) {
        SCOPED_TRACE(row.density);
        ZORVA_QSPI_FLASH flash("F");
        flash.set_density(row.density);
        EXPECT_EQ(flash.get_density_in_bytes_qword(), row.bytes);
        EXPECT_EQ(flash.get_density_in_bytes(), static_cast<dword>(row.bytes));
        EXPECT_EQ(flash.get_generic_name(), row.generic_name);
    }
}

TEST_F(FlashTest, IdTurnsIntoANumberAndAMask) {
    struct row {
        const char* id;
        dword value;
        dword mask;
    };
    // A number set as an ID becomes its decimal text, so 18 and 256 are set in both forms.
    const row rows[] = {{"0x01 0x02 0x03", 0x030201, 0xFFFFFF},
                        {"", 0, 0},
                        {"0x20 186", 0xBA20, 0xFFFF},
                        {"0x20 0xBA 256", 0, 0},
                        {"0", 0, 0xFF},
                        {"1 2 3 4 5", 0x04030201, 0xFFFFFFFF},
                        {"18", 18, 0xFF},
                        {"256", 0, 0}};
    ZORVA_QSPI_FLASH flash("F");
    const auto expect_id = [&](const row& row) {
        dword mask = 77;
        EXPECT_EQ(flash.get_parameter_value(ZORVA_FLASH_PARAM_ID), row.id);
        EXPECT_EQ(flash.get_parameter_value_in_dword(ZORVA_FLASH_PARAM_ID, &mask), row.value);
        EXPECT_EQ(mask, row.mask) << row.id;
        EXPECT_EQ(flash.get_parameter_value_in_dword(ZORVA_FLASH_PARAM_ID, nullptr), row.value);
    };
    for (const row& row : rows) {
        flash.set_parameter_value(ZORVA_FLASH_PARAM_ID, std::string(row.id));
        expect_id(row);
    }
    flash.set_parameter_value(ZORVA_FLASH_PARAM_ID, dword{18});
    expect_id(rows[6]);
    flash.set_parameter_value(ZORVA_FLASH_PARAM_ID, dword{256});
    expect_id(rows[7]);
}

TEST_F(FlashTest, HoldsEachParameterInItsForm) {
    ZORVA_QSPI_FLASH flash("NAME");
    for (int i = -1; i <= 9; ++i) {
        SCOPED_TRACE(i);
        const auto param = number<ZORVA_FLASH_PARAM>(i);
        const bool is_text = i == 1 || i == 2 || i == 7 || i == 8;
        const bool is_number = i >= 4 && i <= 6;
        const std::string text = "text " + std::to_string(i);
        const std::string refused = "Unknown flash parameter: " + std::to_string(i);
        EXPECT_EQ(flash.get_parameter_value(param), "");
        EXPECT_EQ(flash.get_parameter_value_in_dword(param, nullptr), 0u);
        EXPECT_EQ(internal_error_of([&] { flash.set_parameter_value(param, dword{77}); }),
                  is_number || i == 1 ? "" : refused);
        EXPECT_EQ(internal_error_of([&] { flash.set_parameter_value(param, text); }),
                  is_text ? "" : refused);
        dword mask = 7;
        EXPECT_EQ(flash.get_parameter_value(param), is_text ? text : "");
        EXPECT_EQ(flash.get_parameter_value_in_dword(param, &mask), is_number ? 77u : 0u);
        EXPECT_EQ(mask, i == 1 ? 0u : 7u);
    }
    EXPECT_EQ(flash.get_name(), "NAME");
    EXPECT_EQ(flash.get_family(), DEV_FAMILY_QSPI_FLASH);
}

// Counts itself.
struct counted_operation : ZORVA_QSPI_OPERATION {
    explicit counted_operation(int& count)
        : ZORVA_QSPI_OPERATION(ZORVA_OP_TYPE_ERASE), m_count(count) {
        ++m_count;
    }
    ~counted_operation() override { --m_count; }
    int& m_count;
};

TEST_F(FlashTest, OwnsTheOperationsOfTwoFlows) {
    constexpr auto sfl = ZORVA_PROG_FLOW_TYPE_SFL;
    constexpr auto sdm = ZORVA_PROG_FLOW_TYPE_SDM;
    int count = 0;
    {
        ZORVA_QSPI_FLASH flash("F");
        for (const auto flow : {sfl, sfl, sdm})
            flash.add_operation_into_list(new counted_operation(count), flow);
        ZORVA_OPERATION* replacement = new counted_operation(count);
        flash.set_operation_list({replacement}, sfl);
        EXPECT_EQ(count, 2);
        const auto unknown = number<ZORVA_PROG_FLOW_TYPE>(2);
        const std::string text = "Unknown programming flow type";
        ZORVA_QSPI_OPERATION loose(ZORVA_OP_TYPE_ERASE);
        EXPECT_EQ(internal_error_of([&] { flash.get_operation_list(unknown); }), text);
        EXPECT_EQ(internal_error_of([&] { flash.add_operation_into_list(&loose, unknown); }), text);
        EXPECT_EQ(internal_error_of([&] { flash.set_operation_list({&loose}, unknown); }), text);
        EXPECT_EQ(internal_error_of([&] { flash.set_operation_list({}, unknown); }),
                  "!operation_list.empty()");
        EXPECT_EQ(internal_error_of([&] { flash.add_operation_into_list(nullptr, sfl); }),
                  "operation");
        EXPECT_EQ(*flash.get_operation_list(sfl), std::vector{replacement});
        EXPECT_EQ(flash.get_operation_list(sdm)->size(), 1u);
        flash.clear_operation_list();
        EXPECT_TRUE(flash.get_operation_list(sfl)->empty() &&
                    flash.get_operation_list(sdm)->empty());
        EXPECT_EQ(count, 0);
        flash.add_operation_into_list(new counted_operation(count), sdm);
    }
    EXPECT_EQ(count, 0) << "what a record holds goes with it";
}

}  // namespace
