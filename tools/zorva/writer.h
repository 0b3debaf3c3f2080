// Writing definitions: into which directory, by which safe step, and what is told of it.
#pragma once

#include "tools/zorva/context.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace zorva_tool {

// What the commands that write have in common.
struct write_options {
    std::string to = "custom";
    bool dry_run = false;
};

void add_to(CLI::App& command, write_options& options);
void add_dry_run(CLI::App& command, write_options& options);

// Writes definitions, or in a dry run only makes their documents.
class writer {
  public:
    writer(context& context, const write_options& options)
        : m_context(context), m_dry_run(options.dry_run) {}

    // Each throws a failure where nothing was changed.
    void store_device(ZORVA_MGR& manager, ZORVA_FLASH& flash, const std::string& directory);
    void store_template(ZORVA_MGR& manager, ZORVA_FLASH& carrier, const std::string& directory);
    void remove_device(const device& device, const std::string& directory);
    void remove_template(ZORVA_MGR& manager, const std::string& name, const std::string& file);

    // The answer: the paths, or in a dry run the documents.
    int finish();

  private:
    void add(const std::string& name, const std::string& path, const std::string& document);
    void make_missing(const std::string& directory);
    [[noreturn]] void fail(const std::string& name, const std::string& path) const;

    context& m_context;
    bool m_dry_run;
    std::vector<std::string> m_names;
    std::vector<std::string> m_paths;
    std::vector<std::string> m_documents;
};

// The directory of a new definition: "custom" or "installation".
std::string directory_for_new(const database& db, const std::string& to);
// The directory in which the definition in force may be changed. A failure for a device that is
// protected; `instead` then says what can be done.
std::string directory_of(const device& device, const std::string& instead);

}  // namespace zorva_tool
