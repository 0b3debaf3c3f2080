// How a command ends: exit codes, and the exception that ends one early.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zorva_tool {

enum exit_code : int {
    exit_done = 0,          // yes, or done
    exit_no = 1,            // the answer is no: not found, several candidates, findings
    exit_command_line = 2,  // wrong command line
    exit_file = 3,          // a file or directory can't be read or written
    exit_protected = 4,     // what would have to be changed is protected
};

// Ends a command with one sentence for the user.
struct failure : std::runtime_error {
    failure(exit_code exit, const std::string& sentence, std::vector<std::string> near_names = {})
        : std::runtime_error(sentence), code(exit), suggestions(std::move(near_names)) {}

    virtual const char* status() const {
        return code == exit_no ? "not-found" : code == exit_protected ? "protected" : "error";
    }

    exit_code code;
    unsigned message_id = 0;               // of the library's message that says the same; 0: none
    std::vector<std::string> suggestions;  // names that the user may have meant
    std::vector<std::string> searched;     // directories in which a name was looked for
};

// A value or a change that the database doesn't take.
struct refusal : failure {
    explicit refusal(const std::string& sentence, unsigned id = 0) : failure(exit_no, sentence) {
        message_id = id;
    }

    const char* status() const override { return "refused"; }
};

// What the library's internal-error handler throws.
struct internal_error {
    std::string text;
};

}  // namespace zorva_tool
