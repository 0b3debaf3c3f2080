// Actions: their properties, data lists, and the rules for values.
#include "pgm/zorva/rules/zorva_action_table.h"
#include "pgm/zorva/rules/zorva_text_pool.h"
#include "pgm/zorva/zorva_qspi_action.h"
#include "tests/test_support.h"

#include <iterator>
#include <limits>
#include <memory>
#include <tuple>

namespace {

using bytes = std::vector<unsigned char>;

class ActionTest : public InstallationTest {};

// Type by type: each property's label, its default behind "=", and "!" where it isn't editable.
const char* const property_lists[] = {
    "Write Register|Name:|Command:|Data:|Delay(us):=0|Command-Data(bus width):=1-1!",
    "Read Register|Name:|Command:|Data length(byte):|Expected data:|Expected data mask:|"
    "Attempt count:=1|Delay(us):=0|Command-Data(bus width):=1-1!",
    "Write Data|Name:|Command:|Address:|Data:|Page size(byte):=256!|Addressing mode(byte):|"
    "Delay(us):=0|Command-Address-Data(bus width):=1-1-1!",
    "Read Data|Name:|Command:|Address:|Data length(byte):|Expected data:|Expected data mask:|"
    "Addressing mode(byte):|Dummy clock cycle:|Delay(us):=0|"
    "Command-Address-Data(bus width):=1-1-1!",
    "Erase|Name:|Command:|Address:|Erase size(byte):|Addressing mode(byte):|Delay(us):=0|"
    "Command-Address(bus width):=1-1!",
    "Custom||",
};

TEST_F(ActionTest, EachTypeHasItsProperties) {
    const std::string unknown = "Unknown action property enum";
    int next = 0;
    for (int type = 0; type < std::ssize(property_lists); ++type) {
        ZORVA_QSPI_ACTION action(number<ZORVA_ACT_TYPE>(type));
        std::string list = action.get_name();
        for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list()) {
            EXPECT_EQ(property, next++);
            const std::string label = action.get_property_name(property);
            const std::string value = action.get_property_value(property);
            list += "|" + label + (value.empty() ? "" : "=" + value);
            if (!action.property_value_is_enable(property)) list += "!";
            const ZORVA_PROPERTY kind = ZORVA_ACTION::get_property_kind(property);
            EXPECT_EQ(ZORVA_ACTION::find_property(action.get_action_type(), kind), property);
            std::string offered;
            const auto offer = [&] { offered = joined(action.get_property_value_list(property)); };
            const std::string error = internal_error_of(offer);
            EXPECT_EQ(offered + error, label.ends_with("(bus width):") ? value : unknown);
        }
        EXPECT_EQ(list, property_lists[type]);
    }
    EXPECT_EQ(next, 40);
    EXPECT_FALSE(ZORVA_ACTION::find_property(ZORVA_ACT_TYPE_READ_DATA, ZORVA_PROPERTY::ERASE_SIZE));
    for (const int type : {-1, 6})
        EXPECT_EQ(internal_error_of([&] { ZORVA_QSPI_ACTION{number<ZORVA_ACT_TYPE>(type)}; }),
                  "Unknown action type");
    ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_ERASE);
    for (const auto none : {number<ZORVA_ACT_PROPERTY>(-1), number<ZORVA_ACT_PROPERTY>(40)}) {
        const auto judge = [&] { action.property_value_is_valid(none, "", nullptr); };
        EXPECT_EQ(internal_error_of(judge), unknown);
        EXPECT_EQ(internal_error_of([&] { action.get_property_value_list(none); }), unknown);
        EXPECT_TRUE(action.property_value_is_enable(none));
    }
    const auto range = ZORVA_ACTION::get_property_range(ZORVA_ACT_PROPERTY_RD_DATA_LENGTH);
    EXPECT_TRUE(range.least == 1 && range.most == 256) << range.least << " to " << range.most;
}

struct other_jic_action : ZORVA_QSPI_ACTION {
    using ZORVA_QSPI_ACTION::ZORVA_QSPI_ACTION;
    bool property_value_is_jic_file(std::string value) override { return value == "disc"; }
};

TEST_F(ActionTest, ADerivedActionSaysWhatIsAJicFile) {
    other_jic_action action(ZORVA_ACT_TYPE_READ_DATA);
    const auto is_valid = [&](ZORVA_ACT_PROPERTY property, const char* value) {
        return action.property_value_is_valid(property, value, nullptr);
    };
    for (const auto property : {ZORVA_ACT_PROPERTY_RD_ADDRESS, ZORVA_ACT_PROPERTY_RD_DATA_LENGTH,
                                ZORVA_ACT_PROPERTY_RD_EXPECTED_DATA})
        EXPECT_TRUE(is_valid(property, "disc") && is_valid(property, "7") &&
                    !is_valid(property, "jic"));
    EXPECT_FALSE(is_valid(ZORVA_ACT_PROPERTY_RD_DELAY, "disc"));
}

