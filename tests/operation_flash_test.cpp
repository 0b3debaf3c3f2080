// Operations and device records.
#include "pgm/zorva/zorva_qspi_action.h"
#include "pgm/zorva/zorva_qspi_flash.h"
#include "pgm/zorva/zorva_qspi_operation.h"
#include "tests/test_support.h"

#include <fmt/format.h>

#include <functional>
#include <iterator>
#include <memory>
#include <tuple>
#include <utility>

namespace {

class OperationTest : public InstallationTest {};
class FlashTest : public InstallationTest {};

TEST_F(OperationTest, EachTypeHasItsNameAndDescription) {
    const std::string expected[] = {"Initialization 171", "Program 137", "Erase 283",
                                    "Verify/Blank-Check/Examine 175", "Termination 162"};
    for (int i = 0; i < std::ssize(expected); ++i) {
        ZORVA_QSPI_OPERATION operation(number<ZORVA_OP_TYPE>(i));
        EXPECT_EQ(operation.get_operation_type(), i);
        const std::size_t length = std::string(operation.get_operation_description()).size();
        EXPECT_EQ(operation.get_name() + " " + std::to_string(length), expected[i]);
    }
    for (const int type : {-1, 5, 9})
        EXPECT_EQ(internal_error_of([&] { ZORVA_QSPI_OPERATION{number<ZORVA_OP_TYPE>(type)}; }),
                  "Unknown operation type");
}

TEST_F(OperationTest, ACopySharesNothingWithItsSource) {
    constexpr auto command = ZORVA_ACT_PROPERTY_ER_COMMAND;
    auto source = std::make_unique<ZORVA_QSPI_OPERATION>(ZORVA_OP_TYPE_ERASE);
    source->set_name("Mine");
    for (const char* value : {"1", "2", "3"}) {
        source->add_action_into_list(new ZORVA_QSPI_ACTION(ZORVA_ACT_TYPE_ERASE));
        source->get_action_list()->back()->set_property_value(command, value);
    }
    ZORVA_QSPI_OPERATION copy(*source);
    source->get_action_list()->at(0)->set_property_value(command, "9");
    source.reset();
    EXPECT_EQ(copy.get_name(), "Mine");
    EXPECT_EQ(copy.get_operation_type(), ZORVA_OP_TYPE_ERASE);
    std::string commands;
    for (ZORVA_ACTION* action : *copy.get_action_list())
        commands += action->get_property_value(command);
    EXPECT_EQ(commands, "123");
    copy.clear_action_list();
    EXPECT_TRUE(copy.get_action_list()->empty());
    EXPECT_EQ(internal_error_of([&] { copy.add_action_into_list(nullptr); }), "action");
}

TEST_F(OperationTest, EachVendorAnswersWithItsOwnFlows) {
    const std::vector<std::string> tags = split("MICRON|MACRONIX|CYPRESS|WINBOND|ISSI");
    std::string xml = golden_template();
    const std::string unmarked = action(ZORVA_ACT_TYPE_WRITE_REGISTER);
    for (const std::string& tag : tags)
        for (const std::string flow : {" SFL", " SDM"})
            xml = replaced(xml, unmarked,
                           replaced(action(ZORVA_ACT_TYPE_CUSTOM), "Program data", tag + flow));
    write_shipped(document(xml + devices("A")));
    ZORVA_QSPI_MGR mgr;
    const auto flow_of = [&](int vendor, int flow) {
        return mgr.get_prog_flow_template_operation_list(number<ZORVA_PROG_FLOW_TEMPLATE>(vendor),
                                                         number<ZORVA_PROG_FLOW_TYPE>(flow));
    };
    // A flow that is unknown is the one through the SFL.
    for (int i = 0; i < std::ssize(tags); ++i)
        for (const auto& [flow, name] : {std::pair{0, " SFL"}, {1, " SDM"}, {7, " SFL"}})
            EXPECT_EQ(flow_of(i, flow)->at(1)->get_action_list()->at(0)->get_property_value(
                          ZORVA_ACT_PROPERTY_CU_DESCRIPTION),
                      tags[i] + name);
    for (const int unknown : {-1, 5})
        EXPECT_EQ(internal_error_of([&] { flow_of(unknown, 0); }),
                  "Unknown programming flow template");
    std::string none = "Miss%d";
    const auto miss = [&] { mgr.get_user_template_operation_list(none, ZORVA_PROG_FLOW_TYPE_SFL); };
    EXPECT_EQ(internal_error_of(miss), "Unknown user template Miss%d");
}

// A leading 0 means octal to a file's readers. A good number that would be a bad one there isn't
// written; the text in the document is empty for it.
TEST_F(OperationTest, NumbersStandInAFileInDecimal) {
    const std::tuple<ZORVA_ACT_PROPERTY, std::string, std::string> rows[] = {
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "0x1f", "ATTEMPT_COUNT>31<"},
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "010", "ATTEMPT_COUNT>8<"},
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "4294967295", "ATTEMPT_COUNT>4294967295<"},
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "4294967296", ""},
        {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, "08", ""},
        {ZORVA_ACT_PROPERTY_RR_DATA_LENGTH, "08", "DATA_LENGTH>08<"},
        {ZORVA_ACT_PROPERTY_RR_DELAY, "08", ">0</DELAY>"},
    };
    for (const auto& [property, value, written] : rows) {
        SCOPED_TRACE(value);
        auto* action = new ZORVA_QSPI_ACTION(ZORVA_ACT_TYPE_READ_REGISTER);
        for (const auto each : {ZORVA_ACT_PROPERTY_RR_NAME, ZORVA_ACT_PROPERTY_RR_COMMAND,
                                ZORVA_ACT_PROPERTY_RR_DATA_LENGTH})
            action->set_property_value(each, "1");
        action->set_property_value(property, value);
        auto* operation = new ZORVA_QSPI_OPERATION(ZORVA_OP_TYPE_PROGRAM);
        operation->add_action_into_list(action);
        ZORVA_QSPI_FLASH flash("F");
        flash.add_operation_into_list(operation, ZORVA_PROG_FLOW_TYPE_SDM);
        const std::string document = ZORVA_QSPI_MGR::get_template_document("T", &flash);
        EXPECT_EQ(document.empty(), written.empty());
        EXPECT_NE(document.find(written), document.npos) << document;
    }
}

