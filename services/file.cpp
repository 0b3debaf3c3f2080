#include "services/file.h"

#include "services/host_state.h"
#include "services/pgm_common.h"

#include <fnmatch.h>

#include <utility>

using pgm_host::disk;

namespace {

bool fits(const std::string& name, const std::string& mask) {
    return ::fnmatch(mask.c_str(), name.c_str(), FNM_NOESCAPE) == 0;
}

// The disk, ready to tell why the next call fails.
pgm_host::file_system& fresh_disk() {
    pgm_host::file_system& files = disk();
    files.error.clear();
    return files;
}

// A failure always has a reason, also where the disk gives none.
bool told(bool done) {
    if (!done && !disk().error) disk().error = std::make_error_code(std::errc::io_error);
    return done;
}

}  // namespace

FIO_FIND::FIO_FIND(std::string pattern) : m_pattern(std::move(pattern)) {}

std::string FIO_FIND::find_first() {
    const FIO_PATH path(m_pattern);
    const std::string mask = path.filename();
    pgm_host::file_system& files = fresh_disk();
    m_names = files.list(path.full_directory());
    m_error = files.error == std::errc::no_such_file_or_directory ? std::error_code() : files.error;
    std::erase_if(m_names, [&](const std::string& name) { return !fits(name, mask); });
    m_next = 0;
    return find_next();
}

std::vector<std::string> FIO_FIND::passed_over() const {
    const FIO_PATH path(m_pattern);
    std::vector<std::string> names = fresh_disk().list_others(path.full_directory());
    std::erase_if(names, [&](const std::string& name) { return !fits(name, path.filename()); });
    return names;
}

std::string FIO_FIND::find_next() {
    return m_next < m_names.size() ? m_names[m_next++] : std::string();
}

bool FIO_FILE_SYSTEM::exists(const std::string& path) { return fresh_disk().exists(path); }

bool FIO_FILE_SYSTEM::touch(const std::string& path) { return told(fresh_disk().touch(path)); }

bool FIO_FILE_SYSTEM::_chmod(const char* path, int mode) {
    return told(fresh_disk().chmod(path, mode));
}

bool FIO_FILE_SYSTEM::remove(const char* path) { return told(fresh_disk().remove(path)); }

bool FIO_FILE_SYSTEM::rename(const std::string& from, const std::string& to) {
    return told(fresh_disk().rename(from, to));
}

bool FIO_FILE_SYSTEM::read(const std::string& path, std::string& bytes) {
    return told(fresh_disk().read(path, bytes));
}

bool FIO_FILE_SYSTEM::write(const std::string& path, std::string_view bytes) {
    return told(fresh_disk().write(path, bytes));
}

bool FIO_FILE_SYSTEM::flush_directory(const std::string& directory) {
    return told(fresh_disk().flush_directory(directory));
}

bool FIO_FILE_SYSTEM::same_file(const std::string& a, const std::string& b) {
    return fresh_disk().same_file(a, b);
}

int FIO_FILE_SYSTEM::mode(const std::string& path) { return fresh_disk().mode(path); }

std::string FIO_FILE_SYSTEM::follow(const std::string& path) { return fresh_disk().follow(path); }

bool FIO_FILE_SYSTEM::may_change(const std::string& directory) {
    return told(fresh_disk().may_change(directory));
}

std::error_code FIO_FILE_SYSTEM::error() { return disk().error; }
