#include "services/host_state.h"

#include <unistd.h>

#include <filesystem>

namespace fs = std::filesystem;

bool pgm_host::replace_file(const std::string& file, std::string_view bytes) {
    std::error_code error;
    const fs::path real = fs::canonical(file, error);
    const std::string target = error ? file : real.string();
    const fs::file_status before = fs::status(target, error);
    const std::string sibling = target + "." + std::to_string(::getpid()) + ".tmp";
    const bool replaced =
        disk().write(sibling, bytes) &&
        (!fs::exists(before) || disk().chmod(sibling, static_cast<int>(before.permissions()))) &&
        disk().rename(sibling, target);
    if (!replaced) {
        disk().remove(sibling);
        return false;
    }
    disk().flush_directory(fs::path(target).parent_path());
    return true;
}
