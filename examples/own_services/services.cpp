// A host's own services, as small as they can be: messages on stdout, no settings, plain files and
// a table of two families. The XML framework, the conversions and the text functions are
// pgm_zorva's own.
#include "examples/own_services/services.h"

#include "services/file.h"
#include "services/host.h"
#include "services/message.h"
#include "services/pgm_common.h"
#include "services/pgmdev.h"
#include "services/settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

namespace fs = std::filesystem;

// Messages.

namespace {

std::map<unsigned, MSG_POST_TYPE> known_ids;

}  // namespace

MSG_ID_REGISTRAR::MSG_ID_REGISTRAR(const unsigned* ids, const MSG_POST_TYPE* types,
                                   std::size_t count)
    : m_ids(ids), m_count(count) {
    for (std::size_t i = 0; i < count; ++i) known_ids[ids[i]] = types[i];
}
MSG_ID_REGISTRAR::~MSG_ID_REGISTRAR() {
    for (std::size_t i = 0; i < m_count; ++i) known_ids.erase(m_ids[i]);
}

MSG_INDEX* MSG_INDEX::get_default_index() {
    static MSG_INDEX index;
    return &index;
}
bool MSG_INDEX::is_suppressed(unsigned) const { return false; }

MSG_BASE::MSG_BASE(MSG_POST_TYPE type) : m_type(type) {}
MSG_W::MSG_W(MSG_REPORT*) : MSG_BASE(MSG_POST_WARNING) {}
MSG_E::MSG_E(MSG_REPORT*) : MSG_BASE(MSG_POST_ERROR) {}
MSG_W_NULL::MSG_W_NULL() : MSG_BASE(MSG_POST_WARNING) {}
bool MSG_W_NULL::post() { return false; }

void MSG_BASE::set_id(unsigned id) { m_id = id; }
void MSG_BASE::set_severity_level(int level) { m_severity_level = level; }
// "TEXT/WNAME", with "%1!s!" where the first value goes.
void MSG_BASE::fill_values(std::string_view format, const std::vector<std::string>& values) {
    m_text = format.substr(0, format.rfind('/'));
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto at = m_text.find("%" + std::to_string(i + 1) + "!");
        if (at != std::string::npos) m_text.replace(at, 5, values[i]);
    }
}
bool MSG_BASE::post() {
    std::cout << "own services: message " << m_id << ": " << m_text << '\n';
    return true;
}

void MSG_INTERNAL_ERROR::report(const char* text, const char*, const char* file, int line) {
    std::cout << "own services: internal error: " << text << " (" << file << ":" << line << ")\n";
    std::abort();
}
void msg_local_vdebug(const char*, MSG_D_LEVEL, const char*, va_list) {}

// Settings: none, so that all are off and nothing is stored.

NEVARA_BOOL cfg_is_on(std::string, bool default_value) { return {default_value}; }
std::string cfg_get_user_ini_value(CFG_USER_INI_ENUMS) { return {}; }
bool cfg_set_user_ini_value(CFG_USER_INI_ENUMS, const char*) { return false; }
bool cfg_write_user_ini_file() { return false; }

// Files.

// The library's masks are "pgm_flash_*.xml" and "*".
FIO_FIND::FIO_FIND(std::string pattern) : m_pattern(std::move(pattern)) {}
std::string FIO_FIND::find_first() {
    const FIO_PATH path(m_pattern);
    const std::string mask = path.filename();
    const std::size_t star = mask.find('*');
    const std::string end = mask.substr(star + 1);
    m_names.clear();
    m_next = 0;
    for (const auto& entry : fs::directory_iterator(path.full_directory(), m_error)) {
        const std::string name = entry.path().filename();
        if (entry.is_regular_file() && name.starts_with(mask.substr(0, star)) &&
            name.ends_with(end))
            m_names.push_back(name);
    }
    if (m_error == std::errc::no_such_file_or_directory) m_error.clear();
    std::sort(m_names.begin(), m_names.end());
    return find_next();
}
std::string FIO_FIND::find_next() {
    return m_next < m_names.size() ? m_names[m_next++] : std::string();
}
std::vector<std::string> FIO_FIND::passed_over() const { return {}; }

namespace {

std::error_code last_error;

bool told(bool done) {
    last_error = done ? std::error_code() : std::error_code(errno, std::generic_category());
    return done;
}

}  // namespace

