// zorva import, zorva export
#include "tools/zorva/command_line.h"
#include "tools/zorva/commands/lint.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/database/record.h"
#include "tools/zorva/database/writer.h"
#include "tools/zorva/input.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>

namespace zorva_tool {

namespace {

struct import_options {
    write_options write;
    std::string file;
};

struct export_options {
    std::string name;
    std::string file;
};

ZORVA_MGR& manager_for(const database& db, const std::string& bytes) {
    const interface_row& row = interface_for_bytes(bytes);
    const auto found = std::ranges::find(db.managers(), row.family, &ZORVA_MGR::get_flash_family);
    if (found == db.managers().end()) throw switched_off(row, row.setting);
    check_new_devices_are_supported(**found);
    return **found;
}

// Every name has to be free before the first is written.
void check_names(const database& db, ZORVA_MGR& manager,
                 const std::vector<ZORVA_NEW_DEFINITION>& definitions) {
    std::set<std::string> devices;
    for (const auto& [kind, flash, basis] : definitions) {
        if (kind == ZORVA_DEFINITION_KIND::DEVICE) {
            check_new_device_name(db, manager, flash->get_name());
            devices.insert(flash->get_name());
            continue;
        }
        const std::string name = flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME);
        check_new_template_name(db, manager, name);
        if (devices.contains(name))
            throw refusal(
                fmt::format("A device and a template of the file are both named '{}'.", name));
    }
}

int import_file(context& context, const import_options& options) {
    const bool is_input = options.file == standard_input;
    const std::string name = is_input ? input_name : options.file;
    std::string bytes = is_input ? context.out().input() : std::string();
    if (!is_input)
        if (const std::string why = read_file(options.file, bytes); !why.empty())
            return tell_unreadable(context, name, why);
    const int judged = judge_document(context, bytes, name);
    if (judged != exit_done) return judged;
    const database& db = context.db();
    ZORVA_MGR& manager = manager_for(db, bytes);
    const std::string directory = directory_for_new(db, options.write.to);
    const auto definitions = manager.read_document(bytes, name).definitions;
    check_names(db, manager, definitions);
    if (definitions.empty()) throw refusal("The file defines no device and no template.");
    writer writer(context, options.write);
    writer.store(manager, definitions, directory);
    return writer.finish();
}

// Never in place of a file that is there, not even of one that appears meanwhile.
void write_new_file(const std::string& path, const std::string& bytes) {
    std::FILE* file = std::fopen(path.c_str(), "wxe");
    if (file == nullptr && errno == EEXIST)
        throw failure(
            exit_protected,
            fmt::format("{} exists already and isn't overwritten; choose another name.", path));
    if (file == nullptr)
        throw failure(exit_file,
                      fmt::format("{} can't be written: {}.", path, std::strerror(errno)));
    const bool is_written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool is_closed = std::fclose(file) == 0;
    if (is_written && is_closed) return;
    std::remove(path.c_str());
    throw failure(exit_file, fmt::format("{} can't be written.", path));
}

int export_device(context& context, const export_options& options) {
    const device device = context.db().get(options.name);
    if (device.is_legacy())
        throw refusal(
            fmt::format("{} is a legacy device; there is nothing to write of it.", device.name));
    const std::string document = device.manager->get_flash_document(device.flash);
    output& out = context.out();
    if (options.file.empty() || options.file == "-") {
        if (out.is_json())
            out.document("ok", {{"name", device.name}, {"document", document}});
        else
            out.bytes(document);
        return exit_done;
    }
    write_new_file(options.file, document);
    if (out.is_json())
        out.document("ok", {{"name", device.name}, {"path", options.file}});
    else
        out.line(printable(options.file));
    return exit_done;
}

}  // namespace

void add_exchange(command_line& line) {
    const auto import_from = std::make_shared<import_options>();
    CLI::App* import_command =
        line.add(line.app(), "import",
                 "Take the devices and templates of a file, after 'zorva lint' has passed it",
                 "  zorva import pgm_flash_MY_QUAD_FLASH.xml\n"
                 "  zorva import flashes.xml --to installation\n"
                 "  zorva import - < flashes.xml",
                 [import_from](context& context) { return import_file(context, *import_from); });
    import_command->add_option("FILE", import_from->file, "A file of any name; - is standard input")
        ->required()
        ->type_name("");
    add_to(*import_command, import_from->write);
    add_dry_run(*import_command, import_from->write);

    const auto export_to = std::make_shared<export_options>();
    CLI::App* export_command =
        line.add(line.app(), "export", "Write a file that defines one device",
                 "  zorva export MT25QU128 > device.xml\n"
                 "  zorva export MY_FLASH -o pgm_flash_MY_FLASH.xml     never overwrites a file",
                 [export_to](context& context) { return export_device(context, *export_to); });
    export_command->add_option("DEVICE", export_to->name, "Name of the device")
        ->required()
        ->type_name("");
    export_command
        ->add_option("-o,--output", export_to->file,
                     "The new file; else, and for -, standard output")
        ->type_name("FILE");
}

}  // namespace zorva_tool
