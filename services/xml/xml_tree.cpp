#include "services/xml/xml_tree.h"

#include "services/xml/xml_text.h"

#include <cstdint>

namespace {

constexpr std::string_view instance_namespace = "http://www.w3.org/2001/XMLSchema-instance";

std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

}  // namespace

bool XML_TREE::start(const xmlChar* name, std::string_view space, dword line) {
    const PGM_COMMON_XML_ENUM tag = space.empty() ? tag_of(name) : PGM_COMMON_XML_ENUM__INVALID__;
    const PGM_COMMON_XML_DESCRIPTION* description = description_of(tag);
    if (description == nullptr) {
        m_misplaced = {m_open.back().description->tag, tag};
        return refuse("The element " + quoted(xml_view(name)) + " is not allowed here.");
    }
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> element(description->create());
    element->set_line(line);
    if (!m_comments.empty()) element->edit_comments().ahead = std::exchange(m_comments, {});
    const OPEN_ELEMENT opened{element.get(), description};
    if (m_open.empty()) {
        m_root = std::move(element);
    } else {
        m_open.back().element->add_child(element.release(), nullptr);
    }
    m_open.push_back(opened);
    return true;
}

// Of an element that starts here; null if the open one can't hold it.
const PGM_COMMON_XML_DESCRIPTION* XML_TREE::description_of(PGM_COMMON_XML_ENUM tag) const {
    if (m_open.empty()) return m_document.kind.root;
    const PGM_COMMON_XML_CHILD* child = m_open.back().description->find_child(tag);
    return child != nullptr ? child->element : nullptr;
}

bool XML_TREE::read_attributes(int count, const xmlChar** texts) {
    for (; count > 0; --count, texts += 5) {
        if (!read_attribute(texts)) return false;
    }
    for (const PGM_XML_ATTRIBUTE& attribute : m_open.back().element->get_attributes()) {
        const bool lacks = attribute.type == PGM_XML_TYPE_ENUM &&
                           *static_cast<const PGM_COMMON_XML_ENUM*>(attribute.ptr) ==
                               PGM_COMMON_XML_ENUM__INVALID__;
        if (lacks) return refuse("The attribute " + quoted(attribute.name) + " is missing.");
    }
    return true;
}

// libxml2 gives name, prefix, namespace, and the value's begin and end. The attributes by which a
// file names its schema aren't the document's.
bool XML_TREE::read_attribute(const xmlChar** texts) {
    const std::string_view name = xml_view(texts[0]);
    const std::string_view space = xml_view(texts[2]);
    const std::string_view value(reinterpret_cast<const char*>(texts[3]),
                                 static_cast<std::size_t>(texts[4] - texts[3]));
    if (space == instance_namespace) return true;
    if (space.empty() && m_open.back().element->read_attribute_from_text(name, value)) return true;
    return refuse("The attribute " + quoted(name) + " can't be " + quoted(value) + " here.");
}

void XML_TREE::add_comment(std::string_view text) {
    const bool is_behind = m_root && m_open.empty();
    auto& place = is_behind ? m_root->edit_comments().behind : m_comments;
    place.emplace_back(text);
}

bool XML_TREE::end(bool check_counts) {
    const auto [element, description] = m_open.back();
    m_open.pop_back();
    if (!m_comments.empty()) element->edit_comments().at_end = std::exchange(m_comments, {});
    const char* tag = pgm_common_xml_name(description->tag);
    if (description->type != PGM_XML_TYPE_NONE) {
        if (!element->read_from_text(m_text))
            return refuse(std::string("The value of ") + tag + " can't be " + quoted(m_text) + ".");
    } else if (check_counts && !element->check_child_count()) {
        return refuse(std::string("The children of ") + tag + " are too few or too many.");
    }
    m_text.clear();
    return true;
}

bool XML_TREE::refuse(std::string why) {
    m_why = std::move(why);
    return false;
}

void XML_TREE::drop() {
    m_is_building = false;
    m_open.clear();
    m_root.reset();
    m_text.clear();
    m_comments.clear();
}

// The element classes report it in their own words.
void XML_TREE::report_misplaced() const {
    const PGM_COMMON_XML_DESCRIPTION* outer = m_document.find(m_misplaced.first);
    const PGM_COMMON_XML_DESCRIPTION* inner = m_document.find(m_misplaced.second);
    if (outer == nullptr || inner == nullptr) return;
    const std::unique_ptr<PGM_COMMON_XML_ELEMENT> parent(outer->create());
    parent->add_child(inner->create(), nullptr);
}

PGM_COMMON_XML_ENUM XML_TREE::tag_of(const xmlChar* name) {
    KNOWN_TAG& known = m_tags[reinterpret_cast<std::uintptr_t>(name) / 4 % m_tags.size()];
    if (known.name != name) known = {name, pgm_common_xml_value(xml_view(name))};
    return known.tag;
}
