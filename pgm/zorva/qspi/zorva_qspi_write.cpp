#include "pgm/zorva/qspi/zorva_qspi_write.h"

#include "pgm/zorva/load/zorva_elements.h"
#include "pgm/zorva/qspi/zorva_qspi_interface.h"
#include "pgm/zorva/rules/zorva_action_table.h"
#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/zorva_qspi_operation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

namespace {

std::unique_ptr<PGM_COMMON_XML_ELEMENT> new_element(PGM_COMMON_XML_ENUM tag) {
    return PGM_COMMON_XML::new_element(PGM_COMMON_XML_FILE_QSPI, tag);
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> property_element(ZORVA_ACT_PROPERTY property,
                                                         const std::string& value) {
    const ZORVA_PROPERTY_KIND& kind = zorva_property_kind(property);
    auto element = new_element(kind.tag);
    if (zorva_is_number_in_file(kind))
        element->write_value(zorva_number_to_write(value).value_or(~dword{0}));
    else if (kind.tag == PGM_COMMON_XML_ENUM_DESCRIPTION)
        element->write_string(zorva_escape_description(value));
    else
        element->write_string(value);
    return element;
}

void update_xml_action_property(ZORVA_ACTION* act, PGM_COMMON_XML_ELEMENT* xml_action,
                                ZORVA_ACT_PROPERTY property_enum) {
    const std::string value = act->get_property_value(property_enum);
    if (!act->property_value_is_valid(property_enum, value, nullptr))
        ZORVA_FAIL(
            "act->property_value_is_valid(property_enum, act->get_property_value(property_enum))");
    xml_action->add_child(property_element(property_enum, value).release(), nullptr);
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> action_element(ZORVA_ACTION* act) {
    ZORVA_ASSERT(act);
    auto xml_action = new_element(PGM_COMMON_XML_ENUM_ACTION);
    xml_action->write_attribute_enum("type", zorva_action_type(act->get_action_type()).keyword);
    for (const ZORVA_ACT_PROPERTY property : act->get_property_enum_list())
        update_xml_action_property(act, xml_action.get(), property);
    return xml_action;
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> operation_element(ZORVA_OPERATION* op) {
    ZORVA_ASSERT(op);
    const auto row =
        std::ranges::find(zorva_operations(), op->get_operation_type(), &ZORVA_OPERATION_ROW::type);
    if (row == zorva_operations().end()) ZORVA_FAIL("Unknown operation type");
    auto xml_operation = new_element(row->tag);
    for (ZORVA_ACTION* act : *op->get_action_list())
        xml_operation->add_child(action_element(act).release(), nullptr);
    return xml_operation;
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> create_xml_for_one_programming_flow(
    PGM_COMMON_XML_ENUM tag, const std::vector<ZORVA_OPERATION*>& operation_list) {
    auto flow = new_element(tag);
    for (ZORVA_OPERATION* op : operation_list)
        flow->add_child(operation_element(op).release(), nullptr);
    return flow;
}

// A good number that would stand in the file as a bad one, or not at all, can't be written. A bad
// one is for update_xml_action_property to report.
bool is_writable(ZORVA_ACTION& action, ZORVA_ACT_PROPERTY property) {
    const ZORVA_PROPERTY_KIND& kind = zorva_property_kind(property);
    const std::string value = action.get_property_value(property);
    if (!zorva_is_number_in_file(kind) || zorva_judge_property(property, value)) return true;
    const std::optional<dword> number = zorva_number_to_write(value);
    return number && !zorva_judge_property(property, std::to_string(*number));
}

bool is_writable(ZORVA_OPERATION& operation) {
    return std::ranges::all_of(*operation.get_action_list(), [](ZORVA_ACTION* action) {
        return std::ranges::all_of(action->get_property_enum_list(),
                                   [&](auto property) { return is_writable(*action, property); });
    });
}

bool is_writable(const std::vector<ZORVA_OPERATION*>& flow) {
    std::vector<ZORVA_OP_TYPE> types;
    types.reserve(flow.size());
    for (const ZORVA_OPERATION* operation : flow) types.push_back(operation->get_operation_type());
    std::ranges::sort(types);
    const bool holds_each_once = std::ranges::adjacent_find(types) == types.end();
    return holds_each_once && std::ranges::all_of(flow, [](ZORVA_OPERATION* operation) {
               return is_writable(*operation);
           });
}

// Puts the operations of a flow element in order and adds those that it lacks.
void complete_flow(PGM_COMMON_XML_ELEMENT& flow) {
    std::vector<std::unique_ptr<PGM_COMMON_XML_ELEMENT>> held;
    while (!flow.get_all_childs().empty()) held.push_back(flow.take_first_child());
    for (const ZORVA_OPERATION_ROW& row : zorva_operations()) {
        const auto found = std::ranges::find_if(
            held, [&](const auto& element) { return element && element->get_type() == row.tag; });
        auto element = found == held.end() ? new_element(row.tag) : std::move(*found);
        flow.add_child(element.release(), nullptr);
    }
}

std::vector<ZORVA_OPERATION*> copy_of(const std::vector<ZORVA_OPERATION*>& operation_list) {
    std::vector<ZORVA_OPERATION*> copies;
    copies.reserve(operation_list.size());
    for (const ZORVA_OPERATION* operation : operation_list)
        copies.push_back(
            new ZORVA_QSPI_OPERATION(static_cast<const ZORVA_QSPI_OPERATION&>(*operation)));
    return copies;
}

}  // namespace

bool ZORVA_QSPI_INTERFACE::is_writable(ZORVA_FLASH& flash) const {
    return ::is_writable(*flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL)) &&
           ::is_writable(*flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SDM));
}

void ZORVA_QSPI_INTERFACE::complete_flows(PGM_COMMON_XML_ELEMENT& holder) const {
    const PGM_COMMON_XML_ELEMENT* programming_flow =
        zorva_first_child(holder, PGM_COMMON_XML_ENUM_PROGRAMMING_FLOW);
    for (PGM_COMMON_XML_ELEMENT* flow : programming_flow->get_all_childs()) complete_flow(*flow);
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_create_xml_programming_flow(
    const std::vector<ZORVA_OPERATION*>& sfl, const std::vector<ZORVA_OPERATION*>& sdm) {
    auto programming_flow = new_element(PGM_COMMON_XML_ENUM_PROGRAMMING_FLOW);
    programming_flow->add_child(
        create_xml_for_one_programming_flow(PGM_COMMON_XML_ENUM_SFL, sfl).release(), nullptr);
    programming_flow->add_child(
        create_xml_for_one_programming_flow(PGM_COMMON_XML_ENUM_SDM, sdm).release(), nullptr);
    return programming_flow;
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_create_xml_user_template(
    const std::string& name, const std::vector<ZORVA_OPERATION*>& sfl,
    const std::vector<ZORVA_OPERATION*>& sdm) {
    auto user_template = new_element(PGM_COMMON_XML_ENUM_USER_TEMPLATE);
    auto template_name = new_element(PGM_COMMON_XML_ENUM_TEMPLATE_NAME);
    template_name->write_string(name);
    user_template->add_child(template_name.release(), nullptr);
    user_template->add_child(zorva_create_xml_programming_flow(sfl, sdm).release(), nullptr);
    return user_template;
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> ZORVA_QSPI_INTERFACE::template_element(
    const std::string& name, ZORVA_FLASH& flash) const {
    auto element =
        zorva_create_xml_user_template(name, *flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL),
                                       *flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SDM));
    complete_flows(*element);
    return element;
}

std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> ZORVA_QSPI_INTERFACE::copy_flows(
    ZORVA_FLASH& flash) const {
    auto flows = std::make_unique<ZORVA_USER_FLASH_TEMPLATE>();
    flows->sdm_operation_list = copy_of(*flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SDM));
    flows->sfl_operation_list = copy_of(*flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL));
    return flows;
}

std::optional<dword> zorva_number_to_write(const std::string& value) {
    errno = 0;
    const unsigned long long number = std::strtoull(value.c_str(), nullptr, 0);
    if (errno == ERANGE || number > ~dword{0}) return {};
    return static_cast<dword>(number);
}

std::string zorva_escape_description(std::string_view description) {
    std::string text;
    for (std::size_t at = 0; at < description.size(); ++at) {
        // A line feed at the very end stays one: readers of old files rely on it.
        const bool escaped = description[at] == '\n' && at + 1 < description.size();
        text += escaped ? std::string_view("\\n") : description.substr(at, 1);
    }
    return text;
}
