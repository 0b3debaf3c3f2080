#include "tools/zorva/app.h"

#include "services/host.h"
#include "tools/zorva/command_line.h"
#include "tools/zorva/database/directories.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>
#include <string_view>

namespace zorva_tool {

namespace {

// A setting that doesn't count may be why a command doesn't do what its user expects.
void tell_settings_faults(output& out) {
    for (const pgm_host::settings_fault& fault : pgm_host::settings_faults())
        out.warning("warning[settings]",
                    fault.line == 0
                        ? fmt::format("{}: {}", fault.file, fault.sentence)
                        : fmt::format("{}:{}: {}", fault.file, fault.line, fault.sentence));
}

// Connects the library's services to the output while a command runs.
class host_setup {
  public:
    host_setup(const global_options& options, output& out) {
        if (!options.programmer_dir.empty())
            pgm_host::set_common_programmer(absolute_directory(options.programmer_dir));
        pgm_host::set_message_sink([&out](const pgm_host::message& message) {
            const char* grade = message.type == MSG_POST_ERROR ? "error" : "warning";
            out.warning(fmt::format("{}[{}]", grade, message.id), message.text);
        });
        pgm_host::set_internal_error_handler(
            [](const char* text, const char*, const char* file, int line) {
                throw internal_error{fmt::format("{} ({}:{})", text, file, line)};
            });
        if (options.verbose)
            pgm_host::set_trace_sink(
                [&out](const char*, int, const std::string& text) { out.note("trace: " + text); });
    }
    ~host_setup() {
        pgm_host::set_message_sink({});
        pgm_host::set_internal_error_handler({});
        pgm_host::set_trace_sink({});
    }
    host_setup(const host_setup&) = delete;
    host_setup& operator=(const host_setup&) = delete;
};

// A wrong command line may not have got as far as its --format. The last one counts.
std::string format_asked_for(const std::vector<std::string>& arguments) {
    constexpr std::string_view option = "--format";
    std::string format = "table";
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i].starts_with("--format="))
            format = arguments[i].substr(option.size() + 1);
        else if (arguments[i] == option && i + 1 < arguments.size())
            format = arguments[i + 1];
    }
    return format;
}

failure wrong_command_line(const CLI::ParseError& error, CLI::App& app) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const std::vector<std::string> rest = app.remaining();
    if (chosen.empty() && !rest.empty() && !rest[0].starts_with('-')) {
        std::vector<std::string> names;
        for (const CLI::App* command : app.get_subcommands({}))
            names.push_back(command->get_name());
        return {exit_command_line, fmt::format("There is no command '{}'.", rest[0]),
                nearest(rest[0], names)};
    }
    if (chosen.empty() && rest.empty() && error.get_name() == "RequiredError")
        return {exit_command_line, "A command is missing; 'zorva --help' lists them."};
    return {exit_command_line, fmt::format("{}. 'zorva {}--help' tells more.", error.what(),
                                           chosen.empty() ? "" : chosen[0]->get_name() + " ")};
}

int end_with(const failure& failure, output& out) {
    out.failed(failure);
    return failure.code;
}

int run_command(command_line& line, output& out) {
    const host_setup setup(line.options(), out);
    tell_settings_faults(out);
    context context(line.options(), out);
    try {
        return line.chosen()(context);
    } catch (const failure& failure) {
        return end_with(failure, out);
    } catch (const internal_error& error) {
        return end_with({exit_file,
                         "The library found itself in a state that it doesn't "
                         "provide for: " +
                             error.text},
                        out);
    } catch (const std::exception& error) {
        return end_with({exit_file, fmt::format("The command broke off: {}", error.what())}, out);
    }
}

int parse_and_run(const std::vector<std::string>& arguments, const streams& streams) {
    command_line line;
    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        line.app().parse(reversed);
    } catch (const CLI::Success& help_or_version) {
        return line.app().exit(help_or_version, streams.out, streams.err);
    } catch (const CLI::ParseError& error) {
        output out(streams, format_asked_for(arguments), "command-line");
        return end_with(wrong_command_line(error, line.app()), out);
    }
    output out(streams, line.options().format, line.chosen_name());
    return run_command(line, out);
}

}  // namespace

int run(const std::vector<std::string>& arguments, const streams& streams) {
    const int code = parse_and_run(arguments, streams);
    if (streams.out.flush()) return code;
    streams.err << "error: The answer can't be written to standard output.\n";
    return exit_file;
}

}  // namespace zorva_tool
