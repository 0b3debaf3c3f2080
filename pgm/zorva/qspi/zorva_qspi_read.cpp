#include "pgm/zorva/qspi/zorva_qspi_read.h"

#include "h/pgm_common_xml_zorva_qspi_auto_export.h"
#include "pgm/zorva/load/zorva_elements.h"
#include "pgm/zorva/qspi/zorva_qspi_interface.h"
#include "pgm/zorva/rules/zorva_action_table.h"
#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/zorva_qspi_action.h"
#include "pgm/zorva/zorva_qspi_flash.h"
#include "pgm/zorva/zorva_qspi_operation.h"

#include <algorithm>

namespace {

// Takes a parameter from its child, null if that is missing; what is wrong with it.
std::optional<ZORVA_REFUSAL> read_parameter(ZORVA_FLASH& flash, const ZORVA_QSPI_PARAM_ROW& row,
                                            const PGM_COMMON_XML_ELEMENT* child) {
    if (row.number) {
        const dword number = child ? child->read_number() : 0;
        flash.set_parameter_value(row.param, number);
        return zorva_qspi_interface.judge(row.param, number);
    }
    const std::string text = child ? child->read_value() : std::string();
    if (row.param == ZORVA_FLASH_PARAM_NAME)
        flash.set_name(text);
    else if (row.param == ZORVA_FLASH_PARAM_DENSITY)
        flash.set_density(text);
    else
        flash.set_parameter_value(row.param, text);
    return zorva_qspi_interface.judge(row.param, text);
}

// The child that holds a property: the one at its place in document order, where any order but
// that is rare.
const PGM_COMMON_XML_ELEMENT* child_of(const PGM_COMMON_XML_ELEMENT& xml_action, std::size_t place,
                                       PGM_COMMON_XML_ENUM tag) {
    const auto& children = xml_action.get_all_childs();
    const bool in_place = place < children.size() && children[place]->get_type() == tag;
    return in_place ? children[place] : zorva_first_child(xml_action, tag);
}

// The text of a property in `value`, and what is wrong with it. A child that is missing is a bad
// value even where an empty one would be good.
ZORVA_TEXT read_property(const PGM_COMMON_XML_ELEMENT& xml_action,
                         const PGM_COMMON_XML_ELEMENT* child, ZORVA_ACT_PROPERTY property,
                         std::string& value, std::vector<ZORVA_REFUSAL>& refusals) {
    const ZORVA_PROPERTY_KIND& kind = zorva_property_kind(property);
    if (!child) {
        zorva_keep_refusal(ZORVA_REFUSAL{kind.message, {}, {}}, xml_action, refusals);
        return {};
    }
    child->read_value_into(value);
    if (kind.tag == PGM_COMMON_XML_ENUM_DESCRIPTION) value = zorva_unescape_description(value);
    ZORVA_TEXT text(value);
    if (!zorva_is_good(property, text))
        zorva_keep_refusal(zorva_judge_property(property, value), *child, refusals);
    return text;
}

// An action of a type without any value; copying one is cheaper than making it.
const ZORVA_QSPI_ACTION& new_action(ZORVA_ACT_TYPE type) {
    static const auto actions = [] {
        std::vector<ZORVA_QSPI_ACTION> all;
        all.reserve(ZORVA_ACT_TYPE_COUNT);
        for (int each = 0; each < ZORVA_ACT_TYPE_COUNT; ++each)
            all.emplace_back(static_cast<ZORVA_ACT_TYPE>(each));
        for (ZORVA_QSPI_ACTION& action : all)
            for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list())
                action.set_property_text(property, {});
        return all;
    }();
    return actions[static_cast<std::size_t>(type)];
}

