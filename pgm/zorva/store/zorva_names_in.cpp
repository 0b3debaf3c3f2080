#include "pgm/zorva/store/zorva_names_in.h"

#include "services/text.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

// The encoding that an XML declaration at the start names; empty if it names none.
std::string declared_encoding(std::string_view bytes) {
    if (!bytes.starts_with("<?xml")) return {};
    std::string_view declaration = bytes.substr(0, bytes.find("?>"));
    const std::size_t key = declaration.find("encoding");
    if (key == declaration.npos) return {};
    declaration.remove_prefix(key);
    const std::size_t begin = declaration.find_first_of("\"'");
    if (begin == declaration.npos) return "?";
    const std::size_t end = declaration.find(declaration[begin], begin + 1);
    return std::string(declaration.substr(begin + 1, end - begin - 1));
}

bool is_plainly_encoded(std::string_view bytes) {
    constexpr std::array<std::string_view, 4> plain = {"", "UTF-8", "US-ASCII", "ASCII"};
    std::string encoding = declared_encoding(bytes);
    return std::ranges::find(plain, stl_toupper(encoding)) != plain.end();
}

// A character reference can hide a name, a comment, CDATA or an instruction can split it, another
// encoding spells it with other bytes, and a parse turns a carriage return into a line feed.
bool may_hide_names(std::string_view bytes) {
    constexpr std::size_t behind_declaration = 1;
    const std::size_t first = bytes.find_first_not_of(" \t\n");
    return first == bytes.npos || bytes[first] != '<' || !is_plainly_encoded(bytes) ||
           bytes.find_first_of(std::string_view("&\0", 2)) != bytes.npos ||
           bytes.find("<!") != bytes.npos || bytes.find("<?", behind_declaration) != bytes.npos;
}

// Takes the value behind each start tag of that name; false if one could read otherwise.
bool add_values(std::string_view bytes, std::string_view tag,
                std::set<std::string, std::less<>>& values) {
    for (std::size_t at = 0; (at = bytes.find(tag, at)) != bytes.npos;) {
        const std::size_t begin = bytes.find('>', at);
        if (begin == bytes.npos) return true;
        at = std::min(bytes.find('<', begin), bytes.size());
        const std::string_view value = bytes.substr(begin + 1, at - begin - 1);
        if (value.find('\r') != value.npos) return false;
        values.emplace(value);
    }
    return true;
}

}  // namespace

std::optional<ZORVA_NAMES> zorva_names_in(std::string_view bytes) {
    if (bytes.starts_with(byte_order_mark)) bytes.remove_prefix(byte_order_mark.size());
    ZORVA_NAMES names;
    if (bytes.empty()) return names;
    if (may_hide_names(bytes) || !add_values(bytes, "<DEVICE_NAME", names.devices) ||
        !add_values(bytes, "<TEMPLATE_NAME", names.templates))
        return {};
    return names;
}