TEST_F(FlashTest, DensityTurnsIntoBytesAndAName) {
    for (const std::string expected :
         {" = 0 ", "512 = 0 ", "512K = 0 ", "Mb = 0 ", " 1Mb = 0 ", "64Mb = 8388608 ",
          "128Mb = 16777216 QSPI128MB", "0128Mbit = 16777216 QSPI128MB",
          "1024Mb = 134217728 QSPI1GB", "128M = 134217728 QSPI1GB", "4096Mb = 536870912 ",
          "128GB = 137438953472 "}) {
        ZORVA_QSPI_FLASH flash("F");
        flash.set_density(expected.substr(0, expected.find(" = ")));
        const qword bytes = flash.get_density_in_bytes_qword();
        EXPECT_EQ(fmt::format("{} = {} {}", flash.get_density(), bytes, flash.get_generic_name()),
                  expected);
        EXPECT_EQ(flash.get_density_in_bytes(), static_cast<dword>(bytes));
    }
}

TEST_F(FlashTest, IdTurnsIntoANumberAndAMask) {
    ZORVA_QSPI_FLASH flash("F");
    const auto told = [&] {
        dword mask = 77;
        const dword value = flash.get_parameter_value_in_dword(ZORVA_FLASH_PARAM_ID, &mask);
        return fmt::format("{} = {:x} in {:x}", flash.get_parameter_value(ZORVA_FLASH_PARAM_ID),
                           value, mask);
    };
    for (const std::string expected :
         {"0x01 0x02 0x03 = 30201 in ffffff", " = 0 in 0", "0x20 0xBA 256 = 0 in 0", "0 = 0 in ff",
          "1 2 3 4 5 = 4030201 in ffffffff"}) {
        flash.set_parameter_value(ZORVA_FLASH_PARAM_ID, expected.substr(0, expected.find(" = ")));
        EXPECT_EQ(told(), expected);
    }
    // A number becomes its decimal text.
    for (const auto& [id, expected] : {std::pair{18u, "18 = 12 in ff"}, {256u, "256 = 0 in 0"}}) {
        flash.set_parameter_value(ZORVA_FLASH_PARAM_ID, id);
        EXPECT_EQ(told(), expected);
    }
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
        const auto set_number = [&] { flash.set_parameter_value(param, dword{77}); };
        const auto set_text = [&] { flash.set_parameter_value(param, text); };
        EXPECT_EQ(internal_error_of(set_number), is_number || i == 1 ? "" : refused);
        EXPECT_EQ(internal_error_of(set_text), is_text ? "" : refused);
        dword mask = 7;
        EXPECT_EQ(flash.get_parameter_value(param), is_text ? text : "");
        EXPECT_EQ(flash.get_parameter_value_in_dword(param, &mask), is_number ? 77u : 0u);
        EXPECT_EQ(mask, i == 1 ? 0u : 7u);
    }
    EXPECT_EQ(flash.get_name(), "NAME");
    EXPECT_EQ(flash.get_family(), DEV_FAMILY_QSPI_FLASH);
}

