// What an element may be and hold. Each element class states it once, as data; the class itself,
// the reader, the writer and the test against the schema walk that one description.
#pragma once

#include "pgm/h/pgm_common_xml_export.h"

#include <array>
#include <span>
#include <string>
#include <type_traits>

struct PGM_COMMON_XML_DESCRIPTION;

// One kind of child that an element may hold.
struct PGM_COMMON_XML_CHILD {
    const PGM_COMMON_XML_DESCRIPTION* element;
    const PGM_COMMON_XML_ELEMENT::COUNTS* counts;
    PGM_COMMON_XML_ELEMENT::CHILDREN PGM_COMMON_XML_ELEMENT::*list;  // typed list; null: none
};

// One attribute; the class says which of its members holds the value.
struct PGM_COMMON_XML_ATTRIBUTE {
    const char* name;
    PGM_XML_TYPE type;
    PGM_XML_EXIST exist;
    const char* default_value;
    const char* allowed_values;  // keywords separated by vertical bars; empty: any
};

struct PGM_COMMON_XML_DESCRIPTION {
    PGM_COMMON_XML_ENUM tag;
    PGM_XML_TYPE type;
    PGM_XML_EXIST exist;
    const char* default_value;
    std::span<const PGM_COMMON_XML_CHILD> children;  // in the order of the typed lists
    std::span<const PGM_COMMON_XML_ATTRIBUTE> attributes;
    const unsigned char* places;          // by tag: place in `children` plus 1; 0 for no child
    PGM_COMMON_XML_ELEMENT* (*create)();  // a new element, owned by the caller

    // The row of that tag; null if the element can't hold such a child.
    const PGM_COMMON_XML_CHILD* find_child(PGM_COMMON_XML_ENUM child_tag) const {
        const unsigned char place = places[child_tag];
        return place == 0 ? nullptr : &children[place - 1U];
    }
};

// Base of all element classes: the virtual operations, written once over the description.
class PGM_COMMON_XML_DESCRIBED : public PGM_COMMON_XML_ELEMENT {
  public:
    bool check_child_count() override;
    void clear_child_groups() override;
    void group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end) override;

    // What an element class has if it states nothing else.
    static constexpr std::array<PGM_COMMON_XML_ATTRIBUTE, 0> attributes{};
    static constexpr std::array<PGM_COMMON_XML_CHILD, 0> children() { return {}; }

  protected:
    PGM_COMMON_XML_DESCRIBED(const PGM_COMMON_XML_DESCRIPTION& description,
                             PGM_COMMON_XML_ENUM sub_class_type, void* value);
    // Adds an attribute, whose value goes into `member`.
    void add_described_attribute(const PGM_COMMON_XML_ATTRIBUTE& attribute, void* member);

  private:
    const PGM_COMMON_XML_DESCRIPTION& m_description;
};

template <class ELEMENT>
PGM_COMMON_XML_ELEMENT* pgm_common_xml_create() {
    return new ELEMENT(ELEMENT::tag);
}

template <class ELEMENT>
inline constexpr auto pgm_common_xml_children = ELEMENT::children();

template <class ELEMENT>
inline constexpr auto pgm_common_xml_places = [] {
    std::array<unsigned char, PGM_COMMON_XML_ENUM__MAX__ + 1> places{};
    unsigned char place = 0;
    for (const PGM_COMMON_XML_CHILD& child : ELEMENT::children())
        places[child.element->tag] = ++place;
    return places;
}();

// The description of an element class, put together from what the class states.
template <class ELEMENT>
inline constexpr PGM_COMMON_XML_DESCRIPTION pgm_common_xml_description = {
    ELEMENT::tag,
    ELEMENT::value_type,
    ELEMENT::presence,
    ELEMENT::default_text,
    pgm_common_xml_children<ELEMENT>,
    ELEMENT::attributes,
    pgm_common_xml_places<ELEMENT>.data(),
    &pgm_common_xml_create<ELEMENT>,
};

// A row of a class's children: which class they are of, how many there may be, and the typed list
// that they are filed in.
template <class CHILD, class PARENT>
constexpr PGM_COMMON_XML_CHILD xml_child(const PGM_COMMON_XML_ELEMENT::COUNTS& counts,
                                         PGM_COMMON_XML_ELEMENT::CHILDREN PARENT::*list) {
    using LIST = PGM_COMMON_XML_ELEMENT::CHILDREN PGM_COMMON_XML_ELEMENT::*;
    return {&pgm_common_xml_description<CHILD>, &counts, static_cast<LIST>(list)};
}

// The same without a typed list.
template <class CHILD>
constexpr PGM_COMMON_XML_CHILD xml_child(const PGM_COMMON_XML_ELEMENT::COUNTS& counts) {
    return {&pgm_common_xml_description<CHILD>, &counts, nullptr};
}

// Base of a container ELEMENT, which states its typed lists and, in children(), their rows. One
// with an attribute calls init_check itself, when the member for it exists.
template <class ELEMENT, PGM_COMMON_XML_ENUM TAG>
class PGM_COMMON_XML_CONTAINER : public PGM_COMMON_XML_DESCRIBED {
  public:
    explicit PGM_COMMON_XML_CONTAINER(PGM_COMMON_XML_ENUM sub_class_type)
        : PGM_COMMON_XML_DESCRIBED(pgm_common_xml_description<ELEMENT>, sub_class_type, nullptr) {
        if constexpr (ELEMENT::attributes.empty()) init_check();
    }

    static constexpr PGM_COMMON_XML_ENUM tag = TAG;
    static constexpr PGM_XML_TYPE value_type = PGM_XML_TYPE_NONE;
    static constexpr PGM_XML_EXIST presence = PGM_XML_EXIST_NONE;
    static constexpr const char* default_text = "";

  protected:
    using SELF = ELEMENT;
};

// An element that is its value and no more; VALUE is std::string or dword. ROOT tells the elements
// of one document from those of another.
template <class ROOT, PGM_COMMON_XML_ENUM TAG, class VALUE, PGM_XML_EXIST EXIST>
class PGM_COMMON_XML_LEAF final : public PGM_COMMON_XML_DESCRIBED {
    static constexpr bool is_number = std::is_same_v<VALUE, dword>;

  public:
    explicit PGM_COMMON_XML_LEAF(PGM_COMMON_XML_ENUM sub_class_type)
        : PGM_COMMON_XML_DESCRIBED(pgm_common_xml_description<PGM_COMMON_XML_LEAF>, sub_class_type,
                                   &value) {
        init_check();
    }

    VALUE value{};

    static constexpr PGM_COMMON_XML_ENUM tag = TAG;
    static constexpr PGM_XML_TYPE value_type = is_number ? PGM_XML_TYPE_NUMBER : PGM_XML_TYPE_TEXT;
    static constexpr PGM_XML_EXIST presence = EXIST;
    static constexpr const char* default_text = is_number ? "0" : "";
};
