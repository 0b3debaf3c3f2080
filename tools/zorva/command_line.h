// The command line: which commands there are, and which of them was chosen.
#pragma once

#include "tools/zorva/context.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace zorva_tool {

// A command gets the context, returns an exit code, and may throw a failure.
using command_function = std::function<int(context&)>;

class command_line {
  public:
    command_line();

    CLI::App& app() { return m_app; }
    const global_options& options() const { return m_options; }
    // Adds a command below `parent`; `examples` stand at the end of its help.
    CLI::App* add(CLI::App& parent, const std::string& name, const std::string& description,
                  const std::string& examples, command_function run);

    const command_function& chosen() const { return m_chosen; }
    // "list", "config set": the words of the chosen command.
    const std::string& chosen_name() const { return m_chosen_name; }

  private:
    void add_global_options();

    CLI::App m_app;
    global_options m_options;
    command_function m_chosen;
    std::string m_chosen_name;
};

// Restricts an option to these words; its help says so in its own words.
void one_of(CLI::Option* option, const std::vector<std::string>& words);

// One a source: each adds its commands.
void add_list(command_line& line);
void add_show(command_line& line);
void add_identify(command_line& line);
void add_where(command_line& line);
void add_lint(command_line& line);
void add_catalogues(command_line& line);
void add_config(command_line& line);
void add_new(command_line& line);
void add_edit(command_line& line);
void add_exchange(command_line& line);
void add_template(command_line& line);

// Also 'zorva template list'.
int list_templates(context& context);

}  // namespace zorva_tool
