#include "tools/zorva/command_line.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

namespace zorva_tool {

namespace {

constexpr const char* description = "The database of QSPI and SD/MMC flash devices.";
constexpr const char* footer =
    "Answers go to standard output, messages to standard error. On a terminal a table is "
    "aligned\n"
    "under a header; elsewhere its cells are separated by tabs, without a header, and an empty\n"
    "cell is \"-\".\n\n"
    "Exit code: 0 yes or done, 1 the answer is no (not found, several candidates, findings, a "
    "value\n"
    "that is refused), 2 wrong command line, 3 a file or directory can't be read or written, 4 it "
    "is\n"
    "protected.\n\n"
    "Examples:\n"
    "  zorva list --voltage 1.8V 'W25Q*'\n"
    "  zorva show MT25QU128 --format json\n"
    "  zorva identify 0x20 0xBA 0x19";

// What an empty shell variable leaves would count as not given.
void refuse_empty_values(CLI::App& app) {
    const CLI::Validator not_empty(
        [](const std::string& value) { return value.empty() ? "The value is empty" : ""; }, "");
    for (CLI::Option* option : app.get_options()) {
        const bool can_miss = !option->get_positional() || !option->get_required();
        if (can_miss && option->get_items_expected_max() > 0) option->check(not_empty);
    }
    for (CLI::App* below : app.get_subcommands({})) refuse_empty_values(*below);
}

}  // namespace

void one_of(CLI::Option* option, const std::vector<std::string>& words) {
    option->check(CLI::IsMember(words).description(""))->type_name("NAME");
}

command_line::command_line() : m_app(description, "zorva") {
    m_app.set_version_flag("--version", "zorva " ZORVA_VERSION);
    m_app.require_subcommand(1);
    m_app.fallthrough();  // a global option may stand behind the command, too
    m_app.footer(footer);
    add_global_options();
    for (const auto add_commands :
         {add_list, add_show, add_identify, add_where, add_lint, add_catalogues, add_config,
          add_new, add_edit, add_exchange, add_template})
        add_commands(*this);
    refuse_empty_values(m_app);
}

void command_line::add_global_options() {
    m_app
        .add_option("--programmer-dir", m_options.programmer_dir,
                    "Directory that holds xml/ and xsd/")
        ->type_name("DIR");
    m_app
        .add_option("--custom-dir", m_options.custom_dir,
                    "Directory of your own device files; else ZORVA_CUSTOM_DIR, the settings, or "
                    "zorva/ in $XDG_DATA_HOME")
        ->type_name("DIR");
    one_of(m_app.add_option("--interface", m_options.interface, "qspi, sdmmc or all, the default"),
           {"qspi", "sdmmc", "all"});
    one_of(m_app.add_option("--format", m_options.format, "table, the default, names or json"),
           {"table", "names", "json"});
    m_app.add_flag("-v,--verbose", m_options.verbose, "Show traces on standard error");
    // A script may add its own behind what an alias has given.
    for (CLI::Option* option : m_app.get_options()) option->take_last();
}

CLI::App* command_line::add(CLI::App& parent, const std::string& name,
                            const std::string& description_text, const std::string& examples,
                            command_function run) {
    CLI::App* added = parent.add_subcommand(name, description_text);
    added->footer("Examples:\n" + examples);
    const std::string words =
        &parent == &m_app ? name : fmt::format("{} {}", parent.get_name(), name);
    added->callback([this, words, run = std::move(run)] {
        // A command below another one is called first, and it is the one that was meant.
        if (m_chosen) return;
        m_chosen = run;
        m_chosen_name = words;
    });
    return added;
}

}  // namespace zorva_tool
