// Files and directories that a command is given, and why one can't be read.
#pragma once

#include <string>
#include <vector>

namespace zorva_tool {

// The files of a directory that a load would read, by their paths.
struct listing {
    std::vector<std::string> files;
    std::string failure;  // a sentence that says why the directory can't be listed
};
listing list_directory(const std::string& directory);
// That sentence; empty for a directory that can be listed or isn't there.
std::string why_unlistable(const std::string& directory);

// How standard input is asked for, and what it is called in answers.
inline constexpr const char* standard_input = "-";
inline constexpr const char* input_name = "<stdin>";

// Reads a file. The result is a sentence that says why it can't be read; empty if it was.
std::string read_file(const std::string& file, std::string& bytes);

}  // namespace zorva_tool
