#include "tests/system_calls.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace fs = std::filesystem;

SYSTEM_CALLS the_system;

// In place of the C library's, for the services too.
extern "C" int fsync(int file) {
    std::string path(1000, '\0');
    const auto link = "/proc/self/fd/" + std::to_string(file);
    const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
    path.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    std::error_code no_file;
    const auto size = fs::is_regular_file(path) ? fs::file_size(path, no_file) : 0;
    the_system.flushed.push_back(path + " " + std::to_string(size));
    return static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int fstat(int file, struct stat* status) noexcept {
    const int result = ::fstatat(file, "", status, AT_EMPTY_PATH);
    if (the_system.hides_size) status->st_size = 0;
    return result;
}

extern "C" dirent* readdir(DIR* directory) {
    static auto* const real = reinterpret_cast<dirent* (*)(DIR*)>(::dlsym(RTLD_NEXT, "readdir"));
    if (the_system.entries_left < 0) return real(directory);
    if (the_system.entries_left-- > 0) return real(directory);
    the_system.entries_left = 0;
    errno = EIO;
    return nullptr;
}
