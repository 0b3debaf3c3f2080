#include "services/settings.h"

#include "services/file.h"
#include "services/host_state.h"
#include "services/text.h"

#include <SimpleIni.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

using pgm_host::disk;
using pgm_host::state;

namespace {

constexpr std::size_t largest_file = 1 << 20;
constexpr std::size_t longest_value = 1 << 16;
constexpr const char* switches = "settings";  // the section of the on/off settings
constexpr const char* values = "user";        // the section of the user's values, by number
constexpr std::array known_switches = {"pgm_enable_sdmmc", "pgm_enable_custom_sdmmc",
                                       "pgm_enable_sdmmc_orlane", "pgm_zorva_skip_device_filtering",
                                       "pgm_zorva_enable_operation_editable"};

using ini_file = CSimpleIniCaseA;

std::optional<bool> read_switch(const char* text) {
    if (gen_stricmp(text, "on") == 0) return true;
    if (gen_stricmp(text, "off") == 0) return false;
    return std::nullopt;
}

std::string_view trimmed(std::string_view line) {
    const std::size_t first = line.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

enum class line_kind { blank, comment, entry, other };

line_kind kind_of(std::string_view line) {
    const std::string_view text = trimmed(line);
    if (text.empty()) return line_kind::blank;
    if (text[0] == ';' || text[0] == '#') return line_kind::comment;
    if (text[0] == '[') {
        return text.find(']') == std::string_view::npos ? line_kind::other : line_kind::entry;
    }
    const std::size_t equals = text.find('=');
    return equals == 0 || equals == std::string_view::npos ? line_kind::other : line_kind::entry;
}

// Calls `visit` with each line and the place behind it.
template <class VISIT>
void for_each_line(std::string_view bytes, VISIT visit) {
    for (std::size_t place = 0; place < bytes.size();) {
        const std::size_t end = std::min(bytes.find('\n', place), bytes.size());
        const std::size_t next = std::min(end + 1, bytes.size());
        visit(bytes.substr(place, end - place), next);
        place = next;
    }
}

bool is_binary(unsigned char c) { return c < ' ' && c != '\t' && c != '\r' && c != '\n'; }

// Why these bytes can't be a settings file; empty if they can.
std::string damage_of(std::string_view bytes) {
    if (bytes.size() > largest_file) return "it is too large";
    if (std::any_of(bytes.begin(), bytes.end(), is_binary)) return "it is not a text";
    std::string damage;
    int number = 0;
    for_each_line(bytes, [&](std::string_view line, std::size_t) {
        ++number;
        if (damage.empty() && kind_of(line) == line_kind::other) {
            damage = "line " + std::to_string(number) + " is no setting";
        }
    });
    return damage;
}

std::string damage_of(const ini_file& ini) {
    for (const char* key : known_switches) {
        const char* text = ini.GetValue(switches, key);
        if (text != nullptr && !read_switch(text)) {
            return std::string(key) + " is neither on nor off";
        }
    }
    return {};
}

// The settings file as it stands now.
struct loaded_file {
    std::string name;
    std::optional<std::string> bytes = "";  // nothing: there is a file and it can't be read
    std::string tail;  // the comments behind the last entry, which SimpleIni drops
    bool damaged = false;
    ini_file ini;

    loaded_file(std::string file, std::optional<std::string> content);

  private:
    std::string parse();
};

loaded_file::loaded_file(std::string file, std::optional<std::string> content)
    : name(std::move(file)), bytes(std::move(content)) {
    const std::string damage = bytes ? parse() : "it can't be read";
    if (damage.empty()) return;
    ini.Reset();
    tail.clear();
    damaged = true;
    pgm_host::trace("The settings file " + name + " is left out of account: " + damage + ".");
}

// Returns the damage, if there is any.
std::string loaded_file::parse() {
    std::string damage = damage_of(*bytes);
    if (!damage.empty()) return damage;
    std::size_t last_entry = 0;
    for_each_line(*bytes, [&](std::string_view line, std::size_t next) {
        if (kind_of(line) == line_kind::entry) last_entry = next;
    });
    tail = bytes->substr(last_entry);
    if (ini.LoadData(bytes->data(), last_entry) != SI_OK) return "it is no INI file";
    return damage_of(ini);
}

std::optional<std::string> read_bytes(const std::string& file) {
    std::string bytes;
    if (file.empty() || !disk().exists(file) || disk().read(file, bytes)) return bytes;
    return std::nullopt;
}

// Parsed anew only if the file has changed.
loaded_file& settings() {
    static std::optional<loaded_file> latest;
    const std::string file = pgm_host::user_ini_file();
    std::optional<std::string> bytes = read_bytes(file);
    if (!latest || latest->name != file || latest->bytes != bytes) {
        latest.emplace(file, std::move(bytes));
    }
    return *latest;
}

// The quotes keep the blanks at the ends of a value.
std::string unquoted(std::string_view text) {
    const bool has_quotes = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return std::string(has_quotes ? text.substr(1, text.size() - 2) : text);
}

std::string text_of(const loaded_file& file) {
    std::string text;
    file.ini.Save(text);
    if (!text.empty() && text.back() != '\n') text += '\n';
    return text + file.tail;
}

// Replaces the settings file in one step. A damaged one is put aside, not lost.
bool store(const std::string& file, const std::string& text, bool damaged) {
    const std::string directory = FIO_PATH(file).full_directory();
    const std::string sibling = file + "." + std::to_string(::getpid()) + ".tmp";
    if (!directory.empty() && !disk().make_directory(directory)) return false;
    const bool replaced = disk().write(sibling, text) &&
                          (!damaged || disk().rename(file, file + ".damaged")) &&
                          disk().rename(sibling, file);
    if (!replaced) {
        disk().remove(sibling);
        return false;
    }
    disk().flush_directory(directory);
    return true;
}

bool store_changes(const std::string& key, const char* switch_text) {
    const std::string file = pgm_host::user_ini_file();
    loaded_file changed(file, read_bytes(file));
    if (file.empty() || !changed.bytes) return false;
    if (!key.empty()) changed.ini.SetValue(switches, key.c_str(), switch_text);
    for (const auto& [entry, value] : state().user_values) {
        const std::string quoted = "\"" + value + "\"";
        changed.ini.SetValue(values, std::to_string(entry).c_str(), quoted.c_str());
    }
    if (!store(file, text_of(changed), changed.damaged)) return false;
    state().user_values.clear();
    return true;
}

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

bool pgm_host::store_setting(const std::string& key, bool on) {
    const bool is_known =
        std::find(known_switches.begin(), known_switches.end(), key) != known_switches.end();
    return is_known && store_changes(key, on ? "on" : "off");
}

NEVARA_BOOL cfg_is_on(std::string key, bool default_value) {
    const auto set = state().settings.find(key);
    if (set != state().settings.end()) return {set->second};
    const char* text = settings().ini.GetValue(switches, key.c_str());
    return {text == nullptr ? default_value : read_switch(text).value_or(default_value)};
}

std::string cfg_get_user_ini_value(CFG_USER_INI_ENUMS entry) {
    const auto set = state().user_values.find(entry);
    if (set != state().user_values.end()) return set->second;
    return unquoted(settings().ini.GetValue(values, std::to_string(entry).c_str(), ""));
}

bool cfg_set_user_ini_value(CFG_USER_INI_ENUMS entry, const char* value) {
    const std::string_view text = value != nullptr ? value : "\n";
    const bool fits = text.size() <= longest_value &&
                      text.find_first_of("\r\n") == std::string_view::npos &&
                      std::none_of(text.begin(), text.end(), is_binary);
    if (fits) state().user_values[entry] = text;
    return fits;
}

bool cfg_write_user_ini_file() { return store_changes({}, nullptr); }
