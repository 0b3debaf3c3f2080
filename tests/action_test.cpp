// Actions: their properties, data lists, and the rules for values.
#include "pgm/zorva/zorva_qspi_action.h"
#include "tests/test_support.h"

#include <iterator>
#include <limits>
#include <memory>
#include <optional>

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
    int next = 0;
    for (int type = 0; type < std::ssize(property_lists); ++type) {
        ZORVA_QSPI_ACTION action(number<ZORVA_ACT_TYPE>(type));
        EXPECT_EQ(action.get_action_type(), type);
        std::string list = action.get_name();
        for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list()) {
            EXPECT_EQ(property, next++);
            const std::string value = action.get_property_value(property);
            list += "|" + action.get_property_name(property) + (value.empty() ? "" : "=" + value);
            if (!action.property_value_is_enable(property)) list += "!";
        }
        EXPECT_EQ(list, property_lists[type]);
    }
    EXPECT_EQ(next, 40);
}

TEST_F(ActionTest, NumbersOutsideTheTablesAreACallersFault) {
    for (const int type : {-1, 6})
        EXPECT_EQ(internal_error_of([&] { ZORVA_QSPI_ACTION{number<ZORVA_ACT_TYPE>(type)}; }),
                  "Unknown action type");
    ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_ERASE);
    const std::string text = "Unknown action property enum";
    for (int i = -1; i <= 40; ++i) {
        SCOPED_TRACE(i);
        const auto property = number<ZORVA_ACT_PROPERTY>(i);
        const bool known = i >= 0 && i < 40;
        EXPECT_EQ(internal_error_of([&] { action.property_value_is_valid(property, "", nullptr); }),
                  known ? "" : text);
        EXPECT_TRUE(known || action.property_value_is_enable(property));
        // Only a bus width offers values to choose from.
        const std::string value = i == 4 || i == 12 || i == 37 ? "1-1"
                                  : i == 20 || i == 30         ? "1-1-1"
                                                               : "";
        std::string offered;
        const auto offer = [&] { offered = joined(action.get_property_value_list(property)); };
        EXPECT_EQ(internal_error_of(offer), value.empty() ? text : "");
        EXPECT_EQ(offered, value);
    }
}

// Knows the .jic file by another word.
struct other_jic_action : ZORVA_QSPI_ACTION {
    using ZORVA_QSPI_ACTION::ZORVA_QSPI_ACTION;
    bool property_value_is_jic_file(std::string value) override { return value == "disc"; }
};

TEST_F(ActionTest, ADerivedActionSaysWhatIsAJicFile) {
    other_jic_action action(ZORVA_ACT_TYPE_READ_DATA);
    for (const auto property :
         {ZORVA_ACT_PROPERTY_RD_ADDRESS, ZORVA_ACT_PROPERTY_RD_DATA_LENGTH,
          ZORVA_ACT_PROPERTY_RD_EXPECTED_DATA, ZORVA_ACT_PROPERTY_RD_EXPECTED_DATA_MASK}) {
        EXPECT_TRUE(action.property_value_is_valid(property, "disc", nullptr)) << property;
        EXPECT_FALSE(action.property_value_is_valid(property, "jic", nullptr)) << property;
        EXPECT_TRUE(action.property_value_is_valid(property, "7", nullptr)) << property;
    }
    EXPECT_FALSE(action.property_value_is_valid(ZORVA_ACT_PROPERTY_RD_DELAY, "disc", nullptr));
}

struct typeless_action : ZORVA_ACTION {
    std::string get_property_name(ZORVA_ACT_PROPERTY) override { return {}; }
    std::string get_property_value(ZORVA_ACT_PROPERTY property) override {
        const std::string* value = find_value(property);
        return value ? *value : std::string();
    }
    dword get_property_value_in_dword(ZORVA_ACT_PROPERTY) override { return 0; }
    unsigned char* get_property_value_in_byte_array(ZORVA_ACT_PROPERTY, dword*, bool*) override {
        return nullptr;
    }
    std::vector<std::string> get_property_value_list(ZORVA_ACT_PROPERTY) override { return {}; }
    void set_property_value(ZORVA_ACT_PROPERTY property, std::string value) override {
        store_value(property, ZORVA_TEXT(value));
    }
    bool property_value_is_valid(ZORVA_ACT_PROPERTY, std::string, std::string*) override {
        return true;
    }
    bool property_value_is_enable(ZORVA_ACT_PROPERTY) override { return true; }
};

TEST_F(ActionTest, AnActionOfNoTypeHasNoPropertiesAndHoldsAny) {
    typeless_action action;
    EXPECT_TRUE(action.get_property_enum_list().empty());
    EXPECT_EQ(action.get_property_value(ZORVA_ACT_PROPERTY_WR_NAME), "");
    action.set_property_value(ZORVA_ACT_PROPERTY_WR_NAME, "a");
    action.set_property_value(ZORVA_ACT_PROPERTY_CU_DIRECTION, "b");
    const typeless_action copy = action;
    EXPECT_EQ(action.get_property_value(ZORVA_ACT_PROPERTY_WR_NAME), "a");
    EXPECT_EQ(typeless_action(copy).get_property_value(ZORVA_ACT_PROPERTY_CU_DIRECTION), "b");
}

