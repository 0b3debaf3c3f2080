// zorva copy, zorva set, zorva rm
#include "tools/zorva/command_line.h"
#include "tools/zorva/database/record.h"
#include "tools/zorva/database/writer.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace zorva_tool {

namespace {

// The manager that has told of a definition.
ZORVA_MGR& manager_of(const database& db, const definition& definition) {
    return **std::ranges::find_if(db.managers(), [&](ZORVA_MGR* manager) {
        return std::ranges::any_of(manager->get_load_report(),
                                   [&](const auto& file) { return &file == definition.file; });
    });
}

struct edit_options {
    write_options write;
    std::string name;
    std::string new_name;
    std::vector<std::string> assignments;
};

std::string with_field_help(const std::string& examples) {
    return fmt::format(
        "{}\n\n"
        "FIELD is one of {};\n"
        "'template' takes the flows of that template. It is also the property of an action:\n"
        "FLOW.OPERATION[NUMBER].PROPERTY, with the number that 'zorva show' prints.",
        examples, joined(settable_fields()));
}

int copy(context& context, const edit_options& options) {
    const database& db = context.db();
    const device original = db.get(options.name);
    ZORVA_MGR& manager = *original.manager;
    check_new_devices_are_supported(manager);
    if (original.is_legacy())
        throw refusal(
            fmt::format("{} is a legacy device, which has no flows to copy; 'zorva new' "
                        "makes a device from a template.",
                        original.name));
    const std::string directory = directory_for_new(db, options.write.to);
    check_new_device_name(db, manager, options.new_name);
    ZORVA_FLASH& record = new_copy(manager, *original.flash, options.new_name);
    apply(context.out(), manager, record, options.assignments);
    writer writer(context, options.write);
    writer.store(manager, {{ZORVA_DEFINITION_KIND::DEVICE, &record, ZORVA_BASIS::NEW}}, directory);
    return writer.finish();
}

// The device that a change is for: a stored one, though look-ups by the name may give a legacy one.
device own_device(context& context, const std::string& name) {
    const std::optional<device> stored = context.db().stored(name);
    if (!stored) return context.db().get(name);
    if (stored->manager->device_is_legacy(name, true))
        context.out().note(
            fmt::format("{} is the name of a legacy device, too, which look-ups by the name give; "
                        "this is about the one that {} defines.",
                        name, stored->in_force()->place()));
    return *stored;
}

int set_once(context& context, const edit_options& options) {
    const device stored = own_device(context, options.name);
    ZORVA_MGR& manager = *stored.manager;
    check_new_devices_are_supported(manager);
    const std::string directory = directory_of(
        stored, fmt::format("to change it, copy it: zorva copy {} MY_NAME", stored.name));
    ZORVA_FLASH& record = new_copy(manager, *stored.flash, stored.name);
    apply(context.out(), manager, record, options.assignments);
    writer writer(context, options.write);
    writer.store(manager, {{ZORVA_DEFINITION_KIND::DEVICE, &record, ZORVA_BASIS::AS_LOADED}},
                 directory);
    return writer.finish();
}

// Another process may change the device meanwhile: then what is asked for is done to what that one
// has left.
int set(context& context, const edit_options& options) {
    constexpr int most_tries = 20;
    for (int tries = 1; tries < most_tries; ++tries) {
        try {
            return set_once(context, options);
        } catch (const changed_since&) {
            context.forget_db();
        }
    }
    return set_once(context, options);
}

// What the name stands for once its definition is gone.
void note_what_remains(output& out, const device& removed, const std::string& lives_on_in) {
    std::string next = lives_on_in;
    for (const definition& definition : removed.definitions)
        if (next.empty() && definition.is->state == ZORVA_DEFINITION_STATE::HIDDEN)
            next = definition.place();
    if (!next.empty()) out.note(fmt::format("{} is what {} says from now on.", removed.name, next));
}

int remove_in_force(context& context, const edit_options& options) {
    const device stored = own_device(context, options.name);
    check_new_devices_are_supported(*stored.manager);
    directory_of(stored, "only devices of your own can be removed.");
    writer writer(context, options.write);
    writer.remove(*stored.manager, {ZORVA_DEFINITION_KIND::DEVICE, stored.name},
                  stored.in_force()->file->path);
    if (!options.write.dry_run) note_what_remains(context.out(), stored, writer.lives_on_in());
    return writer.finish();
}

// A definition that was refused or not read is nothing but in the way.
int remove_refused(context& context, const edit_options& options, const definition& definition) {
    ZORVA_MGR& manager = manager_of(context.db(), definition);
    check_new_devices_are_supported(manager);
    writer writer(context, options.write);
    writer.remove(manager, {ZORVA_DEFINITION_KIND::DEVICE, options.name}, definition.file->path);
    return writer.finish();
}

int remove(context& context, const edit_options& options) {
    const database& db = context.db();
    if (!db.stored(options.name))
        for (const definition& definition : db.definitions_named(options.name))
            if (definition.file->origin != ZORVA_ORIGIN::SHIPPED)
                return remove_refused(context, options, definition);
    return remove_in_force(context, options);
}

using shared_options = std::shared_ptr<edit_options>;

// A command about one device, which shares its options with the others of this file.
CLI::App* add_command(command_line& line, const char* name, const char* description,
                      const std::string& examples, const shared_options& options,
                      int (*run)(context&, const edit_options&)) {
    CLI::App* command = line.add(line.app(), name, description, examples,
                                 [=](context& context) { return run(context, *options); });
    command->add_option("DEVICE", options->name, "Name of the device")->required()->type_name("");
    add_dry_run(*command, options->write);
    return command;
}

void add_copy(command_line& line, const shared_options& options) {
    CLI::App* command = add_command(
        line, "copy", "Make a device of your own from another one",
        with_field_help(
            "  zorva copy MT25QU128 MY_FLASH\n"
            "  zorva copy W25Q256JV MY_FLASH --set 'id=0xEF 0x70 0x19' \\\n"
            "             'sfl.initialization[3].expected_data=0xEF 0x70 0x19' \\\n"
            "             'sdm.initialization[3].expected_data=0xEF 0x70 0x19'\n\n"
            "Copy a device of the size of your part: the flows use 4 address bytes above\n"
            "128Mb, else 3, and setting 'density' doesn't change them."),
        options, copy);
    command->add_option("NEW", options->new_name, "Name of the new device: letters, digits, _")
        ->required()
        ->type_name("");
    command->add_option("--set", options->assignments, "What differs")->type_name("FIELD=VALUE");
    add_to(*command, options->write);
}

void add_set(command_line& line, const shared_options& options) {
    CLI::App* command = add_command(
        line, "set", "Change values of a device of your own",
        with_field_help("  zorva set MY_FLASH 'sfl.initialization[2].delay=800' \\\n"
                        "            'sdm.initialization[2].delay=800'\n"
                        "  zorva set MY_FLASH 'id=0xEF 0x70 0x19' \\\n"
                        "            'sfl.initialization[3].expected_data=0xEF 0x70 0x19' \\\n"
                        "            'sdm.initialization[3].expected_data=0xEF 0x70 0x19'"),
        options, set);
    command->add_option("FIELD=VALUE", options->assignments, "What to change")
        ->required()
        ->type_name("");
}

}  // namespace

void add_edit(command_line& line) {
    const auto options = std::make_shared<edit_options>();
    add_copy(line, options);
    add_set(line, options);
    add_command(line, "rm", "Remove a device of your own",
                "  zorva rm MY_FLASH\n"
                "  zorva rm MY_FLASH --dry-run",
                options, remove);
}

}  // namespace zorva_tool
