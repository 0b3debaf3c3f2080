#include "tools/zorva/writer.h"

#include "pgm/zorva/zorva_qspi_mgr.h"
#include "services/file.h"
#include "tools/zorva/address.h"
#include "tools/zorva/command_line.h"
#include "tools/zorva/field_editor.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace zorva_tool {

namespace {

std::string device_path(const std::string& directory, const std::string& name) {
    return directory + "pgm_flash_" + name + ".xml";
}

std::string template_path(const std::string& directory, const std::string& name) {
    return directory + "pgm_flash_template_" + name + ".xml";
}

// The library makes no document of a number that would be another one when it is read back.
void check_document(const std::string& document, const std::string& name) {
    if (document.empty())
        throw refusal(
            fmt::format("A number in the flows of '{}' is greater than a file can hold, "
                        "4294967295.",
                        name));
}

void note_contradictions(output& out, ZORVA_MGR& manager, ZORVA_FLASH& flash) {
    if (!manager.is_flash_operation_supported()) return;
    for (const std::string& place : contradictions_of_id(flash))
        out.note(fmt::format("The ID is {}, but {} is another one; 'zorva set' changes it.",
                             flash.get_parameter_value(ZORVA_FLASH_PARAM_ID), place));
}

}  // namespace

void add_to(CLI::App& command, write_options& options) {
    one_of(command.add_option("--to", options.to, "custom, the default, or installation"),
           {"custom", "installation"});
}

void add_dry_run(CLI::App& command, write_options& options) {
    command.add_flag("--dry-run", options.dry_run,
                     "Print what would be written, and change nothing");
}

void writer::store_device(ZORVA_MGR& manager, ZORVA_FLASH& flash, const std::string& directory) {
    const std::string name = flash.get_name();
    const std::string path = device_path(directory, name);
    const std::string document = manager.get_flash_document(&flash);
    check_document(document, name);
    note_contradictions(m_context.out(), manager, flash);
    if (!m_dry_run) {
        const std::string old_path = manager.get_flash_file(name);
        make_missing(directory);
        const quiet quiet;
        if (!manager.update_db(&flash, directory)) fail(name, path);
        if (!old_path.empty() && old_path != path)
            m_context.out().note(fmt::format("{} no longer defines it.", old_path));
    }
    add(name, path, document);
}

void writer::store_template(ZORVA_MGR& manager, ZORVA_FLASH& carrier,
                            const std::string& directory) {
    const std::string name = carrier.get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME);
    const std::string path = template_path(directory, name);
    const std::string document = ZORVA_QSPI_MGR::get_template_document(name, &carrier);
    check_document(document, name);
    if (!m_dry_run) {
        make_missing(directory);
        const quiet quiet;
        if (!manager.update_template_db(&carrier, directory)) fail(name, path);
    }
    add(name, path, document);
}

void writer::remove_device(const device& device, const std::string& directory) {
    const std::string path = device.manager->get_flash_file(device.name);
    std::string next;
    for (const definition& definition : device.definitions)
        if (definition.is->state == ZORVA_DEFINITION_STATE::HIDDEN) next = definition.place();
    if (!m_dry_run) {
        const quiet quiet;
        if (!device.manager->delete_db(device.name, directory)) fail(device.name, path);
        if (!next.empty())
            m_context.out().note(fmt::format("{} is what {} says from now on.", device.name, next));
    }
    add(device.name, path, {});
}

void writer::remove_template(ZORVA_MGR& manager, const std::string& name, const std::string& file) {
    if (!m_dry_run) {
        const quiet quiet;
        if (!manager.delete_template(name)) fail(name, file);
    }
    add(name, file, {});
}

void writer::add(const std::string& name, const std::string& path, const std::string& document) {
    m_names.push_back(name);
    m_paths.push_back(path);
    m_documents.push_back(document);
}

// Only the default custom directory can be missing.
void writer::make_missing(const std::string& directory) {
    if (FIO_FILE_SYSTEM::exists(directory)) return;
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error)
        throw failure(exit_file, fmt::format("The custom directory {} can't be made: {}.",
                                             directory, error.message()));
    m_context.out().note(fmt::format("Made the custom directory {}.", directory));
}

void writer::fail(const std::string& name, const std::string& path) const {
    const auto& files = m_context.db().files();
    const bool is_unread =
        FIO_FILE_SYSTEM::exists(path) &&
        std::ranges::none_of(files, [&](const ZORVA_FILE_REPORT* file) {
            return file->path == path && file->state != ZORVA_FILE_STATE::SKIPPED;
        });
    std::string sentence = fmt::format("The change of '{}' can't be written in {}", name,
                                       FIO_PATH(path).full_directory());
    if (is_unread) sentence += fmt::format(", where {} isn't a file of the database", path);
    sentence += m_paths.empty() ? "; nothing has changed."
                                : fmt::format("; only {} was written.", joined(m_paths, " and "));
    throw failure(exit_file, sentence);
}

int writer::finish() {
    output& out = m_context.out();
    if (out.is_json()) {
        json members = {{"name", m_names.front()},
                        {"path", m_paths.front()},
                        {"names", m_names},
                        {"paths", m_paths}};
        if (m_dry_run && !m_documents.front().empty()) members["documents"] = m_documents;
        out.document(m_dry_run ? "dry-run" : "ok", members);
        return exit_done;
    }
    const bool shows_documents = m_dry_run && !out.is_names();
    for (std::size_t i = 0; i < m_paths.size(); ++i) {
        if (shows_documents && !m_documents[i].empty())
            out.bytes(m_documents[i]);
        else
            out.line(printable(out.is_names() ? m_names[i] : m_paths[i]));
        if (m_dry_run) out.note(fmt::format("Nothing was changed in {}.", m_paths[i]));
    }
    return exit_done;
}

std::string directory_for_new(const database& db, const std::string& to) {
    if (to == "installation") return ZORVA_MGR::get_db_kestrin_dir();
    if (db.custom_dir().path.empty())
        throw failure(exit_file,
                      "There is no custom directory, as HOME isn't set; --custom-dir "
                      "chooses one.");
    return ZORVA_MGR::get_db_custom_dir();
}

std::string directory_of(const device& device, const std::string& instead) {
    if (device.is_legacy())
        throw failure(exit_protected,
                      fmt::format("{} is a legacy device, known by name and voltage only; no file "
                                  "of the database defines it.",
                                  device.name));
    const ZORVA_ORIGIN origin = device.in_force()->file->origin;
    if (origin == ZORVA_ORIGIN::SHIPPED)
        throw failure(exit_protected,
                      fmt::format("{} is a shipped device; {}", device.name, instead));
    return origin == ZORVA_ORIGIN::INSTALLATION ? ZORVA_MGR::get_db_kestrin_dir()
                                                : ZORVA_MGR::get_db_custom_dir();
}

}  // namespace zorva_tool
