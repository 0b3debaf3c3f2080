// What the tests of the tool share: a run of the tool over an installation of the test's own.
#pragma once

#include "pgm/zorva/zorva_helper.h"
#include "tests/test_support.h"
#include "tools/zorva/app.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

struct tool_answer {
    int code;
    std::string out;
    std::string err;

    // What stands on standard output as a document; a text that isn't one fails the test.
    nlohmann::json document() const {
        auto parsed = nlohmann::json::parse(out, nullptr, false);
        EXPECT_FALSE(parsed.is_discarded()) << out;
        return parsed;
    }
};

// The environment names a custom directory; settings and defaults lie in the test's own directory.
class ToolTest : public InstallationTest {
  protected:
    ToolTest() {
        ZORVA_HELPER::get_helper()->clear();  // what another test may have left
        ::setenv("ZORVA_CUSTOM_DIR", m_custom_dir.c_str(), 1);
        ::unsetenv("NO_COLOR");
    }
    ~ToolTest() override { ::unsetenv("ZORVA_CUSTOM_DIR"); }

    // `arguments` stand between blanks, so none of them may hold one.
    static tool_answer zorva(const std::string& arguments, bool on_terminal = false) {
        std::istringstream words(arguments);
        std::vector<std::string> list;
        for (std::string word; words >> word;) list.push_back(word);
        return zorva(list, on_terminal);
    }
    static tool_answer zorva(const std::vector<std::string>& arguments, bool on_terminal = false,
                             const std::string& input = "") {
        std::istringstream in(input);
        std::ostringstream out;
        std::ostringstream err;
        const int code = zorva_tool::run(
            arguments, {out, err, on_terminal, on_terminal, on_terminal ? &in : nullptr, &in});
        return {code, out.str(), err.str()};
    }
};

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
