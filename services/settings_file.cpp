#include "services/settings_file.h"

#include <algorithm>

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool is_control(unsigned char c) { return c < ' ' && c != '\t' && c != '\r' && c != '\n'; }

}  // namespace

SETTINGS_FILE::SETTINGS_FILE(std::string_view bytes) {
    std::string section;
    while (!bytes.empty()) {
        const std::size_t length = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
        m_lines.push_back(read_line(bytes.substr(0, length), section));
        section = m_lines.back().section;
        bytes.remove_prefix(length);
    }
}

// What stands below a heading that can't be read stands in no section.
SETTINGS_FILE::LINE SETTINGS_FILE::read_line(std::string_view text, const std::string& section) {
    std::string_view content = trimmed(text);
    if (content.starts_with(byte_order_mark)) content.remove_prefix(byte_order_mark.size());
    LINE line{std::string(text), KIND::BAD, section, {}, {}};
    const std::size_t equals = content.find('=');
    if (std::ranges::any_of(text, is_control)) return line;
    if (content.empty() || content[0] == ';' || content[0] == '#') {
        line.kind = KIND::PASSED_OVER;
    } else if (content[0] == '[') {
        const std::size_t end = content.find(']');
        if (end != std::string_view::npos) line.kind = KIND::HEADING;
        line.section = line.kind == KIND::BAD ? "" : trimmed(content.substr(1, end - 1));
    } else if (equals != 0 && equals != std::string_view::npos) {
        line.kind = KIND::ENTRY;
        line.key = trimmed(content.substr(0, equals));
        line.value = trimmed(content.substr(equals + 1));
    }
    return line;
}

std::optional<std::string> SETTINGS_FILE::value(std::string_view section,
                                                std::string_view key) const {
    const auto found = std::find_if(m_lines.rbegin(), m_lines.rend(),
                                    [&](const LINE& line) { return line.is_entry(section, key); });
    return found == m_lines.rend() ? std::nullopt : std::optional(found->value);
}

void SETTINGS_FILE::set(const std::string& section, const std::string& key,
                        const std::string& value) {
    const std::string end = line_end();
    const LINE entry{key + " = " + value + end, KIND::ENTRY, section, key, value};
    const auto old = std::find_if(m_lines.rbegin(), m_lines.rend(),
                                  [&](const LINE& line) { return line.is_entry(section, key); });
    if (old != m_lines.rend()) {
        *old = entry;
        return;
    }
    if (!m_lines.empty() && !m_lines.back().text.ends_with('\n')) m_lines.back().text += end;
    const auto in_section = [&](const LINE& line) {
        return line.section == section && (line.kind == KIND::ENTRY || line.kind == KIND::HEADING);
    };
    if (std::ranges::none_of(m_lines, in_section))
        m_lines.push_back({"[" + section + "]" + end, KIND::HEADING, section, {}, {}});
    // Comments at the end stay there.
    const auto last = std::find_if(m_lines.rbegin(), m_lines.rend(), in_section);
    m_lines.insert(last.base(), entry);
}

void SETTINGS_FILE::erase(std::string_view section, std::string_view key) {
    std::erase_if(m_lines, [&](const LINE& line) { return line.is_entry(section, key); });
}

std::string SETTINGS_FILE::bytes() const {
    std::string bytes;
    for (const LINE& line : m_lines) bytes += line.text;
    return bytes;
}

std::string SETTINGS_FILE::line_end() const {
    return !m_lines.empty() && m_lines.front().text.ends_with("\r\n") ? "\r\n" : "\n";
}
