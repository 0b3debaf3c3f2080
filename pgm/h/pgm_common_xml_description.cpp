#include "pgm/h/pgm_common_xml_description.h"

#include <algorithm>

namespace {

// A typed list has its tag's name, in lower case: taking a child out of an empty one fails on
// "action.size()".
std::string size_check(PGM_COMMON_XML_ENUM tag) {
    std::string name = pgm_common_xml_name(tag);
    for (char& letter : name)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return name + ".size()";
}

}  // namespace

PGM_COMMON_XML_DESCRIBED::PGM_COMMON_XML_DESCRIBED(const PGM_COMMON_XML_DESCRIPTION& description,
                                                   PGM_COMMON_XML_ENUM sub_class_type, void* value)
    : PGM_COMMON_XML_ELEMENT(description.tag, sub_class_type, description.type, description.exist,
                             description.default_value, "", value),
      m_description(description) {}

void PGM_COMMON_XML_DESCRIBED::add_described_attribute(const PGM_COMMON_XML_ATTRIBUTE& attribute,
                                                       void* member) {
    add_attribute({attribute.name, attribute.type, attribute.exist, attribute.default_value,
                   attribute.allowed_values, member});
}

bool PGM_COMMON_XML_DESCRIBED::check_child_count() {
    return std::ranges::all_of(m_description.children,
                               [this](const auto& child) {
                                   return check_count(child.element->tag, *child.counts);
                               }) &&
           PGM_COMMON_XML_ELEMENT::check_child_count();
}

void PGM_COMMON_XML_DESCRIBED::clear_child_groups() {
    for (const PGM_COMMON_XML_CHILD& child : m_description.children)
        if (child.list != nullptr) (this->*child.list).clear();
}

void PGM_COMMON_XML_DESCRIBED::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove,
                                           bool at_end) {
    const PGM_COMMON_XML_CHILD* row = m_description.find_child(child->get_type());
    if (row == nullptr) report_unsupported(*child);
    if (row->list != nullptr) {
        CHILDREN& list = this->*row->list;
        if (!remove && at_end) {
            list.push_back(child);
        } else if (!remove) {
            list.insert(list.begin(), child);
        } else {
            if (list.empty()) report(size_check(row->element->tag).c_str());
            list.erase(at_end ? list.end() - 1 : list.begin());
        }
    }
    PGM_COMMON_XML_ELEMENT::group_child(child, remove, at_end);
}
