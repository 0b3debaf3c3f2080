// The file service: paths, directory walks and the calls that touch a disk.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

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
    // True if the directory is there and couldn't be listed, so that no name means nothing.
    bool failed() const { return m_failed; }

  private:
    std::string m_pattern;
    std::vector<std::string> m_names;
    std::size_t m_next = 0;
    bool m_failed = false;
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
};

// An exclusive lock among processes on a directory, let go at the end of the object's life. It
// leaves nothing in the directory, and ends with the process.
class FIO_DIRECTORY_LOCK {
  public:
    // With `wait`, returns when the lock is free; without, or if the directory can't be opened,
    // held() tells.
    FIO_DIRECTORY_LOCK(const std::string& directory, bool wait);
    ~FIO_DIRECTORY_LOCK();
    FIO_DIRECTORY_LOCK(const FIO_DIRECTORY_LOCK&) = delete;
    FIO_DIRECTORY_LOCK& operator=(const FIO_DIRECTORY_LOCK&) = delete;
    bool held() const { return m_held; }

  private:
    int m_descriptor;
    bool m_held = false;
};
