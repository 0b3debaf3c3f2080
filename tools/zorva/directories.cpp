#include "tools/zorva/directories.h"

#include "pgm/zorva/zorva_mgr.h"
#include "services/file.h"
#include "services/host.h"
#include "services/pgm_common.h"
#include "services/settings.h"

#include <cstdlib>
#include <filesystem>

namespace zorva_tool {

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
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

std::string absolute_directory(const std::string& directory) {
    return (std::filesystem::absolute(directory) / "").lexically_normal();
}

custom_directory choose_custom_directory(const std::string& option) {
    if (!option.empty()) return {absolute_directory(option), "option --custom-dir", false};
    const std::string variable = environment("ZORVA_CUSTOM_DIR");
    if (!variable.empty())
        return {absolute_directory(variable), "environment variable ZORVA_CUSTOM_DIR", false};
    const std::string stored = cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR);
    if (!stored.empty()) return {absolute_directory(stored), "settings file", false};
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
