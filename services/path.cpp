// Paths as text; nothing here asks a disk.
#include "services/file.h"
#include "services/pgm_common.h"

#include <utility>

FIO_PATH::FIO_PATH(std::string path) : m_path(std::move(path)) {
    PGM_COMMON::change_folder_slash(m_path);
}

std::string FIO_PATH::full_directory() const { return m_path.substr(0, m_path.rfind('/') + 1); }

std::string FIO_PATH::fullpath() const { return m_path; }

std::string FIO_PATH::filename() const { return m_path.substr(m_path.rfind('/') + 1); }

void FIO_PATH::filename(std::string name) { m_path = full_directory() + name; }
