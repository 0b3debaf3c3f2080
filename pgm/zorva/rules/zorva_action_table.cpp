#include "pgm/zorva/rules/zorva_action_table.h"

#include "pgm/zorva/rules/zorva_data_list.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "services/pgm_common.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace {

using enum ZORVA_FORM;
using enum ZORVA_MESSAGE;

constexpr std::string_view two_phase_bus_widths[] = {"1-1"};
constexpr std::string_view three_phase_bus_widths[] = {"1-1-1"};
constexpr std::string_view directions[] = {"start", "end", "nil"};

constexpr ZORVA_PROPERTY_RULE name_rule{.form = NAME};
constexpr ZORVA_PROPERTY_RULE one_byte{.form = DATA_LIST, .least = 1, .most = 1};
constexpr ZORVA_PROPERTY_RULE bytes_or_jic{
    .form = DATA_LIST, .empty_passes = true, .jic_passes = true};
constexpr ZORVA_PROPERTY_RULE any_number{.form = NUMBER};
constexpr ZORVA_PROPERTY_RULE not_zero{.form = NUMBER, .least = 1};
constexpr ZORVA_PROPERTY_RULE two_phases{.form = CHOICE, .choices = two_phase_bus_widths};
constexpr ZORVA_PROPERTY_RULE three_phases{.form = CHOICE, .choices = three_phase_bus_widths};

enum KIND {
    KIND_NAME,
    KIND_COMMAND,
    KIND_DATA,
    KIND_EXPECTED_DATA,
    KIND_EXPECTED_DATA_MASK,
    KIND_DATA_LENGTH,
    KIND_ATTEMPT_COUNT,
    KIND_DELAY,
    KIND_ADDRESS,
    KIND_PAGE_SIZE,
    KIND_ADDRESSING_MODE,
    KIND_DUMMY_CLOCK_CYCLE,
    KIND_ERASE_SIZE,
    KIND_BUS_WIDTH_COMMAND_DATA,
    KIND_BUS_WIDTH_COMMAND_ADDRESS,
    KIND_BUS_WIDTH_COMMAND_ADDRESS_DATA,
    KIND_DESCRIPTION,
    KIND_DIRECTION,
    KIND_COUNT,
};

struct KIND_ROW {
    KIND kind;
    ZORVA_PROPERTY_KIND is;
};

