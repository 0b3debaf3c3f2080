#include "tools/zorva/database/database.h"

#include "pgm/zorva/zorva_helper.h"
#include "services/settings.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/input.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace zorva_tool {

namespace {

// Why a directory that somebody chose can't be the custom directory. A default may be missing.
std::optional<failure> fault_of(const custom_directory& custom_dir) {
    if (custom_dir.is_default || custom_dir.exists()) return {};
    std::error_code error;
    // Without its closing slash, behind which there is nothing where it is a file.
    const std::string path = custom_dir.path.substr(0, custom_dir.path.find_last_not_of('/') + 1);
    const auto status = std::filesystem::status(path, error);
    std::string reason = "doesn't exist";
    if (std::filesystem::exists(status))
        reason = "isn't a directory";
    else if (status.type() != std::filesystem::file_type::not_found)
        reason = "can't be reached: " + error.message();
    return failure(exit_file, fmt::format("The custom directory {} (chosen by {}) {}.",
                                          custom_dir.path, custom_dir.chosen_by, reason));
}

// An empty directory would stand for the current one, which nobody chose.
void set_custom_dir(const custom_directory& custom_dir) {
    ZORVA_MGR::set_db_custom_dir(custom_dir.path.empty() ? ZORVA_MGR::get_db_kestrin_dir()
                                                         : custom_dir.path);
}

// Why the shipped data couldn't be loaded: what judging the files by themselves tells, else the
// condition that the library found broken.
std::string load_failure(const std::string& condition) {
    for (const interface_row* row : selected_interfaces("all")) {
        if (row->setting != nullptr && !cfg_is_on(row->setting, false).value) continue;
        const std::string file = ZORVA_HELPER::get_shipped_file(row->family);
        const ZORVA_FILE_REPORT report = row->judge_files({file}).front();
        std::vector<ZORVA_FINDING> findings = report.findings;
        for (const ZORVA_DEFINITION& definition : report.definitions)
            findings.insert(findings.end(), definition.findings.begin(), definition.findings.end());
        if (findings.empty()) continue;
        const std::string place =
            findings[0].line == 0 ? "" : fmt::format("{}:{}: ", file, findings[0].line);
        return fmt::format("The shipped database can't be loaded: {}{}", place,
                           findings[0].sentence);
    }
    return fmt::format("The shipped database in {} can't be loaded: {}",
                       ZORVA_MGR::get_db_kestrin_dir(), condition);
}

// The registry loads when it is first asked for; an earlier command of this process left it empty.
void load_registry() {
    try {
        ZORVA_HELPER* registry = ZORVA_HELPER::get_helper();
        if (registry->get_manager_list().empty()) registry->refresh();
    } catch (const internal_error& error) {
        throw failure(exit_file, load_failure(error.text));
    }
}

// A failure if more than one interface knows the device.
void check_only_one(const std::vector<device>& found, const std::string& name) {
    if (found.size() > 1)
        throw refusal(
            fmt::format("More than one interface knows a device '{}'; --interface tells "
                        "which is meant.",
                        name));
}

}  // namespace

database::database(const std::string& custom_dir_option, const std::string& interface_name,
                   output& out)
    : m_custom_dir(choose_custom_directory(custom_dir_option)), m_fault(fault_of(m_custom_dir)) {
    set_custom_dir(m_custom_dir);
    load_registry();
    m_met_files = merged(ZORVA_HELPER::get_helper()->get_manager_list());
    for (const met_file& file : m_met_files) m_files.push_back(file.report);
    report_faulty_files(out);
    find_unlistable_directories();
    select_managers(interface_name);
    index_definitions();
}

database::~database() { ZORVA_HELPER::get_helper()->clear(); }

void database::find_unlistable_directories() {
    const auto managers = ZORVA_HELPER::get_helper()->get_manager_list();
    const std::string installation = ZORVA_MGR::get_db_kestrin_dir();
    for (const std::string& directory : {installation, ZORVA_MGR::get_db_custom_dir()}) {
        std::string sentence = directory_finding(managers, directory);
        if (sentence.empty()) sentence = why_unlistable(directory);
        if (m_fault || sentence.empty()) continue;
        const std::string which = directory == installation
                                      ? fmt::format("The installation directory {}", directory)
                                      : fmt::format("The custom directory {} (chosen by {})",
                                                    directory, m_custom_dir.chosen_by);
        constexpr std::string_view subject = "The directory";
        m_fault.emplace(exit_file, sentence.starts_with(subject)
                                       ? which + sentence.substr(subject.size())
                                       : fmt::format("{}: {}", which, sentence));
    }
}

// A skipped file posts no message, and the messages of a bad device don't name its file.
void database::report_faulty_files(output& out) const {
    for (const met_file& file : m_met_files) {
        const ZORVA_FILE_REPORT& report = *file.report;
        const bool refuses = std::ranges::any_of(report.definitions, [](const auto& definition) {
            return definition.state == ZORVA_DEFINITION_STATE::REFUSED;
        });
        const bool is_whole =
            report.state == ZORVA_FILE_STATE::READ || report.state == ZORVA_FILE_STATE::PASSED_OVER;
        if (file.switched_off_by != nullptr || (is_whole && !refuses)) continue;
        const bool skipped = report.state == ZORVA_FILE_STATE::SKIPPED;
        out.warning("warning[file]", fmt::format("{} was {}; 'zorva lint' tells why.", report.path,
                                                 skipped ? "skipped" : "read in part"));
    }
}

