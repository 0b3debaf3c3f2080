#include "services/file.h"

#include "services/host_state.h"

namespace {

int holders = 0;  // of locks, in this process

}  // namespace

// In byte order, so that no two processes wait for each other.
FIO_DIRECTORY_LOCK::FIO_DIRECTORY_LOCK(std::set<std::string> directories, KIND kind,
                                       std::chrono::milliseconds wait) {
    pgm_host::file_system& files = pgm_host::disk();
    files.error.clear();
    if (any_is_held() && kind == EXCLUSIVE) return;
    if (any_is_held()) wait = std::chrono::milliseconds(0);
    const auto lock_kind =
        kind == SHARED ? pgm_host::lock_kind::shared : pgm_host::lock_kind::exclusive;
    for (const std::string& directory : directories) {
        auto lock = files.lock(directory, lock_kind, wait);
        if (!lock) {
            m_locks.clear();
            return;
        }
        m_locks.push_back(std::move(lock));
    }
    ++holders;
}

FIO_DIRECTORY_LOCK::FIO_DIRECTORY_LOCK(const std::string& directory, KIND kind,
                                       std::chrono::milliseconds wait)
    : FIO_DIRECTORY_LOCK(std::set<std::string>{directory}, kind, wait) {}

FIO_DIRECTORY_LOCK::FIO_DIRECTORY_LOCK(const std::string& directory, bool wait)
    : FIO_DIRECTORY_LOCK(
          directory, EXCLUSIVE,
          wait ? std::chrono::milliseconds(longest_change) : std::chrono::milliseconds(0)) {}

FIO_DIRECTORY_LOCK::~FIO_DIRECTORY_LOCK() {
    if (held()) --holders;
}

bool FIO_DIRECTORY_LOCK::any_is_held() { return holders != 0; }
