// Replays the sessions in tests/transcripts, each in an installation of its own, and compares all
// that the tool writes. ZORVA_UPDATE_TRANSCRIPTS=1 writes them anew, to be reviewed as a change.
//
//   $ zorva list        a command; what stands behind ' | ' is for the shell
//   $ tty zorva new     the same on a terminal
//   $ export A=B        sets an environment variable; 'unset A' removes it
//   $ disk full         nothing can be written from now on; 'disk denied PATH': that file or
//                       directory can't be read; 'disk good': neither any more
//   $ cat FILE          anything else is for the shell
//   < TEXT              a line of the command's input
//   | TEXT, ! TEXT      a line of standard output, of standard error
//   = 1                 the exit code, unless it is 0
//
// $DIR is the session's directory, $SOURCE that of the sources. ␛ stands for an escape character,
// and ␄ for the end of a text that ends within a line.
#include "pgm/zorva/zorva_helper.h"
#include "tests/test_support.h"
#include "tools/zorva/app.h"

#include <sys/wait.h>
#include <wordexp.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

using words = std::vector<std::string>;

struct answer {
    int code = 0;
    std::string out;
    std::string err;
};

struct faulty_disk : pgm_host::file_system {
    bool is_full = false;
    std::string denied;

    bool fails(bool failure, std::errc why) {
        if (failure) error = std::make_error_code(why);
        return failure;
    }
    bool read(const std::string& path, std::string& bytes) override {
        return !fails(path == denied, std::errc::permission_denied) &&
               file_system::read(path, bytes);
    }
    words list(const std::string& directory) override {
        return fails(directory == denied, std::errc::permission_denied)
                   ? words()
                   : file_system::list(directory);
    }
    bool write(const std::string& path, std::string_view bytes) override {
        return !fails(is_full, std::errc::no_space_on_device) && file_system::write(path, bytes);
    }
};

std::string with(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

words split_words(const std::string& command) {
    wordexp_t split{};
    if (::wordexp(command.c_str(), &split, WRDE_UNDEF) != 0)
        throw std::logic_error("no shell takes " + command);
    words result(split.we_wordv, split.we_wordv + split.we_wordc);
    ::wordfree(&split);
    return result;
}

answer run_shell(const std::string& command, const std::string& input) {
    const std::string script = "{ " + command + "\n} 2>&1 <<'INPUT'\n" + input + "INPUT\n";
    std::FILE* pipe = ::popen(script.c_str(), "r");
    answer answer;
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe))
        answer.out += static_cast<char>(byte);
    answer.code = WEXITSTATUS(::pclose(pipe));
    return answer;
}

answer run_tool(const words& arguments, const std::string& input, bool on_terminal) {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    const int code = zorva_tool::run(
        arguments, {out, err, on_terminal, on_terminal, on_terminal ? &in : nullptr, &in});
    return {code, out.str(), err.str()};
}

// The lines of a text behind a mark.
std::string marked(const std::string& mark, const std::string& text) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        result += mark + (line.empty() ? "" : " ") + with(line, "\x1B", "␛") +
                  (lines.eof() ? "␄\n" : "\n");
    return result;
}

class TranscriptTest : public InstallationTest, public testing::WithParamInterface<std::string> {
  protected:
    TranscriptTest() {
        fs::current_path(m_root);
        pgm_host::set_file_system(&m_disk);
        ZORVA_HELPER::get_helper()->clear();  // what another test may have left
        for (const std::string& assignment :
             {std::string("LC_ALL=C"), "DIR=" + m_directory,
              std::string("SOURCE=" ZORVA_SOURCE_DIR), "ZORVA_CUSTOM_DIR=" + m_custom_dir})
            set_variable(assignment);
        ::unsetenv("NO_COLOR");
    }
    ~TranscriptTest() override { fs::current_path("/"); }

    // The transcript of the same commands as they answer now.
    std::string replay(const std::string& transcript) {
        std::string replayed;
        std::istringstream lines(transcript);
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with('|') || line.starts_with('!') || line.starts_with('=')) continue;
            replayed += line + '\n';
            if (!line.starts_with("$ ")) continue;
            std::string input;
            for (std::string text; lines.peek() == '<' && std::getline(lines, text);) {
                replayed += text + '\n';
                input += text.substr(text.starts_with("< ") ? 2 : 1) + '\n';
            }
            const answer answer = run(line.substr(2), with(input, "$DIR", m_directory));
            replayed += marked("|", answer.out) + marked("!", answer.err);
            if (answer.code != 0) replayed += "= " + std::to_string(answer.code) + '\n';
        }
        return with(with(replayed, ZORVA_SOURCE_DIR, "$SOURCE"), m_directory, "$DIR");
    }

  private:
    answer run(const std::string& command, const std::string& input) {
        const std::string word = command.substr(0, command.find(' '));
        if (word == "zorva" || word == "tty") return run_tool_and_filter(command, input);
        if (word != "export" && word != "unset" && word != "disk") return run_shell(command, input);
        const words rest = split_words(command);
        if (word == "export") set_variable(rest.at(1));
        if (word == "unset") ::unsetenv(rest.at(1).c_str());
        if (word == "disk") m_disk.is_full = rest.at(1) == "full";
        if (word == "disk") m_disk.denied = rest.size() > 2 ? m_root + rest[2] : "";
        return {};
    }
    static void set_variable(const std::string& assignment) {
        const std::size_t sign = assignment.find('=');
        ::setenv(assignment.substr(0, sign).c_str(), assignment.c_str() + sign + 1, 1);
    }
    answer run_tool_and_filter(const std::string& command, const std::string& input) const {
        const std::size_t end = std::min(command.find(" | "), command.size());
        words arguments = split_words(command.substr(0, end));
        const bool on_terminal = arguments[0] == "tty";
        arguments.erase(arguments.begin(), arguments.begin() + (on_terminal ? 2 : 1));
        pgm_host::set_common_programmer(m_root);  // the command before may have chosen another
        answer answer = run_tool(arguments, input, on_terminal);
        if (end != command.size()) answer.out = run_shell(command.substr(end + 3), answer.out).out;
        return answer;
    }

    const std::string m_directory = m_root.substr(0, m_root.size() - 1);
    faulty_disk m_disk;
};

const std::string transcripts = ZORVA_SOURCE_DIR "/tests/transcripts/";

words transcript_names() {
    words names;
    for (const auto& entry : fs::directory_iterator(transcripts))
        names.push_back(entry.path().stem());
    std::ranges::sort(names);
    return names;
}

TEST_P(TranscriptTest, IsWhatTheToolSays) {
    const std::string path = transcripts + GetParam() + ".txt";
    std::ifstream file(path);
    const std::string expected(std::istreambuf_iterator<char>(file), {});
    const std::string replayed = replay(expected);
    if (std::getenv("ZORVA_UPDATE_TRANSCRIPTS") != nullptr)
        write_file(path, replayed);
    else
        EXPECT_EQ(replayed, expected);
}

INSTANTIATE_TEST_SUITE_P(All, TranscriptTest, testing::ValuesIn(transcript_names()),
                         [](const auto& transcript) { return transcript.param; });

}  // namespace
