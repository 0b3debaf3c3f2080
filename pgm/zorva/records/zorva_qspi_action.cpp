#include "pgm/zorva/zorva_qspi_action.h"

#include "pgm/zorva/rules/zorva_action_table.h"
#include "pgm/zorva/rules/zorva_data_list.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/zorva_mgr.h"
#include "services/pgm_common.h"

ZORVA_QSPI_ACTION::ZORVA_QSPI_ACTION(ZORVA_ACT_TYPE type) : ZORVA_ACTION(type) {
    const ZORVA_ACTION_TYPE_ROW& row = zorva_action_type(type);
    m_name = ZORVA_TEXT(row.name);
    for (int place = 0; place < row.count; ++place) {
        const auto property = static_cast<ZORVA_ACT_PROPERTY>(row.first + place);
        const char* default_value = zorva_property_kind(property).default_value;
        if (default_value) store_value(property, ZORVA_TEXT(default_value));
    }
}

std::string ZORVA_QSPI_ACTION::get_property_name(ZORVA_ACT_PROPERTY property) {
    return zorva_property_kind(property).label;
}

std::string ZORVA_QSPI_ACTION::get_property_value(ZORVA_ACT_PROPERTY property) {
    const std::string* value = find_value(property);
    return value ? *value : std::string();
}

dword ZORVA_QSPI_ACTION::get_property_value_in_dword(ZORVA_ACT_PROPERTY property) {
    const std::string value = get_property_value(property);
    if (value.empty()) return 0;
    if (const auto bytes = zorva_data_list_bytes(value)) return zorva_little_endian(*bytes);
    return PGM_COMMON::convert_string_to_dword(value, true, nullptr, nullptr, false);
}

unsigned char* ZORVA_QSPI_ACTION::get_property_value_in_byte_array(ZORVA_ACT_PROPERTY property,
                                                                   dword* length, bool* valid) {
    const std::string value = get_property_value(property);
    if (!value.empty())
        return ZORVA_MGR::convert_data_list_string_to_byte_array(value, length, valid);
    if (length) *length = 0;
    if (valid) *valid = false;
    return nullptr;
}

std::vector<std::string> ZORVA_QSPI_ACTION::get_property_value_list(ZORVA_ACT_PROPERTY property) {
    const ZORVA_PROPERTY_KIND* kind = zorva_find_property_kind(property);
    if (!kind || kind->tag != PGM_COMMON_XML_ENUM_BUS_WIDTH)
        ZORVA_FAIL("Unknown action property enum");
    return {kind->rule.choices.begin(), kind->rule.choices.end()};
}

void ZORVA_QSPI_ACTION::set_property_value(ZORVA_ACT_PROPERTY property, std::string value) {
    store_value(property, ZORVA_TEXT(value));
}

bool ZORVA_QSPI_ACTION::property_value_is_valid(ZORVA_ACT_PROPERTY property, std::string value,
                                                std::string* err_msg) {
    // A derived action may know the .jic file by other words.
    const bool is_jic =
        zorva_property_kind(property).rule.jic_passes && property_value_is_jic_file(value);
    const std::optional<ZORVA_REFUSAL> refusal = zorva_judge_property(property, value, is_jic);
    if (!refusal) return true;
    zorva_post(*refusal);
    if (err_msg) *err_msg = zorva_sentence(*refusal);
    return false;
}

bool ZORVA_QSPI_ACTION::property_value_is_enable(ZORVA_ACT_PROPERTY property) {
    const ZORVA_PROPERTY_KIND* kind = zorva_find_property_kind(property);
    return !kind || !kind->fixed;
}
