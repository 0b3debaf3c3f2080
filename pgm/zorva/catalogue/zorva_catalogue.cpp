#include "pgm/zorva/catalogue/zorva_catalogue.h"

#include "services/file.h"

#include <algorithm>
#include <utility>

namespace {

constexpr auto DEVICE = ZORVA_DEFINITION_KIND::DEVICE;
constexpr auto TEMPLATE = ZORVA_DEFINITION_KIND::TEMPLATE;

std::string file_of(const ZORVA_CATALOGUE::FILES& files, const std::string& name) {
    const auto found = files.find(name);
    return found == files.end() ? std::string() : found->second;
}

}  // namespace

ZORVA_CATALOGUE::~ZORVA_CATALOGUE() {
    for (auto& [name, flash] : m_devices) delete flash;
}

const ZORVA_FLASH_INDEX& ZORVA_CATALOGUE::index() const {
    if (!m_index.is_made()) m_index.make(m_devices);
    return m_index;
}

std::string ZORVA_CATALOGUE::file_known_of(const ZORVA_DEFINITION_KEY& key,
                                           ZORVA_DIRECTORY directory) const {
    return file_of(key.kind == TEMPLATE ? m_template_files : files_in(directory), key.name);
}

std::vector<ZORVA_DEFINITION_KEY> ZORVA_CATALOGUE::neighbours(const ZORVA_DEFINITION_KEY& key,
                                                              const std::string& file,
                                                              ZORVA_DIRECTORY directory) const {
    std::vector<ZORVA_DEFINITION_KEY> others;
    const auto add = [&](const FILES& files, ZORVA_DEFINITION_KIND kind) {
        for (const auto& [name, defined_in] : files)
            if (defined_in == file && key != ZORVA_DEFINITION_KEY{kind, name})
                others.push_back({kind, name});
    };
    add(files_in(directory), DEVICE);
    add(m_template_files, TEMPLATE);
    return others;
}

ZORVA_FLASH* ZORVA_CATALOGUE::make_placeholder(ZORVA_FLASH* flash) {
    m_placeholder = take_loose(flash);
    return hand_out(flash);
}

std::unique_ptr<ZORVA_FLASH> ZORVA_CATALOGUE::take_loose(ZORVA_FLASH* flash) {
    const auto loose =
        std::ranges::find(m_loose_flashes, flash, &std::unique_ptr<ZORVA_FLASH>::get);
    if (loose == m_loose_flashes.end()) return nullptr;
    std::unique_ptr<ZORVA_FLASH> taken = std::move(*loose);
    m_loose_flashes.erase(loose);
    return taken;
}

void ZORVA_CATALOGUE::drop_placeholder() {
    if (m_handed_out == m_placeholder.get()) m_handed_out = nullptr;
    m_placeholder.reset();
}

ZORVA_FLASH* ZORVA_CATALOGUE::keep_loose(std::unique_ptr<ZORVA_FLASH> flash) {
    return m_loose_flashes.emplace_back(std::move(flash)).get();
}

// The name must not be in force.
void ZORVA_CATALOGUE::set_in_force(const std::string& name, ZORVA_FLASH* flash) {
    m_index.add(*m_devices.emplace(name, flash).first);
}

std::unique_ptr<ZORVA_FLASH> ZORVA_CATALOGUE::take_out_of_force(const std::string& name) {
    const auto record = m_devices.find(name);
    if (record == m_devices.end()) return nullptr;
    std::unique_ptr<ZORVA_FLASH> flash(record->second);
    m_index.remove(*record);
    m_devices.erase(record);
    if (m_handed_out == flash.get()) m_handed_out = nullptr;
    return flash;
}

std::string ZORVA_CATALOGUE::load_device(std::unique_ptr<ZORVA_FLASH> flash,
                                         const std::string& file, ZORVA_DIRECTORY directory) {
    const std::string name = flash->get_name();
    take_out_of_force(name);
    set_in_force(name, flash.release());
    files_in(directory)[name] = file;
    return std::exchange(m_active_files[name], file);
}

// Gives a record up from where it is held. One that was renamed leaves the name that it was stored
// under: the definition of that name still stands in its file and can be deleted there.
void ZORVA_CATALOGUE::release(ZORVA_FLASH* flash) {
    ZORVA_FLASH* const handed_out = m_handed_out;
    std::unique_ptr<ZORVA_FLASH> held = take_loose(flash);
    if (!held && m_placeholder.get() == flash) held = std::move(m_placeholder);
    if (!held) {
        const auto stored = std::ranges::find(m_devices, flash, &DEVICES::value_type::second);
        if (stored != m_devices.end()) held = take_out_of_force(std::string(stored->first));
    }
    static_cast<void>(held.release());
    m_handed_out = handed_out;
}

void ZORVA_CATALOGUE::store_device(ZORVA_FLASH* flash, const std::string& file,
                                   ZORVA_DIRECTORY directory) {
    release(flash);
    const std::string name = flash->get_name();
    std::unique_ptr<ZORVA_FLASH> displaced = take_out_of_force(name);
    set_in_force(name, flash);
    files_in(directory)[name] = file;
    const FIO_PATH old_file(std::exchange(m_active_files[name], file));
    if (displaced && old_file.full_directory() != FIO_PATH(file).full_directory())
        keep_loose(std::move(displaced));
}

void ZORVA_CATALOGUE::put_template(const std::string& name,
                                   std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> flows,
                                   const std::string& file) {
    m_templates[name] = std::move(flows);
    m_template_files[name] = file;
}

void ZORVA_CATALOGUE::add_golden_template(std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> flows) {
    m_golden_templates.push_back(std::move(flows));
}

void ZORVA_CATALOGUE::forget(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                             ZORVA_DIRECTORY directory) {
    if (key.kind == DEVICE)
        forget_device(key.name, file, directory);
    else
        forget_template(key.name);
}

std::unique_ptr<ZORVA_FLASH> ZORVA_CATALOGUE::forget_device(const std::string& name,
                                                            const std::string& file,
                                                            ZORVA_DIRECTORY directory) {
    files_in(directory).erase(name);
    if (file_of(m_active_files, name) != file) return nullptr;
    m_active_files.erase(name);
    // A record that was stored again under another name left this one without.
    return take_out_of_force(name);
}

std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> ZORVA_CATALOGUE::forget_template(
    const std::string& name) {
    m_template_files.erase(name);
    auto node = m_templates.extract(name);
    return node ? std::move(node.mapped()) : nullptr;
}

void ZORVA_CATALOGUE::forget_missing(
    const std::map<std::string, std::set<ZORVA_DEFINITION_KEY>>& files,
    const ZORVA_DEFINITION_KEY& but) {
    const auto missing = [&](const FILES& known, ZORVA_DEFINITION_KIND kind) {
        FILES gone;
        for (const auto& [name, file] : known) {
            const auto contents = files.find(file);
            const ZORVA_DEFINITION_KEY key{kind, name};
            if (contents != files.end() && key != but && !contents->second.contains(key))
                gone.emplace(name, file);
        }
        return gone;
    };
    for (const auto directory : {ZORVA_DIRECTORY::INSTALLATION, ZORVA_DIRECTORY::CUSTOM})
        for (const auto& [name, file] : missing(files_in(directory), DEVICE))
            if (auto flash = forget_device(name, file, directory)) keep_loose(std::move(flash));
    for (const auto& [name, file] : missing(m_template_files, TEMPLATE))
        m_loose_templates.push_back(forget_template(name));
}
