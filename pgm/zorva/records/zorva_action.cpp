#include "pgm/zorva/zorva_action.h"

#include "pgm/zorva/rules/zorva_action_table.h"

#include <algorithm>

ZORVA_ACTION::~ZORVA_ACTION() = default;

ZORVA_ACTION::ZORVA_ACTION(const ZORVA_ACTION& other)
    : m_name(other.m_name),
      m_act_type(other.m_act_type),
      m_values(other.m_values),
      m_foreign_values(other.m_foreign_values
                           ? std::make_unique<FOREIGN_VALUES>(*other.m_foreign_values)
                           : nullptr) {}

ZORVA_ACTION& ZORVA_ACTION::operator=(const ZORVA_ACTION& other) {
    auto foreign_values = other.m_foreign_values
                              ? std::make_unique<FOREIGN_VALUES>(*other.m_foreign_values)
                              : nullptr;
    m_name = other.m_name;
    m_act_type = other.m_act_type;
    m_values = other.m_values;
    m_foreign_values = std::move(foreign_values);
    return *this;
}

std::string ZORVA_ACTION::get_name() const { return m_name.get(); }
void ZORVA_ACTION::set_name(std::string name) { m_name = ZORVA_TEXT(name); }

std::vector<ZORVA_ACT_PROPERTY> ZORVA_ACTION::get_property_enum_list() const {
    if (m_act_type == no_type) return {};
    const auto properties = zorva_action_type(m_act_type).properties;
    return {properties.begin(), properties.end()};
}

std::optional<ZORVA_ACT_PROPERTY> ZORVA_ACTION::find_property(ZORVA_ACT_TYPE type,
                                                              ZORVA_PROPERTY kind) {
    const auto properties = zorva_action_type(type).properties;
    const auto found = std::ranges::find(properties, kind, get_property_kind);
    if (found == properties.end()) return {};
    return *found;
}

ZORVA_PROPERTY ZORVA_ACTION::get_property_kind(ZORVA_ACT_PROPERTY property) {
    return zorva_property_kind(property).kind;
}

ZORVA_VALUE_RANGE ZORVA_ACTION::get_property_range(ZORVA_ACT_PROPERTY property) {
    return zorva_property_kind(property).range;
}

std::optional<ZORVA_FINDING> ZORVA_ACTION::judge_property_value(ZORVA_ACT_PROPERTY property,
                                                                std::string_view value) {
    const std::optional<ZORVA_REFUSAL> refusal = zorva_judge_property(property, value);
    if (!refusal) return {};
    return zorva_finding(*refusal);
}

bool ZORVA_ACTION::property_value_is_jic_file(std::string value) { return zorva_is_jic(value); }

std::optional<std::size_t> ZORVA_ACTION::place_of(ZORVA_ACT_PROPERTY property) const {
    if (m_act_type == no_type) return {};
    const auto properties = zorva_action_type(m_act_type).properties;
    if (property < properties.front() || property > properties.back()) return {};
    return static_cast<std::size_t>(property - properties.front());
}

const std::string* ZORVA_ACTION::find_value(ZORVA_ACT_PROPERTY property) const {
    if (const auto place = place_of(property)) return &m_values[*place].get();
    if (!m_foreign_values) return nullptr;
    const auto found =
        std::ranges::find(*m_foreign_values, property, &FOREIGN_VALUES::value_type::first);
    return found == m_foreign_values->end() ? nullptr : &found->second.get();
}

void ZORVA_ACTION::store_value(ZORVA_ACT_PROPERTY property, ZORVA_TEXT value) {
    if (const auto place = place_of(property)) {
        m_values[*place] = std::move(value);
        return;
    }
    if (!m_foreign_values) m_foreign_values = std::make_unique<FOREIGN_VALUES>();
    std::erase_if(*m_foreign_values, [&](const auto& entry) { return entry.first == property; });
    m_foreign_values->emplace_back(property, std::move(value));
}
