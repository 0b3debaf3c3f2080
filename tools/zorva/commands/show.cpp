// zorva show
#include "tools/zorva/command_line.h"
#include "tools/zorva/database/flow.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

namespace zorva_tool {

namespace {

struct show_options {
    std::string name;
    std::string flow;
    std::string field;
};

std::vector<flow_row> selected_flows(const std::string& name) {
    std::vector<flow_row> selected;
    for (const flow_row& flow : flow_table())
        if (name.empty() || name == flow.name) selected.push_back(flow);
    return selected;
}

const field& find_field(const std::string& name) {
    const auto found = std::ranges::find(device_fields(), name, &field::name);
    if (found != device_fields().end()) return *found;
    std::vector<std::string> names;
    for (const field& field : device_fields()) names.emplace_back(field.name);
    throw failure(exit_command_line,
                  fmt::format("There is no field '{}'; there are {}.", name, joined(names)),
                  nearest(name, names));
}

int show_field(output& out, const device& device, const field& field) {
    const json value = field.value_of(device);
    if (out.is_json())
        out.document("ok", {{"name", device.name}, {"field", field.name}, {"value", value}});
    else
        out.line(field.is_known_of(device) ? cell_text(value) : "");
    return exit_done;
}

bool has_flows(const device& device) {
    return !device.is_legacy() && device.manager->is_flash_operation_supported();
}

void show_json(output& out, const device& device, const std::vector<flow_row>& flows) {
    json members = device_json(device);
    members["legacy"] = device.is_legacy();
    members["flows"] = has_flows(device) ? flows_json(*device.flash, flows) : json::object();
    out.document("ok", members);
}

void show_text(output& out, const device& device, const std::vector<flow_row>& flows) {
    out.heading(printable(device.name));
    std::vector<std::vector<std::string>> rows;
    for (const field& field : device_fields())
        if ((field.uses & in_show) != 0 && field.is_known_of(device))
            rows.push_back({field.label, field.text_of(device)});
    out.rows(rows, 2);
    if (device.is_legacy())
        out.line("  A legacy device is known by name and voltage only and has no flows.");
    if (!has_flows(device)) return;
    for (const flow_row& flow : flows) print_flow(*device.flash, flow, out);
}

// Look-ups give the legacy device only.
void note_stored(context& context, const std::string& name) {
    const auto stored = context.db().stored(name);
    if (!stored) return;
    const definition* definition = stored->in_force();
    context.out().note(fmt::format(
        "A legacy device hides the '{}' that is stored in {}; only 'zorva set' and 'zorva rm' "
        "reach that.",
        name, definition == nullptr ? stored->manager->get_flash_file(name) : definition->place()));
}

int show(context& context, const show_options& options) {
    const field* field = options.field.empty() ? nullptr : &find_field(options.field);
    const device device = context.db().get(options.name);
    output& out = context.out();
    if (device.is_legacy()) note_stored(context, device.name);
    if (field != nullptr) return show_field(out, device, *field);
    if (!options.flow.empty() && !device.manager->is_flash_operation_supported())
        throw lacks_field(interface_of(device.manager->get_flash_family()));
    const std::vector<flow_row> flows = selected_flows(options.flow);
    if (out.is_json())
        show_json(out, device, flows);
    else if (out.is_names())
        out.line(printable(device.name));
    else
        show_text(out, device, flows);
    return exit_done;
}

}  // namespace

void add_show(command_line& line) {
    const auto options = std::make_shared<show_options>();
    CLI::App* command =
        line.add(line.app(), "show", "Show all of one device: values, where from, flows",
                 "  zorva show MT25QU128\n"
                 "  zorva show MT25QU128 --flow sdm\n"
                 "  zorva show MT25QU128 --field density     one bare value, for scripts",
                 [options](context& context) { return show(context, *options); });
    command->add_option("NAME", options->name, "Name of the device")->required()->type_name("");
    one_of(command->add_option("--flow", options->flow, "Only this flow, sfl or sdm"),
           {"sfl", "sdm"});
    command->add_option("--field", options->field, "Only the value of this field")
        ->type_name("FIELD");
}

}  // namespace zorva_tool
