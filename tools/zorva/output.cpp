#include "tools/zorva/output.h"

#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <istream>
#include <iterator>
#include <ostream>
#include <string>
#include <utility>

namespace zorva_tool {

namespace {

constexpr int schema_major = 1;
constexpr int schema_minor = 0;
constexpr const char* bold = "1";
constexpr const char* yellow = "33";
constexpr const char* red = "31";

// One line of cells, each but the last padded to its column.
std::string aligned_line(const std::vector<std::string>& cells,
                         const std::vector<std::size_t>& widths) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        line += cells[i];
        if (i + 1 < cells.size()) line.append(widths[i] - width(cells[i]) + 2, ' ');
    }
    return line;
}

std::vector<std::size_t> column_widths(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width(row[i]));
    }
    return widths;
}

}  // namespace

std::string cell_text(const json& value) {
    if (value.is_null()) return "-";
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    if (value.is_number()) return value.dump();
    if (value.is_string()) {
        const std::string text = printable(value.get_ref<const std::string&>());
        return text.empty() ? "-" : text;
    }
    std::vector<std::string> texts;
    for (const json& item : value) texts.push_back(cell_text(item));
    return texts.empty() ? "-" : joined(texts);
}

std::string suggestion_text(const std::vector<std::string>& names) {
    return names.empty() ? "" : fmt::format(" Did you mean '{}'?", joined(names, "' or '"));
}

output::output(const streams& streams, std::string format, std::string command)
    : m_streams(streams), m_format(std::move(format)), m_command(std::move(command)) {}

void output::document(const std::string& status, const json& members) {
    json whole = {
        {"schema",
         {{"name", "zorva." + m_command}, {"major", schema_major}, {"minor", schema_minor}}},
        {"status", status}};
    whole.update(members);
    // Escapes all but ASCII: the control characters beyond it mustn't reach a terminal either.
    constexpr bool ascii_only = true;
    m_streams.out << whole.dump(2, ' ', ascii_only, json::error_handler_t::replace) << '\n';
}

void output::list(const std::string& status, const std::string& key,
                  std::span<const column> columns, const json& rows) {
    if (is_json()) return document(status, {{key, rows}});
    if (is_names()) return names(columns[0].key, rows);
    table(columns, rows);
}

void output::names(const std::string& key, const json& rows) {
    for (const json& row : rows) line(cell_text(row.at(key)));
}

void output::table(std::span<const column> columns, const json& rows) {
    std::vector<std::vector<std::string>> lines;
    if (m_streams.out_is_terminal && !rows.empty())
        for (auto& cells = lines.emplace_back(); const column& column : columns)
            cells.emplace_back(column.header);
    for (const json& row : rows)
        for (auto& cells = lines.emplace_back(); const column& column : columns)
            cells.push_back(cell_text(row.at(column.key)));
    this->rows(lines);
}

void output::rows(const std::vector<std::vector<std::string>>& rows, int indent) {
    const std::vector<std::size_t> widths = column_widths(rows);
    for (const auto& cells : rows) {
        const std::string text =
            m_streams.out_is_terminal ? aligned_line(cells, widths) : joined(cells, "\t");
        line(std::string(static_cast<std::size_t>(indent), ' ') + text);
    }
}

void output::heading(const std::string& text, int indent) {
    line(std::string(static_cast<std::size_t>(indent), ' ') +
         styled(text, bold, m_streams.out_is_terminal));
}

void output::line(const std::string& text) { m_streams.out << text << '\n'; }

void output::bytes(const std::string& bytes) { m_streams.out << bytes; }

std::optional<std::string> output::ask(const std::string& question) {
    m_streams.err << printable(question) << std::flush;
    std::string answer;
    if (std::getline(*m_streams.in, answer)) return std::string(trimmed(answer));
    m_streams.err << '\n';  // what comes next isn't to stand behind the question
    return {};
}

std::string output::input() const {
    if (m_streams.bytes == nullptr) return {};
    return {std::istreambuf_iterator<char>(*m_streams.bytes), {}};
}

void output::note(const std::string& text) { m_streams.err << printable(text) << '\n'; }

void output::warning(const std::string& tag, const std::string& text) {
    const char* style = tag.starts_with("error") ? red : yellow;
    m_streams.err << styled(tag + ":", style, m_streams.err_is_terminal) << ' ' << printable(text)
                  << '\n';
}

void output::failed(const failure& failure, const json& members) {
    std::string text = failure.what() + suggestion_text(failure.suggestions);
    if (!failure.searched.empty()) text += fmt::format(" Searched: {}.", joined(failure.searched));
    warning("error", text);
    if (!is_json()) return;
    json whole = {{"message", failure.what()}, {"suggestions", failure.suggestions}};
    if (failure.message_id != 0) whole["id"] = failure.message_id;
    if (!failure.searched.empty()) whole["searched"] = failure.searched;
    whole.update(members);
    document(failure.status(), whole);
}

std::string output::styled(const std::string& text, const char* style, bool is_terminal) const {
    const char* no_color = std::getenv("NO_COLOR");
    const bool plain = !is_terminal || (no_color != nullptr && *no_color != '\0');
    return plain ? text : fmt::format("\x1B[{}m{}\x1B[0m", style, text);
}

}  // namespace zorva_tool
