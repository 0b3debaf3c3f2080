// zorva config
#include "pgm/zorva/zorva_mgr.h"
#include "services/file.h"
#include "services/host.h"
#include "services/settings.h"
#include "tools/zorva/command_line.h"
#include "tools/zorva/database/directories.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <memory>

namespace zorva_tool {

namespace {

constexpr const char* custom_dir_key = "custom-dir";

constexpr column setting_columns[] = {
    {"key", "Setting"}, {"value", "Value"}, {"stored_in", "Stored in"}, {"effect", "If on"}};

struct config_options {
    std::string key;
    std::string value;
};

json setting_row(const std::string& key, const std::string& value, bool is_stored,
                 const char* effect) {
    return {{"key", key},
            {"value", value},
            {"stored_in", is_stored ? json(pgm_host::user_ini_file()) : json()},
            {"effect", effect}};
}

json setting_rows() {
    json rows = json::array();
    for (const CFG_SWITCH& row : CFG_SWITCHES) {
        const bool is_on = cfg_is_on(row.key, false).value;
        // A setting that isn't stored gives back the default that the caller asks with.
        const bool is_stored = cfg_is_on(row.key, true).value == is_on;
        rows.push_back(setting_row(row.key, is_on ? "on" : "off", is_stored, row.effect));
    }
    const std::string stored = cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR);
    rows.push_back(setting_row(custom_dir_key, stored, !stored.empty(), ""));
    return rows;
}

// The row of a setting; a miss is a failure with suggestions.
json find_setting(const std::string& key) {
    std::vector<std::string> keys;
    for (const json& row : setting_rows()) {
        if (row["key"] == key) return row;
        keys.push_back(row["key"]);
    }
    throw failure(exit_no, fmt::format("There is no setting '{}'.", key), nearest(key, keys));
}

int config_show(context& context) {
    context.out().list("ok", "settings", setting_columns, setting_rows());
    return exit_done;
}

int config_get(context& context, const config_options& options) {
    const json row = find_setting(options.key);
    if (context.out().is_json())
        context.out().document("ok", row);
    else
        context.out().line(printable(row["value"].get<std::string>()));
    return exit_done;
}

failure not_stored() {
    const std::string file = pgm_host::user_ini_file();
    return {exit_file, file.empty() ? "There is no settings file, as HOME isn't set."
                                    : fmt::format("The settings file {} can't be written.", file)};
}

void store_custom_dir(const std::string& value) {
    if (value.empty())
        throw failure(exit_command_line,
                      "custom-dir is a directory, and '' is none; 'zorva config unset custom-dir' "
                      "removes the setting.");
    const std::string directory = absolute_directory(value);
    const std::string reason = reason_against(directory);
    if (!reason.empty()) throw failure(exit_command_line, reason);
    if (!FIO_FILE_SYSTEM::exists(directory))
        throw failure(exit_file, fmt::format("The directory {} doesn't exist.", directory));
    if (!ZORVA_MGR::save_custom_dir_to_ini(directory, false)) throw not_stored();
    if (cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR) != directory)
        throw failure(exit_file,
                      "The stored directory differs in upper and lower case only, and "
                      "such a change isn't stored; store another one first.");
}

void store_switch(const std::string& key, const std::string& value) {
    if (value != "on" && value != "off")
        throw failure(exit_command_line,
                      fmt::format("{} is on or off; '{}' is neither.", key, value));
    if (!pgm_host::store_setting(key, value == "on")) throw not_stored();
}

int config_set(context& context, const config_options& options) {
    find_setting(options.key);
    if (options.key == custom_dir_key)
        store_custom_dir(options.value);
    else
        store_switch(options.key, options.value);
    return config_get(context, options);
}

int config_unset(context& context, const config_options& options) {
    find_setting(options.key);
    const bool done =
        options.key == custom_dir_key
            ? cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, "") && cfg_write_user_ini_file()
            : pgm_host::unset_setting(options.key);
    if (!done) throw not_stored();
    return config_get(context, options);
}

}  // namespace

void add_config(command_line& line) {
    CLI::App* command =
        line.add(line.app(), "config", "Show the settings, or read, store or remove one",
                 "  zorva config\n"
                 "  zorva config set pgm_enable_sdmmc on\n"
                 "  zorva config set custom-dir ~/flash",
                 config_show);
    command->require_subcommand(0, 1);

    const auto options = std::make_shared<config_options>();
    CLI::App* get = line.add(*command, "get", "Tell the value of a setting",
                             "  zorva config get pgm_enable_sdmmc",
                             [options](context& context) { return config_get(context, *options); });
    CLI::App* set =
        line.add(*command, "set", "Store a setting", "  zorva config set pgm_enable_sdmmc on",
                 [options](context& context) { return config_set(context, *options); });
    CLI::App* unset =
        line.add(*command, "unset", "Remove a setting, so that its default is in force",
                 "  zorva config unset pgm_enable_sdmmc\n"
                 "  zorva config unset custom-dir",
                 [options](context& context) { return config_unset(context, *options); });
    for (CLI::App* each : {get, set, unset})
        each->add_option("KEY", options->key, "Name of the setting")->required()->type_name("");
    set->add_option("VALUE", options->value, "on or off; a directory for custom-dir")
        ->required()
        ->type_name("");
}

}  // namespace zorva_tool
