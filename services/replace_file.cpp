#include "services/file.h"
#include "services/host_state.h"

#include <unistd.h>

bool pgm_host::replace_file(const std::string& file, std::string_view bytes) {
    const std::string followed = disk().follow(file);
    const std::string target = followed.empty() ? file : followed;
    const int mode = disk().mode(target);
    const std::string sibling = target + "." + std::to_string(::getpid()) + ".tmp";
    const bool replaced = disk().write(sibling, bytes) &&
                          (mode < 0 || disk().chmod(sibling, mode)) &&
                          disk().rename(sibling, target);
    if (!replaced) {
        disk().remove(sibling);
        return false;
    }
    disk().flush_directory(FIO_PATH(target).full_directory());
    return true;
}
