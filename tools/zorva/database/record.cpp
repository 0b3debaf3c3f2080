#include "tools/zorva/database/record.h"

#include "pgm/zorva/zorva_helper.h"
#include "pgm/zorva/zorva_qspi_operation.h"
#include "tools/zorva/database/address.h"
#include "tools/zorva/database/field_editor.h"
#include "tools/zorva/database/flow.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>

namespace zorva_tool {

namespace {

constexpr ZORVA_FLASH_PARAM text_params[] = {ZORVA_FLASH_PARAM_ID, ZORVA_FLASH_PARAM_IO_VOLTAGE,
                                             ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE};
constexpr ZORVA_FLASH_PARAM number_params[] = {ZORVA_FLASH_PARAM_TOTAL_DIE,
                                               ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE,
                                               ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4};

// A definition that isn't in force has its name all the same: writing another one would put it out
// of its file.
void check_not_defined(const database& db, ZORVA_DEFINITION_KIND kind, const std::string& name) {
    for (const ZORVA_FILE_REPORT* file : db.files())
        for (const ZORVA_DEFINITION& is : file->definitions)
            if (is.kind == kind && is.name == name)
                throw refusal(fmt::format(
                    "The {} '{}' is defined in {} already, though not in force; 'zorva where {}' "
                    "tells why.",
                    kind_name(kind), name, definition{file, &is}.place(), name));
}

void copy_flow(ZORVA_FLASH& to, ZORVA_PROG_FLOW_TYPE type,
               const std::vector<ZORVA_OPERATION*>& operations) {
    std::vector<ZORVA_OPERATION*> copies;
    copies.reserve(operations.size());
    for (const ZORVA_OPERATION* operation : operations)
        copies.push_back(
            new ZORVA_QSPI_OPERATION(static_cast<const ZORVA_QSPI_OPERATION&>(*operation)));
    to.set_operation_list(copies, type);
}

const field_editor& editor_of(const std::string& name) {
    for (const field& field : device_fields())
        if (field.editor != nullptr && field.name == name) return *field.editor;
    const std::vector<std::string> names = settable_fields();
    throw failure(exit_command_line,
                  fmt::format("There is no field '{}' to set; there are {}.", name, joined(names)),
                  nearest(name, names));
}

}  // namespace

void check_new_device_name(const database& db, ZORVA_MGR& manager, const std::string& name) {
    check_value(manager, ZORVA_FLASH_PARAM_NAME, name);
    // One name for two devices would have both in one file.
    for (ZORVA_MGR* other : ZORVA_HELPER::get_helper()->get_manager_list())
        if (other->device_exist_in_db(name, true))
            throw refusal(fmt::format("'{}' is the name of a device of the {} interface already.",
                                      name, interface_of(other->get_flash_family()).label));
    check_not_defined(db, ZORVA_DEFINITION_KIND::DEVICE, name);
}

void check_new_template_name(const database& db, ZORVA_MGR& manager, const std::string& name) {
    if (!manager.is_flash_operation_supported())
        throw lacks_field(interface_of(manager.get_flash_family()));
    check_value(manager, ZORVA_FLASH_PARAM_TEMPLATE_NAME, name);
    check_not_defined(db, ZORVA_DEFINITION_KIND::TEMPLATE, name);
}

void check_new_devices_are_supported(ZORVA_MGR& manager) {
    const interface_row& row = interface_of(manager.get_flash_family());
    if (!manager.is_new_device_supported()) throw switched_off(row, row.custom_setting);
}

ZORVA_MGR& manager_of_template(const database& db, const std::string& name) {
    for (ZORVA_MGR* manager : db.managers())
        if (std::ranges::count(manager->get_prog_flow_template_list(), name) != 0) return *manager;
    db.require_flows();
    throw db.not_found("template", name, db.template_names());
}

ZORVA_FLASH& new_copy(ZORVA_MGR& manager, ZORVA_FLASH& original, const std::string& name) {
    ZORVA_FLASH& copy = *manager.create_flash(name);
    copy.set_density(original.get_density());
    for (const ZORVA_FLASH_PARAM param : text_params)
        if (manager.is_parameter_valid(param))
            copy.set_parameter_value(param, original.get_parameter_value(param));
    for (const ZORVA_FLASH_PARAM param : number_params)
        if (manager.is_parameter_valid(param))
            copy.set_parameter_value(param, original.get_parameter_value_in_dword(param, nullptr));
    if (manager.is_flash_operation_supported()) copy_flows(copy, original);
    return copy;
}

ZORVA_FLASH& new_template(ZORVA_MGR& manager, const std::string& name) {
    // A record of the template's own name would make the name a device's.
    ZORVA_FLASH& carrier = *manager.create_flash(name + "_flows");
    carrier.set_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME, name);
    return carrier;
}

void copy_flows(ZORVA_FLASH& to, ZORVA_FLASH& from) {
    for (const flow_row& flow : flow_table())
        copy_flow(to, flow.type, *from.get_operation_list(flow.type));
}

void copy_template_flows(ZORVA_MGR& manager, ZORVA_FLASH& flash, const std::string& name) {
    // The golden ones stand in front of the user's, in the order of their numbers.
    const std::vector<std::string> names = manager.get_prog_flow_template_list();
    const auto place = std::ranges::find(names, name) - names.begin();
    const auto golden_count = std::ssize(names) - std::ssize(manager.get_user_template_list());
    std::string user_name = name;
    for (const flow_row& flow : flow_table())
        copy_flow(flash, flow.type,
                  place < golden_count
                      ? *manager.get_prog_flow_template_operation_list(
                            static_cast<ZORVA_PROG_FLOW_TEMPLATE>(place), flow.type)
                      : *manager.get_user_template_operation_list(user_name, flow.type));
}

std::vector<std::string> settable_fields() {
    std::vector<std::string> names;
    for (const field& field : device_fields())
        if (field.editor != nullptr) names.emplace_back(field.name);
    return names;
}

void apply(output& out, ZORVA_MGR& manager, ZORVA_FLASH& flash,
           const std::vector<std::string>& assignments) {
    for (const std::string& assignment : assignments) {
        const std::size_t sign = assignment.find('=');
        if (sign == std::string::npos)
            throw failure(exit_command_line,
                          fmt::format("'{}' sets nothing; voltage=1.8V does.", assignment));
        const std::string what = assignment.substr(0, sign);
        const std::string value = assignment.substr(sign + 1);
        const std::string note = what.find('.') == std::string::npos
                                     ? editor_of(what).set(manager, flash, value)
                                     : set_property(manager, flash, what, value);
        if (!note.empty()) out.note(note);
    }
}

}  // namespace zorva_tool
