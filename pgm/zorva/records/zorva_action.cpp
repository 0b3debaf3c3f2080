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
    const ZORVA_ACTION_TYPE_ROW& type = zorva_action_type(m_act_type);
    std::vector<ZORVA_ACT_PROPERTY> properties;
    properties.reserve(static_cast<std::size_t>(type.count));
    for (int place = 0; place < type.count; ++place)
        properties.push_back(static_cast<ZORVA_ACT_PROPERTY>(type.first + place));
    return properties;
}

bool ZORVA_ACTION::property_value_is_jic_file(std::string value) { return zorva_is_jic(value); }

std::optional<std::size_t> ZORVA_ACTION::place_of(ZORVA_ACT_PROPERTY property) const {
    if (m_act_type == no_type) return {};
    const ZORVA_ACTION_TYPE_ROW& type = zorva_action_type(m_act_type);
    const int place = property - type.first;
    if (place < 0 || place >= type.count) return {};
    return static_cast<std::size_t>(place);
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
        m_values[*place] = value;
        return;
    }
    if (!m_foreign_values) m_foreign_values = std::make_unique<FOREIGN_VALUES>();
    std::erase_if(*m_foreign_values, [&](const auto& entry) { return entry.first == property; });
    m_foreign_values->emplace_back(property, value);
}
