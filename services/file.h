// The file service: paths, directory walks and the calls that touch a disk.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace pgm_host {
struct directory_lock;
}

// A directory (it ends in a slash) or a full file path, with slashes normalised: backslashes and
// doubled slashes become one slash. Nothing is made absolute and no link is resolved.
class FIO_PATH {
  public:
    explicit FIO_PATH(std::string path);
    // The directory with its closing slash; empty if the path has none.
    std::string full_directory() const;
    // The whole path.
    std::string fullpath() const;
    // The part behind the last slash.
    std::string filename() const;
    // Replaces the part behind the last slash; may hold a wild card.
    void filename(std::string name);
    operator std::string() const { return m_path; }

  private:
    std::string m_path;
};

// Walks the regular files (a link to one counts) of one directory whose names fit a mask, in byte
// order. Nothing is opened, so a FIFO or a device node is passed over unseen.
class FIO_FIND {
  public:
    // `pattern` is a directory and a mask with "*" and "?", such as "/db/pgm_flash_*.xml".
    explicit FIO_FIND(std::string pattern);
    // The name without its directory; empty at the end, and for a directory that is missing.
    std::string find_first();
    std::string find_next();
    // Why the directory, which is there, couldn't be listed, so that no name means nothing; no
    // error if it could.
    std::error_code error() const { return m_error; }
    // What fits the mask and is no regular file, so that the walk passes it over.
    std::vector<std::string> passed_over() const;

  private:
    std::string m_pattern;
    std::vector<std::string> m_names;
    std::size_t m_next = 0;
    std::error_code m_error;
};

// The calls that touch a disk; they go through the host's file_system (services/host.h).
class FIO_FILE_SYSTEM {
  public:
    // True for a file or a directory.
    static bool exists(const std::string& path);
    // Creates an empty file; false if it can't. An existing file stays as it is.
    static bool touch(const std::string& path);
    static bool _chmod(const char* path, int mode);
    static bool remove(const char* path);
    // Replaces `to` in one step; both must lie in one file system.
    static bool rename(const std::string& from, const std::string& to);
    // The bytes of a regular file; false, with `bytes` as it was, for anything else.
    static bool read(const std::string& path, std::string& bytes);
    // Writes the whole file and flushes it to the disk. False may leave a part of it.
    static bool write(const std::string& path, std::string_view bytes);
    // Makes the names of a directory lasting.
    static bool flush_directory(const std::string& directory);
    // True if both paths lead to one existing file, by device and inode.
    static bool same_file(const std::string& a, const std::string& b);
    // The permission bits of a file; -1 if it isn't there.
    static int mode(const std::string& path);
    // The file that a link leads to; the path itself where it is no link, empty for a link that
    // leads nowhere.
    static std::string follow(const std::string& path);
    // Whether this process may make and remove files in a directory.
    static bool may_change(const std::string& directory);
    // Why the last of these calls failed.
    static std::error_code error();
};

// A lock among processes on a directory, let go at the end of the object's life. It leaves nothing
// in the directory, and ends with the process. Readers share it, who changes files has it alone.
class FIO_DIRECTORY_LOCK {
  public:
    enum KIND { SHARED, EXCLUSIVE };
    // As long as the changes of others may take; who holds the lock longer has got stuck.
    static constexpr std::chrono::seconds longest_change{60};
    // Waits that long for the lock; held() tells whether it came. A process that has a lock
    // already doesn't wait for another, and gets none for changes: it would wait for itself.
    FIO_DIRECTORY_LOCK(const std::string& directory, KIND kind, std::chrono::milliseconds wait);
    // The same for several at once: all or none.
    FIO_DIRECTORY_LOCK(std::set<std::string> directories, KIND kind,
                       std::chrono::milliseconds wait);
    // Exclusive: with `wait` for as long as the changes of others may take, without not at all.
    FIO_DIRECTORY_LOCK(const std::string& directory, bool wait);
    ~FIO_DIRECTORY_LOCK();
    FIO_DIRECTORY_LOCK(const FIO_DIRECTORY_LOCK&) = delete;
    FIO_DIRECTORY_LOCK& operator=(const FIO_DIRECTORY_LOCK&) = delete;
    bool held() const { return !m_locks.empty(); }
    // True if this process holds a lock on any directory: then it is in the midst of a load or of
    // a change.
    static bool any_is_held();

  private:
    std::vector<std::unique_ptr<pgm_host::directory_lock>> m_locks;
};
