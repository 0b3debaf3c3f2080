#include "pgm/zorva/store/zorva_transaction.h"

#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/rules/zorva_messages.h"
#include "pgm/zorva/store/zorva_replace.h"
#include "services/file.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace {

using OUTCOME = ZORVA_CHANGE_OUTCOME;
using STATE = ZORVA_CHANGE_STATE;

OUTCOME failed(STATE state, std::string sentence) { return {state, std::move(sentence), 0, {}}; }

// The change of files has the last word.
OUTCOME written(std::string why) {
    return why.empty() ? OUTCOME() : failed(STATE::FILE_FAILED, std::move(why));
}

// A name that would lead out of its directory.
bool is_path(const std::string& name) {
    return name.find_first_of(std::string_view("/\\\0", 3)) != std::string::npos;
}

OUTCOME name_taken(const ZORVA_DEFINITION_KEY& key) {
    const auto message = key.kind == ZORVA_DEFINITION_KIND::DEVICE
                             ? ZORVA_MESSAGE::INVALID_DEVICE_NAME_CONFLICT_WITH_EXISTING_DEVICE
                             : ZORVA_MESSAGE::INVALID_TEMPLATE_NAME_CONFLICT_WITH_TEMPLATE_DATABASE;
    return zorva_name_taken({message, key.name, {}});
}

OUTCOME not_writable(const ZORVA_DEFINITION_KEY& key) {
    return zorva_refused(
        fmt::format("'{}' holds a text or a number that no file can hold.", key.name));
}

// The directories that a change of a file works on: the file may be a link to another one.
std::set<std::string> directories_of(const std::string& directory, const std::string& file) {
    const std::string target = FIO_FILE_SYSTEM::follow(file);
    if (target.empty()) return {directory};
    return {directory, target == file ? directory : FIO_PATH(target).full_directory()};
}

}  // namespace

ZORVA_CHANGE_OUTCOME zorva_refused(std::string sentence) {
    return failed(STATE::REFUSED, std::move(sentence));
}

ZORVA_CHANGE_OUTCOME zorva_name_taken(const ZORVA_REFUSAL& refusal) {
    return {STATE::NAME_TAKEN, zorva_sentence(refusal), zorva_message_row(refusal.message).id, {}};
}

ZORVA_TRANSACTION::ZORVA_TRANSACTION(const ZORVA_INTERFACE& interface, std::string directory,
                                     std::vector<std::string> directories,
                                     std::set<std::string> shipped_devices, bool is_trial)
    : m_interface(interface),
      m_directory(std::move(directory)),
      m_view(interface, directories, shipped_devices),
      m_is_trial(is_trial) {
    if (m_directory == directories.front()) m_shipped_devices = std::move(shipped_devices);
}

ZORVA_CHANGE_OUTCOME ZORVA_TRANSACTION::put(DEFINITION definition) {
    OUTCOME outcome = check_target(definition);
    if (!outcome.is_done()) return outcome;
    return locked(definition.file, [&] { return put_locked(definition); });
}

ZORVA_CHANGE_OUTCOME ZORVA_TRANSACTION::put_all(std::vector<DEFINITION> definitions) {
    for (const DEFINITION& definition : definitions) {
        OUTCOME outcome = check_target(definition);
        if (!outcome.is_done()) return outcome;
    }
    return locked(definitions.front().file, [&] { return put_all_locked(definitions); });
}

ZORVA_CHANGE_OUTCOME ZORVA_TRANSACTION::remove(const ZORVA_DEFINITION_KEY& key,
                                               const std::string& file) {
    if (zorva_is_shipped_file(file))
        return failed(STATE::PROTECTED, fmt::format("{} is a shipped file.", file));
    return locked(file, [&] { return remove_locked(key, file); });
}

