#include "services/file.h"

#include "services/host_state.h"
#include "services/pgm_common.h"

#include <cerrno>
#include <utility>

using pgm_host::disk;

namespace {

// Whether a name fits a mask with "*" and "?". A star first takes nothing; where the rest then
// doesn't fit, the last star takes one character more.
bool fits(std::string_view name, std::string_view mask) {
    std::size_t n = 0;
    std::size_t m = 0;
    std::size_t star = std::string_view::npos;
    std::size_t taken = 0;
    while (n < name.size()) {
        if (m < mask.size() && mask[m] == '*') {
            star = m++;
            taken = n;
        } else if (m < mask.size() && (mask[m] == '?' || mask[m] == name[n])) {
            ++m;
            ++n;
        } else if (star != std::string_view::npos) {
            m = star + 1;
            n = ++taken;
        } else {
            return false;
        }
    }
    return mask.find_first_not_of('*', m) == std::string_view::npos;
}

}  // namespace

FIO_PATH::FIO_PATH(std::string path) : m_path(std::move(path)) {
    PGM_COMMON::change_folder_slash(m_path);
}

std::string FIO_PATH::full_directory() const { return m_path.substr(0, m_path.rfind('/') + 1); }

std::string FIO_PATH::fullpath() const { return m_path; }

std::string FIO_PATH::filename() const { return m_path.substr(m_path.rfind('/') + 1); }

void FIO_PATH::filename(std::string name) { m_path = full_directory() + name; }

FIO_FIND::FIO_FIND(std::string pattern) : m_pattern(std::move(pattern)) {}

std::string FIO_FIND::find_first() {
    const FIO_PATH path(m_pattern);
    const std::string mask = path.filename();
    errno = 0;
    m_names = disk().list(path.full_directory());
    m_failed = m_names.empty() && errno != 0 && errno != ENOENT;
    std::erase_if(m_names, [&](const std::string& name) { return !fits(name, mask); });
    m_next = 0;
    return find_next();
}

std::string FIO_FIND::find_next() {
    return m_next < m_names.size() ? m_names[m_next++] : std::string();
}

bool FIO_FILE_SYSTEM::exists(const std::string& path) { return disk().exists(path); }

bool FIO_FILE_SYSTEM::touch(const std::string& path) { return disk().touch(path); }

bool FIO_FILE_SYSTEM::_chmod(const char* path, int mode) { return disk().chmod(path, mode); }

bool FIO_FILE_SYSTEM::remove(const char* path) { return disk().remove(path); }

bool FIO_FILE_SYSTEM::rename(const std::string& from, const std::string& to) {
    return disk().rename(from, to);
}

bool FIO_FILE_SYSTEM::read(const std::string& path, std::string& bytes) {
    return disk().read(path, bytes);
}

bool FIO_FILE_SYSTEM::write(const std::string& path, std::string_view bytes) {
    return disk().write(path, bytes);
}

bool FIO_FILE_SYSTEM::flush_directory(const std::string& directory) {
    return disk().flush_directory(directory);
}
