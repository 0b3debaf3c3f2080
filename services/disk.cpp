#include "services/host.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>

namespace pgm_host {

namespace {

// Without O_NONBLOCK the opening of a FIFO would wait for its other end.
constexpr int safely = O_NONBLOCK | O_CLOEXEC;
constexpr mode_t by_umask = 0666;

class descriptor {
  public:
    descriptor(const std::string& path, int flags, mode_t mode = 0)
        : m_number(::open(path.c_str(), flags | safely, mode)) {}
    ~descriptor() {
        const int error = errno;
        if (is_open()) ::close(m_number);
        errno = error;
    }
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;

    bool is_open() const { return m_number >= 0; }
    int number() const { return m_number; }
    // The close can be the first to tell of a failed write.
    bool close() { return ::close(std::exchange(m_number, -1)) == 0; }

    bool is_regular(struct stat& status) const {
        if (!is_open() || ::fstat(m_number, &status) != 0) return false;
        if (S_ISREG(status.st_mode)) return true;
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }

  private:
    int m_number;
};

// Reads to the end of the file, which may have grown since its size was taken.
bool read_all(const descriptor& file, std::size_t size, std::string& bytes) {
    std::string content;
    std::size_t length = 0;
    for (;;) {
        content.resize(std::max(size, length) + 1);
        const ssize_t count =
            ::read(file.number(), content.data() + length, content.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
        if (length > file_system::largest_file) {
            errno = EFBIG;
            return false;
        }
        if (length == content.size()) size = 2 * length;
    }
    content.resize(length);
    bytes = std::move(content);
    return true;
}

bool write_all(const descriptor& file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file.number(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace

bool file_system::exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

bool file_system::touch(const std::string& path) {
    return descriptor(path, O_WRONLY | O_CREAT, by_umask).is_open();
}

bool file_system::chmod(const std::string& path, int mode) {
    return ::chmod(path.c_str(), static_cast<mode_t>(mode)) == 0;
}

bool file_system::remove(const std::string& path) { return ::unlink(path.c_str()) == 0; }

bool file_system::rename(const std::string& from, const std::string& to) {
    return ::rename(from.c_str(), to.c_str()) == 0;
}

bool file_system::read(const std::string& path, std::string& bytes) {
    const descriptor file(path, O_RDONLY);
    struct stat status {};
    if (!file.is_regular(status)) return false;
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > largest_file) {
        errno = EFBIG;
        return false;
    }
    return read_all(file, size, bytes);
}

bool file_system::write(const std::string& path, std::string_view bytes) {
    descriptor file(path, O_WRONLY | O_CREAT, by_umask);
    struct stat status {};
    return file.is_regular(status) && ::ftruncate(file.number(), 0) == 0 &&
           write_all(file, bytes) && ::fsync(file.number()) == 0 && file.close();
}

bool file_system::flush_directory(const std::string& directory) {
    const descriptor opened(directory.empty() ? "." : directory, O_RDONLY | O_DIRECTORY);
    return opened.is_open() && ::fsync(opened.number()) == 0;
}

bool file_system::make_directory(const std::string& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    return std::filesystem::is_directory(directory, error);
}

std::vector<std::string> file_system::list(const std::string& directory) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> opened(
        ::opendir(directory.empty() ? "." : directory.c_str()), &::closedir);
    if (!opened) return {};
    while (errno = 0, true) {
        const dirent* entry = ::readdir(opened.get());
        if (entry == nullptr) break;
        struct stat status {};
        const bool regular = entry->d_type == DT_REG ||
                             (::fstatat(::dirfd(opened.get()), entry->d_name, &status, 0) == 0 &&
                              S_ISREG(status.st_mode));
        if (regular) names.emplace_back(entry->d_name);
    }
    if (errno != 0) return {};
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace pgm_host