bool FIO_FILE_SYSTEM::exists(const std::string& path) { return fs::exists(path, last_error); }
bool FIO_FILE_SYSTEM::touch(const std::string& path) {
    return told(std::ofstream(path, std::ios::app).good());
}
bool FIO_FILE_SYSTEM::_chmod(const char* path, int mode) {
    return told(::chmod(path, static_cast<mode_t>(mode)) == 0);
}
bool FIO_FILE_SYSTEM::remove(const char* path) { return told(::unlink(path) == 0); }
bool FIO_FILE_SYSTEM::rename(const std::string& from, const std::string& to) {
    return told(std::rename(from.c_str(), to.c_str()) == 0);
}
bool FIO_FILE_SYSTEM::read(const std::string& path, std::string& bytes) {
    std::ifstream file(path, std::ios::binary);
    if (!told(file && fs::is_regular_file(path))) return false;
    bytes.assign(std::istreambuf_iterator<char>(file), {});
    return true;
}
// These two flush to the disk in a host that stores anything.
bool FIO_FILE_SYSTEM::write(const std::string& path, std::string_view bytes) {
    return told((std::ofstream(path, std::ios::binary) << bytes << std::flush).good());
}
bool FIO_FILE_SYSTEM::flush_directory(const std::string&) { return true; }
bool FIO_FILE_SYSTEM::same_file(const std::string& a, const std::string& b) {
    std::error_code error;
    return fs::equivalent(a, b, error) && !error;
}
int FIO_FILE_SYSTEM::mode(const std::string& path) {
    struct stat status {};
    return told(::stat(path.c_str(), &status) == 0) ? static_cast<int>(status.st_mode & 07777) : -1;
}
std::string FIO_FILE_SYSTEM::follow(const std::string& path) {
    return fs::is_symlink(path, last_error) ? fs::canonical(path, last_error).string() : path;
}
bool FIO_FILE_SYSTEM::may_change(const std::string& directory) {
    return told(::access(directory.c_str(), W_OK) == 0);
}
std::error_code FIO_FILE_SYSTEM::error() { return last_error; }

// This host runs alone, and so has nobody to keep out.
namespace {

int locks = 0;

}  // namespace

FIO_DIRECTORY_LOCK::FIO_DIRECTORY_LOCK(std::set<std::string>, KIND kind,
                                       std::chrono::milliseconds) {
    if (any_is_held() && kind == EXCLUSIVE) return;
    m_locks.push_back(std::make_unique<pgm_host::directory_lock>());
    ++locks;
}
FIO_DIRECTORY_LOCK::FIO_DIRECTORY_LOCK(const std::string& directory, KIND kind,
                                       std::chrono::milliseconds wait)
    : FIO_DIRECTORY_LOCK(std::set<std::string>{directory}, kind, wait) {}
FIO_DIRECTORY_LOCK::~FIO_DIRECTORY_LOCK() {
    if (held()) --locks;
}
bool FIO_DIRECTORY_LOCK::any_is_held() { return locks != 0; }

// Where xml/ and xsd/ lie.

std::string own_data_directory;

std::string PGM_COMMON::pgm_get_common_programmer() { return own_data_directory; }

// Device families, and no default flash devices.

namespace {

PGMDEV_DEVICE_INFO families[] = {
    {static_cast<DEV_FAMILY_ENUM>(5), "Anvil", true, false, true, "1.8V"},
    {DEV_FAMILY_LAST, "Generic", true, false, true, "1.8V"},
};

}  // namespace

PGMDEV_DEV_INFO_MANAGER::PGMDEV_DEV_INFO_MANAGER(bool, int) {}
PGMDEV_DEVICE_INFO* PGMDEV_DEV_INFO_MANAGER::get_db_by_family(DEV_FAMILY_ENUM family) {
    const auto found = std::ranges::find(families, family, &PGMDEV_DEVICE_INFO::family);
    return found == std::end(families) ? nullptr : found;
}

PGMDEV_FLASH_MANAGER::PGMDEV_FLASH_MANAGER(bool, int, bool, bool)
    : flash_count(0), flash_table(nullptr) {}
const PGMDEV_SFL_FLASH_INFO* PGMDEV_FLASH_MANAGER::get_default_flash(std::string) const {
    return nullptr;
}
