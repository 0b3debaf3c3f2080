#include "pgm/zorva/store/zorva_database_view.h"

#include "pgm/zorva/load/zorva_walk.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/store/zorva_names_in.h"
#include "services/file.h"

#include <algorithm>
#include <utility>

namespace {

constexpr auto DEVICE = ZORVA_DEFINITION_KIND::DEVICE;
constexpr auto TEMPLATE = ZORVA_DEFINITION_KIND::TEMPLATE;

bool holds_any(const std::set<std::string, std::less<>>& names,
               const std::set<std::string>& wanted) {
    return std::ranges::any_of(names,
                               [&](const std::string& name) { return wanted.contains(name); });
}

}  // namespace

ZORVA_DATABASE_VIEW::ZORVA_DATABASE_VIEW(const ZORVA_INTERFACE& interface,
                                         std::vector<std::string> directories,
                                         std::set<std::string> shipped_devices)
    : m_interface(interface),
      m_directories(std::move(directories)),
      m_files(m_directories.size()),
      m_shipped_devices(std::move(shipped_devices)) {}

std::size_t ZORVA_DATABASE_VIEW::place_of_directory(const std::string& directory) const {
    const auto place = std::ranges::find(m_directories, directory) - m_directories.begin();
    return static_cast<std::size_t>(place);
}

ZORVA_DATABASE_VIEW::PLACE ZORVA_DATABASE_VIEW::place_of(const ZORVA_DEFINITION_KEY& key,
                                                         const std::string& directory) const {
    return {key.kind == TEMPLATE ? 0 : place_of_directory(directory), key};
}

void ZORVA_DATABASE_VIEW::put(const std::string& file, ZORVA_CONTENTS contents) {
    m_files[place_of_directory(FIO_PATH(file).full_directory())][file] = std::move(contents);
}

std::vector<std::string> ZORVA_DATABASE_VIEW::files_with(const ZORVA_DEFINITION_KEY& key,
                                                         const std::string& directory) const {
    std::vector<std::string> files;
    for (const auto& [file, contents] : m_files[place_of_directory(directory)])
        if (std::ranges::find(contents, key, &ZORVA_MET::key) != contents.end())
            files.push_back(file);
    return files;
}

std::set<std::string> ZORVA_DATABASE_VIEW::names_met(ZORVA_DEFINITION_KIND kind,
                                                     std::size_t own) const {
    std::set<std::string> names;
    for (const PLACE& expected : m_expected)
        if (expected.key.kind == kind && (kind == TEMPLATE || expected.directory == own))
            names.insert(expected.key.name);
    for (std::size_t place = 0; place < m_files.size(); ++place)
        for (const auto& [file, contents] : m_files[place])
            for (const ZORVA_MET& met : contents)
                if (met.key.kind == kind && (kind == TEMPLATE || place == own))
                    names.insert(met.key.name);
    return names;
}

std::string ZORVA_DATABASE_VIEW::read_related() {
    std::string why;
    bool grows = true;
    while (grows && why.empty()) {
        grows = false;
        for (std::size_t place = 0; place < m_directories.size(); ++place)
            grows = read_related_in(place, why) || grows;
    }
    return why;
}

// True if a file was read that wasn't before.
bool ZORVA_DATABASE_VIEW::read_related_in(std::size_t place, std::string& why) {
    const std::set<std::string> devices = names_met(DEVICE, place);
    const std::set<std::string> templates = names_met(TEMPLATE, place);
    if (devices.empty() && templates.empty()) return false;
    const std::string& directory = m_directories[place];
    bool grows = false;
    FIO_FIND find(directory + ZORVA_FILE_MASK);
    for (std::string name = find.find_first(); !name.empty(); name = find.find_next()) {
        const std::string file = directory + name;
        std::string bytes;
        // A scan of the first directory leaves the shipped file out.
        const bool is_shipped = place == 0 && name == m_interface.golden_file;
        if (is_shipped || m_files[place].contains(file)) continue;
        if (FIO_FILE_SYSTEM::read(file, bytes)) {
            const auto names = zorva_names_in(bytes);
            if (names && !holds_any(names->devices, devices) &&
                !holds_any(names->templates, templates))
                continue;
        }
        const auto stored = ZORVA_STORED_FILE::read(m_interface, file).file;
        put(file, stored ? stored->contents() : ZORVA_CONTENTS());
        grows = true;
    }
    if (find.error()) why = find.error().message();
    return grows;
}

ZORVA_DATABASE_VIEW::IN_FORCE ZORVA_DATABASE_VIEW::in_force() const {
    IN_FORCE in_force;
    for (const std::string& name : m_shipped_devices)
        in_force.emplace(PLACE{0, {DEVICE, name}}, std::string());
    for (std::size_t place = 0; place < m_files.size(); ++place)
        for (const auto& [file, contents] : m_files[place]) take(place, file, contents, in_force);
    return in_force;
}

void ZORVA_DATABASE_VIEW::take(std::size_t place, const std::string& file,
                               const ZORVA_CONTENTS& contents, IN_FORCE& in_force) {
    ZORVA_FILE_RULE rule;
    for (const ZORVA_MET& met : contents) {
        const PLACE at{met.key.kind == TEMPLATE ? 0 : place, met.key};
        if (rule.meet(met.key.kind, met.good, in_force.contains(at)) == ZORVA_VERDICT::TAKEN)
            in_force.emplace(at, file);
    }
}