struct counted_operation : ZORVA_QSPI_OPERATION {
    explicit counted_operation(std::shared_ptr<void> counter)
        : ZORVA_QSPI_OPERATION(ZORVA_OP_TYPE_ERASE), m_counter(std::move(counter)) {}
    std::shared_ptr<void> m_counter;
};

TEST_F(FlashTest, OwnsTheOperationsOfTwoFlows) {
    constexpr auto sfl = ZORVA_PROG_FLOW_TYPE_SFL;
    constexpr auto sdm = ZORVA_PROG_FLOW_TYPE_SDM;
    constexpr auto unknown = number<ZORVA_PROG_FLOW_TYPE>(2);
    const auto counter = std::make_shared<int>();
    const auto count = [&] { return counter.use_count() - 1; };
    auto flash = std::make_unique<ZORVA_QSPI_FLASH>("F");
    for (const auto flow : {sfl, sfl, sdm})
        flash->add_operation_into_list(new counted_operation(counter), flow);
    ZORVA_OPERATION* replacement = new counted_operation(counter);
    flash->set_operation_list({replacement}, sfl);
    EXPECT_EQ(count(), 2);
    const char* const unknown_flow = "Unknown programming flow type";
    ZORVA_QSPI_OPERATION loose(ZORVA_OP_TYPE_ERASE);
    const std::pair<const char*, std::function<void()>> refused[] = {
        {unknown_flow, [&] { flash->get_operation_list(unknown); }},
        {unknown_flow, [&] { flash->add_operation_into_list(&loose, unknown); }},
        {unknown_flow, [&] { flash->set_operation_list({&loose}, unknown); }},
        {"!operation_list.empty()", [&] { flash->set_operation_list({}, unknown); }},
        {"operation", [&] { flash->add_operation_into_list(nullptr, sfl); }},
    };
    for (const auto& [text, call] : refused) EXPECT_EQ(internal_error_of(call), text);
    EXPECT_EQ(*flash->get_operation_list(sfl), std::vector{replacement});
    EXPECT_EQ(flash->get_operation_list(sdm)->size(), 1u);
    flash->clear_operation_list();
    EXPECT_EQ(count(), 0);
    flash->add_operation_into_list(new counted_operation(counter), sdm);
    flash.reset();
    EXPECT_EQ(count(), 0) << "what a record holds goes with it";
}

}  // namespace
