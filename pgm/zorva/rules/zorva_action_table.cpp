#include "pgm/zorva/rules/zorva_action_table.h"

#include "pgm/zorva/rules/zorva_data_list.h"
#include "pgm/zorva/rules/zorva_name.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/rules/zorva_table.h"
#include "pgm/zorva/rules/zorva_text_pool.h"
#include "services/pgm_common.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

namespace {

using enum ZORVA_MESSAGE;
using enum ZORVA_PROPERTY;
using FORM = ZORVA_FORM;

constexpr std::string_view two_phase_bus_widths[] = {"1-1"};
constexpr std::string_view three_phase_bus_widths[] = {"1-1-1"};
constexpr std::string_view directions[] = {"start", "end", "nil"};

constexpr ZORVA_VALUE_RANGE words{.form = FORM::NAME};
constexpr ZORVA_VALUE_RANGE one_byte{.form = FORM::DATA_LIST, .least = 1, .most = 1};
constexpr ZORVA_VALUE_RANGE bytes_or_jic{
    .form = FORM::DATA_LIST, .empty_passes = true, .jic_passes = true};
constexpr ZORVA_VALUE_RANGE any_number{.form = FORM::NUMBER};
constexpr ZORVA_VALUE_RANGE not_zero{.form = FORM::NUMBER, .least = 1};
constexpr ZORVA_VALUE_RANGE to_256_or_jic{
    .form = FORM::NUMBER, .jic_passes = true, .least = 1, .most = 256};
constexpr ZORVA_VALUE_RANGE number_or_jic{.form = FORM::NUMBER, .jic_passes = true};
constexpr ZORVA_VALUE_RANGE just_256{.form = FORM::NUMBER, .least = 256, .most = 256};
constexpr ZORVA_VALUE_RANGE to_15{.form = FORM::NUMBER, .most = 15};
constexpr ZORVA_VALUE_RANGE any_text{.form = FORM::ANY_TEXT};
constexpr ZORVA_VALUE_RANGE one_direction{.form = FORM::CHOICE, .choices = directions};
constexpr ZORVA_VALUE_RANGE two_phases{.form = FORM::CHOICE, .choices = two_phase_bus_widths};
constexpr ZORVA_VALUE_RANGE three_phases{.form = FORM::CHOICE, .choices = three_phase_bus_widths};

constexpr ZORVA_PROPERTY_KIND kind_table[] = {
    {NAME, "Name:", nullptr, false, PGM_COMMON_XML_ENUM_NAME, words,
     INVALID_ACTION_NAME_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {COMMAND, "Command:", nullptr, false, PGM_COMMON_XML_ENUM_COMMAND, one_byte,
     INVALID_ACTION_COMMAND_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {DATA, "Data:", nullptr, false, PGM_COMMON_XML_ENUM_DATA, bytes_or_jic,
     INVALID_ACTION_DATA_WITH_SPECIAL_CHAR},
    {EXPECTED_DATA, "Expected data:", nullptr, false, PGM_COMMON_XML_ENUM_EXPECTED_DATA,
     bytes_or_jic, INVALID_ACTION_EXPECTED_DATA_WITH_SPECIAL_CHAR},
    {EXPECTED_DATA_MASK, "Expected data mask:", nullptr, false,
     PGM_COMMON_XML_ENUM_EXPECTED_DATA_MASK, bytes_or_jic,
     INVALID_ACTION_DATA_MASK_WITH_SPECIAL_CHAR},
    {DATA_LENGTH, "Data length(byte):", nullptr, false, PGM_COMMON_XML_ENUM_DATA_LENGTH,
     to_256_or_jic, INVALID_ACTION_DATA_LENGTH_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {ATTEMPT_COUNT, "Attempt count:", "1", false, PGM_COMMON_XML_ENUM_ATTEMPT_COUNT, not_zero,
     INVALID_ACTION_ATTEMPT_COUNT_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {DELAY, "Delay(us):", "0", false, PGM_COMMON_XML_ENUM_DELAY, any_number,
     INVALID_ACTION_DELAY_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {ADDRESS, "Address:", nullptr, false, PGM_COMMON_XML_ENUM_ADDRESS, number_or_jic,
     INVALID_ACTION_ADDRESS_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {PAGE_SIZE, "Page size(byte):", "256", true, PGM_COMMON_XML_ENUM_PAGE_SIZE, just_256,
     INVALID_ACTION_PAGE_SIZE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {ADDRESSING_MODE, "Addressing mode(byte):", nullptr, false, PGM_COMMON_XML_ENUM_ADDRESSING_MODE,
     not_zero, INVALID_ACTION_ADDR_MODE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {DUMMY_CLOCK_CYCLE, "Dummy clock cycle:", nullptr, false,
     PGM_COMMON_XML_ENUM_ACT_DUMMY_CLOCK_CYCLE, to_15,
     INVALID_ACTION_DUMMY_CLOCK_CYCLE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {ERASE_SIZE, "Erase size(byte):", nullptr, false, PGM_COMMON_XML_ENUM_ERASE_SIZE, not_zero,
     INVALID_ACTION_ERASE_SIZE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR},
    {BUS_WIDTH_COMMAND_DATA, "Command-Data(bus width):", "1-1", true, PGM_COMMON_XML_ENUM_BUS_WIDTH,
     two_phases, INVALID_ACTION_BUS_WIDTH},
    {BUS_WIDTH_COMMAND_ADDRESS, "Command-Address(bus width):", "1-1", true,
     PGM_COMMON_XML_ENUM_BUS_WIDTH, two_phases, INVALID_ACTION_BUS_WIDTH},
    {BUS_WIDTH_COMMAND_ADDRESS_DATA, "Command-Address-Data(bus width):", "1-1-1", true,
     PGM_COMMON_XML_ENUM_BUS_WIDTH, three_phases, INVALID_ACTION_BUS_WIDTH},
    {DESCRIPTION, "", nullptr, false, PGM_COMMON_XML_ENUM_DESCRIPTION, any_text,
     INVALID_ACTION_CUSTOM_DESCRIPTION},
    {DIRECTION, "", nullptr, false, PGM_COMMON_XML_ENUM_DIRECTION, one_direction,
     INVALID_ACTION_CUSTOM_DIRECTION},
};

struct PROPERTY_ROW {
    ZORVA_ACT_PROPERTY property;
    ZORVA_ACT_TYPE type;
    ZORVA_PROPERTY kind;
};

constexpr PROPERTY_ROW property_table[] = {
    {ZORVA_ACT_PROPERTY_WR_NAME, ZORVA_ACT_TYPE_WRITE_REGISTER, NAME},
    {ZORVA_ACT_PROPERTY_WR_COMMAND, ZORVA_ACT_TYPE_WRITE_REGISTER, COMMAND},
    {ZORVA_ACT_PROPERTY_WR_DATA, ZORVA_ACT_TYPE_WRITE_REGISTER, DATA},
    {ZORVA_ACT_PROPERTY_WR_DELAY, ZORVA_ACT_TYPE_WRITE_REGISTER, DELAY},
    {ZORVA_ACT_PROPERTY_WR_BUS_WIDTH, ZORVA_ACT_TYPE_WRITE_REGISTER, BUS_WIDTH_COMMAND_DATA},
    {ZORVA_ACT_PROPERTY_RR_NAME, ZORVA_ACT_TYPE_READ_REGISTER, NAME},
    {ZORVA_ACT_PROPERTY_RR_COMMAND, ZORVA_ACT_TYPE_READ_REGISTER, COMMAND},
    {ZORVA_ACT_PROPERTY_RR_DATA_LENGTH, ZORVA_ACT_TYPE_READ_REGISTER, DATA_LENGTH},
    {ZORVA_ACT_PROPERTY_RR_EXPECTED_DATA, ZORVA_ACT_TYPE_READ_REGISTER, EXPECTED_DATA},
    {ZORVA_ACT_PROPERTY_RR_EXPECTED_DATA_MASK, ZORVA_ACT_TYPE_READ_REGISTER, EXPECTED_DATA_MASK},
    {ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT, ZORVA_ACT_TYPE_READ_REGISTER, ATTEMPT_COUNT},
    {ZORVA_ACT_PROPERTY_RR_DELAY, ZORVA_ACT_TYPE_READ_REGISTER, DELAY},
    {ZORVA_ACT_PROPERTY_RR_BUS_WIDTH, ZORVA_ACT_TYPE_READ_REGISTER, BUS_WIDTH_COMMAND_DATA},
    {ZORVA_ACT_PROPERTY_WD_NAME, ZORVA_ACT_TYPE_WRITE_DATA, NAME},
    {ZORVA_ACT_PROPERTY_WD_COMMAND, ZORVA_ACT_TYPE_WRITE_DATA, COMMAND},
    {ZORVA_ACT_PROPERTY_WD_ADDRESS, ZORVA_ACT_TYPE_WRITE_DATA, ADDRESS},
    {ZORVA_ACT_PROPERTY_WD_DATA, ZORVA_ACT_TYPE_WRITE_DATA, DATA},
    {ZORVA_ACT_PROPERTY_WD_PAGE_SIZE, ZORVA_ACT_TYPE_WRITE_DATA, PAGE_SIZE},
    {ZORVA_ACT_PROPERTY_WD_ADDRESSING_MODE, ZORVA_ACT_TYPE_WRITE_DATA, ADDRESSING_MODE},
    {ZORVA_ACT_PROPERTY_WD_DELAY, ZORVA_ACT_TYPE_WRITE_DATA, DELAY},
    {ZORVA_ACT_PROPERTY_WD_BUS_WIDTH, ZORVA_ACT_TYPE_WRITE_DATA, BUS_WIDTH_COMMAND_ADDRESS_DATA},
    {ZORVA_ACT_PROPERTY_RD_NAME, ZORVA_ACT_TYPE_READ_DATA, NAME},
    {ZORVA_ACT_PROPERTY_RD_COMMAND, ZORVA_ACT_TYPE_READ_DATA, COMMAND},
    {ZORVA_ACT_PROPERTY_RD_ADDRESS, ZORVA_ACT_TYPE_READ_DATA, ADDRESS},
    {ZORVA_ACT_PROPERTY_RD_DATA_LENGTH, ZORVA_ACT_TYPE_READ_DATA, DATA_LENGTH},
    {ZORVA_ACT_PROPERTY_RD_EXPECTED_DATA, ZORVA_ACT_TYPE_READ_DATA, EXPECTED_DATA},
    {ZORVA_ACT_PROPERTY_RD_EXPECTED_DATA_MASK, ZORVA_ACT_TYPE_READ_DATA, EXPECTED_DATA_MASK},
    {ZORVA_ACT_PROPERTY_RD_ADDRESSING_MODE, ZORVA_ACT_TYPE_READ_DATA, ADDRESSING_MODE},
    {ZORVA_ACT_PROPERTY_RD_DUMMY_CLOCK_CYCLE, ZORVA_ACT_TYPE_READ_DATA, DUMMY_CLOCK_CYCLE},
    {ZORVA_ACT_PROPERTY_RD_DELAY, ZORVA_ACT_TYPE_READ_DATA, DELAY},
    {ZORVA_ACT_PROPERTY_RD_BUS_WIDTH, ZORVA_ACT_TYPE_READ_DATA, BUS_WIDTH_COMMAND_ADDRESS_DATA},
    {ZORVA_ACT_PROPERTY_ER_NAME, ZORVA_ACT_TYPE_ERASE, NAME},
    {ZORVA_ACT_PROPERTY_ER_COMMAND, ZORVA_ACT_TYPE_ERASE, COMMAND},
    {ZORVA_ACT_PROPERTY_ER_ADDRESS, ZORVA_ACT_TYPE_ERASE, ADDRESS},
    {ZORVA_ACT_PROPERTY_ER_ERASE_SIZE, ZORVA_ACT_TYPE_ERASE, ERASE_SIZE},
    {ZORVA_ACT_PROPERTY_ER_ADDRESSING_MODE, ZORVA_ACT_TYPE_ERASE, ADDRESSING_MODE},
    {ZORVA_ACT_PROPERTY_ER_DELAY, ZORVA_ACT_TYPE_ERASE, DELAY},
    {ZORVA_ACT_PROPERTY_ER_BUS_WIDTH, ZORVA_ACT_TYPE_ERASE, BUS_WIDTH_COMMAND_ADDRESS},
    {ZORVA_ACT_PROPERTY_CU_DESCRIPTION, ZORVA_ACT_TYPE_CUSTOM, DESCRIPTION},
    {ZORVA_ACT_PROPERTY_CU_DIRECTION, ZORVA_ACT_TYPE_CUSTOM, DIRECTION},
};

constexpr auto all_properties = [] {
    std::array<ZORVA_ACT_PROPERTY, std::size(property_table)> properties{};
    std::ranges::transform(property_table, properties.begin(), &PROPERTY_ROW::property);
    return properties;
}();

// The properties of a type are those that the property table gives it.
constexpr ZORVA_ACTION_TYPE_ROW type_row(ZORVA_ACT_TYPE type, const char* name,
                                         PGM_COMMON_XML_ENUM keyword) {
    const auto first = std::ranges::lower_bound(property_table, type, {}, &PROPERTY_ROW::type);
    const auto end = std::ranges::upper_bound(property_table, type, {}, &PROPERTY_ROW::type);
    const auto place = static_cast<std::size_t>(first - std::begin(property_table));
    return {type, name, keyword,
            std::span(all_properties).subspan(place, static_cast<std::size_t>(end - first))};
}

constexpr ZORVA_ACTION_TYPE_ROW type_table[] = {
    type_row(ZORVA_ACT_TYPE_WRITE_REGISTER, "Write Register", PGM_COMMON_XML_ENUM_WRITE_REG),
    type_row(ZORVA_ACT_TYPE_READ_REGISTER, "Read Register", PGM_COMMON_XML_ENUM_READ_REG),
    type_row(ZORVA_ACT_TYPE_WRITE_DATA, "Write Data", PGM_COMMON_XML_ENUM_WRITE_DATA),
    type_row(ZORVA_ACT_TYPE_READ_DATA, "Read Data", PGM_COMMON_XML_ENUM_READ_DATA),
    type_row(ZORVA_ACT_TYPE_ERASE, "Erase", PGM_COMMON_XML_ENUM_ERASE),
    type_row(ZORVA_ACT_TYPE_CUSTOM, "Custom", PGM_COMMON_XML_ENUM_CUSTOM),
};

static_assert(zorva_rows_stand_in_order(kind_table, &ZORVA_PROPERTY_KIND::kind));
static_assert(zorva_rows_stand_in_order(property_table, &PROPERTY_ROW::property));
static_assert(zorva_rows_stand_in_order(type_table, &ZORVA_ACTION_TYPE_ROW::type));
static_assert(std::size(property_table) == ZORVA_ACT_PROPERTY_COUNT);
static_assert(std::size(type_table) == ZORVA_ACT_TYPE_COUNT);
static_assert(std::ranges::is_sorted(property_table, {}, &PROPERTY_ROW::type));
static_assert(std::ranges::all_of(property_table, [](const PROPERTY_ROW& row) {
    return static_cast<std::size_t>(row.kind) < std::size(kind_table) &&
           static_cast<std::size_t>(row.type) < std::size(type_table);
}));
static_assert(std::ranges::all_of(type_table, [](const ZORVA_ACTION_TYPE_ROW& row) {
    return !row.properties.empty() && row.properties.size() <= ZORVA_ACT_MOST_PROPERTIES;
}));

bool holds_only(std::string_view text, std::string_view characters) {
    return text.find_first_not_of(characters) == text.npos;
}

// "0x" alone passes: callers rely on it as a spelling of 0.
bool is_number(std::string_view text) {
    if (text.starts_with("0x")) return holds_only(text.substr(2), "abcdefABCDEF0123456789");
    return !text.empty() && holds_only(text, "0123456789");
}

// What the bounds of a range apply to: the value of a number, the length of a list.
std::optional<qword> measure(ZORVA_FORM form, std::string_view value) {
    if (form == FORM::DATA_LIST) return zorva_data_list_length(value);
    if (!is_number(value)) return {};
    return PGM_COMMON::convert_string_to_qword(std::string(value), false, nullptr, nullptr, false);
}

bool is_in_range(const ZORVA_VALUE_RANGE& range, std::string_view value, bool is_jic) {
    if (range.empty_passes && value.empty()) return true;
    if (range.jic_passes && is_jic) return true;
    switch (range.form) {
        case FORM::NAME:
            return zorva_is_action_name(value);
        case FORM::CHOICE:
            return std::ranges::find(range.choices, value) != range.choices.end();
        case FORM::ANY_TEXT:
            return !value.empty();
        case FORM::DATA_LIST:
        case FORM::NUMBER:
            break;
    }
    const std::optional<qword> measured = measure(range.form, value);
    return measured && range.least <= *measured && *measured <= range.most;
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
    return &kind_table[static_cast<std::size_t>(property_table[property].kind)];
}

const ZORVA_PROPERTY_KIND& zorva_property_kind(ZORVA_ACT_PROPERTY property) {
    const ZORVA_PROPERTY_KIND* kind = zorva_find_property_kind(property);
    if (!kind) ZORVA_FAIL("Unknown action property enum");
    return *kind;
}

bool zorva_is_number_in_file(const ZORVA_PROPERTY_KIND& kind) {
    return kind.range.form == FORM::NUMBER && !kind.range.jic_passes;
}

bool zorva_is_jic(std::string_view value) {
    return value.find("jic") != value.npos || value.find("JIC") != value.npos;
}

bool zorva_is_good(ZORVA_ACT_PROPERTY property, const ZORVA_TEXT& value) {
    const ZORVA_PROPERTY_KIND& kind = zorva_property_kind(property);
    ZORVA_VERDICTS& verdicts = zorva_verdicts(value);
    static_assert(std::size(kind_table) <= 8 * sizeof verdicts.known);
    const std::uint32_t bit = 1U << static_cast<unsigned>(kind.kind);
    if (!(verdicts.known & bit)) {
        verdicts.known |= bit;
        const std::string& text = value.get();
        if (is_in_range(kind.range, text, zorva_is_jic(text))) verdicts.good |= bit;
    }
    return (verdicts.good & bit) != 0;
}

std::optional<ZORVA_REFUSAL> zorva_judge_property(ZORVA_ACT_PROPERTY property,
                                                  std::string_view value) {
    return zorva_judge_property(property, value, zorva_is_jic(value));
}

std::optional<ZORVA_REFUSAL> zorva_judge_property(ZORVA_ACT_PROPERTY property,
                                                  std::string_view value, bool is_jic) {
    const ZORVA_PROPERTY_KIND& kind = zorva_property_kind(property);
    if (is_in_range(kind.range, value, is_jic)) return {};
    return ZORVA_REFUSAL{kind.message, std::string(value), {}};
}
