#include "tools/zorva/database/device.h"

#include "services/pgmdev.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>

namespace zorva_tool {

namespace {

// Nothing for a parameter that the interface doesn't have.
template <ZORVA_FLASH_PARAM param>
json text_parameter(const device& device) {
    if (!device.manager->is_parameter_valid(param)) return {};
    return device.flash->get_parameter_value(param);
}

template <ZORVA_FLASH_PARAM param>
json number_parameter(const device& device) {
    if (!device.manager->is_parameter_valid(param)) return {};
    return device.flash->get_parameter_value_in_dword(param, nullptr);
}

json name(const device& device) { return device.name; }

json interface_label(const device& device) {
    return interface_of(device.manager->get_flash_family()).label;
}

// Of a legacy device only the device-information service knows the voltage.
json voltage(const device& device) {
    if (!device.is_legacy()) return text_parameter<ZORVA_FLASH_PARAM_IO_VOLTAGE>(device);
    const PGMDEV_FLASH_MANAGER service(true, 1, false, false);
    const PGMDEV_SFL_FLASH_INFO* info = service.get_default_flash(device.name);
    return info == nullptr ? json() : json(info->io_voltage);
}

json density(const device& device) { return device.flash->get_density(); }
json bytes(const device& device) { return device.flash->get_density_in_bytes_qword(); }
json size(const device& device) { return size_text(device.flash->get_density_in_bytes_qword()); }
json generic_name(const device& device) { return device.flash->get_generic_name(); }

json origin(const device& device) {
    if (device.is_legacy()) return "legacy";
    const definition* definition = device.in_force();
    return definition == nullptr ? json() : json(origin_name(definition->file->origin));
}

json file(const device& device) { return device.manager->get_flash_file(device.name); }

json line(const device& device) {
    const definition* definition = device.in_force();
    return definition == nullptr ? json() : json(definition->is->line);
}

json hidden(const device& device) {
    json places = json::array();
    for (const definition& definition : device.definitions)
        if (definition.is->state == ZORVA_DEFINITION_STATE::HIDDEN)
            places.push_back(definition.place());
    return places;
}

// clang-format off
constexpr field field_table[] = {
    {"name",      "Name",              "",             in_list | of_legacy, name},
    {"interface", "Interface",         "",             in_show | of_legacy, interface_label},
    {"id",        "ID",                "",             in_list | in_show | compared,
     text_parameter<ZORVA_FLASH_PARAM_ID>, &id_editor},
    {"density",   "Density",           "",             in_list | in_show | compared, density,
     &density_editor},
    {"size",      "Size",              "",             in_list | in_show, size},
    {"bytes",     "Bytes",             "bytes",        0, bytes},
    {"voltage",   "I/O voltage",       "",             in_list | in_show | compared | of_legacy,
     voltage, &voltage_editor},
    {"dies",      "Dies",              "",             in_show | compared,
     number_parameter<ZORVA_FLASH_PARAM_TOTAL_DIE>, &dies_editor},
    {"dummy",     "Dummy cycles",      "clock cycles", in_show | compared,
     number_parameter<ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE>, &dummy_editor},
    {"dummy-x4",  "Dummy cycles, x4",  "clock cycles", in_show | compared,
     number_parameter<ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4>, &dummy_x4_editor},
    {"template",  "Flow template",     "",             in_list | in_show | compared,
     text_parameter<ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE>, &template_editor},
    {"generic",   "Generic name",      "",             in_show, generic_name},
    {"origin",    "Origin",            "",             in_list | in_show | of_legacy, origin},
    {"file",      "File",              "",             in_show, file},
    {"line",      "Line",              "",             in_show, line},
    {"hides",     "Hides",             "",             in_show, hidden},
};
// clang-format on

}  // namespace

const definition* device::in_force() const {
    const auto found = std::ranges::find_if(definitions, [](const definition& definition) {
        return definition.is->state == ZORVA_DEFINITION_STATE::IN_FORCE;
    });
    return found == definitions.end() ? nullptr : &*found;
}

std::string field::key() const {
    std::string key = name;
    std::ranges::replace(key, '-', '_');
    return key;
}

json field::value_of(const device& device) const {
    return device.is_legacy() && (uses & of_legacy) == 0 ? json() : value(device);
}

bool field::is_known_of(const device& device) const {
    const json known = value_of(device);
    return !known.empty() && known != "";
}

std::string field::text_of(const device& device) const {
    const std::string text = cell_text(value_of(device));
    return *unit == '\0' ? text : fmt::format("{} {}", text, unit);
}

std::span<const field> device_fields() { return field_table; }

json device_json(const device& device) {
    json object = json::object();
    for (const field& field : field_table) object[field.key()] = field.value_of(device);
    return object;
}

std::vector<column> device_columns() {
    std::vector<column> columns;
    for (const field& field : field_table)
        if ((field.uses & in_list) != 0) columns.push_back({field.name, field.label});
    return columns;
}

}  // namespace zorva_tool
