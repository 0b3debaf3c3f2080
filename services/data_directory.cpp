// Where xml/ and xsd/ lie.
#include "services/host_state.h"
#include "services/pgm_common.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>

namespace {

struct DATA_DIRECTORY {
    std::string path;
    const char* origin;
};

// The data directory lies where it was installed, or built, beside this library.
std::string directory_beside_library() {
    Dl_info library{};
    if (::dladdr(reinterpret_cast<const void*>(&directory_beside_library), &library) == 0)
        return {};
    // The loader may have come by "bin/../lib"; a user is to read a plain path.
    std::error_code error;
    const auto file = std::filesystem::weakly_canonical(library.dli_fname, error);
    return (file.parent_path() / PGM_DATA_DIR_FROM_LIBRARY).lexically_normal();
}

DATA_DIRECTORY find_data_directory() {
    if (!pgm_host::state().common_programmer.empty()) {
        return {pgm_host::state().common_programmer, "set by the host"};
    }
    const char* variable = std::getenv("PGM_COMMON_PROGRAMMER_DIR");
    if (variable != nullptr && *variable != '\0') {
        return {variable, "environment variable PGM_COMMON_PROGRAMMER_DIR"};
    }
    static const std::string beside = directory_beside_library();
    return {beside, "found from where the library lies"};
}

}  // namespace

std::string pgm_host::common_programmer_origin() { return find_data_directory().origin; }

std::string PGM_COMMON::pgm_get_common_programmer() {
    std::string directory = find_data_directory().path + "/";
    change_folder_slash(directory);
    return directory;
}
