// zorva list
#include "tools/zorva/command_line.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>
#include <fnmatch.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>

namespace zorva_tool {

namespace {

struct list_options {
    std::string pattern = "*";
    std::optional<dword> family;
    std::optional<dword> scheme;
    bool legacy = false;
    bool all = false;
    std::string voltage;
    std::string density;
    std::string flow_template;
    std::string origin;
};

// One of the manager's two lists of devices.
using name_list = const std::vector<std::string> (ZORVA_MGR::*)(DEV_FAMILY_ENUM,
                                                                PGMIO_CONFIG_SCHEME, bool);

// Those that are asked for, else all that there are.
template <class NUMBER>
std::vector<NUMBER> asked_for(std::optional<dword> number, const std::vector<NUMBER>& all) {
    if (!number) return all;
    const auto asked = static_cast<NUMBER>(*number);
    return std::ranges::find(all, asked) == all.end() ? std::vector<NUMBER>()
                                                      : std::vector<NUMBER>{asked};
}

// The names that the library's filter takes for a family and a scheme that are asked for, in the
// order of its unfiltered list.
std::vector<std::string> suited_names(ZORVA_MGR& manager, name_list list,
                                      const list_options& options) {
    std::vector<std::string> names =
        (manager.*list)(manager.get_active_device_family(), manager.get_active_config_mode(), true);
    if (!options.family && !options.scheme) return names;
    std::set<std::string> suited;
    for (const auto family : asked_for(options.family, manager.get_device_family_list()))
        for (const auto scheme : asked_for(options.scheme, manager.get_config_mode_list()))
            std::ranges::copy((manager.*list)(family, scheme, false),
                              std::inserter(suited, suited.end()));
    std::erase_if(names, [&](const std::string& name) { return !suited.contains(name); });
    return names;
}

bool fits_pattern(const json& device, const std::string& pattern) {
    const std::string name = device["name"];
    return ::fnmatch(pattern.c_str(), name.c_str(), FNM_NOESCAPE | FNM_CASEFOLD) == 0;
}

// All that is asked for but the name.
bool fits_otherwise(const json& device, const list_options& options) {
    return (options.density.empty() || device["bytes"] == parse_density(options.density)) &&
           (options.voltage.empty() || is_voltage(cell_text(device["voltage"]), options.voltage)) &&
           (options.flow_template.empty() || device["template"] == options.flow_template) &&
           (options.origin.empty() || device["origin"] == options.origin);
}

std::vector<device> stored_devices(const database& db, ZORVA_MGR& manager,
                                   const list_options& options) {
    const auto names = suited_names(manager, &ZORVA_MGR::get_new_config_device_list, options);
    const std::set<std::string> suited(names.begin(), names.end());
    std::vector<device> devices = db.devices(manager);
    std::erase_if(devices, [&](const device& device) { return !suited.contains(device.name); });
    return devices;
}

std::vector<device> legacy_devices(ZORVA_MGR& manager, const list_options& options) {
    std::vector<device> devices;
    for (const std::string& name :
         suited_names(manager, &ZORVA_MGR::get_legacy_config_device_list, options))
        devices.push_back({&manager, name, nullptr, {}});
    return devices;
}

std::vector<device> suited_devices(const database& db, const list_options& options) {
    std::vector<device> devices;
    for (ZORVA_MGR* manager : db.managers()) {
        if (!options.legacy)
            std::ranges::move(stored_devices(db, *manager, options), std::back_inserter(devices));
        if (options.legacy || options.all)
            std::ranges::move(legacy_devices(*manager, options), std::back_inserter(devices));
    }
    return devices;
}

void check_family_and_scheme(const list_options& options, const database& db) {
    const bool is_served = std::ranges::any_of(db.managers(), [&](ZORVA_MGR* manager) {
        return !asked_for(options.family, manager->get_device_family_list()).empty() &&
               !asked_for(options.scheme, manager->get_config_mode_list()).empty();
    });
    if (!is_served)
        throw failure(exit_no,
                      "No flash interface serves that device family and scheme; "
                      "'zorva families' lists the families.");
}

void check_voltage(const list_options& options, const database& db) {
    std::vector<std::string> voltages;
    for (ZORVA_MGR* manager : db.managers())
        std::ranges::copy(manager->get_device_io_voltage_list(), std::back_inserter(voltages));
    if (!options.voltage.empty() && std::ranges::none_of(voltages, [&](const auto& voltage) {
            return is_voltage(voltage, options.voltage);
        }))
        throw failure(exit_command_line, fmt::format("'{}' is no voltage of the database; {} are.",
                                                     options.voltage, joined(voltages, " and ")));
}

void check_template(const list_options& options, const database& db) {
    const std::vector<std::string> templates = db.template_names();
    if (!options.flow_template.empty() &&
        std::ranges::find(templates, options.flow_template) == templates.end())
        throw db.not_found("template", options.flow_template, templates);
}

// No device fits; a name without * and ? may be misspelled.
int tell_none(output& out, const list_options& options, const std::vector<std::string>& names) {
    const bool is_name = options.pattern.find_first_of("*?[") == std::string::npos;
    const auto near = is_name ? nearest(options.pattern, names) : std::vector<std::string>();
    if (out.is_json())
        out.document("not-found", {{"devices", json::array()}, {"suggestions", near}});
    out.note("No device fits." + suggestion_text(near));
    return exit_no;
}

int list(context& context, const list_options& options) {
    if (!options.density.empty() && !parse_density(options.density))
        throw failure(exit_command_line,
                      fmt::format("'{}' is no density; 128Mb and 16MiB are.", options.density));
    const database& db = context.db();
    check_family_and_scheme(options, db);
    check_voltage(options, db);
    check_template(options, db);
    json rows = json::array();
    std::vector<std::string> other_names;
    for (const device& device : suited_devices(db, options)) {
        json row = device_json(device);
        if (!fits_otherwise(row, options)) continue;
        if (fits_pattern(row, options.pattern))
            rows.push_back(std::move(row));
        else
            other_names.push_back(device.name);
    }
    if (rows.empty()) return tell_none(context.out(), options, other_names);
    context.out().list("ok", "devices", device_columns(), rows);
    return exit_done;
}

}  // namespace

void add_list(command_line& line) {
    const auto options = std::make_shared<list_options>();
    CLI::App* command =
        line.add(line.app(), "list", "List devices, all of them unless something is asked for",
                 "  zorva list 'W25Q*'                       by name; * and ? as in a shell\n"
                 "  zorva list --voltage 1.8V --density 128Mb\n"
                 "  zorva list --family 28 --scheme 13       what a device family can use\n"
                 "  zorva list --format names | wc -l",
                 [options](context& context) { return list(context, *options); });
    command->add_option("PATTERN", options->pattern, "Names, with * and ?, in either case")
        ->type_name("");
    command->add_option("--family", options->family, "Only what suits this device family")
        ->type_name("N");
    command->add_option("--scheme", options->scheme, "Only what suits this configuration scheme")
        ->type_name("N");
    CLI::Option* legacy =
        command->add_flag("--legacy", options->legacy, "Legacy devices: a name without flows");
    command->add_flag("--all", options->all, "Legacy devices too")->excludes(legacy);
    command->add_option("--voltage", options->voltage, "Only this I/O voltage, as 1.8V or 3.3")
        ->type_name("V");
    command->add_option("--density", options->density, "Only this density, as 128Mb or 16MiB")
        ->type_name("D");
    command->add_option("--template", options->flow_template, "Only flows from this template")
        ->type_name("NAME");
    one_of(command->add_option("--origin", options->origin, "shipped, installation or custom"),
           {"shipped", "installation", "custom"});
}

}  // namespace zorva_tool
