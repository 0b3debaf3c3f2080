// zorva lint
#include "tools/zorva/lint.h"

#include "services/file.h"
#include "tools/zorva/command_line.h"
#include "tools/zorva/interface.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>

namespace zorva_tool {

namespace {

// What was found in the files that were asked for.
struct lint_result {
    json findings = json::array();
    std::size_t files = 0;
    std::size_t definitions = 0;
    bool has_unreadable = false;
};

void add_finding(lint_result& result, const std::string& file, dword line, const std::string& tag,
                 const std::string& sentence) {
    result.findings.push_back(
        {{"file", file}, {"line", line}, {"id", tag}, {"sentence", sentence}});
}

void add_unreadable(lint_result& result, const std::string& file, const std::string& sentence) {
    result.has_unreadable = true;
    add_finding(result, file, 0, "file", sentence);
}

// The files that a load would read in a directory.
std::vector<std::string> files_in(const std::string& directory) {
    FIO_PATH path(directory + "/");
    const std::string normalised = path.full_directory();
    FIO_FIND find(normalised + "pgm_flash_*.xml");
    std::vector<std::string> files;
    for (std::string name = find.find_first(); !name.empty(); name = find.find_next())
        files.push_back(normalised + name);
    return files;
}

// The files of all arguments, each once.
std::vector<std::string> expanded(const std::vector<std::string>& arguments, lint_result& result) {
    std::vector<std::string> files;
    const auto add = [&](const std::string& file) {
        if (std::ranges::find(files, file) == files.end()) files.push_back(file);
    };
    for (const std::string& argument : arguments) {
        std::error_code error;
        std::string bytes;
        if (std::filesystem::is_directory(argument, error)) {
            const std::vector<std::string> found = files_in(argument);
            if (found.empty())
                add_unreadable(result, argument, "No file in here is named pgm_flash_*.xml.");
            std::ranges::for_each(found, add);
        } else if (FIO_FILE_SYSTEM::read(argument, bytes)) {
            add(argument);
        } else {
            add_unreadable(result, argument, "This file can't be read.");
        }
    }
    return files;
}

void add_file(lint_result& result, const ZORVA_FILE_REPORT& file) {
    ++result.files;
    result.definitions += file.definitions.size();
    for (const ZORVA_FINDING& finding : file.findings) {
        // A finding without a place in the file is about something else that is missing.
        if (finding.line == 0)
            add_unreadable(result, file.path, finding.sentence);
        else
            add_finding(result, file.path, finding.line, "schema", finding.sentence);
    }
    for (const ZORVA_DEFINITION& definition : file.definitions)
        for (const ZORVA_FINDING& finding : definition.findings)
            add_finding(result, file.path, finding.line, fmt::format("{}", finding.id),
                        finding.sentence);
}

// "FILE:LINE: error[ID]: SENTENCE", the form that editors know.
std::string finding_line(const json& finding) {
    const dword line = finding["line"];
    return fmt::format(
        "{}: error[{}]: {}",
        finding["file"].get<std::string>() + (line == 0 ? "" : fmt::format(":{}", line)),
        finding["id"].get<std::string>(), finding["sentence"].get<std::string>());
}

void print(output& out, const lint_result& result) {
    const char* status = result.findings.empty() ? "ok" : "findings";
    if (out.is_json())
        return out.document(status, {{"files", result.files},
                                     {"definitions", result.definitions},
                                     {"findings", result.findings}});
    for (const json& finding : result.findings) out.line(printable(finding_line(finding)));
    out.note(fmt::format("Files judged: {}; definitions: {}; findings: {}.", result.files,
                         result.definitions, result.findings.size()));
}

// Each file by the interface that it is meant for, unless one was asked for.
void judge(lint_result& result, const std::vector<std::string>& files,
           const std::string& interface_name) {
    const auto interfaces = selected_interfaces(interface_name);
    for (const interface_row* row : interfaces) {
        std::vector<std::string> own = files;
        if (interfaces.size() > 1)
            std::erase_if(own, [&](const auto& file) { return &interface_for(file) != row; });
        for (const ZORVA_FILE_REPORT& file : row->judge_files(own)) add_file(result, file);
    }
}

lint_result judged(context& context, const std::vector<std::string>& arguments) {
    lint_result result;
    judge(result, expanded(arguments, result), context.options().interface);
    return result;
}

int exit_code_of(const lint_result& result) {
    if (result.has_unreadable) return exit_file;
    return result.findings.empty() ? exit_done : exit_no;
}

int lint(context& context, const std::vector<std::string>& arguments) {
    const lint_result result = judged(context, arguments);
    print(context.out(), result);
    return exit_code_of(result);
}

}  // namespace

int judge_file(context& context, const std::string& file) {
    const lint_result result = judged(context, {file});
    if (!result.findings.empty()) print(context.out(), result);
    return exit_code_of(result);
}

void add_lint(command_line& line) {
    const auto arguments = std::make_shared<std::vector<std::string>>();
    CLI::App* command = line.add(
        line.app(), "lint", "Judge files by themselves, whether or not the database can be loaded",
        "  zorva lint pgm_flash_MY_QUAD_FLASH.xml\n"
        "  zorva lint ~/.local/share/zorva          all pgm_flash_*.xml of a directory\n\n"
        "Each finding is a line FILE:LINE: error[ID]: SENTENCE. The ID is that of\n"
        "'zorva messages', 'schema' where the form of the file is wrong, or 'file' where\n"
        "it can't be read.",
        [arguments](context& context) { return lint(context, *arguments); });
    command->add_option("FILE", *arguments, "Files and directories")->required()->type_name("");
}

}  // namespace zorva_tool
