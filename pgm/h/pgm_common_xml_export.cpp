#include "pgm/h/pgm_common_xml_export.h"

#include "services/message.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace {

constexpr std::size_t usual_children = 8;

[[noreturn]] void fail(const char* text, int line) {
    MSG_INTERNAL_ERROR::report(text, "ZORVA", __FILE__, line);
}

// Blanks around a number are no part of it; around a text they are.
std::string_view without_blanks(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool read_number(std::string_view text, dword& number) {
    const std::string_view digits = without_blanks(text);
    const char* end = digits.data() + digits.size();
    dword result = 0;
    const auto [stop, error] = std::from_chars(digits.data(), end, result);
    if (digits.empty() || stop != end || error != std::errc()) return false;
    number = result;
    return true;
}

// `allowed` holds keywords between vertical bars; an empty one allows any.
bool is_allowed(std::string_view keyword, std::string_view allowed) {
    if (allowed.empty()) return true;
    while (!allowed.empty()) {
        const std::size_t bar = std::min(allowed.find('|'), allowed.size());
        if (allowed.substr(0, bar) == keyword) return true;
        allowed.remove_prefix(std::min(bar + 1, allowed.size()));
    }
    return false;
}

bool read_keyword(std::string_view text, std::string_view allowed, PGM_COMMON_XML_ENUM& keyword) {
    const PGM_COMMON_XML_ENUM value = pgm_common_xml_value(text);
    if (value == PGM_COMMON_XML_ENUM__INVALID__ || !is_allowed(text, allowed)) return false;
    keyword = value;
    return true;
}

// Sets the member behind `ptr` from a text; false if the text isn't of that type.
bool read_member(PGM_XML_TYPE type, const char* allowed, void* ptr, std::string_view text) {
    switch (type) {
        case PGM_XML_TYPE_NUMBER:
            return read_number(text, *static_cast<dword*>(ptr));
        case PGM_XML_TYPE_TEXT:
            *static_cast<std::string*>(ptr) = text;
            return true;
        case PGM_XML_TYPE_ENUM:
            return read_keyword(text, allowed, *static_cast<PGM_COMMON_XML_ENUM*>(ptr));
        case PGM_XML_TYPE_NONE:
        case PGM_XML_TYPE_INVALID:
            break;
    }
    return false;
}

// A default keyword need not be an allowed one, and an unknown one is _INVALID__.
void set_default(PGM_XML_TYPE type, const char* text, void* ptr) {
    if (ptr == nullptr) return;
    if (type == PGM_XML_TYPE_ENUM) {
        *static_cast<PGM_COMMON_XML_ENUM*>(ptr) = pgm_common_xml_value(text);
    } else if (type == PGM_XML_TYPE_NUMBER && !read_number(text, *static_cast<dword*>(ptr))) {
        *static_cast<dword*>(ptr) = 0;
    } else if (type == PGM_XML_TYPE_TEXT) {
        *static_cast<std::string*>(ptr) = text;
    }
}

std::string member_text(PGM_XML_TYPE type, const void* ptr) {
    if (ptr == nullptr) return {};
    switch (type) {
        case PGM_XML_TYPE_NUMBER:
            return std::to_string(*static_cast<const dword*>(ptr));
        case PGM_XML_TYPE_TEXT:
            return *static_cast<const std::string*>(ptr);
        case PGM_XML_TYPE_ENUM:
            return pgm_common_xml_name(*static_cast<const PGM_COMMON_XML_ENUM*>(ptr));
        case PGM_XML_TYPE_NONE:
        case PGM_XML_TYPE_INVALID:
            break;
    }
    return {};
}

// The member behind `ptr`, which the caller says holds a VALUE.
template <class VALUE>
VALUE& member(PGM_XML_TYPE type, PGM_XML_TYPE wanted, void* ptr) {
    if (type != wanted) fail("type == wanted", __LINE__);
    if (ptr == nullptr) fail("ptr != NULL", __LINE__);
    return *static_cast<VALUE*>(ptr);
}

PGM_XML_ATTRIBUTE& attribute_of(std::vector<PGM_XML_ATTRIBUTE>& attributes, std::string_view name) {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const auto& attribute) { return attribute.name == name; });
    if (found == attributes.end()) fail("attribute != m_attributes.end()", __LINE__);
    return *found;
}

}  // namespace

