#include "services/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <cerrno>
#include <filesystem>

bool FIO_FILE_SYSTEM::same_file(const std::string& a, const std::string& b) {
    std::error_code error;
    return std::filesystem::equivalent(a, b, error) && !error;
}

FIO_DIRECTORY_LOCK::FIO_DIRECTORY_LOCK(const std::string& directory, bool wait)
    : m_descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (m_descriptor < 0) return;
    int result = 0;
    do {
        result = flock(m_descriptor, wait ? LOCK_EX : LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    m_held = result == 0;
}

FIO_DIRECTORY_LOCK::~FIO_DIRECTORY_LOCK() {
    if (m_descriptor >= 0) close(m_descriptor);
}
