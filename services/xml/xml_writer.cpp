#include "services/pgm_common.h"

#include <libxml/chvalid.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlstring.h>

#include <algorithm>
#include <array>

namespace {

// Length of the UTF-8 character at the start of the text; 0 if it isn't one or XML can't hold it.
std::size_t character_length(std::string_view text) {
    if (text[0] >= ' ' && text[0] <= '~') return 1;
    int most = static_cast<int>(std::min<std::size_t>(text.size(), 4));
    const int character = xmlGetUTF8Char(reinterpret_cast<const xmlChar*>(text.data()), &most);
    if (character < 0 || !xmlIsCharQ(static_cast<unsigned>(character))) return 0;
    // libxml2 takes spellings that are longer than they have to be, and other wrong lead bytes.
    std::array<xmlChar, 4> spelled{};
    const auto length = static_cast<std::size_t>(xmlCopyCharMultiByte(spelled.data(), character));
    return text.starts_with({reinterpret_cast<const char*>(spelled.data()), length}) ? length : 0;
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

// Not libxml2's writer: that leaves a tab or line end of a value as it is, takes a comment with
// "--" in it, and puts one behind a value on a line of its own, which changes the value.
class WRITER {
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

void WRITER::write_text(std::string_view text) {
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
void WRITER::write_comment(std::string_view text) {
    const bool holds_end = text.find("--") != std::string_view::npos || text.ends_with('-');
    if (holds_end || text.find('\r') != std::string_view::npos) m_good = false;
    for (std::string_view rest = text; m_good && !rest.empty();) {
        const std::size_t length = character_length(rest);
        m_good = length != 0;
        rest.remove_prefix(length);
    }
    m_bytes.append("<!--").append(text).append("-->");
}

void WRITER::write_comment_lines(const PGM_COMMON_XML_ELEMENT& element, comments place,
                                 std::size_t depth) {
    for (const std::string& text : comments_of(element, place)) {
        indent(depth);
        write_comment(text);
        m_bytes += '\n';
    }
}

void WRITER::write_document(const PGM_COMMON_XML_ELEMENT& root) {
    write(root, 0);
    write_comment_lines(root, &PGM_XML_COMMENTS::behind, 0);
}

void WRITER::write(const PGM_COMMON_XML_ELEMENT& element, std::size_t depth) {
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
void WRITER::write_children(const PGM_COMMON_XML_ELEMENT& element, std::size_t depth) {
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
    WRITER output;
    output.write_document(*root);
    return output.take();
}