// Of no type: it has no properties, and holds what is set of any.
struct typeless_action : ZORVA_QSPI_ACTION {
    typeless_action() : ZORVA_QSPI_ACTION(ZORVA_ACT_TYPE_CUSTOM) { m_act_type = no_type; }
};

TEST_F(ActionTest, HoldsAnyTextForAnyPropertyAndCopiesAllOfIt) {
    constexpr ZORVA_ACT_PROPERTY properties[] = {
        ZORVA_ACT_PROPERTY_CU_DIRECTION, ZORVA_ACT_PROPERTY_ER_COMMAND, ZORVA_ACT_PROPERTY_WR_NAME};
    EXPECT_TRUE(typeless_action().get_property_enum_list().empty());
    for (ZORVA_QSPI_ACTION action :
         {ZORVA_QSPI_ACTION(ZORVA_ACT_TYPE_CUSTOM), ZORVA_QSPI_ACTION(typeless_action())}) {
        const auto set_all = [&](const std::string& text) {
            action.set_name(text);
            for (const auto each : properties)
                action.set_property_value(each, text + std::to_string(each));
        };
        set_all("First");
        set_all("not a byte");
        const ZORVA_QSPI_ACTION copy = action;
        ZORVA_QSPI_ACTION assigned(ZORVA_ACT_TYPE_READ_DATA);
        assigned = action;
        set_all("Other");
        for (ZORVA_QSPI_ACTION held : {copy, assigned}) {
            EXPECT_EQ(held.get_name(), "not a byte");
            EXPECT_EQ(held.get_property_enum_list(), action.get_property_enum_list());
            for (const auto each : properties)
                EXPECT_EQ(held.get_property_value(each), "not a byte" + std::to_string(each));
            EXPECT_EQ(held.get_property_value(ZORVA_ACT_PROPERTY_ER_NAME), "");
        }
    }
}

TEST_F(ActionTest, ATextIsHeldAsLongAsSomethingUsesIt) {
    constexpr auto command = ZORVA_ACT_PROPERTY_ER_COMMAND;
    const std::size_t before = zorva_pooled_text_count();
    {
        ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_ERASE);
        const std::size_t with_defaults = zorva_pooled_text_count();
        for (int i = 0; i < 200000; ++i)
            action.set_property_value(command, "text " + std::to_string(i));
        EXPECT_EQ(zorva_pooled_text_count(), with_defaults + 1);
        ZORVA_QSPI_ACTION copy = action;
        action = ZORVA_QSPI_ACTION(ZORVA_ACT_TYPE_CUSTOM);
        EXPECT_EQ(copy.get_property_value(command), "text 199999");
    }
    EXPECT_EQ(zorva_pooled_text_count(), before);
}

TEST_F(ActionTest, ValuesTurnIntoNumbersAndBytes) {
    // A text, its bytes, none where it is no list, and its number.
    std::vector<std::tuple<const char*, bytes, dword>> rows{
        {"0x06", {6}, 6},
        {"  0x06   6 ", {6, 6}, 0x606},
        {"0x5 0xaB 0xFF 255 0", {5, 0xAB, 255, 255, 0}, 0xFFFFAB05},
        {"010 007", {10, 7}, 0x70A},
        {"256", {}, 256},
        {"0x1000", {}, 4096},
        {"4294967296", {}, std::numeric_limits<dword>::max()}};
    for (const char* text : {"", "   ", "1 0x", "1 0x100", "1 256", "1 0X06", "1 0xg", "1 10x5",
                             "1 ab", "1 -1", "1 1\t2", "\t1 2", "1 2\t", "jic"})
        rows.emplace_back(text, bytes(), 0);
    ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_WRITE_REGISTER);
    constexpr auto data = ZORVA_ACT_PROPERTY_WR_DATA;
    using array = std::unique_ptr<unsigned char[]>;
    for (const auto& [text, spelled, number] : rows) {
        SCOPED_TRACE(text);
        action.set_property_value(data, text);
        EXPECT_EQ(action.get_property_value_in_dword(data), number);
        dword length = 77;
        bool valid = spelled.empty();
        const array list(action.get_property_value_in_byte_array(data, &length, &valid));
        EXPECT_EQ(valid, !spelled.empty());
        ASSERT_EQ(list != nullptr, valid);
        EXPECT_EQ(bytes(list.get(), list.get() + length), spelled);
        const array untold(action.get_property_value_in_byte_array(data, nullptr, nullptr));
        EXPECT_EQ(untold != nullptr, valid);
    }
    const auto of_empty = [] {
        ZORVA_MGR::convert_data_list_string_to_byte_array("", nullptr, nullptr);
    };
    EXPECT_EQ(internal_error_of(of_empty), "!data_string.empty()");
}