void database::select_managers(const std::string& interface_name) {
    const auto managers = ZORVA_HELPER::get_helper()->get_manager_list();
    const auto selected = selected_interfaces(interface_name);
    for (const interface_row* row : selected) {
        const auto found = std::ranges::find_if(managers, [&](ZORVA_MGR* manager) {
            return manager->get_flash_family() == row->family;
        });
        if (found != managers.end()) m_managers.push_back(*found);
    }
    if (!m_managers.empty()) return;
    throw switched_off(*selected[0], selected[0]->setting);
}

void database::index_definitions() {
    for (const ZORVA_MGR* manager : m_managers)
        for (const ZORVA_FILE_REPORT& file : manager->get_load_report())
            for (const ZORVA_DEFINITION& is : file.definitions)
                if (is.kind == ZORVA_DEFINITION_KIND::DEVICE)
                    m_definitions[{manager, is.name}].push_back({&file, &is});
}

void database::require_flows() const {
    const bool some_has_flows = std::ranges::any_of(
        m_managers, [](ZORVA_MGR* manager) { return manager->is_flash_operation_supported(); });
    if (!some_has_flows) throw lacks_field(interface_of(m_managers.front()->get_flash_family()));
}

device database::device_of(ZORVA_MGR& manager, ZORVA_FLASH& flash) const {
    const std::string name = flash.get_name();
    const auto found = m_definitions.find({&manager, name});
    return {&manager, name, &flash,
            found == m_definitions.end() ? std::vector<definition>() : found->second};
}

std::vector<device> database::devices(ZORVA_MGR& manager) const {
    std::vector<device> devices;
    // An empty mask fits every device.
    for (ZORVA_FLASH* flash : manager.get_flash_list_with_id(0, 0))
        devices.push_back(device_of(manager, *flash));
    return devices;
}

std::vector<device> database::devices() const {
    std::vector<device> all;
    for (ZORVA_MGR* manager : m_managers)
        std::ranges::move(devices(*manager), std::back_inserter(all));
    return all;
}

std::optional<device> database::stored_by(ZORVA_MGR& manager, const std::string& name) const {
    if (manager.get_flash_file(name).empty()) return {};
    if (!manager.device_is_legacy(name, true))
        return device_of(manager, *manager.get_flash(name, true));
    // A look-up by the name would give the legacy device.
    for (ZORVA_FLASH* flash : manager.get_flash_list_with_id(0, 0))
        if (flash->get_name() == name) return device_of(manager, *flash);
    return {};
}

device database::get(const std::string& name) const {
    std::vector<device> found;
    for (ZORVA_MGR* manager : m_managers) {
        // A legacy name comes first, as in the library's own look-up.
        if (manager->device_is_legacy(name, true))
            found.push_back({manager, name, nullptr, {}});
        else if (const auto device = stored_by(*manager, name))
            found.push_back(*device);
    }
    if (found.empty()) throw no_device(name);
    check_only_one(found, name);
    return found.front();
}

std::optional<device> database::stored(const std::string& name) const {
    std::vector<device> found;
    for (ZORVA_MGR* manager : m_managers)
        if (const auto device = stored_by(*manager, name)) found.push_back(*device);
    check_only_one(found, name);
    if (found.empty()) return {};
    return found.front();
}

std::vector<definition> database::definitions_named(const std::string& name) const {
    std::vector<definition> named;
    for (ZORVA_MGR* manager : m_managers)
        if (const auto found = m_definitions.find({manager, name}); found != m_definitions.end())
            named.insert(named.end(), found->second.begin(), found->second.end());
    return named;
}

failure database::no_device(const std::string& name) const {
    const std::vector<definition> named = definitions_named(name);
    if (named.empty()) return not_found("device", name, device_names());
    const definition& first = named.front();
    const auto& findings = first.is->findings;
    return {exit_no,
            fmt::format("{} defines '{}', but that is {}: {} 'zorva where {}' tells more.",
                        first.place(), name, state_name(first.is->state),
                        findings.empty() ? first.file->reason : findings[0].sentence, name)};
}

std::vector<std::string> database::device_names() const {
    std::vector<std::string> names;
    for (ZORVA_MGR* manager : m_managers)
        for (const auto list :
             {&ZORVA_MGR::get_new_config_device_list, &ZORVA_MGR::get_legacy_config_device_list})
            std::ranges::copy((manager->*list)(manager->get_active_device_family(),
                                               manager->get_active_config_mode(), true),
                              std::back_inserter(names));
    return names;
}

std::vector<std::string> database::template_names() const {
    std::vector<std::string> names;
    for (ZORVA_MGR* manager : m_managers)
        std::ranges::copy(manager->get_prog_flow_template_list(), std::back_inserter(names));
    return names;
}

failure database::not_found(const std::string& what, const std::string& name,
                            const std::vector<std::string>& names) const {
    failure failure(exit_no, fmt::format("There is no {} '{}'.", what, shortened(name)),
                    nearest(name, names));
    failure.searched = {ZORVA_MGR::get_db_kestrin_dir()};
    if (!m_custom_dir.path.empty()) failure.searched.push_back(m_custom_dir.path);
    return failure;
}

}  // namespace zorva_tool