TEST_F(ActionTest, HoldsAnyTextForAnyPropertyAndCopiesAllOfIt) {
    ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_CUSTOM);
    const std::vector<ZORVA_ACT_PROPERTY> own = action.get_property_enum_list();
    action.set_name("Mark");
    action.set_property_value(ZORVA_ACT_PROPERTY_CU_DIRECTION, "sideways");
    action.set_property_value(ZORVA_ACT_PROPERTY_ER_COMMAND, "not a byte");
    const ZORVA_QSPI_ACTION copy = action;
    ZORVA_QSPI_ACTION assigned(ZORVA_ACT_TYPE_READ_DATA);
    assigned = action;
    action.set_name("Other");
    action.set_property_value(ZORVA_ACT_PROPERTY_CU_DIRECTION, "start");
    action.set_property_value(ZORVA_ACT_PROPERTY_ER_COMMAND, "");
    for (ZORVA_QSPI_ACTION held : {copy, assigned}) {
        EXPECT_EQ(held.get_name(), "Mark");
        EXPECT_EQ(held.get_action_type(), ZORVA_ACT_TYPE_CUSTOM);
        EXPECT_EQ(held.get_property_enum_list(), own);
        EXPECT_EQ(held.get_property_value(ZORVA_ACT_PROPERTY_CU_DIRECTION), "sideways");
        EXPECT_EQ(held.get_property_value(ZORVA_ACT_PROPERTY_ER_COMMAND), "not a byte");
        EXPECT_EQ(held.get_property_value(ZORVA_ACT_PROPERTY_ER_NAME), "");
    }
}

// The bytes of a text, through the operation that hands out an array; nothing for a bad text.
std::optional<bytes> list_bytes(const std::string& text) {
    dword length = 77;
    bool valid = true;
    const std::unique_ptr<unsigned char[]> array(
        ZORVA_MGR::convert_data_list_string_to_byte_array(text, &length, &valid));
    EXPECT_EQ(array != nullptr, valid);
    if (array) return bytes(array.get(), array.get() + length);
    EXPECT_EQ(length, 0u);
    return {};
}

TEST_F(ActionTest, DataListsSpellBytes) {
    EXPECT_EQ(list_bytes("0x06"), (bytes{6}));
    EXPECT_EQ(list_bytes("  0x06   6 "), (bytes{6, 6}));
    EXPECT_EQ(list_bytes("0x5 0xaB 0xFF 255 0"), (bytes{5, 0xAB, 255, 255, 0}));
    EXPECT_EQ(list_bytes("010 007"), (bytes{10, 7}));
    for (const std::string& text :
         split("   |1 0x|1 0x100|1 256|1 0X06|1 0xg|1 10x5|1 ab|1 -1|1 +1|1 1\t2|1 "
               "18446744073709551617"))
        EXPECT_EQ(list_bytes(text), std::nullopt) << text;
    EXPECT_EQ(internal_error_of([] { list_bytes(""); }), "!data_string.empty()");
    delete[] ZORVA_MGR::convert_data_list_string_to_byte_array("1", nullptr, nullptr);
    EXPECT_FALSE(ZORVA_MGR::convert_data_list_string_to_byte_array("x", nullptr, nullptr));
}

TEST_F(ActionTest, ValuesTurnIntoNumbersAndBytes) {
    constexpr dword largest = std::numeric_limits<dword>::max();
    const std::pair<const char*, dword> rows[] = {
        {"", 0},          {"255", 255},          {"256", 256},
        {"0x1000", 4096}, {"0x12 0x34", 0x3412}, {"0x0A 0x0B 0x0C 0x0D 0x0E", 0x0D0C0B0A},
        {"jic", 0},       {"1 256", 0},          {"4294967296", largest}};
    ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_WRITE_REGISTER);
    for (const auto& [value, expected] : rows) {
        action.set_property_value(ZORVA_ACT_PROPERTY_WR_DATA, value);
        EXPECT_EQ(action.get_property_value_in_dword(ZORVA_ACT_PROPERTY_WR_DATA), expected)
            << value;
    }

    const auto command_array = [&](dword* length, bool* valid) {
        return std::unique_ptr<unsigned char[]>(
            action.get_property_value_in_byte_array(ZORVA_ACT_PROPERTY_WR_COMMAND, length, valid));
    };
    dword length = 77;
    bool valid = true;
    EXPECT_FALSE(command_array(&length, &valid) || valid || length != 0);
    EXPECT_FALSE(command_array(nullptr, nullptr));
    action.set_property_value(ZORVA_ACT_PROPERTY_WR_COMMAND, "1 2");
    const auto array = command_array(&length, &valid);
    EXPECT_TRUE(valid);
    EXPECT_EQ(bytes(array.get(), array.get() + length), (bytes{1, 2}));
}

