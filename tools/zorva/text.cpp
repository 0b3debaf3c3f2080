#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <numeric>
#include <utility>

namespace zorva_tool {

namespace {

struct character {
    std::size_t length;  // in bytes; 0 if there is none
    char32_t code;
};

// The character in UTF-8 that `text` begins with, in its one valid spelling.
character first_character(std::string_view text) {
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) return {1, lead};
    const std::size_t length = lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || lead > 0xF4 || text.size() < length) return {};
    char32_t code = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80) return {};
        code = code << 6 | (next & 0x3Fu);
    }
    return code < least[length] ? character{} : character{length, code};
}

bool is_control(char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }

struct unit {
    std::string_view name;
    qword bytes;
};
constexpr unit binary_units[] = {{"GiB", 1 << 30}, {"MiB", 1 << 20}, {"KiB", 1 << 10}};
constexpr unit density_units[] = {{"Mb", (1 << 20) / 8}, {"Gb", (1 << 30) / 8}, {"MB", 1 << 20},
                                  {"GB", 1 << 30},       {"KiB", 1 << 10},      {"MiB", 1 << 20},
                                  {"GiB", 1 << 30}};

// The least number of characters to insert, delete or replace.
std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char letter : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < b.size(); ++i) {
            const std::size_t replaced = diagonal + (letter == b[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({replaced, diagonal + 1, row[i] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const character first = first_character(text);
        const std::size_t length = std::max<std::size_t>(first.length, 1);
        if (first.length != 0 && !is_control(first.code)) {
            result += text.substr(0, length);
        } else {
            for (const char byte : text.substr(0, length))
                result += fmt::format("\\x{:02X}", static_cast<unsigned char>(byte));
        }
        text.remove_prefix(length);
    }
    return result;
}

std::size_t width(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

std::string upper_case(std::string_view text) {
    std::string upper(text);
    for (char& letter : upper)
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    return upper;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

std::string shortened(std::string_view text) {
    constexpr std::size_t longest = 60;
    if (text.size() <= longest) return std::string(text);
    // Not in the middle of a character.
    std::size_t end = longest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return std::string(text.substr(0, end)) + "...";
}

std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
    return fmt::format("{}", fmt::join(texts, separator));
}

std::string size_text(qword bytes) {
    for (const unit& unit : binary_units)
        if (bytes >= unit.bytes && bytes % unit.bytes == 0)
            return fmt::format("{} {}", bytes / unit.bytes, unit.name);
    return fmt::format("{} bytes", bytes);
}

std::optional<qword> parse_density(std::string_view text) {
    qword number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return {};
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const auto unit = std::ranges::find(density_units, text, &unit::name);
    if (unit == std::end(density_units)) return {};
    if (number > std::numeric_limits<qword>::max() / unit->bytes) return {};
    return number * unit->bytes;
}

bool is_voltage(std::string_view voltage, std::string_view asked) {
    if (voltage == asked) return true;
    if (!asked.empty() && asked.back() != 'V') return is_voltage(voltage, std::string(asked) + "V");
    return ("/" + std::string(voltage) + "/").find("/" + std::string(asked) + "/") !=
           std::string::npos;
}

std::vector<std::string> nearest(std::string_view name, const std::vector<std::string>& names) {
    constexpr std::size_t most_suggestions = 3;
    constexpr std::size_t shortest_prefix = 3;
    const std::string wanted = upper_case(name);
    const std::size_t farthest = std::max<std::size_t>(2, wanted.size() / 4);
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& candidate : names) {
        const std::string upper = upper_case(candidate);
        const bool begins = wanted.size() >= shortest_prefix && upper.starts_with(wanted);
        const std::size_t edits = edit_distance(wanted, upper);
        const std::size_t distance = begins ? std::min<std::size_t>(edits, 1) : edits;
        if (distance <= farthest && distance < wanted.size())
            near.emplace_back(distance, candidate);
    }
    std::ranges::sort(near);
    std::vector<std::string> result;
    for (auto& [distance, candidate] : near)
        if (result.size() < most_suggestions) result.push_back(std::move(candidate));
    return result;
}

}  // namespace zorva_tool
