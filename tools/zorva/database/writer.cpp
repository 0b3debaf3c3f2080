#include "tools/zorva/database/writer.h"

#include "pgm/zorva/zorva_qspi_mgr.h"
#include "services/file.h"
#include "tools/zorva/command_line.h"
#include "tools/zorva/database/address.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace zorva_tool {

namespace {

// The library makes no document of a number that would be another one when it is read back.
void check_document(const std::string& document, const std::string& name) {
    if (document.empty())
        throw refusal(
            fmt::format("A number in the flows of '{}' is greater than a file can hold, "
                        "4294967295.",
                        name));
}

struct stored {
    std::string name;
    std::string path;
    std::string document;
};

stored document_of(ZORVA_MGR& manager, const ZORVA_NEW_DEFINITION& definition,
                   const std::string& directory) {
    ZORVA_FLASH& flash = *definition.flash;
    const bool is_device = definition.kind == ZORVA_DEFINITION_KIND::DEVICE;
    const std::string name =
        is_device ? flash.get_name() : flash.get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME);
    return {name, ZORVA_MGR::get_definition_file({definition.kind, name}, directory),
            is_device ? manager.get_flash_document(&flash)
                      : ZORVA_QSPI_MGR::get_template_document(name, &flash)};
}

// Why a change didn't come about; `what` names it.
[[noreturn]] void fail(const ZORVA_CHANGE_OUTCOME& outcome, const std::string& what) {
    const std::string sentence = fmt::format("{}: {} Nothing has changed.", what, outcome.sentence);
    switch (outcome.state) {
        case ZORVA_CHANGE_STATE::NAME_TAKEN:
            throw refusal(outcome.sentence, outcome.message_id);
        case ZORVA_CHANGE_STATE::CHANGED_SINCE:
            throw changed_since(sentence);
        case ZORVA_CHANGE_STATE::PROTECTED:
            throw failure(exit_protected, sentence);
        case ZORVA_CHANGE_STATE::DONE:
        case ZORVA_CHANGE_STATE::REFUSED:
        case ZORVA_CHANGE_STATE::FILE_FAILED:
            break;
    }
    throw failure(exit_file, sentence);
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

void writer::store(ZORVA_MGR& manager, const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                   const std::string& directory) {
    std::vector<stored> all;
    for (const ZORVA_NEW_DEFINITION& definition : definitions) {
        all.push_back(document_of(manager, definition, directory));
        check_document(all.back().document, all.back().name);
        if (definition.kind == ZORVA_DEFINITION_KIND::DEVICE)
            note_contradictions(m_context.out(), manager, *definition.flash);
    }
    const std::string old_path = manager.get_flash_file(all.front().name);
    if (!m_dry_run) make_missing(directory);
    const bool done = m_dry_run ? !FIO_FILE_SYSTEM::exists(directory) ||
                                      manager.try_definitions(definitions, directory)
                                : manager.store_definitions(definitions, directory);
    if (!done) {
        std::vector<std::string> names(all.size());
        std::ranges::transform(all, names.begin(), &stored::name);
        fail(manager.get_change_outcome(),
             fmt::format("'{}' can't be stored in {}", joined(names, "', '"), directory));
    }
    if (!m_dry_run && !old_path.empty() && FIO_PATH(old_path).full_directory() == directory &&
        old_path != all.front().path)
        m_context.out().note(fmt::format("{} no longer defines it.", old_path));
    for (const stored& each : all) add(each.name, each.path, each.document);
}

void writer::remove(ZORVA_MGR& manager, const ZORVA_DEFINITION_KEY& key, const std::string& file) {
    const bool done =
        m_dry_run ? manager.try_removal(key, file) : manager.remove_definition(key, file);
    if (!done)
        fail(manager.get_change_outcome(),
             fmt::format("'{}' can't be taken out of {}", key.name, file));
    m_lives_on_in = manager.get_change_outcome().lives_on_in;
    add(key.name, file, {});
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
