#include "tools/zorva/database/directories.h"

#include "pgm/zorva/zorva_mgr.h"
#include "services/file.h"
#include "services/host.h"
#include "services/pgm_common.h"
#include "services/settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace zorva_tool {

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

custom_directory chosen(const std::string& directory, const char* chosen_by) {
    const std::string path = absolute_directory(directory);
    const std::string reason = reason_against(path);
    if (!reason.empty())
        throw failure(exit_file, fmt::format("{} It was chosen by {}.", reason, chosen_by));
    return {path, chosen_by, false};
}

json row(const char* role, const std::string& path, const std::string& chosen_by) {
    return {{"role", role},
            {"path", path},
            {"chosen_by", chosen_by},
            {"exists", !path.empty() && FIO_FILE_SYSTEM::exists(path)}};
}

}  // namespace

bool custom_directory::exists() const {
    std::error_code error;
    return !path.empty() && std::filesystem::is_directory(path, error);
}

std::string reason_against(const std::string& directory) {
    if (directory.find('\\') != std::string::npos)
        return fmt::format("The name {} holds a backslash, which would be taken for a slash.",
                           directory);
    if (std::ranges::any_of(directory, [](unsigned char c) { return c < ' ' && c != '\t'; }))
        return fmt::format(
            "The name {} holds a control character, which no settings file can hold.", directory);
    return {};
}

std::string absolute_directory(const std::string& directory) {
    return (std::filesystem::absolute(directory) / "").lexically_normal();
}

custom_directory choose_custom_directory(const std::string& option) {
    if (!option.empty()) return chosen(option, "option --custom-dir");
    const std::string variable = environment("ZORVA_CUSTOM_DIR");
    if (!variable.empty()) return chosen(variable, "environment variable ZORVA_CUSTOM_DIR");
    const std::string stored = cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR);
    if (!stored.empty()) return chosen(stored, "settings file");
    const std::string data = environment("XDG_DATA_HOME");
    if (data.starts_with('/')) return {absolute_directory(data + "/zorva"), "default", true};
    const std::string home = environment("HOME");
    if (home.empty()) return {"", "none, as HOME isn't set", true};
    return {absolute_directory(home + "/.local/share/zorva"), "default", true};
}

json directories_json(const custom_directory& custom_dir) {
    return {row("programmer directory", PGM_COMMON::pgm_get_common_programmer(),
                pgm_host::common_programmer_origin()),
            row("installation directory", ZORVA_MGR::get_db_kestrin_dir(),
                "below the programmer directory"),
            row("custom directory", custom_dir.path, custom_dir.chosen_by),
            row("settings file", pgm_host::user_ini_file(), "")};
}

}  // namespace zorva_tool
