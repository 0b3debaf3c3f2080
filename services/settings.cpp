#include "services/settings.h"

#include "services/file.h"
#include "services/host_state.h"
#include "services/settings_file.h"
#include "services/text.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

using pgm_host::disk;
using pgm_host::settings_fault;
using pgm_host::state;

namespace {

constexpr std::size_t largest_file = 1 << 20;
constexpr std::size_t longest_value = 1 << 16;
constexpr std::size_t most_faults = 20;
constexpr const char* switches = "settings";  // the section of the on/off settings
constexpr const char* values = "user";        // the section of the user's values, by number

bool is_known_switch(const std::string& key) {
    return std::ranges::find(CFG_SWITCHES, key, &CFG_SWITCH::key) != std::end(CFG_SWITCHES);
}

std::optional<bool> read_switch(const std::string& text) {
    if (gen_stricmp(text.c_str(), "on") == 0) return true;
    if (gen_stricmp(text.c_str(), "off") == 0) return false;
    return std::nullopt;
}

// Why a line doesn't count; empty for one that does, or that nobody reads.
std::string fault_of(const SETTINGS_FILE::LINE& line) {
    if (line.kind == SETTINGS_FILE::KIND::BAD)
        return "This is not a setting, which would read NAME = VALUE; it is passed over.";
    const bool is_switch = line.section == switches && is_known_switch(line.key);
    if (!is_switch || read_switch(line.value)) return {};
    return line.key + " is neither on nor off; its default is in force.";
}

// The settings file as it was last read.
struct READ_FILE {
    std::string name;
    std::optional<std::string> bytes = "";  // nothing: it can't be taken, and isn't to be replaced
    SETTINGS_FILE content;
    std::vector<settings_fault> faults;
};

// Why bytes can't be a settings file at all; empty if they can.
std::string damage_of(const std::optional<std::string>& bytes, const std::error_code& error) {
    if (!bytes) return "can't be read: " + error.message();
    if (bytes->size() > largest_file) return "is larger than 1 MiB";
    if (bytes->find('\0') != std::string::npos) return "is not a text";
    return {};
}

void find_faults(READ_FILE& file) {
    int number = 0;
    for (const SETTINGS_FILE::LINE& line : file.content.lines()) {
        ++number;
        const std::string fault = fault_of(line);
        if (fault.empty()) continue;
        if (file.faults.size() == most_faults) {
            file.faults.push_back({file.name, number, "There are more faults from here on."});
            return;
        }
        file.faults.push_back({file.name, number, fault});
    }
}

READ_FILE parsed(const std::string& name, std::optional<std::string> bytes,
                 const std::error_code& error) {
    READ_FILE file{name, std::move(bytes), {}, {}};
    const std::string damage = damage_of(file.bytes, error);
    if (damage.empty()) {
        file.content = SETTINGS_FILE(*file.bytes);
        find_faults(file);
    } else {
        file.bytes.reset();
        file.faults.push_back({name, 0, "The settings file " + damage + "; it is passed over."});
    }
    for (const settings_fault& fault : file.faults)
        pgm_host::trace(fault.file + ":" + std::to_string(fault.line) + ": " + fault.sentence);
    return file;
}

std::optional<std::string> read_bytes(const std::string& file) {
    std::string bytes;
    if (file.empty() || !FIO_FILE_SYSTEM::exists(file) || FIO_FILE_SYSTEM::read(file, bytes))
        return bytes;
    return std::nullopt;
}

// Parsed anew only if the file has changed.
const READ_FILE& settings() {
    static std::optional<std::string> bytes;  // as they were read, taken or not
    static std::optional<READ_FILE> latest;
    const std::string now_name = pgm_host::user_ini_file();
    std::optional<std::string> now_bytes = read_bytes(now_name);
    const std::error_code error = FIO_FILE_SYSTEM::error();
    if (!latest || latest->name != now_name || bytes != now_bytes) {
        latest = parsed(now_name, now_bytes, error);
        bytes = std::move(now_bytes);
    }
    return *latest;
}

// The quotes keep the blanks at the ends of a value.
std::string unquoted(std::string_view text) {
    const bool has_quotes = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return std::string(has_quotes ? text.substr(1, text.size() - 2) : text);
}

// One entry to be stored; without a value, to be taken out.
struct CHANGE {
    const char* section;
    std::string key;
    std::optional<std::string> value;
};

bool store_in(const std::string& name, const std::vector<CHANGE>& changes) {
    if (name.empty()) return false;
    const std::string parent = std::filesystem::path(name).parent_path();
    const std::string directory = parent.empty() ? "." : parent;
    if (!disk().make_directory(directory)) return false;
    // Other processes store settings, too, one after the other.
    constexpr std::chrono::seconds longest_wait{5};
    const FIO_DIRECTORY_LOCK lock(directory, FIO_DIRECTORY_LOCK::EXCLUSIVE, longest_wait);
    if (!lock.held()) return false;
    std::optional<std::string> bytes = read_bytes(name);
    const std::error_code error = FIO_FILE_SYSTEM::error();
    READ_FILE file = parsed(name, std::move(bytes), error);
    if (!file.bytes) return false;
    for (const CHANGE& each : changes)
        if (each.value)
            file.content.set(each.section, each.key, *each.value);
        else
            file.content.erase(each.section, each.key);
    return pgm_host::replace_file(name, file.content.bytes());
}

// Stores what was set in memory with the rest. If that fails, it counts as not set: what is stored
// is what the file says.
bool store(std::vector<CHANGE> changes) {
    for (const auto& [entry, value] : std::exchange(state().user_values, {}))
        changes.push_back({values, std::to_string(entry),
                           value.empty() ? std::nullopt : std::optional("\"" + value + "\"")});
    return store_in(pgm_host::user_ini_file(), changes);
}

bool is_control(unsigned char c) { return c < ' ' && c != '\t'; }

}  // namespace

std::string pgm_host::user_ini_file() {
    if (!state().user_ini_file.empty()) return state().user_ini_file;
    const char* config = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    if (config != nullptr && *config == '/')
        return std::string(config) + "/pgm_zorva/pgm_zorva.ini";
    if (home == nullptr || *home == '\0') return {};
    return std::string(home) + "/.config/pgm_zorva/pgm_zorva.ini";
}

std::vector<settings_fault> pgm_host::settings_faults() { return settings().faults; }

bool pgm_host::store_setting(const std::string& key, bool on) {
    return is_known_switch(key) && store({{switches, key, on ? "on" : "off"}});
}

bool pgm_host::unset_setting(const std::string& key) {
    return is_known_switch(key) && store({{switches, key, {}}});
}

NEVARA_BOOL cfg_is_on(std::string key, bool default_value) {
    const auto set = state().settings.find(key);
    if (set != state().settings.end()) return {set->second};
    const std::optional<std::string> text = settings().content.value(switches, key);
    return {text ? read_switch(*text).value_or(default_value) : default_value};
}

std::string cfg_get_user_ini_value(CFG_USER_INI_ENUMS entry) {
    const auto set = state().user_values.find(entry);
    if (set != state().user_values.end()) return set->second;
    return unquoted(settings().content.value(values, std::to_string(entry)).value_or(""));
}

bool cfg_set_user_ini_value(CFG_USER_INI_ENUMS entry, const char* value) {
    const std::string_view text = value != nullptr ? value : "\n";
    const bool fits = text.size() <= longest_value && std::ranges::none_of(text, is_control);
    if (fits) state().user_values[entry] = text;
    return fits;
}

bool cfg_write_user_ini_file() { return store({}); }