constexpr KIND_ROW kind_table[] = {
    {KIND_NAME,
     {"Name:", nullptr, false, PGM_COMMON_XML_ENUM_NAME, name_rule,
      INVALID_ACTION_NAME_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_COMMAND,
     {"Command:", nullptr, false, PGM_COMMON_XML_ENUM_COMMAND, one_byte,
      INVALID_ACTION_COMMAND_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_DATA,
     {"Data:", nullptr, false, PGM_COMMON_XML_ENUM_DATA, bytes_or_jic,
      INVALID_ACTION_DATA_WITH_SPECIAL_CHAR}},
    {KIND_EXPECTED_DATA,
     {"Expected data:", nullptr, false, PGM_COMMON_XML_ENUM_EXPECTED_DATA, bytes_or_jic,
      INVALID_ACTION_EXPECTED_DATA_WITH_SPECIAL_CHAR}},
    {KIND_EXPECTED_DATA_MASK,
     {"Expected data mask:", nullptr, false, PGM_COMMON_XML_ENUM_EXPECTED_DATA_MASK, bytes_or_jic,
      INVALID_ACTION_DATA_MASK_WITH_SPECIAL_CHAR}},
    {KIND_DATA_LENGTH,
     {"Data length(byte):",
      nullptr,
      false,
      PGM_COMMON_XML_ENUM_DATA_LENGTH,
      {.form = NUMBER, .jic_passes = true, .least = 1, .most = 256},
      INVALID_ACTION_DATA_LENGTH_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_ATTEMPT_COUNT,
     {"Attempt count:", "1", false, PGM_COMMON_XML_ENUM_ATTEMPT_COUNT, not_zero,
      INVALID_ACTION_ATTEMPT_COUNT_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_DELAY,
     {"Delay(us):", "0", false, PGM_COMMON_XML_ENUM_DELAY, any_number,
      INVALID_ACTION_DELAY_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_ADDRESS,
     {"Address:",
      nullptr,
      false,
      PGM_COMMON_XML_ENUM_ADDRESS,
      {.form = NUMBER, .jic_passes = true},
      INVALID_ACTION_ADDRESS_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_PAGE_SIZE,
     {"Page size(byte):",
      "256",
      true,
      PGM_COMMON_XML_ENUM_PAGE_SIZE,
      {.form = NUMBER, .least = 256, .most = 256},
      INVALID_ACTION_PAGE_SIZE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_ADDRESSING_MODE,
     {"Addressing mode(byte):", nullptr, false, PGM_COMMON_XML_ENUM_ADDRESSING_MODE, not_zero,
      INVALID_ACTION_ADDR_MODE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_DUMMY_CLOCK_CYCLE,
     {"Dummy clock cycle:",
      nullptr,
      false,
      PGM_COMMON_XML_ENUM_ACT_DUMMY_CLOCK_CYCLE,
      {.form = NUMBER, .most = 15},
      INVALID_ACTION_DUMMY_CLOCK_CYCLE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_ERASE_SIZE,
     {"Erase size(byte):", nullptr, false, PGM_COMMON_XML_ENUM_ERASE_SIZE, not_zero,
      INVALID_ACTION_ERASE_SIZE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR}},
    {KIND_BUS_WIDTH_COMMAND_DATA,
     {"Command-Data(bus width):", "1-1", true, PGM_COMMON_XML_ENUM_BUS_WIDTH, two_phases,
      INVALID_ACTION_BUS_WIDTH}},
    {KIND_BUS_WIDTH_COMMAND_ADDRESS,
     {"Command-Address(bus width):", "1-1", true, PGM_COMMON_XML_ENUM_BUS_WIDTH, two_phases,
      INVALID_ACTION_BUS_WIDTH}},
    {KIND_BUS_WIDTH_COMMAND_ADDRESS_DATA,
     {"Command-Address-Data(bus width):", "1-1-1", true, PGM_COMMON_XML_ENUM_BUS_WIDTH,
      three_phases, INVALID_ACTION_BUS_WIDTH}},
    {KIND_DESCRIPTION,
     {"",
      nullptr,
      false,
      PGM_COMMON_XML_ENUM_DESCRIPTION,
      {.form = ANY_TEXT},
      INVALID_ACTION_CUSTOM_DESCRIPTION}},
    {KIND_DIRECTION,
     {"",
      nullptr,
      false,
      PGM_COMMON_XML_ENUM_DIRECTION,
      {.form = CHOICE, .choices = directions},
      INVALID_ACTION_CUSTOM_DIRECTION}},
};

struct PROPERTY_ROW {
    ZORVA_ACT_PROPERTY property;
    ZORVA_ACT_TYPE type;
    KIND kind;
};

constexpr PROPERTY_ROW property_table[] = {
    {ZORVA_ACT_PROPERTY_WR_NAME, ZORVA_ACT_TYPE_WRITE_REGISTER, KIND_NAME},
    {ZORVA_ACT_PROPERTY_WR_COMMAND, ZORVA_ACT_TYPE_WRITE_REGISTER, KIND_COMMAND},
    {ZORVA_ACT_PROPERTY_WR_DATA, ZORVA_ACT_TYPE_WRITE_REGISTER, KIND_DATA},
    {ZORVA_ACT_PROPERTY_WR_DELAY, ZORVA_ACT_TYPE_WRITE_REGISTER, KIND_DELAY},
    {ZORVA_ACT_PROPERTY_WR_BUS_WIDTH, ZORVA_ACT_TYPE_WRITE_REGISTER, KIND_BUS_WIDTH_COMMAND_DATA},
    {ZORVA_ACT_PROPERTY_RR_NAME, ZORVA_ACT_TYPE_READ_REGISTER, KIND_NAME},
    {ZORVA_ACT_PROPERTY_RR_COMMAND, ZORVA_ACT_TYPE_READ_REGISTER, KIND_COMMAND},
    {ZORVA_ACT_PROPERTY_RR_DATA_LENGTH, ZORVA_ACT_TYPE_READ_REGISTER, KIND_DATA_LENGTH},
    {ZORVA_ACT_PROPERTY_RR_EXPECTED_DATA, ZORVA_ACT_TYPE_READ_REGISTER, KIND_EXPECTED_DATA},
    {ZORVA_ACT_PROPERTY_RR_EXPECTED_DATA_MASK, ZORVA_ACT_TYPE_READ_REGISTER,
     KIND_EXPECTED_DATA_MASK},
    {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, ZORVA_ACT_TYPE_READ_REGISTER, KIND_ATTEMPT_COUNT},
    {ZORVA_ACT_PROPERTY_RR_DELAY, ZORVA_ACT_TYPE_READ_REGISTER, KIND_DELAY},
    {ZORVA_ACT_PROPERTY_RR_BUS_WIDTH, ZORVA_ACT_TYPE_READ_REGISTER, KIND_BUS_WIDTH_COMMAND_DATA},
    {ZORVA_ACT_PROPERTY_WD_NAME, ZORVA_ACT_TYPE_WRITE_DATA, KIND_NAME},
    {ZORVA_ACT_PROPERTY_WD_COMMAND, ZORVA_ACT_TYPE_WRITE_DATA, KIND_COMMAND},
    {ZORVA_ACT_PROPERTY_WD_ADDRESS, ZORVA_ACT_TYPE_WRITE_DATA, KIND_ADDRESS},
    {ZORVA_ACT_PROPERTY_WD_DATA, ZORVA_ACT_TYPE_WRITE_DATA, KIND_DATA},
    {ZORVA_ACT_PROPERTY_WD_PAGE_SIZE, ZORVA_ACT_TYPE_WRITE_DATA, KIND_PAGE_SIZE},
    {ZORVA_ACT_PROPERTY_WD_ADDRESSING_MODE, ZORVA_ACT_TYPE_WRITE_DATA, KIND_ADDRESSING_MODE},
    {ZORVA_ACT_PROPERTY_WD_DELAY, ZORVA_ACT_TYPE_WRITE_DATA, KIND_DELAY},
    {ZORVA_ACT_PROPERTY_WD_BUS_WIDTH, ZORVA_ACT_TYPE_WRITE_DATA,
     KIND_BUS_WIDTH_COMMAND_ADDRESS_DATA},
    {ZORVA_ACT_PROPERTY_RD_NAME, ZORVA_ACT_TYPE_READ_DATA, KIND_NAME},
    {ZORVA_ACT_PROPERTY_RD_COMMAND, ZORVA_ACT_TYPE_READ_DATA, KIND_COMMAND},
    {ZORVA_ACT_PROPERTY_RD_ADDRESS, ZORVA_ACT_TYPE_READ_DATA, KIND_ADDRESS},
    {ZORVA_ACT_PROPERTY_RD_DATA_LENGTH, ZORVA_ACT_TYPE_READ_DATA, KIND_DATA_LENGTH},
    {ZORVA_ACT_PROPERTY_RD_EXPECTED_DATA, ZORVA_ACT_TYPE_READ_DATA, KIND_EXPECTED_DATA},
    {ZORVA_ACT_PROPERTY_RD_EXPECTED_DATA_MASK, ZORVA_ACT_TYPE_READ_DATA, KIND_EXPECTED_DATA_MASK},
    {ZORVA_ACT_PROPERTY_RD_ADDRESSING_MODE, ZORVA_ACT_TYPE_READ_DATA, KIND_ADDRESSING_MODE},
    {ZORVA_ACT_PROPERTY_RD_DUMMY_CLOCK_CYCLE, ZORVA_ACT_TYPE_READ_DATA, KIND_DUMMY_CLOCK_CYCLE},
    {ZORVA_ACT_PROPERTY_RD_DELAY, ZORVA_ACT_TYPE_READ_DATA, KIND_DELAY},
    {ZORVA_ACT_PROPERTY_RD_BUS_WIDTH, ZORVA_ACT_TYPE_READ_DATA,
     KIND_BUS_WIDTH_COMMAND_ADDRESS_DATA},
    {ZORVA_ACT_PROPERTY_ER_NAME, ZORVA_ACT_TYPE_ERASE, KIND_NAME},
    {ZORVA_ACT_PROPERTY_ER_COMMAND, ZORVA_ACT_TYPE_ERASE, KIND_COMMAND},
    {ZORVA_ACT_PROPERTY_ER_ADDRESS, ZORVA_ACT_TYPE_ERASE, KIND_ADDRESS},
    {ZORVA_ACT_PROPERTY_ER_ERASE_SIZE, ZORVA_ACT_TYPE_ERASE, KIND_ERASE_SIZE},
    {ZORVA_ACT_PROPERTY_ER_ADDRESSING_MODE, ZORVA_ACT_TYPE_ERASE, KIND_ADDRESSING_MODE},
    {ZORVA_ACT_PROPERTY_ER_DELAY, ZORVA_ACT_TYPE_ERASE, KIND_DELAY},
    {ZORVA_ACT_PROPERTY_ER_BUS_WIDTH, ZORVA_ACT_TYPE_ERASE, KIND_BUS_WIDTH_COMMAND_ADDRESS},
    {ZORVA_ACT_PROPERTY_CU_DESCRIPTION, ZORVA_ACT_TYPE_CUSTOM, KIND_DESCRIPTION},
    {ZORVA_ACT_PROPERTY_CU_DIRECTION, ZORVA_ACT_TYPE_CUSTOM, KIND_DIRECTION},
};

// First property and count of a type follow from the property table.
constexpr int first_property(ZORVA_ACT_TYPE type) {
    const auto first = std::ranges::find(property_table, type, &PROPERTY_ROW::type);
    return static_cast<int>(first - std::begin(property_table));
}
constexpr ZORVA_ACTION_TYPE_ROW type_row(ZORVA_ACT_TYPE type, const char* name,
                                         PGM_COMMON_XML_ENUM keyword) {
    return {type, name, keyword, first_property(type),
            static_cast<int>(std::ranges::count(property_table, type, &PROPERTY_ROW::type))};
}

constexpr ZORVA_ACTION_TYPE_ROW type_table[] = {
    type_row(ZORVA_ACT_TYPE_WRITE_REGISTER, "Write Register", PGM_COMMON_XML_ENUM_WRITE_REG),
    type_row(ZORVA_ACT_TYPE_READ_REGISTER, "Read Register", PGM_COMMON_XML_ENUM_READ_REG),
    type_row(ZORVA_ACT_TYPE_WRITE_DATA, "Write Data", PGM_COMMON_XML_ENUM_WRITE_DATA),
    type_row(ZORVA_ACT_TYPE_READ_DATA, "Read Data", PGM_COMMON_XML_ENUM_READ_DATA),
    type_row(ZORVA_ACT_TYPE_ERASE, "Erase", PGM_COMMON_XML_ENUM_ERASE),
    type_row(ZORVA_ACT_TYPE_CUSTOM, "Custom", PGM_COMMON_XML_ENUM_CUSTOM),
};

// Row i of a table holds value i.
template <class Table, class Number>
constexpr bool rows_stand_in_order(const Table& table, Number number) {
    int place = 0;
    return std::ranges::all_of(table, [&](const auto& row) { return row.*number == place++; });
}
static_assert(std::size(kind_table) == KIND_COUNT);
static_assert(rows_stand_in_order(kind_table, &KIND_ROW::kind));
static_assert(std::size(property_table) == ZORVA_ACT_PROPERTY_COUNT);
static_assert(rows_stand_in_order(property_table, &PROPERTY_ROW::property));
static_assert(std::ranges::is_sorted(property_table, {}, &PROPERTY_ROW::type));
static_assert(std::size(type_table) == ZORVA_ACT_TYPE_COUNT);
static_assert(rows_stand_in_order(type_table, &ZORVA_ACTION_TYPE_ROW::type));

constexpr std::string_view word_characters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
constexpr std::string_view decimal_digits = "0123456789";
constexpr std::string_view hexadecimal_digits = "abcdefABCDEF0123456789";
constexpr std::string_view data_list_characters = "abcdefxABCDEF0123456789 ";

bool holds_only(std::string_view text, std::string_view characters) {
    return text.find_first_not_of(characters) == text.npos;
}

bool is_name(std::string_view text) {
    const bool all_allowed = std::ranges::all_of(text, [](char character) {
        return character == ' ' || word_characters.find(character) != word_characters.npos;
    });
    return all_allowed && text.find_first_of(word_characters) != text.npos;
}

// "0x" alone passes: callers rely on it as a spelling of 0.
bool is_number(std::string_view text) {
    if (text.starts_with("0x")) return holds_only(text.substr(2), hexadecimal_digits);
    return !text.empty() && holds_only(text, decimal_digits);
}

// What the bounds of a rule apply to: the value of a number, the length of a list.
std::optional<qword> measure(ZORVA_FORM form, std::string_view value) {
    if (form == DATA_LIST)
        return holds_only(value, data_list_characters) ? zorva_data_list_length(value)
                                                       : std::nullopt;
    if (!is_number(value)) return {};
    return PGM_COMMON::convert_string_to_qword(std::string(value), false, nullptr, nullptr, false);
}

}  // namespace

const ZORVA_ACTION_TYPE_ROW& zorva_action_type(ZORVA_ACT_TYPE type) {
    if (type < 0 || type >= ZORVA_ACT_TYPE_COUNT) ZORVA_FAIL("Unknown action type");
    return type_table[type];
}

const ZORVA_ACTION_TYPE_ROW& zorva_action_type_of_keyword(PGM_COMMON_XML_ENUM keyword) {
    const auto row = std::ranges::find(type_table, keyword, &ZORVA_ACTION_TYPE_ROW::keyword);
    if (row == std::end(type_table)) ZORVA_FAIL("Unknown action type");
    return *row;
}

const ZORVA_PROPERTY_KIND* zorva_find_property_kind(ZORVA_ACT_PROPERTY property) {
    if (property < 0 || property >= ZORVA_ACT_PROPERTY_COUNT) return nullptr;
    return &kind_table[property_table[property].kind].is;
}

const ZORVA_PROPERTY_KIND& zorva_property_kind(ZORVA_ACT_PROPERTY property) {
    const ZORVA_PROPERTY_KIND* kind = zorva_find_property_kind(property);
    if (!kind) ZORVA_FAIL("Unknown action property enum");
    return *kind;
}

bool zorva_is_number_in_file(const ZORVA_PROPERTY_KIND& kind) {
    return kind.rule.form == NUMBER && !kind.rule.jic_passes;
}

bool zorva_is_jic(std::string_view value) {
    return value.find("jic") != value.npos || value.find("JIC") != value.npos;
}

bool zorva_keeps_rule(const ZORVA_PROPERTY_RULE& rule, std::string_view value, bool is_jic) {
    if (rule.empty_passes && value.empty()) return true;
    if (rule.jic_passes && is_jic) return true;
    switch (rule.form) {
        case NAME:
            return is_name(value);
        case CHOICE:
            return std::ranges::find(rule.choices, value) != rule.choices.end();
        case ANY_TEXT:
            return !value.empty();
        case DATA_LIST:
        case NUMBER:
            break;
    }
    const std::optional<qword> measured = measure(rule.form, value);
    return measured && rule.least <= *measured && *measured <= rule.most;
}

bool zorva_is_good(ZORVA_ACT_PROPERTY property, ZORVA_TEXT value) {
    // A bit a kind, by the text's number.
    struct VERDICTS {
        std::uint32_t known = 0;
        std::uint32_t good = 0;
    };
    static_assert(KIND_COUNT <= 32);
    static std::vector<VERDICTS> verdicts;
    if (value.number() >= verdicts.size()) verdicts.resize(value.number() + 1);
    VERDICTS& verdict = verdicts[value.number()];
    const KIND kind = property_table[property].kind;
    const std::uint32_t bit = 1U << kind;
    if (!(verdict.known & bit)) {
        verdict.known |= bit;
        const std::string& text = value.get();
        if (zorva_keeps_rule(kind_table[kind].is.rule, text, zorva_is_jic(text)))
            verdict.good |= bit;
    }
    return (verdict.good & bit) != 0;
}

std::optional<ZORVA_REFUSAL> zorva_judge_property(ZORVA_ACT_PROPERTY property,
                                                  std::string_view value) {
    return zorva_judge_property(property, value, zorva_is_jic(value));
}

std::optional<ZORVA_REFUSAL> zorva_judge_property(ZORVA_ACT_PROPERTY property,
                                                  std::string_view value, bool is_jic) {
    const ZORVA_PROPERTY_KIND& kind = zorva_property_kind(property);
    if (zorva_keeps_rule(kind.rule, value, is_jic)) return {};
    return ZORVA_REFUSAL{kind.message, std::string(value), {}};
}
