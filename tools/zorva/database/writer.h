// Changing the database: into which directory, by which safe step, and what is told of it.
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

// A definition isn't any more what the change was based on.
struct changed_since : failure {
    explicit changed_since(const std::string& sentence) : failure(exit_file, sentence) {}
};

// Changes the database, or in a dry run only judges the change and makes the documents.
class writer {
  public:
    writer(context& context, const write_options& options)
        : m_context(context), m_dry_run(options.dry_run) {}

    // Stores the definitions, all or none.
    void store(ZORVA_MGR& manager, const std::vector<ZORVA_NEW_DEFINITION>& definitions,
               const std::string& directory);
    // Takes a definition out of its file.
    void remove(ZORVA_MGR& manager, const ZORVA_DEFINITION_KEY& key, const std::string& file);
    // The file by which a removed name stays defined in its directory; empty if none does.
    const std::string& lives_on_in() const { return m_lives_on_in; }

    // The answer: the paths, or in a dry run the documents.
    int finish();

  private:
    void add(const std::string& name, const std::string& path, const std::string& document);
    void make_missing(const std::string& directory);

    context& m_context;
    bool m_dry_run;
    std::string m_lives_on_in;
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
