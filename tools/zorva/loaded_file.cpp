#include "tools/zorva/loaded_file.h"

#include "services/file.h"
#include "tools/zorva/failure.h"
#include "tools/zorva/field_editor.h"

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>

namespace zorva_tool {

namespace {

// Another custom directory while it lives, for managers that are made meanwhile.
class custom_dir_change {
  public:
    explicit custom_dir_change(const std::string& directory)
        : m_former(ZORVA_MGR::get_db_custom_dir()) {
        ZORVA_MGR::set_db_custom_dir(directory);
    }
    ~custom_dir_change() { ZORVA_MGR::set_db_custom_dir(m_former); }
    custom_dir_change(const custom_dir_change&) = delete;
    custom_dir_change& operator=(const custom_dir_change&) = delete;

  private:
    std::string m_former;
};

}  // namespace

temporary_directory::temporary_directory()
    : m_path(std::filesystem::temp_directory_path() / "zorva_XXXXXX") {
    if (::mkdtemp(m_path.data()) == nullptr)
        throw failure(exit_file, fmt::format("The directory {} can't be made.", m_path));
    m_path += '/';
}

temporary_directory::~temporary_directory() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

loaded_file::loaded_file(ZORVA_MGR& manager, const std::string& file) {
    std::string bytes;
    if (!FIO_FILE_SYSTEM::read(file, bytes))
        throw failure(exit_file, fmt::format("The file {} can't be read.", file));
    if (!FIO_FILE_SYSTEM::write(m_directory.path() + "pgm_flash_import.xml", bytes))
        throw failure(exit_file, fmt::format("A copy of {} can't be written.", file));
    const custom_dir_change change(m_directory.path());
    const quiet quiet;
    m_manager.reset(manager.get_new_instance());
}

std::vector<ZORVA_DEFINITION> loaded_file::definitions() const {
    for (const ZORVA_FILE_REPORT& file : m_manager->get_load_report())
        if (FIO_PATH(file.path).full_directory() == m_directory.path()) return file.definitions;
    return {};
}

}  // namespace zorva_tool
