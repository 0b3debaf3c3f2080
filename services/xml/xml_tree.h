// Builds the elements of one document while its parser goes over it. For the XML reader.
#pragma once

#include "services/xml/xml_document.h"

#include <libxml/xmlstring.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class XML_TREE {
  public:
    explicit XML_TREE(const XML_DOCUMENT& document) : m_document(document) {}

    // False once something has gone wrong: then there is no tree, and no more calls may come.
    bool is_building() const { return m_is_building; }

    // One step each, as libxml2 tells them. False if something is wrong: why() tells what.
    bool start(const xmlChar* name, std::string_view space, dword line);
    bool read_attributes(int count, const xmlChar** texts);
    bool end(bool check_counts);
    const std::string& why() const { return m_why; }
    void add_text(std::string_view text) { m_text += text; }
    void add_comment(std::string_view text);

    bool open_has_value() const { return m_open.back().description->type != PGM_XML_TYPE_NONE; }
    const std::string& text() const { return m_text; }  // of the innermost element, up to here
    void forget_text() { m_text.clear(); }

    void drop();
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> take() { return std::move(m_root); }
    // The internal error of an element below one that can't hold it, if that was what was wrong.
    void report_misplaced() const;

  private:
    // libxml2 gives equal names as one pointer.
    struct KNOWN_TAG {
        const xmlChar* name;
        PGM_COMMON_XML_ENUM tag;
    };
    struct OPEN_ELEMENT {
        PGM_COMMON_XML_ELEMENT* element;
        const PGM_COMMON_XML_DESCRIPTION* description;
    };

    PGM_COMMON_XML_ENUM tag_of(const xmlChar* name);
    const PGM_COMMON_XML_DESCRIPTION* description_of(PGM_COMMON_XML_ENUM tag) const;
    bool read_attribute(const xmlChar** texts);

    const XML_DOCUMENT& m_document;
    bool m_is_building = true;
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> m_root;
    std::vector<OPEN_ELEMENT> m_open;
    // Why the tree ends here; false.
    bool refuse(std::string why);

    std::string m_why;
    std::string m_text;
    std::vector<std::string> m_comments;  // whose element is yet to come
    std::array<KNOWN_TAG, 256> m_tags{};
    std::pair<PGM_COMMON_XML_ENUM, PGM_COMMON_XML_ENUM> m_misplaced{};  // parent and child
};
