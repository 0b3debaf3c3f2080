#include "services/xml_text.h"

#include <algorithm>

namespace {

constexpr std::size_t longest_reason = 500;

}  // namespace

std::string xml_reason(const std::string& file, dword line, std::string_view reason) {
    std::string text(reason.substr(0, longest_reason));
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    if (reason.size() > longest_reason) {
        // Not in the middle of a character.
        while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0x80) != 0) {
            text.pop_back();
        }
        text += "...";
    }
    return file + ":" + std::to_string(std::max<dword>(line, 1)) + ": " + text;
}