OUTCOME ZORVA_TRANSACTION::check_target(const DEFINITION& definition) const {
    const std::string& name = definition.key.name;
    if (is_path(name))
        return zorva_refused(fmt::format("'{}' can't be part of a file name.", name));
    if (zorva_is_shipped_file(definition.file))
        return failed(STATE::PROTECTED, fmt::format("{} is a shipped file.", definition.file));
    if (definition.key.kind == ZORVA_DEFINITION_KIND::DEVICE && m_shipped_devices.contains(name))
        return failed(STATE::PROTECTED,
                      fmt::format("'{}' is a shipped device, beside which {} can hold no other.",
                                  name, m_directory));
    return {};
}

OUTCOME ZORVA_TRANSACTION::locked(const std::string& file, const std::function<OUTCOME()>& job) {
    const FIO_DIRECTORY_LOCK lock(directories_of(m_directory, file), FIO_DIRECTORY_LOCK::EXCLUSIVE,
                                  FIO_DIRECTORY_LOCK::longest_change);
    OUTCOME outcome = begin(lock);
    return outcome.is_done() ? job() : outcome;
}

OUTCOME ZORVA_TRANSACTION::begin(const FIO_DIRECTORY_LOCK& lock) const {
    if (!lock.held() && FIO_DIRECTORY_LOCK::any_is_held())
        return zorva_refused("Nothing can be changed from within a load or another change.");
    const std::error_code error = FIO_FILE_SYSTEM::error();
    if (!lock.held() && error == std::errc::operation_would_block)
        return failed(STATE::FILE_FAILED,
                      fmt::format("Another process keeps {} locked.", m_directory));
    if (!lock.held())
        return failed(STATE::FILE_FAILED,
                      fmt::format("{} can't be locked: {}.", m_directory, error.message()));
    if (!FIO_FILE_SYSTEM::may_change(m_directory))
        return failed(STATE::FILE_FAILED, fmt::format("{} can't be written: {}.", m_directory,
                                                      FIO_FILE_SYSTEM::error().message()));
    if (!m_is_trial && !zorva_finish_change(m_interface, m_directory, true).is_none())
        return failed(STATE::FILE_FAILED,
                      fmt::format("A change that was broken off in {} can't be finished: {}.",
                                  m_directory, FIO_FILE_SYSTEM::error().message()));
    return {};
}

OUTCOME ZORVA_TRANSACTION::put_locked(DEFINITION& definition) {
    OUTCOME outcome;
    m_view.expect(place_of(definition));
    auto own = read(definition.file, outcome);
    if (own) outcome = read_others(definition.known_file);
    std::string other_path;
    if (outcome.is_done()) outcome = find_other(definition, other_path);
    std::optional<ZORVA_STORED_FILE> other;
    if (outcome.is_done() && !other_path.empty()) other = read(other_path, outcome);
    if (!outcome.is_done()) return outcome;

    const auto before = m_view.in_force();
    const auto current = before.find(place_of(definition));
    const bool is_in_other = current != before.end() && current->second == other_path;
    outcome = check_basis(definition,
                          other && (is_in_other || !own->holds(definition.key)) ? *other : *own);
    if (!outcome.is_done()) return outcome;
    own->put(definition.key, std::move(definition.element));
    const auto own_bytes = write(*own, before, definition.key);
    if (other) other->erase(definition.key);
    const auto other_bytes = other ? write(*other, before, definition.key) : std::string();
    if (!own_bytes || !other_bytes) return not_writable(definition.key);
    outcome = check_result(before, {&definition, 1});
    if (!outcome.is_done() || m_is_trial) return outcome;
    const ZORVA_FILE_CHANGE change{definition.file, *own_bytes};
    if (!other) return written(zorva_change_file(m_interface, change));
    return written(
        zorva_change_files(m_interface, change, {other_path, *other_bytes}, definition.key));
}

