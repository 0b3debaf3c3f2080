// How an embedding program sets the stand-alone services up: where messages, traces and internal
// errors go, where the data lie, and what stands in for the settings, the tables and the disk.
// All of it is process-wide and for one thread at a time.
#pragma once

#include "services/message.h"
#include "services/pgmdev.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace pgm_host {

struct message {  // what a posted message carries
    unsigned id;
    MSG_POST_TYPE type;  // 0 error, 2 warning
    std::string name;    // "ZORVA_INVALID_DEVICE_DENSITY"
    std::string text;    // with its arguments filled in
};
struct settings_fault {  // what doesn't count in the settings file
    std::string file;
    int line;  // 0: the file as a whole
    std::string sentence;
};
using message_sink = std::function<void(const message&)>;
using trace_sink = std::function<void(const char* module, int level, const std::string& text)>;
// Called with (text, module, file, line). If it returns, the process aborts; it may throw.
using internal_error_handler = std::function<void(const char*, const char*, const char*, int)>;

enum class lock_kind { shared, exclusive };

// A lock that is let go at the end of its life.
struct directory_lock {
    virtual ~directory_lock() = default;
};

// What the file service and the XML framework do to a disk. The class itself is the disk; a test
// derives from it and overrides the calls that it wants to watch or to fail, a host that keeps its
// files elsewhere overrides them all.
struct file_system {
    static constexpr std::size_t largest_file = 64 << 20;
    virtual ~file_system() = default;
    virtual bool exists(const std::string& path);
    virtual bool touch(const std::string& path);
    virtual bool chmod(const std::string& path, int mode);
    virtual bool remove(const std::string& path);
    virtual bool rename(const std::string& from, const std::string& to);
    // A regular file of at most `largest_file` bytes.
    virtual bool read(const std::string& path, std::string& bytes);
    virtual bool write(const std::string& path, std::string_view bytes);  // whole, flushed
    virtual bool flush_directory(const std::string& directory);
    virtual bool make_directory(const std::string& directory);  // and those above it
    // Names of the regular files, in byte order; none, and an error, if they can't be listed.
    virtual std::vector<std::string> list(const std::string& directory);
    // Names of what else is there, in byte order: directories, FIFOs, sockets, links to nowhere.
    virtual std::vector<std::string> list_others(const std::string& directory);
    // The permission bits of a file; -1 if it isn't there.
    virtual int mode(const std::string& path);
    // The file that a link leads to, over all links; the path itself where it is no link. Empty
    // for a link that leads nowhere.
    virtual std::string follow(const std::string& path);
    virtual bool same_file(const std::string& a, const std::string& b);
    // Whether this process may make and remove files there.
    virtual bool may_change(const std::string& directory);
    // Locks a directory among processes; null if that fails, or the lock isn't free within `wait`.
    virtual std::unique_ptr<directory_lock> lock(const std::string& directory, lock_kind kind,
                                                 std::chrono::milliseconds wait);

    // Why the last call failed; a call that fails sets it. The file service clears it before each
    // call, and takes a failure that leaves it clear for an error of input or output.
    std::error_code error;
};

// An empty function brings the default back.
void set_message_sink(message_sink sink);  // default: "Warning (20478): ..." on stderr
void set_trace_sink(trace_sink sink);      // default: none
void set_internal_error_handler(internal_error_handler handler);  // default: stderr, then abort
void suppress_message(unsigned id, bool suppressed);              // what the message index answers
void set_common_programmer(
    const std::string& directory);                  // where xml/ and xsd/ lie; empty: default
std::string common_programmer_origin();             // in words: who chose that directory
void set_setting(const std::string& key, bool on);  // over what the settings file says
void set_user_ini_file(
    const std::string& file);  // default: $XDG_CONFIG_HOME/pgm_zorva/pgm_zorva.ini
std::string user_ini_file();   // the settings file in force
// Stores a switch in the settings file in force, or takes it out; all other lines stay. False for
// an unknown one, or if the file can't be written or isn't one of settings.
bool store_setting(const std::string& key, bool on);
bool unset_setting(const std::string& key);
// The lines of the settings file that are passed over, in file order.
std::vector<settings_fault> settings_faults();
void set_device_table(std::vector<PGMDEV_DEVICE_INFO> table);    // device families
void set_flash_table(std::vector<PGMDEV_SFL_FLASH_INFO> table);  // default flash devices
const std::vector<PGMDEV_DEVICE_INFO>& device_table();
void set_file_system(file_system* replacement);  // not owned; null: the disk itself
void reset();                                    // everything back to its default

}  // namespace pgm_host
