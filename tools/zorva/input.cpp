#include "tools/zorva/input.h"

#include "pgm/zorva/zorva_mgr.h"
#include "services/file.h"

#include <fmt/format.h>

#include <system_error>

namespace zorva_tool {

listing list_directory(const std::string& directory) {
    const std::string normalised = FIO_PATH(directory + "/").full_directory();
    FIO_FIND find(normalised + ZORVA_MGR::get_file_mask());
    listing listing;
    for (std::string name = find.find_first(); !name.empty(); name = find.find_next())
        listing.files.push_back(normalised + name);
    if (find.error())
        listing.failure = fmt::format("The directory can't be listed: {}.", find.error().message());
    return listing;
}

std::string why_unlistable(const std::string& directory) {
    return list_directory(directory).failure;
}

std::string read_file(const std::string& file, std::string& bytes) {
    if (FIO_FILE_SYSTEM::read(file, bytes)) return {};
    const std::error_code error = FIO_FILE_SYSTEM::error();
    // The disk's word for what is neither a file nor a directory.
    if (error == std::errc::invalid_argument) return "The file can't be read: Not a regular file.";
    return fmt::format("The file can't be read: {}.", error.message());
}

}  // namespace zorva_tool
