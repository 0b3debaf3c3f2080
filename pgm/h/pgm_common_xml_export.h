// The base of all element classes: one node of an XML document in memory.
#pragma once

#include "pgm/h/pgm_common_xml_enum.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

// What kind of value an element or attribute has.
enum PGM_XML_TYPE : unsigned {
    PGM_XML_TYPE_NONE = 0,    // no value: the element only has children
    PGM_XML_TYPE_NUMBER = 4,  // unsigned, held as dword
    PGM_XML_TYPE_TEXT = 5,    // held as std::string
    PGM_XML_TYPE_ENUM = 9,    // keyword out of a list, held as PGM_COMMON_XML_ENUM
    PGM_XML_TYPE_INVALID = 11,
};

// Whether the value must be there.
enum PGM_XML_EXIST : unsigned {
    PGM_XML_EXIST_REQUIRED = 0,
    PGM_XML_EXIST_MAY_BE_EMPTY = 1,
    PGM_XML_EXIST_NONE = 2,
    PGM_XML_EXIST_INVALID = 3,
};

// One attribute of an element: where its value goes and what it may be.
struct PGM_XML_ATTRIBUTE {
    // A breach of the rules for a descriptor (an empty name, a code at or above its limit, a
    // missing member address) is an internal error.
    PGM_XML_ATTRIBUTE(const char* attribute_name, PGM_XML_TYPE value_type, PGM_XML_EXIST presence,
                      const char* default_text, const char* keywords, void* member_address);

    const char* name;
    PGM_XML_TYPE type;
    PGM_XML_EXIST exist;
    const char* default_value;
    const char* allowed_values;  // keywords separated by vertical bars; empty: any
    void* ptr;                   // the member that receives the value
};

// The comments at an element, each as it stands between "<!--" and "-->", in file order.
struct PGM_XML_COMMENTS {
    std::vector<std::string> ahead;   // ahead of the start tag, behind the sibling before it
    std::vector<std::string> at_end;  // ahead of the end tag, behind the last child or the value
    std::vector<std::string> behind;  // behind the end tag; for the root of a document only
};

class PGM_COMMON_XML_ELEMENT {
  public:
    using CHILDREN = std::vector<PGM_COMMON_XML_ELEMENT*>;
    using COUNTS = std::vector<std::vector<dword>>;
    static const COUNTS EXACTLY_ONE;  // {{1}}
    static const COUNTS NONE_OR_ONE;  // {{0}, {1}}
    static const COUNTS ANY_NUMBER;   // {{0}, {0xFFFFFFFF}}

    // `value` is the member that receives the element's value, null for a container.
    PGM_COMMON_XML_ELEMENT(PGM_COMMON_XML_ENUM type, PGM_COMMON_XML_ENUM sub_class_type,
                           PGM_XML_TYPE value_type, PGM_XML_EXIST exist, const char* default_value,
                           const char* allowed_values, void* value);
    // Deletes the children, from the last to the first.
    virtual ~PGM_COMMON_XML_ELEMENT();
    PGM_COMMON_XML_ELEMENT(const PGM_COMMON_XML_ELEMENT&) = delete;
    PGM_COMMON_XML_ELEMENT& operator=(const PGM_COMMON_XML_ELEMENT&) = delete;

    // True if the element has an allowed number of children of each tag. A class checks its typed
    // lists with check_count and then asks its base.
    virtual bool check_child_count();
    // Empties the typed child lists; deletes nothing.
    virtual void clear_child_groups();
    // Files a child into the typed list of its tag, or takes one out: the last entry if `at_end`,
    // else the first.
    virtual void group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end);

    PGM_COMMON_XML_ENUM get_type() const { return m_type; }
    PGM_COMMON_XML_ENUM get_sub_class_type() const { return m_sub_class_type; }
    PGM_XML_TYPE get_value_type() const { return m_value_type; }

    // Children of one tag, in document order; they stay the element's.
    dword get_child_count(PGM_COMMON_XML_ENUM tag, bool) const;
    CHILDREN get_childs(PGM_COMMON_XML_ENUM tag, bool) const;
    // All children, in document order.
    const CHILDREN& get_all_childs() const { return m_children; }

    // Appends a child, which the element owns from then on, and files it through group_child.
    // `before` is always null.
    void add_child(PGM_COMMON_XML_ELEMENT* child, PGM_COMMON_XML_ELEMENT* before);

    // Takes the first child out, for the caller to own; the element must have one.
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> take_first_child();

    // Sets the value of the member given to the constructor; the element must be of that kind.
    void write_string(std::string text);
    void write_value(dword number);
    // The value as text: the text itself, the number in decimal, empty for a container.
    std::string read_value() const;
    // The value of an element that holds a number; 0 for any other.
    dword read_number() const;
    // The same as text, into a text whose room can be used again.
    void read_value_into(std::string& text) const;
    // Sets an element's value from the text of a file; false if the text isn't of its kind.
    bool read_from_text(std::string_view text);

    // Attributes by name; an unknown name is an internal error.
    void write_attribute_value(const char* name, dword number);
    void write_attribute_string(const char* name, std::string text);
    void write_attribute_enum(const char* name, PGM_COMMON_XML_ENUM keyword);
    std::string read_attribute(const char* name) const;
    // Sets an attribute from the text of a file; false if the element has no attribute of that
    // name or the text isn't of its kind.
    bool read_attribute_from_text(std::string_view name, std::string_view text);
    const std::vector<PGM_XML_ATTRIBUTE>& get_attributes() const { return m_attributes; }

    // Line of the start tag in the file that it was read from, from 1; 0 for one built in memory.
    dword get_line() const { return m_line; }
    void set_line(dword line) { m_line = line; }

    // The comments; null for an element without any, as all are that a load reads.
    const PGM_XML_COMMENTS* get_comments() const { return m_comments.get(); }
    // The same, to be changed; makes room for them. They stay the element's.
    PGM_XML_COMMENTS& edit_comments();

  protected:
    void add_attribute(const PGM_XML_ATTRIBUTE& attribute);
    // Checks the description given to the constructor and sets the default values. The last step
    // of each constructor, when the members that receive values exist.
    void init_check();
    // True if the number of children of that tag is allowed, from the first list's number to the
    // last list's.
    bool check_count(PGM_COMMON_XML_ENUM tag, const COUNTS& allowed) const;
    // The internal errors of group_child: a failed condition, and a child of a wrong tag.
    [[noreturn]] static void report(const char* condition);
    [[noreturn]] void report_unsupported(const PGM_COMMON_XML_ELEMENT& child) const;

  private:
    PGM_COMMON_XML_ENUM m_type;
    PGM_COMMON_XML_ENUM m_sub_class_type;
    PGM_XML_TYPE m_value_type;
    PGM_XML_EXIST m_exist;
    const char* m_default_value;
    const char* m_allowed_values;
    void* m_value;
    dword m_line = 0;
    std::unique_ptr<PGM_XML_COMMENTS> m_comments;
    CHILDREN m_children;  // owned
    std::vector<PGM_XML_ATTRIBUTE> m_attributes;
};
