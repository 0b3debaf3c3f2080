// The command-line tool as a process.
#include "bench/bench.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// The programs that are built beside this one.
std::string beside(const char* program) {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / program;
}

// The processor time in seconds of a program that is run to its end.
double seconds_of(std::vector<std::string> command) {
    std::vector<char*> arguments;
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error =
        posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    struct rusage usage {};
    if (error != 0 || ::wait4(child, &status, 0, &usage) != child || status != 0)
        throw std::runtime_error(command[0] + " failed");
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace

void add_tool_ratios() {
    const std::string file = data_directory() + "xml/pgm_flash_db_qspi.xml";
    add_ratio_of_amounts(
        "zorva list / a program that parses the shipped file", 3,
        [] {
            return seconds_of({beside("zorva"), "list"});
        },
        [=] {
            return seconds_of({beside("zorva_parse_only"), file});
        });
}
