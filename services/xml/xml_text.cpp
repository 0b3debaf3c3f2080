#include "services/xml/xml_text.h"

#include <algorithm>

namespace {

constexpr std::size_t longest_reason = 500;

// The last place up to `place` that isn't in the middle of a character.
std::size_t last_cut(std::string_view text, std::size_t place) {
    while (place > 0 && (static_cast<unsigned char>(text[place]) & 0xC0) == 0x80) --place;
    return place;
}

}  // namespace

std::string xml_reason(const std::string& file, dword line, std::string_view reason) {
    const bool is_cut = reason.size() > longest_reason;
    std::string text(reason.substr(0, is_cut ? last_cut(reason, longest_reason) : reason.size()));
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    if (is_cut) text += "...";
    return file + ":" + std::to_string(std::max<dword>(line, 1)) + ": " + text;
}