OUTCOME ZORVA_TRANSACTION::read_own_files(const std::vector<DEFINITION>& definitions,
                                          std::vector<ZORVA_STORED_FILE>& files) {
    OUTCOME outcome;
    for (const DEFINITION& definition : definitions) {
        m_view.expect(place_of(definition));
        auto own = read(definition.file, outcome);
        if (!own) return outcome;
        const bool is_own = own->is_empty() &&
                            FIO_FILE_SYSTEM::follow(own->path()) == own->path() &&
                            std::ranges::count(files, own->path(), &ZORVA_STORED_FILE::path) == 0;
        if (!is_own)
            return zorva_refused(
                fmt::format("{} is a link or holds another definition; each of several "
                            "needs a file of its own.",
                            definition.file));
        files.push_back(std::move(*own));
    }
    return outcome;
}

OUTCOME ZORVA_TRANSACTION::put_all_locked(std::vector<DEFINITION>& definitions) {
    std::vector<ZORVA_STORED_FILE> files;
    OUTCOME outcome = read_own_files(definitions, files);
    if (outcome.is_done()) outcome = read_others({});
    for (const DEFINITION& definition : definitions)
        if (outcome.is_done() && !m_view.files_with(definition.key, m_directory).empty())
            outcome = name_taken(definition.key);
    if (!outcome.is_done()) return outcome;

    const auto before = m_view.in_force();
    std::vector<ZORVA_FILE_CHANGE> changes;
    for (std::size_t i = 0; i < files.size(); ++i) {
        files[i].put(definitions[i].key, std::move(definitions[i].element));
        const auto bytes = write(files[i], before, definitions[i].key);
        if (!bytes) return not_writable(definitions[i].key);
        changes.push_back({definitions[i].file, *bytes});
    }
    outcome = check_result(before, definitions);
    if (!outcome.is_done() || m_is_trial) return outcome;
    return written(zorva_make_files(m_interface, changes));
}

OUTCOME ZORVA_TRANSACTION::remove_locked(const ZORVA_DEFINITION_KEY& key, const std::string& file) {
    if (!FIO_FILE_SYSTEM::exists(file))
        return failed(STATE::FILE_FAILED, fmt::format("{} isn't there any more.", file));
    OUTCOME outcome;
    const ZORVA_DATABASE_VIEW::PLACE place = m_view.place_of(key, m_directory);
    m_view.expect(place);
    auto stored = read(file, outcome);
    if (stored) outcome = read_others({});
    if (!outcome.is_done()) return outcome;
    const auto before = m_view.in_force();
    const bool held = stored->holds(key);
    stored->erase(key);
    const auto bytes = write(*stored, before, key);
    if (!bytes) return zorva_refused(fmt::format("{} can't be written anew.", file));
    outcome = check_others(before, {place});
    if (!outcome.is_done()) return outcome;
    const auto after = m_view.in_force();
    const auto still = after.find(place);
    if (held && !m_is_trial) outcome = written(zorva_change_file(m_interface, {file, *bytes}));
    if (outcome.is_done() && still != after.end()) outcome.lives_on_in = still->second;
    return outcome;
}

std::optional<ZORVA_STORED_FILE> ZORVA_TRANSACTION::read(const std::string& file,
                                                         OUTCOME& outcome) {
    ZORVA_STORED_FILE::RESULT result = ZORVA_STORED_FILE::read(m_interface, file);
    if (result.file)
        m_view.put(file, result.file->contents());
    else
        outcome = failed(STATE::FILE_FAILED,
                         fmt::format("{} isn't a file of the database: {}.", file, result.why));
    return std::move(result.file);
}

// A file that is no document of ours holds nothing, unless it did when it was loaded.
OUTCOME ZORVA_TRANSACTION::read_others(const std::string& known_file) {
    OUTCOME outcome;
    const bool is_here = FIO_PATH(known_file).full_directory() == m_directory;
    if (is_here && FIO_FILE_SYSTEM::exists(known_file) && !read(known_file, outcome))
        return outcome;
    const std::string why = m_view.read_related();
    if (why.empty()) return {};
    return failed(STATE::FILE_FAILED, fmt::format("{} can't be listed: {}.", m_directory, why));
}