PGM_XML_ATTRIBUTE::PGM_XML_ATTRIBUTE(const char* attribute_name, PGM_XML_TYPE value_type,
                                     PGM_XML_EXIST presence, const char* default_text,
                                     const char* keywords, void* member_address)
    : name(attribute_name),
      type(value_type),
      exist(presence),
      default_value(default_text),
      allowed_values(keywords),
      ptr(member_address) {
    const std::string_view text = name;
    if (text.empty()) fail("name.size()", __LINE__);
    if (type >= PGM_XML_TYPE_INVALID) fail("type < PGM_XML_TYPE_INVALID", __LINE__);
    if (exist >= PGM_XML_EXIST_INVALID) fail("exist < PGM_XML_EXIST_INVALID", __LINE__);
    const bool reserved =
        text == "__if_continue__" || text == "__if_skip__" || text == "__hidden__";
    if (reserved && ptr != nullptr) fail("ptr == NULL", __LINE__);
    if (!reserved && ptr == nullptr) fail("ptr != NULL", __LINE__);
}

const PGM_COMMON_XML_ELEMENT::COUNTS PGM_COMMON_XML_ELEMENT::EXACTLY_ONE = {{1}};
const PGM_COMMON_XML_ELEMENT::COUNTS PGM_COMMON_XML_ELEMENT::NONE_OR_ONE = {{0}, {1}};
const PGM_COMMON_XML_ELEMENT::COUNTS PGM_COMMON_XML_ELEMENT::ANY_NUMBER = {{0}, {0xFFFFFFFF}};

PGM_COMMON_XML_ELEMENT::PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM type,
                                               PGM_COMMON_XML_ENUM sub_class_type,
                                               PGM_XML_TYPE value_type, PGM_XML_EXIST exist,
                                               const char* default_value,
                                               const char* allowed_values, void* value)
    : m_type(type),
      m_sub_class_type(sub_class_type),
      m_value_type(value_type),
      m_exist(exist),
      m_default_value(default_value),
      m_allowed_values(allowed_values),
      m_value(value) {}

PGM_COMMON_XML_ELEMENT::~PGM_COMMON_XML_ELEMENT() {
    while (!m_children.empty()) {
        delete m_children.back();
        m_children.pop_back();
    }
}

bool PGM_COMMON_XML_ELEMENT::check_child_count() { return true; }

void PGM_COMMON_XML_ELEMENT::clear_child_groups() {}

void PGM_COMMON_XML_ELEMENT::group_child(PGM_COMMON_XML_ELEMENT*, bool, bool) {}

dword PGM_COMMON_XML_ELEMENT::get_child_count(PGM_COMMON_XML_ENUM tag, bool) const {
    return static_cast<dword>(
        std::count_if(m_children.begin(), m_children.end(),
                      [tag](const auto* child) { return child->get_type() == tag; }));
}

PGM_COMMON_XML_ELEMENT::CHILDREN PGM_COMMON_XML_ELEMENT::get_childs(PGM_COMMON_XML_ENUM tag,
                                                                    bool) const {
    CHILDREN found;
    std::copy_if(m_children.begin(), m_children.end(), std::back_inserter(found),
                 [tag](const auto* child) { return child->get_type() == tag; });
    return found;
}