// One kind of property: who has it, what it takes and what not, and the message for a bad value.
struct kind_row {
    std::vector<int> properties;
    std::string good, bad;
    unsigned id;
};
const std::string nines(30, '9');
const std::string bad_lists = "  |1 256|1 Jic|1,2";
const kind_row kind_rows[] = {
    {{0, 5, 13, 21, 31}, "a|Write enable| x |_9", "|   |a-b|a\tb|%1!s!", 20485},
    {{1, 6, 14, 22, 32}, "0x06|0xf| 6 |255", "| |6 7|256|0X6|jic|6\t", 20486},
    {{2, 16}, "|0xab 0xcd 0xef 0xAB 0xCD 0xEF 01 23 45 67 89|jic|a, JIC", bad_lists, 20496},
    {{8, 25}, "|1 0xFF|of jic", bad_lists, 20495},
    {{9, 26}, "|1 0xFF|-JIC-", "  |1 256|1 jiC|1,2", 20494},
    {{7, 24}, "1|256|0x100|0001|jic|?JIC?", "|0|257|0x|0x101|Jic|-1|" + nines, 20497},
    {{10}, "1|4294967296|" + nines, "|0|0x0|0x|jic", 20498},
    {{3, 11, 19, 29, 36},
     "0|0x1F|0xabcdefABCDEF0123456789|0x|010|" + nines,
     "|0X1F|1x|10x5|0x0x|ab|1 |jic",
     20500},
    {{15, 23, 33}, "0|0x|0xFFFFFFFFFFFFFFFFFF|jic|a JIC", "|jI|10x5", 20502},
    {{17}, "256|0x100|0256", "|0|512|128|jic|" + nines, 20501},
    {{18, 27, 35}, "3|0x4", "|0|0x|jic", 20503},
    {{28}, "0|15|0xF|0xf|0x", "|16|0x10|jic|" + nines, 20504},
    {{34}, "1|65536|0x1000", "|0|0x|jic", 20499},
    {{4, 12, 37}, "1-1", "|1-1-1|1-1 |4-4", 20505},
    {{20, 30}, "1-1-1", "|1-1|1-1-1-1", 20505},
    {{38}, "x| |1\n2", "", 20509},
    {{39}, "start|end|nil", "|START|end ", 20507},
};

TEST_F(ActionTest, AValueIsJudgedByItsKind) {
    ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_CUSTOM);
    const auto expect_verdict = [&](int i, const std::string& value, unsigned id) {
        SCOPED_TRACE(value + " of property " + std::to_string(i));
        const auto property = number<ZORVA_ACT_PROPERTY>(i);
        forget();
        const auto finding = ZORVA_ACTION::judge_property_value(property, value);
        EXPECT_EQ(joined(posted_ids()), "") << "what only judges posts nothing";
        std::string sentence = "as it was";
        EXPECT_EQ(action.property_value_is_valid(property, value, nullptr), id == 0);
        EXPECT_EQ(action.property_value_is_valid(property, value, &sentence), id == 0);
        EXPECT_EQ(posted_ids(), std::vector<unsigned>(id == 0 ? 0 : 2, id));
        ASSERT_EQ(finding.has_value(), id != 0);
        EXPECT_EQ(sentence, finding ? finding->sentence : "as it was");
        EXPECT_EQ(sentence.find("'" + value + "' is invalid") != sentence.npos, id != 0);
    };
    for (const kind_row& row : kind_rows)
        for (const int i : row.properties) {
            for (const std::string& value : split(row.good)) expect_verdict(i, value, 0);
            for (const std::string& value : split(row.bad)) expect_verdict(i, value, row.id);
        }
}

TEST_F(ActionTest, AVerdictIsRememberedForItsKindAlone) {
    for (const kind_row& row : kind_rows)
        for (const std::string& value : split(row.good + "|" + row.bad)) {
            const ZORVA_TEXT text(value);
            for (int i = 0; i < 2 * ZORVA_ACT_PROPERTY_COUNT; ++i) {
                const auto property = number<ZORVA_ACT_PROPERTY>(i % ZORVA_ACT_PROPERTY_COUNT);
                EXPECT_EQ(zorva_is_good(property, text), !zorva_judge_property(property, value))
                    << value << " of property " << property;
            }
        }
}

}  // namespace
