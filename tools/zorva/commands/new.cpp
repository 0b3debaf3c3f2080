// zorva new
#include "tools/zorva/command_line.h"
#include "tools/zorva/database/field_editor.h"
#include "tools/zorva/database/record.h"
#include "tools/zorva/database/writer.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace zorva_tool {

namespace {

struct new_options {
    write_options write;
    std::optional<std::string> name;
    std::map<std::string, std::optional<std::string>> values;  // by the name of the field
    std::string save_template;
};

// Takes one answer after the other until `take` throws no refusal.
void ask(output& out, const std::string& question,
         const std::function<void(const std::string&)>& take) {
    for (;;) {
        const std::optional<std::string> answer = out.ask(question);
        if (!answer)
            throw failure(exit_command_line, "The input ended before all questions were answered.");
        try {
            return take(*answer);
        } catch (const refusal& refusal) {
            out.note(refusal.what());
        }
    }
}

void note_if_any(output& out, const std::string& note) {
    if (!note.empty()) out.note(note);
}

// The fields that a device of the interface has to have.
std::vector<const field*> fields_of(ZORVA_MGR& manager) {
    std::vector<const field*> fields;
    for (const field& field : device_fields())
        if (field.editor != nullptr && field.editor->is_known_to(manager)) fields.push_back(&field);
    return fields;
}

void check_nothing_missing(const new_options& options, ZORVA_MGR& manager) {
    std::vector<std::string> missing;
    if (!options.name) missing.emplace_back("NAME");
    for (const field* field : fields_of(manager))
        if (!options.values.at(field->name)) missing.push_back(fmt::format("--{}", field->name));
    if (!missing.empty())
        throw failure(exit_command_line, fmt::format("Missing: {}.", joined(missing)));
}

std::string new_name(context& context, ZORVA_MGR& manager, const new_options& options) {
    std::string name = options.name.value_or("");
    const auto take = [&](const std::string& answer) {
        check_new_device_name(context.db(), manager, answer);
        name = answer;
    };
    if (options.name)
        take(name);
    else
        ask(context.out(), "Name (letters, digits and _): ", take);
    return name;
}

// What was given is judged before the first question.
ZORVA_FLASH& fill(context& context, ZORVA_MGR& manager, const new_options& options,
                  const std::string& name) {
    ZORVA_FLASH& flash = *manager.create_flash(name);
    for (const field& field : device_fields())
        if (field.editor != nullptr && options.values.at(field.name))
            note_if_any(context.out(),
                        field.editor->set(manager, flash, *options.values.at(field.name)));
    for (const field* field : fields_of(manager)) {
        const field_editor& editor = *field->editor;
        if (!options.values.at(field->name))
            ask(context.out(),
                fmt::format("{} ({}): ", field->label, editor.allowed(manager, editor.param)),
                [&](const std::string& answer) {
                    note_if_any(context.out(), editor.set(manager, flash, answer));
                });
    }
    return flash;
}

void check_template(context& context, ZORVA_MGR& manager, const std::string& template_name,
                    const std::string& name) {
    check_new_template_name(context.db(), manager, template_name);
    if (template_name == name)
        throw refusal(
            fmt::format("The device is named '{}'; its template needs another name.", name));
}

int make_new(context& context, const new_options& options) {
    const database& db = context.db();
    // The first interface, unless one was asked for.
    ZORVA_MGR& manager = *db.managers().front();
    check_new_devices_are_supported(manager);
    if (!context.out().can_ask()) check_nothing_missing(options, manager);
    const std::string directory = directory_for_new(db, options.write.to);
    const std::string name = new_name(context, manager, options);
    const bool saves_template = !options.save_template.empty();
    if (saves_template) check_template(context, manager, options.save_template, name);
    ZORVA_FLASH& flash = fill(context, manager, options, name);
    std::vector<ZORVA_NEW_DEFINITION> definitions{
        {ZORVA_DEFINITION_KIND::DEVICE, &flash, ZORVA_BASIS::NEW}};
    if (saves_template) {
        ZORVA_FLASH& carrier = new_template(manager, options.save_template);
        copy_flows(carrier, flash);
        definitions.push_back({ZORVA_DEFINITION_KIND::TEMPLATE, &carrier, ZORVA_BASIS::NEW});
    }
    writer writer(context, options.write);
    writer.store(manager, definitions, directory);
    return writer.finish();
}

}  // namespace

void add_new(command_line& line) {
    const auto options = std::make_shared<new_options>();
    CLI::App* command = line.add(
        line.app(), "new",
        "Make a device of your own from a flow template. On a terminal, what isn't given is asked",
        "  zorva new\n"
        "  zorva new MY_FLASH --id '0x20 0xBB 0x19' --voltage 1.8V --density 256Mb --dies 1 \\\n"
        "            --dummy 8 --dummy-x4 10 --template Micron\n"
        "  zorva new MY_CARD --interface sdmmc --voltage 1.8V --density 8GB\n\n"
        "The vendors' templates are flows for parts above 128Mb, with 4 address bytes; they check\n"
        "no ID. 'zorva copy' is shorter where a device in the database behaves alike, and serves\n"
        "smaller parts, too.",
        [options](context& context) { return make_new(context, *options); });
    command->add_option("NAME", options->name, "Letters, digits and _")->type_name("");
    for (const field& field : device_fields())
        if (field.editor != nullptr)
            command
                ->add_option(fmt::format("--{}", field.name), options->values[field.name],
                             field.label)
                ->type_name("VALUE");
    command
        ->add_option("--save-template", options->save_template,
                     "Store the flows as a template of that name, too")
        ->type_name("NAME");
    add_to(*command, options->write);
    add_dry_run(*command, options->write);
}

}  // namespace zorva_tool