OUTCOME ZORVA_TRANSACTION::find_other(const DEFINITION& definition, std::string& other) const {
    std::vector<std::string> files = m_view.files_with(definition.key, m_directory);
    std::erase(files, definition.file);
    if (files.size() > 1)
        return zorva_refused(
            fmt::format("'{}' is defined in {} and in {}; it has to be taken out of one "
                        "of them first.",
                        definition.key.name, files[0], files[1]));
    if (files.empty()) return {};
    other = files.front();
    if (!zorva_is_shipped_file(other)) return {};
    return failed(STATE::PROTECTED, fmt::format("'{}' is defined in {}, a shipped file.",
                                                definition.key.name, other));
}

OUTCOME ZORVA_TRANSACTION::check_basis(const DEFINITION& definition,
                                       const ZORVA_STORED_FILE& holder) const {
    const PGM_COMMON_XML_ELEMENT* element = holder.find(definition.key);
    // A template can't be replaced, also not one that another process has just stored.
    const bool has_to_be_new = definition.basis == ZORVA_BASIS::NEW ||
                               definition.key.kind == ZORVA_DEFINITION_KIND::TEMPLATE;
    if (has_to_be_new && element) return name_taken(definition.key);
    if (definition.basis != ZORVA_BASIS::AS_LOADED) return {};
    if (element && definition.is_as_loaded(*element)) return {};
    return failed(STATE::CHANGED_SINCE, fmt::format("'{}' has been changed meanwhile, in {}.",
                                                    definition.key.name, holder.path()));
}

std::optional<std::string> ZORVA_TRANSACTION::write(ZORVA_STORED_FILE& file,
                                                    const ZORVA_DATABASE_VIEW::IN_FORCE& before,
                                                    const ZORVA_DEFINITION_KEY& key) {
    std::set<ZORVA_DEFINITION_KEY> in_force{key};
    for (const auto& [place, defined_in] : before)
        if (defined_in == file.path()) in_force.insert(place.key);
    std::optional<std::string> bytes = std::string();
    if (!file.is_empty()) bytes = file.to_bytes(in_force);
    ZORVA_CONTENTS contents = file.contents();
    std::set<ZORVA_DEFINITION_KEY>& keys = m_changed[file.path()];
    for (const ZORVA_MET& met : contents) keys.insert(met.key);
    m_view.put(file.path(), std::move(contents));
    return bytes;
}

OUTCOME ZORVA_TRANSACTION::check_result(const ZORVA_DATABASE_VIEW::IN_FORCE& before,
                                        std::span<const DEFINITION> definitions) const {
    std::set<ZORVA_DATABASE_VIEW::PLACE> places;
    for (const DEFINITION& definition : definitions) places.insert(place_of(definition));
    OUTCOME outcome = check_others(before, places);
    for (const DEFINITION& definition : definitions)
        if (outcome.is_done()) outcome = check_in_force(definition);
    return outcome;
}

OUTCOME ZORVA_TRANSACTION::check_others(const ZORVA_DATABASE_VIEW::IN_FORCE& before,
                                        const std::set<ZORVA_DATABASE_VIEW::PLACE>& changed) const {
    const auto after = m_view.in_force();
    for (const auto& [place, file] : before) {
        const auto found = after.find(place);
        const bool stays = found != after.end() && found->second == file;
        if (!stays && !changed.contains(place))
            return zorva_refused(fmt::format("That would put '{}', which {} defines, out of force.",
                                             place.key.name, file));
    }
    return {};
}

OUTCOME ZORVA_TRANSACTION::check_in_force(const DEFINITION& definition) const {
    const auto after = m_view.in_force();
    const auto found = after.find(place_of(definition));
    if (found != after.end() && found->second == definition.file) return {};
    return zorva_refused(fmt::format(
        "'{}' wouldn't come into force{}.", definition.key.name,
        found == after.end() ? "" : fmt::format(", as {} defines it, too", found->second)));
}

ZORVA_DATABASE_VIEW::PLACE ZORVA_TRANSACTION::place_of(const DEFINITION& definition) const {
    return m_view.place_of(definition.key, m_directory);
}