std::unique_ptr<ZORVA_ACTION> read_action(const PGM_COMMON_XML_ELEMENT& xml_action,
                                          std::vector<ZORVA_REFUSAL>& refusals) {
    const auto keyword = static_cast<const PGM_COMMON_XML_ZORVA_QSPI_ACTION&>(xml_action).type;
    const ZORVA_ACTION_TYPE_ROW& type = zorva_action_type_of_keyword(keyword);
    auto action = std::make_unique<ZORVA_QSPI_ACTION>(new_action(type.type));
    std::string value;
    for (std::size_t place = 0; place < type.properties.size(); ++place) {
        const ZORVA_ACT_PROPERTY property = type.properties[place];
        const PGM_COMMON_XML_ELEMENT* child =
            child_of(xml_action, place, zorva_property_kind(property).tag);
        ZORVA_TEXT text = read_property(xml_action, child, property, value, refusals);
        if (refusals.empty()) action->set_property_text(property, std::move(text));
    }
    return action;
}

void add_operation_into_list(ZORVA_OP_TYPE type, const PGM_COMMON_XML_ELEMENT& xml,
                             std::vector<ZORVA_OPERATION*>& op_list,
                             std::vector<ZORVA_REFUSAL>& refusals) {
    auto operation = std::make_unique<ZORVA_QSPI_OPERATION>(type);
    operation->reserve_actions(xml.get_all_childs().size());
    for (const PGM_COMMON_XML_ELEMENT* xml_action : xml.get_all_childs())
        operation->add_action_into_list(read_action(*xml_action, refusals).release());
    op_list.push_back(operation.release());
}

void update_operation_list(const PGM_COMMON_XML_ELEMENT& xml,
                           std::vector<ZORVA_OPERATION*>& op_list,
                           std::vector<ZORVA_REFUSAL>& refusals) {
    op_list.reserve(zorva_operations().size());
    for (const ZORVA_OPERATION_ROW& row : zorva_operations())
        add_operation_into_list(row.type, zorva_only_child(xml, row.tag, "xml"), op_list, refusals);
}

}  // namespace

std::unique_ptr<ZORVA_FLASH> ZORVA_QSPI_INTERFACE::read_device(
    const PGM_COMMON_XML_ELEMENT& flash_element, std::vector<ZORVA_REFUSAL>& refusals) const {
    const PGM_COMMON_XML_ELEMENT& device_info =
        zorva_only_child(flash_element, PGM_COMMON_XML_ENUM_DEVICE_INFO, "flash_element");
    auto flash = std::make_unique<ZORVA_QSPI_FLASH>("");
    bool good = true;
    for (const ZORVA_QSPI_PARAM_ROW& row : zorva_qspi_params()) {
        if (row.tag == PGM_COMMON_XML_ENUM__INVALID__) continue;
        const PGM_COMMON_XML_ELEMENT* child = zorva_first_child(device_info, row.tag);
        const PGM_COMMON_XML_ELEMENT& at_fault = child ? *child : device_info;
        if (zorva_keep_refusal(read_parameter(*flash, row, child), at_fault, refusals) || !child)
            good = false;
    }
    if (!good) return nullptr;
    return flash;
}

std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> ZORVA_QSPI_INTERFACE::read_flows(
    const PGM_COMMON_XML_ELEMENT& holder, std::vector<ZORVA_REFUSAL>& refusals) const {
    const PGM_COMMON_XML_ELEMENT& programming_flow =
        zorva_only_child(holder, PGM_COMMON_XML_ENUM_PROGRAMMING_FLOW, "xml");
    auto flows = std::make_unique<ZORVA_USER_FLASH_TEMPLATE>();
    const char* parent_text = "prog_flow_list.at(0)";
    update_operation_list(zorva_only_child(programming_flow, PGM_COMMON_XML_ENUM_SFL, parent_text),
                          flows->sfl_operation_list, refusals);
    update_operation_list(zorva_only_child(programming_flow, PGM_COMMON_XML_ENUM_SDM, parent_text),
                          flows->sdm_operation_list, refusals);
    return flows;
}

std::string zorva_unescape_description(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool escaped = text.substr(at).starts_with("\\n");
        plain += escaped ? '\n' : text[at];
        if (escaped) ++at;
    }
    return plain;
}