// One kind of property: who has it, what it takes, and how a bad value is told; "@" is the value.
struct kind_row {
    std::vector<int> properties;
    std::string good;
    std::string bad;
    unsigned id;
    std::string text;
    std::string sentence = {};  // where it differs from the posted text
};
const std::string nines(30, '9');
const std::string no_list =
    " '@' is invalid. It either contains special characters or is not in the list of byte formats.";
const std::string no_number =
    " '@' is invalid. It contains either an empty string or special characters.";
const std::string bad_number =
    " '@' is invalid. It either contains an empty string or special characters, or has a value ";
const std::string no_name = " '@' is invalid as it contains an empty string or special characters.";
const std::string no_command =
    " '@' is invalid. It either contains an empty string or special characters, or it is not in "
    "the list of byte formats.";
const kind_row kind_rows[] = {
    {{0, 5, 13, 21, 31}, "a|Write enable| x |_9", "|   |a-b|a\tb|%1!s!", 20485, "name" + no_name},
    {{1, 6, 14, 22, 32}, "0x06| 6 |255", "| |6 7|256|0X6|jic|6\t", 20486, "command" + no_command},
    {{2, 16}, "|0x01|1 2 3|jic|a, JIC", "  |1 256|1 Jic|1 0x|1,2", 20496, "data" + no_list},
    {{8, 25}, "|1 0xFF|of jic", "  |1 256|1 Jic|1,2", 20495, "expected data" + no_list},
    {{9, 26}, "|1 0xFF|-JIC-", "  |1 256|1 jiC|1,2", 20494, "data mask" + no_list},
    {{7, 24},
     "1|256|0x100|0001|jic|?JIC?",
     "|0|257|0x|0x101|Jic|-1|" + nines,
     20497,
     "data length" + bad_number + "of 0."},
    {{10}, "1|4294967296|" + nines, "|0|0x0|0x|jic", 20498, "attempt count" + bad_number + "of 0."},
    {{3, 11, 19, 29, 36},
     "0|0x1F|0x|010|" + nines,
     "|0X1F|1x|10x5|0x0x|ab|1 |jic",
     20500,
     "delay" + no_number},
    {{15, 23, 33}, "0|0x|0xFFFFFFFFFFFFFFFFFF|jic|a JIC", "|jI|10x5", 20502, "address" + no_number},
    {{17},
     "256|0x100|0256",
     "|0|512|128|jic|" + nines,
     20501,
     "page size" + bad_number + "of 0.",
     "page size" + bad_number + "other than 256."},
    {{18, 27, 35}, "3|0x4", "|0|0x|jic", 20503, "addressing mode" + bad_number + "of 0."},
    {{28}, "0|15|0xF|0x", "|16|0x10|jic|" + nines, 20504, "dummy clock cycle" + no_number},
    {{34}, "1|65536|0x1000", "|0|0x|jic", 20499, "erase size" + bad_number + "of 0."},
    {{4, 12, 37}, "1-1", "|1-1-1|1-1 |4-4", 20505, "bus width '@' is invalid."},
    {{20, 30}, "1-1-1", "|1-1|1-1-1-1", 20505, "bus width '@' is invalid."},
    {{38}, "x| |1\n2", "", 20509, "custom description '@' is invalid due to an empty string."},
    {{39}, "start|end|nil", "|START|end ", 20507, "custom direction '@' is invalid."},
};

TEST_F(ActionTest, GoodValuesPassInSilence) {
    ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_CUSTOM);
    for (const kind_row& row : kind_rows)
        for (const int property : row.properties)
            for (const std::string& value : split(row.good)) {
                std::string sentence = "as it was";
                EXPECT_TRUE(action.property_value_is_valid(number<ZORVA_ACT_PROPERTY>(property),
                                                           value, &sentence))
                    << value << " of property " << property;
                EXPECT_EQ(sentence, "as it was");
            }
    EXPECT_EQ(joined(posted_ids()), "");
}

TEST_F(ActionTest, BadValuesAreToldWhetherOrNotASentenceIsAskedFor) {
    ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_CUSTOM);
    for (const kind_row& row : kind_rows)
        for (const int i : row.properties)
            for (const std::string& value : split(row.bad)) {
                SCOPED_TRACE(value + " of property " + std::to_string(i));
                forget();
                const auto property = number<ZORVA_ACT_PROPERTY>(i);
                const std::string text = "Action " + replaced(row.text, "@", value);
                std::string sentence = "as it was";
                EXPECT_FALSE(action.property_value_is_valid(property, value, nullptr));
                EXPECT_FALSE(action.property_value_is_valid(property, value, &sentence));
                EXPECT_EQ(sentence, row.sentence.empty()
                                        ? text
                                        : "Action " + replaced(row.sentence, "@", value));
                ASSERT_EQ(posted_ids(), (std::vector{row.id, row.id}));
                EXPECT_EQ(m_messages[0].text, text);
                EXPECT_EQ(m_messages[0].type, MSG_POST_WARNING);
                EXPECT_EQ(action.get_property_value(property), "") << "a check stores nothing";
            }
}

}  // namespace
