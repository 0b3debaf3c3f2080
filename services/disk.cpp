#include "services/host.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <thread>
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
        const int number = errno;
        if (is_open()) ::close(m_number);
        errno = number;
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

// A call that has failed tells why.
bool told(bool done, std::error_code& error) {
    if (!done) error = std::error_code(errno, std::generic_category());
    return done;
}

// What stands in a directory: the regular files, links to one among them, or all else.
std::vector<std::string> entries_of(const std::string& directory, bool regular,
                                    std::error_code& error) {
    const std::unique_ptr<DIR, int (*)(DIR*)> opened(
        ::opendir(directory.empty() ? "." : directory.c_str()), &::closedir);
    if (!told(opened != nullptr, error)) return {};
    std::vector<std::string> names;
    while (errno = 0, true) {
        const dirent* entry = ::readdir(opened.get());
        if (entry == nullptr) break;
        struct stat status {};
        const bool is_regular = entry->d_type == DT_REG ||
                                (::fstatat(::dirfd(opened.get()), entry->d_name, &status, 0) == 0 &&
                                 S_ISREG(status.st_mode));
        if (is_regular == regular) names.emplace_back(entry->d_name);
    }
    if (!told(errno == 0, error)) return {};
    std::sort(names.begin(), names.end());
    return names;
}

// Other processes share one among them or keep it alone; it ends with the descriptor.
class flock_of_directory : public directory_lock {
  public:
    explicit flock_of_directory(const std::string& directory)
        : m_directory(directory.empty() ? "." : directory, O_RDONLY | O_DIRECTORY) {}

    bool take(lock_kind kind, std::chrono::milliseconds wait) {
        using clock = std::chrono::steady_clock;
        const clock::time_point end = clock::now() + wait;
        const int operation = (kind == lock_kind::shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
        std::chrono::microseconds pause{100};
        constexpr std::chrono::microseconds longest_pause{2000};
        while (m_directory.is_open() && ::flock(m_directory.number(), operation) != 0) {
            if ((errno != EWOULDBLOCK && errno != EINTR) || clock::now() >= end) return false;
            std::this_thread::sleep_for(pause);
            pause = std::min(2 * pause, longest_pause);
        }
        return m_directory.is_open();
    }

  private:
    descriptor m_directory;
};

}  // namespace

bool file_system::exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

bool file_system::touch(const std::string& path) {
    return told(descriptor(path, O_WRONLY | O_CREAT, by_umask).is_open(), error);
}

bool file_system::chmod(const std::string& path, int mode) {
    return told(::chmod(path.c_str(), static_cast<mode_t>(mode)) == 0, error);
}

bool file_system::remove(const std::string& path) {
    return told(::unlink(path.c_str()) == 0, error);
}

bool file_system::rename(const std::string& from, const std::string& to) {
    return told(::rename(from.c_str(), to.c_str()) == 0, error);
}

bool file_system::read(const std::string& path, std::string& bytes) {
    const descriptor file(path, O_RDONLY);
    struct stat status {};
    if (!told(file.is_regular(status), error)) return false;
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > largest_file) errno = EFBIG;
    return told(size <= largest_file && read_all(file, size, bytes), error);
}

bool file_system::write(const std::string& path, std::string_view bytes) {
    descriptor file(path, O_WRONLY | O_CREAT, by_umask);
    struct stat status {};
    return told(file.is_regular(status) && ::ftruncate(file.number(), 0) == 0 &&
                    write_all(file, bytes) && ::fsync(file.number()) == 0 && file.close(),
                error);
}

bool file_system::flush_directory(const std::string& directory) {
    const descriptor opened(directory.empty() ? "." : directory, O_RDONLY | O_DIRECTORY);
    return told(opened.is_open() && ::fsync(opened.number()) == 0, error);
}

bool file_system::make_directory(const std::string& directory) {
    std::filesystem::create_directories(directory, error);
    std::error_code ignored;
    return std::filesystem::is_directory(directory, ignored);
}

std::vector<std::string> file_system::list(const std::string& directory) {
    return entries_of(directory, true, error);
}

std::vector<std::string> file_system::list_others(const std::string& directory) {
    return entries_of(directory, false, error);
}

int file_system::mode(const std::string& path) {
    constexpr mode_t permissions = 07777;
    struct stat status {};
    if (!told(::stat(path.c_str(), &status) == 0, error)) return -1;
    return static_cast<int>(status.st_mode & permissions);
}

std::string file_system::follow(const std::string& path) {
    std::error_code ignored;
    if (!std::filesystem::is_symlink(path, ignored)) return path;
    return std::filesystem::canonical(path, error).string();
}

bool file_system::same_file(const std::string& a, const std::string& b) {
    std::error_code failed;
    return std::filesystem::equivalent(a, b, failed) && !failed;
}

bool file_system::may_change(const std::string& directory) {
    return told(::access(directory.empty() ? "." : directory.c_str(), W_OK | X_OK) == 0, error);
}

std::unique_ptr<directory_lock> file_system::lock(const std::string& directory, lock_kind kind,
                                                  std::chrono::milliseconds wait) {
    auto lock = std::make_unique<flock_of_directory>(directory);
    if (!told(lock->take(kind, wait), error)) return nullptr;
    return lock;
}

}  // namespace pgm_host
