#include "services/pgm_common.h"

#include <array>

namespace {

// Length of the UTF-8 character at the start of the text; 0 if it isn't one or XML can't hold it.
std::size_t character_length(std::string_view text) {
    struct form {
        unsigned char first, last;  // the lead byte's range
        std::size_t length;
        unsigned char second_first, second_last;  // narrower than a trail byte's for some
    };
    static constexpr form forms[] = {
        {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF}, {0xE1, 0xEC, 3, 0x80, 0xBF},
        {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF}, {0xF0, 0xF0, 4, 0x90, 0xBF},
        {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
    };
    const auto in = [&](std::size_t place, unsigned char first, unsigned char last) {
        const auto byte = static_cast<unsigned char>(text[place]);
        return byte >= first && byte <= last;
    };
    if (in(0, 0x20, 0x7F) || text[0] == '\t' || text[0] == '\n' || text[0] == '\r') return 1;
    for (const form& f : forms) {
        if (!in(0, f.first, f.last)) continue;
        bool good = text.size() >= f.length && in(1, f.second_first, f.second_last);
        for (std::size_t i = 2; good && i < f.length; ++i) good = in(i, 0x80, 0xBF);
        const std::string_view character = text.substr(0, f.length);
        return good && character != "\xEF\xBF\xBE" && character != "\xEF\xBF\xBF" ? f.length : 0;
    }
    return 0;
}

// How a character is written that can't stand as it is; empty for the others. Line ends and tabs
// would not come back out of an attribute, nor a carriage return out of anything.
std::string_view escape(char character) {
    switch (character) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\t':
            return "&#9;";
        case '\n':
            return "&#10;";
        case '\r':
            return "&#13;";
        default:
            return {};
    }
}

using comment_list = std::vector<std::string>;

const comment_list& comments_of(const PGM_COMMON_XML_ELEMENT& element,
                                comment_list PGM_XML_COMMENTS::*place) {
    static const comment_list none;
    const PGM_XML_COMMENTS* comments = element.get_comments();
    return comments != nullptr ? comments->*place : none;
}

class writer {
  public:
    void write_document(const PGM_COMMON_XML_ELEMENT& root);
    std::string take() { return m_good ? std::move(m_bytes) : std::string(); }

  private:
    using comments = comment_list PGM_XML_COMMENTS::*;

    void write(const PGM_COMMON_XML_ELEMENT& element, std::size_t depth);
    void write_children(const PGM_COMMON_XML_ELEMENT& element, std::size_t depth);
    void write_text(std::string_view text);
    void write_comment(std::string_view text);
    void write_comment_lines(const PGM_COMMON_XML_ELEMENT& element, comments place,
                             std::size_t depth);
    void indent(std::size_t depth) { m_bytes.append(2 * depth, ' '); }

    std::string m_bytes = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    bool m_good = true;
};

void writer::write_text(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = character_length(text);
        if (length == 0) {
            m_good = false;
            return;
        }
        const std::string_view escaped = escape(text[0]);
        m_bytes += escaped.empty() ? text.substr(0, length) : escaped;
        text.remove_prefix(length);
    }
}

// A comment takes no escapes: it can't hold its own end, and a carriage return would come back as
// a line end.
void writer::write_comment(std::string_view text) {
    const bool holds_end = text.find("--") != std::string_view::npos || text.ends_with('-');
    if (holds_end || text.find('\r') != std::string_view::npos) m_good = false;
    for (std::string_view rest = text; m_good && !rest.empty();) {
        const std::size_t length = character_length(rest);
        m_good = length != 0;
        rest.remove_prefix(length);
    }
    m_bytes.append("<!--").append(text).append("-->");
}

void writer::write_comment_lines(const PGM_COMMON_XML_ELEMENT& element, comments place,
                                 std::size_t depth) {
    for (const std::string& text : comments_of(element, place)) {
        indent(depth);
        write_comment(text);
        m_bytes += '\n';
    }
}

void writer::write_document(const PGM_COMMON_XML_ELEMENT& root) {
    write(root, 0);
    write_comment_lines(root, &PGM_XML_COMMENTS::behind, 0);
}

void writer::write(const PGM_COMMON_XML_ELEMENT& element, std::size_t depth) {
    const char* tag = pgm_common_xml_name(element.get_type());
    write_comment_lines(element, &PGM_XML_COMMENTS::ahead, depth);
    indent(depth);
    m_bytes.append("<").append(tag);
    for (const PGM_XML_ATTRIBUTE& attribute : element.get_attributes()) {
        m_bytes.append(" ").append(attribute.name).append("=\"");
        write_text(element.read_attribute(attribute.name));
        m_bytes += '"';
    }
    if (element.get_value_type() == PGM_XML_TYPE_NONE) {
        write_children(element, depth);
    } else {
        m_bytes += '>';
        write_text(element.read_value());
        for (const std::string& text : comments_of(element, &PGM_XML_COMMENTS::at_end))
            write_comment(text);
        m_bytes.append("</").append(tag).append(">\n");
    }
}

// The rest of a container, from the end of its start tag on.
void writer::write_children(const PGM_COMMON_XML_ELEMENT& element, std::size_t depth) {
    const auto& children = element.get_all_childs();
    if (children.empty() && comments_of(element, &PGM_XML_COMMENTS::at_end).empty()) {
        m_bytes += "/>\n";
        return;
    }
    m_bytes += ">\n";
    for (const PGM_COMMON_XML_ELEMENT* child : children) write(*child, depth + 1);
    write_comment_lines(element, &PGM_XML_COMMENTS::at_end, depth + 1);
    indent(depth);
    m_bytes.append("</").append(pgm_common_xml_name(element.get_type())).append(">\n");
}

}  // namespace

std::string PGM_COMMON_XML::write_bytes(const PGM_COMMON_XML_ELEMENT* root) {
    writer output;
    output.write_document(*root);
    return output.take();
}
