// What every command gets: the options that all share, the output, and the database at request.
#pragma once

#include "tools/zorva/database/database.h"
#include "tools/zorva/output.h"

#include <optional>
#include <string>

namespace zorva_tool {

struct global_options {
    std::string programmer_dir;
    std::string custom_dir;
    std::string interface = "all";
    std::string format = "table";
    bool verbose = false;
};

class context {
  public:
    context(const global_options& options, output& out) : m_options(options), m_out(out) {}

    const global_options& options() const { return m_options; }
    output& out() { return m_out; }
    // Loaded at the first call, so that a command that needs no database doesn't hang on it.
    const database& db() {
        const database& db = loaded();
        if (db.fault()) throw *db.fault();
        return db;
    }
    // Also where a directory can't be read, for a command that tells of it.
    const database& loaded() {
        if (!m_database) m_database.emplace(m_options.custom_dir, m_options.interface, m_out);
        return *m_database;
    }

    // What was loaded, and all that was taken from it, goes; the next call loads anew.
    void forget_db() { m_database.reset(); }

  private:
    const global_options& m_options;
    output& m_out;
    std::optional<database> m_database;
};

}  // namespace zorva_tool
