// What the element classes of all documents are made of. A container states its typed child lists
// once, as data; the operations over them are written once, here.
#pragma once

#include "pgm/h/pgm_common_xml_export.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <type_traits>

// One typed child list of ELEMENT.
template <class ELEMENT>
struct PGM_COMMON_XML_LIST {
    PGM_COMMON_XML_ENUM tag;
    const char* size_check;  // what taking a child out asks for, such as "action.size()"
    const PGM_COMMON_XML_ELEMENT::COUNTS& counts;
    PGM_COMMON_XML_ELEMENT::CHILDREN ELEMENT::*list;
};

// Base of a container ELEMENT, which states its lists with PGM_COMMON_XML_LISTS.
template <class ELEMENT, PGM_COMMON_XML_ENUM TAG>
class PGM_COMMON_XML_CONTAINER : public PGM_COMMON_XML_ELEMENT {
  public:
    bool check_child_count() override {
        return std::all_of(std::begin(rows()), std::end(rows()),
                           [this](const ROW& row) { return check_count(row.tag, row.counts); }) &&
               PGM_COMMON_XML_ELEMENT::check_child_count();
    }

    void clear_child_groups() override {
        for (const ROW& row : rows()) list_of(row).clear();
    }

    void group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end) override {
        const ROW* row = find(child->get_type());
        if (row == nullptr) report_unsupported(*child);
        CHILDREN& list = list_of(*row);
        if (!remove) {
            list.insert(at_end ? list.end() : list.begin(), child);
        } else {
            if (list.empty()) report(row->size_check);
            list.erase(at_end ? list.end() - 1 : list.begin());
        }
        PGM_COMMON_XML_ELEMENT::group_child(child, remove, at_end);
    }

    bool can_hold(PGM_COMMON_XML_ENUM tag) const override { return find(tag) != nullptr; }

  protected:
    using SELF = ELEMENT;
    using ROW = PGM_COMMON_XML_LIST<ELEMENT>;

    explicit PGM_COMMON_XML_CONTAINER(PGM_COMMON_XML_ENUM sub_class_type)
        : PGM_COMMON_XML_ELEMENT(TAG, sub_class_type, PGM_XML_TYPE_NONE, PGM_XML_EXIST_NONE, "", "",
                                 nullptr) {}

  private:
    static const auto& rows() { return ELEMENT::lists(); }

    static const ROW* find(PGM_COMMON_XML_ENUM tag) {
        const auto found = std::find_if(std::begin(rows()), std::end(rows()),
                                        [tag](const ROW& row) { return row.tag == tag; });
        return found == std::end(rows()) ? nullptr : found;
    }

    CHILDREN& list_of(const ROW& row) { return static_cast<ELEMENT*>(this)->*row.list; }
};

// LISTS(X) is X(member, tag, counts) for each typed list, in declared order.
#define PGM_COMMON_XML_LISTS(LISTS)                                                                \
    LISTS(PGM_COMMON_XML_LIST_MEMBER)                                                              \
    static const auto& lists() {                                                                   \
        static constexpr ROW list_rows[] = {LISTS(PGM_COMMON_XML_ROW)};                            \
        return list_rows;                                                                          \
    }
#define PGM_COMMON_XML_LIST_MEMBER(member, tag, counts) CHILDREN member;
#define PGM_COMMON_XML_ROW(member, tag, counts)                                                    \
    {PGM_COMMON_XML_ENUM_##tag, #member ".size()", counts, &SELF::member},

// A container without an attribute.
#define PGM_COMMON_XML_CONTAINER_CLASS(NAME, TAG, LISTS)                                           \
    class NAME final : public PGM_COMMON_XML_CONTAINER<NAME, PGM_COMMON_XML_ENUM_##TAG> {          \
      public:                                                                                      \
        explicit NAME(PGM_COMMON_XML_ENUM sub_class_type)                                          \
            : PGM_COMMON_XML_CONTAINER(sub_class_type) {                                           \
            init_check();                                                                          \
        }                                                                                          \
        PGM_COMMON_XML_LISTS(LISTS)                                                                \
    };

// Base of an element with a value: it can't hold any child.
class PGM_COMMON_XML_VALUED : public PGM_COMMON_XML_ELEMENT {
  public:
    void group_child(PGM_COMMON_XML_ELEMENT* child, bool, bool) override {
        report_unsupported(*child);
    }

  protected:
    using PGM_COMMON_XML_ELEMENT::PGM_COMMON_XML_ELEMENT;
};

// Base of an element that is its value and no more; VALUE is std::string or dword.
template <class VALUE, PGM_COMMON_XML_ENUM TAG, PGM_XML_EXIST EXIST>
class PGM_COMMON_XML_LEAF : public PGM_COMMON_XML_VALUED {
  public:
    explicit PGM_COMMON_XML_LEAF(PGM_COMMON_XML_ENUM sub_class_type)
        : PGM_COMMON_XML_VALUED(TAG, sub_class_type,
                                is_number ? PGM_XML_TYPE_NUMBER : PGM_XML_TYPE_TEXT, EXIST,
                                is_number ? "0" : "", "", &value) {
        init_check();
    }

    VALUE value{};

  private:
    static constexpr bool is_number = std::is_same_v<VALUE, dword>;
};

#define PGM_COMMON_XML_LEAF_CLASS(NAME, TAG, VALUE, EXIST)                                         \
    class NAME final                                                                               \
        : public PGM_COMMON_XML_LEAF<VALUE, PGM_COMMON_XML_ENUM_##TAG, PGM_XML_EXIST_##EXIST> {    \
      public:                                                                                      \
        using PGM_COMMON_XML_LEAF::PGM_COMMON_XML_LEAF;                                            \
    };
