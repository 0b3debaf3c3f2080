// zorva lint
#include "tools/zorva/commands/lint.h"

#include "tools/zorva/command_line.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/input.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

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

// A file that can be read, and the interface that it is meant for.
struct readable_file {
    std::string path;
    const interface_row* meant_for;
};

// The files of all arguments. One that several arguments lead to, or links, is taken once; two
// names in one directory are both taken, as a load takes them.
class file_list {
  public:
    file_list(lint_result& result, const interface_row* interface)
        : m_result(result), m_interface(interface) {}

    void add_argument(const std::string& argument) {
        std::error_code error;
        if (std::filesystem::is_directory(argument, error))
            add_directory(argument);
        else
            add_file(argument);
        m_met.merge(m_met_now);
    }
    void add_file(const std::string& file) {
        if (!is_new(file)) return;
        std::string bytes;
        const std::string failure = read_file(file, bytes);
        if (failure.empty())
            m_files.push_back(
                {file, m_interface == nullptr ? &interface_for_bytes(bytes) : m_interface});
        else
            add_unreadable(m_result, file, failure);
    }
    const std::vector<readable_file>& files() const { return m_files; }

  private:
    void add_directory(const std::string& directory) {
        const listing listing = list_directory(directory);
        if (!listing.failure.empty())
            add_unreadable(m_result, directory, listing.failure);
        else if (listing.files.empty())
            add_unreadable(m_result, directory,
                           fmt::format("No file in here is named {}.", ZORVA_MGR::get_file_mask()));
        for (const std::string& file : listing.files) add_file(file);
    }
    bool is_new(const std::string& file) {
        struct stat status {};
        if (::stat(file.c_str(), &status) != 0) return m_missing.insert(file).second;
        const identity id{status.st_dev, status.st_ino};
        m_met_now.insert(id);
        return !m_met.contains(id);
    }

    using identity = std::pair<dev_t, ino_t>;

    lint_result& m_result;
    const interface_row* m_interface;  // null: that of each file
    std::vector<readable_file> m_files;
    std::set<identity> m_met;      // by the arguments before this one
    std::set<identity> m_met_now;  // by this one
    std::set<std::string> m_missing;
};

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

// Each file by the interface that it is meant for.
void judge(lint_result& result, const std::vector<readable_file>& files) {
    for (const interface_row* row : selected_interfaces("all")) {
        std::vector<std::string> own;
        for (const readable_file& file : files)
            if (file.meant_for == row) own.push_back(file.path);
        for (const ZORVA_FILE_REPORT& file : row->judge_files(own)) add_file(result, file);
    }
}

// The interface that was asked for; null for all.
const interface_row* asked_interface(const context& context) {
    const auto interfaces = selected_interfaces(context.options().interface);
    return interfaces.size() == 1 ? interfaces[0] : nullptr;
}

int exit_code_of(const lint_result& result) {
    if (result.has_unreadable) return exit_file;
    return result.findings.empty() ? exit_done : exit_no;
}

const interface_row& interface_of_document(const context& context, const std::string& bytes) {
    const interface_row* asked = asked_interface(context);
    return asked == nullptr ? interface_for_bytes(bytes) : *asked;
}

int lint(context& context, const std::vector<std::string>& arguments) {
    lint_result result;
    file_list files(result, asked_interface(context));
    bool takes_input = false;
    for (const std::string& argument : arguments) {
        if (argument == standard_input)
            takes_input = true;
        else
            files.add_argument(argument);
    }
    judge(result, files.files());
    if (takes_input) {
        const std::string bytes = context.out().input();
        add_file(result, interface_of_document(context, bytes).judge_bytes(bytes, input_name));
    }
    print(context.out(), result);
    return exit_code_of(result);
}

}  // namespace

int judge_document(context& context, const std::string& bytes, const std::string& name) {
    lint_result result;
    add_file(result, interface_of_document(context, bytes).judge_bytes(bytes, name));
    if (!result.findings.empty()) print(context.out(), result);
    return exit_code_of(result);
}

int tell_unreadable(context& context, const std::string& name, const std::string& why) {
    lint_result result;
    add_unreadable(result, name, why);
    print(context.out(), result);
    return exit_code_of(result);
}

void add_lint(command_line& line) {
    const auto arguments = std::make_shared<std::vector<std::string>>();
    CLI::App* command = line.add(
        line.app(), "lint", "Judge files by themselves, whether or not the database can be loaded",
        "  zorva lint pgm_flash_MY_QUAD_FLASH.xml\n"
        "  zorva lint ~/.local/share/zorva          all pgm_flash_*.xml of a directory\n"
        "  make_definition | zorva lint -           standard input\n\n"
        "Each finding is a line FILE:LINE: error[ID]: SENTENCE. The ID is that of\n"
        "'zorva messages', 'schema' where the form of the file is wrong, or 'file' where\n"
        "it can't be read.",
        [arguments](context& context) { return lint(context, *arguments); });
    // A word in square brackets would be taken apart as a list where any number of words may
    // follow; where a great many are wanted it is a word.
    constexpr int many = CLI::detail::expected_max_vector_size;
    command->add_option("FILE", *arguments, "Files and directories; - is standard input")
        ->required()
        ->expected(many, many)
        ->allow_extra_args(false)
        ->take_all()
        ->type_name("");
}

}  // namespace zorva_tool
