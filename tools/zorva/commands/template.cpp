// zorva template
#include "tools/zorva/command_line.h"
#include "tools/zorva/database/flow.h"
#include "tools/zorva/database/record.h"
#include "tools/zorva/database/report.h"
#include "tools/zorva/database/writer.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <memory>

namespace zorva_tool {

namespace {

struct template_options {
    write_options write;
    std::string name;
    std::string device;
};

int show(context& context, const std::string& name) {
    ZORVA_MGR& manager = manager_of_template(context.db(), name);
    ZORVA_FLASH& flows = new_template(manager, name);
    copy_template_flows(manager, flows, name);
    output& out = context.out();
    if (out.is_json()) {
        out.document("ok", {{"name", name},
                            {"kind", user_template_in_force(manager, name) ? "user" : "golden"},
                            {"flows", flows_json(flows, flow_table())}});
    } else if (out.is_names()) {
        out.line(printable(name));
    } else {
        for (const flow_row& flow : flow_table()) print_flow(flows, flow, out);
    }
    return exit_done;
}

int save(context& context, const template_options& options) {
    const database& db = context.db();
    const device device = db.get(options.device);
    ZORVA_MGR& manager = *device.manager;
    if (device.is_legacy())
        throw refusal(fmt::format("{} is a legacy device, which has no flows.", device.name));
    const std::string directory = directory_for_new(db, options.write.to);
    check_new_template_name(db, manager, options.name);
    ZORVA_FLASH& carrier = new_template(manager, options.name);
    copy_flows(carrier, *device.flash);
    writer writer(context, options.write);
    writer.store(manager, {{ZORVA_DEFINITION_KIND::TEMPLATE, &carrier, ZORVA_BASIS::NEW}},
                 directory);
    return writer.finish();
}

int remove(context& context, const template_options& options) {
    ZORVA_MGR& manager = manager_of_template(context.db(), options.name);
    const auto own = user_template_in_force(manager, options.name);
    if (!own)
        throw failure(exit_protected,
                      fmt::format("{} is a shipped template; only templates of your own can be "
                                  "removed.",
                                  options.name));
    writer writer(context, options.write);
    writer.remove(manager, {ZORVA_DEFINITION_KIND::TEMPLATE, options.name}, own->file->path);
    return writer.finish();
}

}  // namespace

void add_template(command_line& line) {
    const auto options = std::make_shared<template_options>();
    CLI::App* command =
        line.add(line.app(), "template", "List, show, save or remove programming flow templates",
                 "  zorva template show Micron\n"
                 "  zorva template save MY_FLOWS --from MT25QU128",
                 list_templates);
    command->require_subcommand(0, 1);
    line.add(*command, "list", "List the templates", "  zorva template list", list_templates);
    CLI::App* show_command =
        line.add(*command, "show", "Show both flows of a template", "  zorva template show Micron",
                 [options](context& context) { return show(context, options->name); });
    CLI::App* save_command =
        line.add(*command, "save", "Store the flows of a device as a template of your own",
                 "  zorva template save MY_FLOWS --from MT25QU128",
                 [options](context& context) { return save(context, *options); });
    CLI::App* rm_command =
        line.add(*command, "rm", "Remove a template of your own; no device depends on it",
                 "  zorva template rm MY_FLOWS",
                 [options](context& context) { return remove(context, *options); });
    for (CLI::App* each : {show_command, save_command, rm_command})
        each->add_option("NAME", options->name, "Name of the template")->required()->type_name("");
    save_command->add_option("--from", options->device, "The device whose flows are stored")
        ->required()
        ->type_name("DEVICE");
    add_to(*save_command, options->write);
    for (CLI::App* each : {save_command, rm_command}) add_dry_run(*each, options->write);
}

}  // namespace zorva_tool
