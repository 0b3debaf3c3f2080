// A file of definitions from anywhere, loaded beside the database.
#pragma once

#include "pgm/zorva/zorva_mgr.h"

#include <memory>
#include <string>
#include <vector>

namespace zorva_tool {

// A directory that lives as long as this.
class temporary_directory {
  public:
    temporary_directory();
    ~temporary_directory();
    temporary_directory(const temporary_directory&) = delete;
    temporary_directory& operator=(const temporary_directory&) = delete;

    const std::string& path() const { return m_path; }  // with its closing slash

  private:
    std::string m_path;
};

// Lies in a temporary directory that a second manager takes for its custom directory: so what a
// load would refuse is refused. The records are that manager's.
class loaded_file {
  public:
    // A failure if the file can't be read.
    loaded_file(ZORVA_MGR& manager, const std::string& file);

    ZORVA_MGR& manager() { return *m_manager; }
    // In file order, the devices first.
    std::vector<ZORVA_DEFINITION> definitions() const;

  private:
    temporary_directory m_directory;
    std::unique_ptr<ZORVA_MGR> m_manager;
};

}  // namespace zorva_tool
