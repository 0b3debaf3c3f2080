// What a command writes: the answer on standard output, messages on standard error.
#pragma once

#include "tools/zorva/failure.h"

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zorva_tool {

using json = nlohmann::ordered_json;

struct streams {
    std::ostream& out;
    std::ostream& err;
    bool out_is_terminal;
    bool err_is_terminal;
    std::istream* in = nullptr;     // where a person answers; null if there is nobody to ask
    std::istream* bytes = nullptr;  // standard input as it is; null if there is none
};

// One column of a table: which member of a row's object it shows.
struct column {
    const char* key;
    const char* header;
};

class output {
  public:
    // `format` is "table", "names" or "json"; `command` names the schema of the JSON document.
    output(const streams& streams, std::string format, std::string command);

    bool is_json() const { return m_format == "json"; }
    bool is_names() const { return m_format == "names"; }

    // The whole answer in JSON: the schema, the status, then the members.
    void document(const std::string& status, const json& members);
    // The whole answer of a command that lists things: a document with the member `key`, or a
    // table, or the first column alone.
    void list(const std::string& status, const std::string& key, std::span<const column> columns,
              const json& rows);

    // Rows of objects: aligned under a header on a terminal, else separated by tabs.
    void table(std::span<const column> columns, const json& rows);
    void names(const std::string& key, const json& rows);
    // Rows of cells without a header.
    void rows(const std::vector<std::vector<std::string>>& rows, int indent = 0);
    void heading(const std::string& text, int indent = 0);
    void line(const std::string& text);
    void bytes(const std::string& bytes);  // as they are

    bool can_ask() const { return m_streams.in != nullptr; }
    // The answer to a question on standard error, without the blanks around it; nothing at the end
    // of the input.
    std::optional<std::string> ask(const std::string& question);
    // All of standard input.
    std::string input() const;

    void note(const std::string& text);
    // `tag` as in "warning[20478]".
    void warning(const std::string& tag, const std::string& text);
    // The sentence of a failure, and in JSON the document that stands for the answer, with what
    // could be told all the same.
    void failed(const failure& failure, const json& members = json::object());

  private:
    std::string styled(const std::string& text, const char* style, bool is_terminal) const;

    streams m_streams;
    std::string m_format;
    std::string m_command;
};

// " Did you mean 'A' or 'B'?"; empty without names.
std::string suggestion_text(const std::vector<std::string>& names);

// The text of a value in a cell: "-" for nothing, "yes" and "no", an array joined by commas.
std::string cell_text(const json& value);

}  // namespace zorva_tool