void PGM_COMMON_XML_ELEMENT::add_child(PGM_COMMON_XML_ELEMENT* child,
                                       PGM_COMMON_XML_ELEMENT* before) {
    if (child == nullptr) fail("child", __LINE__);
    if (before != nullptr) fail("before == NULL", __LINE__);
    if (m_children.empty()) m_children.reserve(usual_children);
    m_children.push_back(child);
    group_child(child, false, true);
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> PGM_COMMON_XML_ELEMENT::take_first_child() {
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> child(m_children.front());
    m_children.erase(m_children.begin());
    group_child(child.get(), true, false);
    return child;
}

void PGM_COMMON_XML_ELEMENT::write_string(std::string text) {
    member<std::string>(m_value_type, PGM_XML_TYPE_TEXT, m_value) = std::move(text);
}

void PGM_COMMON_XML_ELEMENT::write_value(dword number) {
    member<dword>(m_value_type, PGM_XML_TYPE_NUMBER, m_value) = number;
}

std::string PGM_COMMON_XML_ELEMENT::read_value() const {
    return member_text(m_value_type, m_value);
}

dword PGM_COMMON_XML_ELEMENT::read_number() const {
    return m_value_type == PGM_XML_TYPE_NUMBER ? *static_cast<const dword*>(m_value) : 0;
}

void PGM_COMMON_XML_ELEMENT::read_value_into(std::string& text) const {
    if (m_value_type == PGM_XML_TYPE_TEXT)
        text = *static_cast<const std::string*>(m_value);
    else
        text = read_value();
}

bool PGM_COMMON_XML_ELEMENT::read_from_text(std::string_view text) {
    return m_value != nullptr && read_member(m_value_type, m_allowed_values, m_value, text);
}

void PGM_COMMON_XML_ELEMENT::write_attribute_value(const char* name, dword number) {
    const PGM_XML_ATTRIBUTE& attribute = attribute_of(m_attributes, name);
    member<dword>(attribute.type, PGM_XML_TYPE_NUMBER, attribute.ptr) = number;
}

void PGM_COMMON_XML_ELEMENT::write_attribute_string(const char* name, std::string text) {
    const PGM_XML_ATTRIBUTE& attribute = attribute_of(m_attributes, name);
    member<std::string>(attribute.type, PGM_XML_TYPE_TEXT, attribute.ptr) = std::move(text);
}

void PGM_COMMON_XML_ELEMENT::write_attribute_enum(const char* name, PGM_COMMON_XML_ENUM keyword) {
    const PGM_XML_ATTRIBUTE& attribute = attribute_of(m_attributes, name);
    member<PGM_COMMON_XML_ENUM>(attribute.type, PGM_XML_TYPE_ENUM, attribute.ptr) = keyword;
}

std::string PGM_COMMON_XML_ELEMENT::read_attribute(const char* name) const {
    for (const PGM_XML_ATTRIBUTE& attribute : m_attributes) {
        if (attribute.name == std::string_view(name)) {
            return member_text(attribute.type, attribute.ptr);
        }
    }
    fail("attribute != m_attributes.end()", __LINE__);
}

bool PGM_COMMON_XML_ELEMENT::read_attribute_from_text(std::string_view name,
                                                      std::string_view text) {
    for (const PGM_XML_ATTRIBUTE& attribute : m_attributes) {
        if (attribute.name == name && attribute.ptr != nullptr) {
            return read_member(attribute.type, attribute.allowed_values, attribute.ptr, text);
        }
    }
    return false;
}

PGM_XML_COMMENTS& PGM_COMMON_XML_ELEMENT::edit_comments() {
    if (!m_comments) m_comments = std::make_unique<PGM_XML_COMMENTS>();
    return *m_comments;
}

void PGM_COMMON_XML_ELEMENT::add_attribute(const PGM_XML_ATTRIBUTE& attribute) {
    m_attributes.push_back(attribute);
}

void PGM_COMMON_XML_ELEMENT::init_check() {
    if (m_value_type >= PGM_XML_TYPE_INVALID) fail("type < PGM_XML_TYPE_INVALID", __LINE__);
    if (m_exist >= PGM_XML_EXIST_INVALID) fail("exist < PGM_XML_EXIST_INVALID", __LINE__);
    if ((m_value_type == PGM_XML_TYPE_NONE) != (m_value == nullptr)) {
        fail("(type == PGM_XML_TYPE_NONE) == (value == NULL)", __LINE__);
    }
    set_default(m_value_type, m_default_value, m_value);
    for (const PGM_XML_ATTRIBUTE& attribute : m_attributes) {
        set_default(attribute.type, attribute.default_value, attribute.ptr);
    }
}

bool PGM_COMMON_XML_ELEMENT::check_count(PGM_COMMON_XML_ENUM tag, const COUNTS& allowed) const {
    const dword count = get_child_count(tag, true);
    return count >= allowed.front().front() && count <= allowed.back().back();
}

void PGM_COMMON_XML_ELEMENT::report(const char* condition) { fail(condition, __LINE__); }

void PGM_COMMON_XML_ELEMENT::report_unsupported(const PGM_COMMON_XML_ELEMENT& child) const {
    const std::string text = std::string("Element \"") + pgm_common_xml_name(m_sub_class_type) +
                             "\" does not support child element \"" +
                             pgm_common_xml_name(child.m_sub_class_type) + "\"";
    fail(text.c_str(), __LINE__);
}
