// What no transcript can say of the tool: output that can't be written, several at work at once,
// and pages that tell of it.
#include "pgm/zorva/zorva_helper.h"
#include "services/pgm_common.h"
#include "tests/store_support.h"
#include "tools/zorva/app.h"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <thread>

namespace {

using words = std::vector<std::string>;

struct tool_answer {
    int code;
    std::string out;
    std::string err;
};

tool_answer zorva(const words& arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = zorva_tool::run(arguments, {out, err, false, false});
    return {code, out.str(), err.str()};
}

class ToolTest : public InstallationTest {
  protected:
    ToolTest() {
        ZORVA_HELPER::get_helper()->clear();  // what another test may have left
        ::setenv("ZORVA_CUSTOM_DIR", m_custom_dir.c_str(), 1);
    }
    ~ToolTest() override { ::unsetenv("ZORVA_CUSTOM_DIR"); }
};

TEST_F(ToolTest, SaysThatAnAnswerCannotBeWritten) {
    std::ofstream full("/dev/full");
    std::ostringstream err;
    EXPECT_EQ(zorva_tool::run({"families"}, {full, err, false, false}), 3);
    EXPECT_EQ(err.str(), "error: The answer can't be written to standard output.\n");
}

// A limit of the process stands for a full disk.
TEST_F(ToolTest, LeavesNoPartOfAnExport) {
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto old_handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{100, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const std::string file = m_root + "out.xml";
    const tool_answer answer = zorva({"export", "SHIP_A", "-o", file});
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, old_handler);
    EXPECT_EQ(answer.code, 3);
    EXPECT_EQ(answer.err, "error: " + file + " can't be written.\n");
    EXPECT_FALSE(std::filesystem::exists(file));
}

// Each process takes the whole command line's way, from the load on.
TEST_F(ToolTest, SeveralAtOnceLoseNothing) {
    // All have loaded before the first of them stores.
    struct : pgm_host::file_system {
        std::unique_ptr<pgm_host::directory_lock> lock(const std::string& directory,
                                                       pgm_host::lock_kind kind,
                                                       std::chrono::milliseconds wait) override {
            constexpr std::chrono::milliseconds others_load{100};
            if (kind == pgm_host::lock_kind::exclusive) std::this_thread::sleep_for(others_load);
            return file_system::lock(directory, kind, wait);
        }
    } slow;
    pgm_host::set_file_system(&slow);
    std::vector<std::function<int()>> makers(8, [] {
        const tool_answer answer = zorva({"copy", "SHIP_A", "SAME"});
        return answer.err.empty() || answer.err.find("already exist") != std::string::npos
                   ? answer.code
                   : 9;
    });
    std::vector<int> codes = all_at_once(makers);
    std::ranges::sort(codes);
    EXPECT_EQ(codes, (std::vector<int>{0, 1, 1, 1, 1, 1, 1, 1}));

    std::vector<std::function<int()>> setters;
    for (const char* assignment :
         {"dies=5", "dummy=1", "dummy-x4=2", "density=1Mb", "voltage=3.3V"})
        setters.emplace_back([=] { return zorva({"set", "SAME", assignment}).code; });
    EXPECT_EQ(all_at_once(setters), std::vector<int>(setters.size()));
    pgm_host::set_file_system(nullptr);
    std::string values;
    for (const char* field : {"dies", "dummy", "dummy-x4", "density", "voltage"})
        values += zorva({"show", "SAME", "--field", field}).out;
    EXPECT_EQ(values, "5\n1\n2\n1Mb\n3.0V/3.3V\n");
}

// A label that the table doesn't have would drop its property from every answer in silence.
TEST(ToolTextTest, FindsTheRootOfADocument) {
    const std::pair<std::string, const char*> rows[] = {
        {"<A/>", "A"},
        {"<?xml version=\"1.0\"?><!-- <B> --><?p <C?>\n<A b='<'>", ""},
        {"<!-- <B> -->\n<A b='1'><C>", "A"},  // what follows doesn't matter
        {"\xEF\xBB\xBF<A>", "A"},
        {std::string("\xFE\xFF\0<\0A\0>", 8), "A"},
        {"<!DOCTYPE A [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><A>&e;</A>", ""},
        {"A<A/>", ""},
        {"<!-- <A> ", ""},
        {"", ""},
        {std::string(3, '\0'), ""}};
    testing::internal::CaptureStderr();
    for (const auto& [bytes, root] : rows)
        EXPECT_EQ(PGM_COMMON_XML::root_name(bytes), root) << bytes;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

std::string source_file(const std::string& path) {
    std::ifstream file(std::string(ZORVA_SOURCE_DIR "/") + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(ToolTextTest, ThePageOfMessagesTellsOfEachMessage) {
    const std::string text = source_file("docs/messages.md");
    for (const ZORVA_MESSAGE_INFO& message : ZORVA_MGR::get_message_list()) {
        const std::string sentence =
            std::regex_replace(message.text, std::regex("%[12]![sd]!"), "\u2026");
        const std::string row = "\n| " + std::to_string(message.id) + " | " + sentence +
                                (sentence.empty() ? "| " : " | ");
        const std::size_t at = text.find(row);
        ASSERT_NE(at, std::string::npos) << row;
        EXPECT_NE(text[at + row.size()], '\n') << "what to do about " << message.id;
    }
}

// Each example that makes or changes a device or template stands in the transcript that shows what
// comes of it; continued lines are joined, and what a page says behind an example is cut off.
TEST(ToolTextTest, TheExamplesAreReplayed) {
    const std::string transcript = source_file("tests/transcripts/examples.txt");
    const std::regex example("\n +(zorva (copy|set|new|template save) .*?)(?= {4,}[a-z]|\n)");
    for (const std::string& text :
         {source_file("docs/adding-your-device.md"), zorva({"copy", "--help"}).out,
          zorva({"set", "--help"}).out, zorva({"new", "--help"}).out,
          zorva({"template", "save", "--help"}).out}) {
        const std::string joined = std::regex_replace(text, std::regex(" *\\\\\n +"), " ");
        const std::sregex_iterator examples(joined.begin(), joined.end(), example);
        EXPECT_NE(examples, std::sregex_iterator()) << text;
        for (auto each = examples; each != std::sregex_iterator(); ++each)
            EXPECT_NE(transcript.find("$ " + (*each)[1].str() + "\n"), std::string::npos)
                << each->str();
    }
}

}  // namespace
