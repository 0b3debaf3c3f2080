// Storing and deleting definitions: what becomes of the files, which are the truth.
#include "pgm/zorva/zorva_interface.h"
#include "pgm/zorva/zorva_mgr.h"
#include "pgm/zorva/zorva_replace.h"
#include "pgm/zorva/zorva_report.h"
#include "pgm/zorva/zorva_stored_file.h"
#include "pgm/zorva/zorva_xml_file.h"
#include "services/file.h"

#include <algorithm>
#include <utility>

namespace {

// A name that would lead out of its directory.
bool is_path(const std::string& name) {
    return name.find_first_of(std::string_view("/\\\0", 3)) != std::string::npos;
}

// False only if the bytes of a file surely don't spell the name: a character reference can hide
// it, a comment or CDATA can split it, and so can another encoding.
bool may_spell(const std::string& bytes, const std::string& name) {
    constexpr std::size_t behind_declaration = 1;
    const bool plain = std::ranges::all_of(name, [](char byte) { return byte > 0; });
    return !plain || bytes.find(name) != std::string::npos ||
           bytes.find_first_of(std::string_view("&\0", 2)) != std::string::npos ||
           bytes.find("<!") != std::string::npos ||
           bytes.find("<?", behind_declaration) != std::string::npos;
}

}  // namespace

// Whether a load would meet the name in another file first, as far as this process knows.
bool ZORVA_MGR::defined_elsewhere(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                                  const std::string& db_dir) const {
    const bool is_template = key.kind == ZORVA_DEFINITION_KIND::TEMPLATE;
    const DIR_MAP& map = is_template                      ? m_template_db_dir_map
                         : db_dir == get_db_kestrin_dir() ? m_flash_db_kestrin_dir_map
                                                          : m_flash_db_custom_dir_map;
    const auto found = map.find(key.name);
    return found != map.end() && found->second != file;
}

// The other files of the directory that define the target; no result if one of them is a shipped
// file, or if the one that this process knows can't be read any more.
std::optional<std::vector<std::string>> ZORVA_MGR::other_files_with(const TARGET& target) const {
    const ZORVA_DEFINITION_KEY key{target.kind, target.name};
    std::vector<std::string> files;
    FIO_FIND find(target.db_dir + ZORVA_FILE_MASK);
    for (std::string name = find.find_first(); !name.empty(); name = find.find_next()) {
        const std::string file = target.db_dir + name;
        std::string bytes;
        if (file == target.file) continue;
        if (FIO_FILE_SYSTEM::read(file, bytes) && !may_spell(bytes, target.name)) continue;
        const auto stored =
            ZORVA_STORED_FILE::read(m_interface, file, [](const auto&) { return false; });
        // A file that is no document of ours holds nothing, unless it did when it was loaded.
        if (!stored && defined_elsewhere(key, target.file, target.db_dir) &&
            !defined_elsewhere(key, file, target.db_dir))
            return {};
        if (!stored || !stored->holds(key)) continue;
        if (zorva_is_shipped_file(file)) return {};
        files.push_back(file);
    }
    if (find.failed()) return {};
    return files;
}

bool ZORVA_MGR::store_definition(const TARGET& target,
                                 std::unique_ptr<PGM_COMMON_XML_ELEMENT> element) {
    if (m_interface.complete_flows) m_interface.complete_flows(*element);
    if (is_path(target.name) || zorva_is_shipped_file(target.file)) return false;
    const FIO_DIRECTORY_LOCK lock(target.db_dir, true);
    if (!lock.held() || zorva_finish_change(m_interface, target.db_dir, true)) return false;
    return write_definition(target, std::move(element));
}

bool ZORVA_MGR::write_definition(const TARGET& target,
                                 std::unique_ptr<PGM_COMMON_XML_ELEMENT> element) {
    const ZORVA_DEFINITION_KEY key{target.kind, target.name};
    const auto others_define = [&](const std::string& file) {
        return [this, &target, key, file](const ZORVA_DEFINITION_KEY& met) {
            return met != key && defined_elsewhere(met, file, target.db_dir);
        };
    };
    const auto other_files = other_files_with(target);
    auto own = ZORVA_STORED_FILE::read(m_interface, target.file, others_define(target.file));
    if (!own || !other_files || other_files->size() > 1) return false;
    // A template can't be replaced, also not one that another process has just stored.
    const bool exists = own->holds(key) || !other_files->empty();
    if (exists && target.kind == ZORVA_DEFINITION_KIND::TEMPLATE) return false;
    own->erase(key);
    own->insert(key, std::move(element));
    const std::optional<std::string> own_bytes = own->to_bytes();
    if (!own_bytes) return false;
    if (other_files->empty()) {
        if (!zorva_change_file(m_interface, {target.file, *own_bytes})) return false;
    } else {
        const std::string& file = other_files->front();
        auto other = ZORVA_STORED_FILE::read(m_interface, file, others_define(file));
        if (!other) return false;
        other->erase(key);
        const auto bytes = other->is_empty() ? std::string() : other->to_bytes();
        if (!bytes ||
            !zorva_change_files(m_interface, {target.file, *own_bytes}, {file, *bytes}, key))
            return false;
        forget_missing(*other, file, key);
    }
    forget_missing(*own, target.file, key);
    return true;
}

bool ZORVA_MGR::rewrite_without(const TARGET& target) {
    const ZORVA_DEFINITION_KEY key{target.kind, target.name};
    const bool is_elsewhere = FIO_PATH(target.file).full_directory() != target.db_dir;
    if (is_elsewhere || zorva_is_shipped_file(target.file)) return false;
    const FIO_DIRECTORY_LOCK lock(target.db_dir, true);
    if (!lock.held() || zorva_finish_change(m_interface, target.db_dir, true)) return false;
    if (!FIO_FILE_SYSTEM::exists(target.file)) return false;
    auto stored =
        ZORVA_STORED_FILE::read(m_interface, target.file, [&](const ZORVA_DEFINITION_KEY& met) {
            return met != key && defined_elsewhere(met, target.file, target.db_dir);
        });
    if (!stored) return false;
    const bool held = stored->holds(key);
    stored->erase(key);
    std::optional<std::string> bytes = std::string();
    if (held && !stored->is_empty()) bytes = stored->to_bytes();
    if (!bytes || (held && !zorva_change_file(m_interface, {target.file, *bytes}))) return false;
    forget_missing(*stored, target.file, key);
    return true;
}

// Definitions that the maps place in a file and that somebody has taken out of it.
void ZORVA_MGR::forget_missing(const ZORVA_STORED_FILE& stored, const std::string& file,
                               const ZORVA_DEFINITION_KEY& but) {
    const auto missing = [&](const DIR_MAP& map, ZORVA_DEFINITION_KIND kind) {
        std::vector<std::string> names;
        for (const auto& [name, defined_in] : map) {
            const ZORVA_DEFINITION_KEY key{kind, name};
            if (defined_in == file && key != but && !stored.holds(key)) names.push_back(name);
        }
        return names;
    };
    const std::string directory = FIO_PATH(file).full_directory();
    if (directory == get_db_kestrin_dir() || directory == get_db_custom_dir()) {
        DIR_MAP& db_dir_map = dir_map_of(directory);
        for (const std::string& name : missing(db_dir_map, ZORVA_DEFINITION_KIND::DEVICE))
            m_loose_flashes.push_back(forget_device(name, file, db_dir_map));
    }
    for (const std::string& name : missing(m_template_db_dir_map, ZORVA_DEFINITION_KIND::TEMPLATE))
        m_loose_templates.push_back(forget_template(name));
}
