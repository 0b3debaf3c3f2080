#include "pgm/zorva/load/zorva_scan_lock.h"

#include <chrono>

namespace {

constexpr std::chrono::seconds longest_wait{2};  // longer than a change takes

}  // namespace

ZORVA_SCAN_LOCK::ZORVA_SCAN_LOCK(const ZORVA_INTERFACE& interface, const std::string& directory)
    : m_directory(directory) {
    share();
    if (zorva_is_unfinished(interface, directory)) finish(interface);
}

void ZORVA_SCAN_LOCK::share() {
    m_lock.emplace(m_directory, FIO_DIRECTORY_LOCK::SHARED, longest_wait);
}

// Only who has the lock alone may change files.
void ZORVA_SCAN_LOCK::finish(const ZORVA_INTERFACE& interface) {
    m_lock.reset();
    {
        const FIO_DIRECTORY_LOCK alone(m_directory, FIO_DIRECTORY_LOCK::EXCLUSIVE, longest_wait);
        zorva_finish_change(interface, m_directory, alone.held());
    }
    share();
    m_leftover = zorva_finish_change(interface, m_directory, false);
}
