#include "tools/zorva/input.h"

#include "services/file.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

namespace zorva_tool {

namespace {

std::string reason(int error) { return std::generic_category().message(error); }

}  // namespace

listing list_directory(const std::string& directory) {
    const std::string normalised = FIO_PATH(directory + "/").full_directory();
    FIO_FIND find(normalised + "pgm_flash_*.xml");
    listing listing;
    for (std::string name = find.find_first(); !name.empty(); name = find.find_next())
        listing.files.push_back(normalised + name);
    // Where no name was found, nothing has happened since that could have changed errno.
    if (find.failed())
        listing.failure = fmt::format("The directory can't be listed: {}.", reason(errno));
    return listing;
}

std::string why_unlistable(const std::string& directory) {
    return list_directory(directory).failure;
}

std::string read_file(const std::string& file, std::string& bytes) {
    errno = 0;
    if (FIO_FILE_SYSTEM::read(file, bytes)) return {};
    // The disk's word for what is neither a file nor a directory.
    if (errno == EINVAL) return "The file can't be read: Not a regular file.";
    return fmt::format("The file can't be read: {}.", reason(errno));
}

}  // namespace zorva_tool
