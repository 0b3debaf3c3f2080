// The element classes of both documents: their descriptions against the schemas, and what the
// classes do with their children.
#include "h/pgm_common_xml_zorva_qspi_auto_export.h"
#include "h/pgm_common_xml_zorva_sdmmc_auto_export.h"
#include "services/file.h"
#include "services/pgm_common.h"
#include "tests/test_support.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <regex>
#include <set>
#include <utility>

namespace {

using DESCRIPTION = PGM_COMMON_XML_DESCRIPTION;
using ELEMENT = PGM_COMMON_XML_ELEMENT;

struct DOCUMENT {
    PGM_COMMON_XML_FILE_ENUM kind;
    const DESCRIPTION& root;
    std::string schema;
};

const DOCUMENT documents[] = {
    {PGM_COMMON_XML_FILE_QSPI, pgm_common_xml_description<PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH>,
     "zorva_qspi.xsd"},
    {PGM_COMMON_XML_FILE_SDMMC, pgm_common_xml_description<PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH>,
     "zorva_sdmmc.xsd"},
};

// One element of a document that is otherwise as small as the descriptions let it be.
struct SPELLING {
    std::vector<const DESCRIPTION*> path;  // from the root's child to the element; empty: the root
    unsigned times = 1;                    // how often it stands below its parent
    std::string value = "1";
    const char* attribute = nullptr;  // the text of its attribute; null: a good one
};

std::string good_attribute(const PGM_COMMON_XML_ATTRIBUTE& row) {
    const std::string_view allowed = row.allowed_values;
    return allowed.empty() ? row.default_value : std::string(allowed.substr(0, allowed.find('|')));
}

std::string spelled(const DESCRIPTION& element, const SPELLING& spelling, std::size_t depth = 0) {
    const bool is_it = depth == spelling.path.size();
    const std::string tag = pgm_common_xml_name(element.tag);
    std::string xml = "<" + tag;
    for (const auto& row : element.attributes) {
        const bool is_given = is_it && spelling.attribute != nullptr;
        xml += std::string(" ") + row.name + "=\"" +
               (is_given ? spelling.attribute : good_attribute(row)) + "\"";
    }
    xml += ">";
    if (element.type != PGM_XML_TYPE_NONE) xml += is_it ? spelling.value : "1";
    for (const PGM_COMMON_XML_CHILD& child : element.children) {
        const bool leads_on = depth < spelling.path.size() && spelling.path[depth] == child.element;
        const bool is_last = depth + 1 == spelling.path.size();
        const unsigned least = child.counts->front().front();
        for (unsigned i = leads_on ? (is_last ? spelling.times : 1) : least; i > 0; --i)
            xml += leads_on ? spelled(*child.element, spelling, depth + 1)
                            : spelled(*child.element, SPELLING{}, 1);
    }
    return xml + "</" + tag + ">\n";
}

class DocumentTest : public InstallationTest {
  protected:
    // The schema, and the description alone, say the same of a document.
    void expect(const DOCUMENT& document, const SPELLING& spelling, bool is_good) const {
        const std::string xml = spelled(document.root, spelling);
        const std::unique_ptr<ELEMENT> tree(
            static_cast<ELEMENT*>(PGM_COMMON_XML::parse_bytes(document.kind, xml, "test.xml")));
        EXPECT_EQ(tree != nullptr, is_good) << "description\n" << xml;
        std::string first;
        std::string second;
        PGM_COMMON_XML::check_bytes(xml, "test.xml", m_root + "xsd/" + document.schema, first,
                                    second);
        EXPECT_EQ(first, "");
        // What the schema itself finds is told in its own words.
        const bool breaks_schema = second.find(": Element '") != std::string::npos;
        EXPECT_EQ(breaks_schema, !is_good) << "schema\n" << second << xml;
        EXPECT_EQ(second.empty(), is_good) << second;
    }

    // A value, or with `as_attribute` an attribute, of that type.
    void expect_type(const DOCUMENT& document, SPELLING spelling, PGM_XML_TYPE type,
                     const std::string& allowed, bool as_attribute) const {
        std::vector<std::pair<std::string, bool>> rows = {{"x", type == PGM_XML_TYPE_TEXT}};
        if (type == PGM_XML_TYPE_NUMBER)
            rows.insert(rows.end(), {{"", false}, {"4294967295", true}, {"4294967296", false}});
        if (type == PGM_XML_TYPE_ENUM) rows.emplace_back("MICRON", false);
        const std::regex keyword("[A-Z_]+");
        for (std::sregex_iterator it(allowed.begin(), allowed.end(), keyword), end; it != end; ++it)
            rows.emplace_back(it->str(), true);
        for (const auto& [text, is_good] : rows) {
            if (as_attribute)
                spelling.attribute = text.c_str();
            else
                spelling.value = text;
            expect(document, spelling, is_good);
        }
    }

    // Walks what stands below `element`, to which `path` leads. What an element is like in itself
    // is tried once, the counts of its children at each place where it can stand.
    void walk(const DOCUMENT& document, const DESCRIPTION& element, SPELLING& path) {
        if (m_names.insert(pgm_common_xml_name(element.tag)).second) try_values(document, path);
        for (const PGM_COMMON_XML_CHILD& child : element.children) {
            path.path.push_back(child.element);
            for (const unsigned times : {0U, 2U}) {
                path.times = times;
                expect(
                    document, path,
                    times >= child.counts->front().front() && times <= child.counts->back().back());
            }
            path.times = 1;
            walk(document, *child.element, path);
            path.path.pop_back();
        }
    }

    void try_values(const DOCUMENT& document, const SPELLING& path) {
        const DESCRIPTION& element = path.path.empty() ? document.root : *path.path.back();
        expect(document, path, true);
        if (element.type != PGM_XML_TYPE_NONE) expect_type(document, path, element.type, "", false);
        for (const PGM_COMMON_XML_ATTRIBUTE& row : element.attributes) {
            m_names.insert(row.name);
            expect_type(document, path, row.type, row.allowed_values, true);
        }
    }

    std::set<std::string> m_names;  // of elements and attributes that were met
};

// Each child left out and doubled, and each value and attribute of a wrong type.
TEST_F(DocumentTest, DescriptionsAndSchemasSayTheSame) {
    for (const DOCUMENT& document : documents) {
        SCOPED_TRACE(document.schema);
        SPELLING path;
        m_names.clear();
        walk(document, document.root, path);
        std::string schema;
        ASSERT_TRUE(FIO_FILE_SYSTEM::read(m_root + "xsd/" + document.schema, schema));
        const std::regex name("<xs:(?:element|attribute) name=\"(\\w+)\"");
        std::set<std::string> declared;
        for (std::sregex_iterator it(schema.begin(), schema.end(), name), end; it != end; ++it)
            declared.insert((*it)[1]);
        EXPECT_EQ(declared, m_names);
    }
}

// A new element has its defaults, and files a child in the list of the child's name: the rows are
// in the members' order.
void expect_as_described(const DESCRIPTION& description) {
    const std::unique_ptr<ELEMENT> element(description.create());
    EXPECT_EQ(element->get_type(), description.tag);
    EXPECT_EQ(element->get_sub_class_type(), description.tag);
    EXPECT_EQ(element->read_value(), description.default_value);
    for (const auto& row : description.attributes)
        EXPECT_EQ(element->read_attribute(row.name), row.default_value);
    const ELEMENT::CHILDREN* last = nullptr;
    for (const PGM_COMMON_XML_CHILD& child : description.children) {
        expect_as_described(*child.element);
        if (child.list == nullptr) continue;
        const ELEMENT::CHILDREN* list = &((*element).*child.list);
        EXPECT_TRUE(last == nullptr || last + 1 == list) << pgm_common_xml_name(child.element->tag);
        last = list;
    }
}

TEST_F(DocumentTest, NewElementsAreAsDescribed) {
    for (const DOCUMENT& document : documents) expect_as_described(document.root);
}

TEST_F(DocumentTest, TypedListsFollowTheChildren) {
    PGM_COMMON_XML_ZORVA_QSPI_ERASE operation(PGM_COMMON_XML_ENUM_ERASE);
    PGM_COMMON_XML_ZORVA_QSPI_ACTION a(PGM_COMMON_XML_ENUM_ACTION);
    PGM_COMMON_XML_ZORVA_QSPI_ACTION b(PGM_COMMON_XML_ENUM_ACTION);
    PGM_COMMON_XML_ZORVA_QSPI_ACTION c(PGM_COMMON_XML_ENUM_ACTION);
    using list = ELEMENT::CHILDREN;
    operation.group_child(&b, false, true);
    operation.group_child(&c, false, true);
    operation.group_child(&a, false, false);
    EXPECT_EQ(operation.action, (list{&a, &b, &c}));
    operation.group_child(&a, true, false);
    operation.group_child(&c, true, true);
    EXPECT_EQ(operation.action, list{&b});
    operation.clear_child_groups();
    EXPECT_EQ(operation.action, list{});

    for (int i = 0; i < 3; ++i)
        operation.add_child(new PGM_COMMON_XML_ZORVA_QSPI_ACTION(PGM_COMMON_XML_ENUM_ACTION),
                            nullptr);
    ELEMENT* const first = operation.get_all_childs().front();
    EXPECT_EQ(operation.take_first_child().get(), first);
    EXPECT_EQ(operation.action, operation.get_all_childs());
    EXPECT_EQ(operation.action.size(), 2U);
}

// An element whose description comes from the test.
struct BARE : ELEMENT {
    BARE(PGM_XML_TYPE type, PGM_XML_EXIST exist, void* value)
        : ELEMENT(PGM_COMMON_XML_ENUM_NAME, PGM_COMMON_XML_ENUM_NAME, type, exist, "", "", value) {
        init_check();
    }
};

TEST_F(DocumentTest, BrokenTreesAreInternalErrors) {
    PGM_COMMON_XML_ZORVA_QSPI_ACTION action(PGM_COMMON_XML_ENUM_ACTION);
    PGM_COMMON_XML_ZORVA_QSPI_EXPECTED_DATA_MASK mask(PGM_COMMON_XML_ENUM_EXPECTED_DATA_MASK);
    PGM_COMMON_XML_ZORVA_QSPI_FLASH flash(PGM_COMMON_XML_ENUM_FLASH);
    PGM_COMMON_XML_ZORVA_QSPI_GOLDEN_TEMPLATE golden(PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE);
    const auto attribute = [&](const char* name, PGM_XML_TYPE type, PGM_XML_EXIST exist,
                               void* member) {
        return [=] { PGM_XML_ATTRIBUTE(name, type, exist, "", "", member); };
    };
    const auto text = PGM_XML_TYPE_TEXT;
    const auto none = PGM_XML_EXIST_NONE;
    const struct {
        std::string text;
        std::function<void()> call;
    } rows[] = {
        {"expected_data_mask.size()", [&] { action.group_child(&mask, true, true); }},
        {R"(Element "ACTION" does not support child element "FLASH")",
         [&] { action.group_child(&flash, false, true); }},
        {R"(Element "EXPECTED_DATA_MASK" does not support child element "ACTION")",
         [&] { mask.group_child(&action, false, true); }},
        {R"(Element "GOLDEN_TEMPLATE" does not support child element "FLASH")",
         [&] { golden.group_child(&flash, false, true); }},
        {"name.size()", attribute("", text, none, &action)},
        {"type < PGM_XML_TYPE_INVALID", attribute("a", PGM_XML_TYPE_INVALID, none, &action)},
        {"exist < PGM_XML_EXIST_INVALID", attribute("a", text, PGM_XML_EXIST_INVALID, &action)},
        {"ptr != NULL", attribute("a", text, none, nullptr)},
        {"ptr == NULL", attribute("__hidden__", text, none, &action)},
        {"", attribute("__hidden__", text, none, nullptr)},
        {"type < PGM_XML_TYPE_INVALID", [&] { BARE(PGM_XML_TYPE_INVALID, none, &action); }},
        {"exist < PGM_XML_EXIST_INVALID", [&] { BARE(text, PGM_XML_EXIST_INVALID, &action); }},
        {"(type == PGM_XML_TYPE_NONE) == (value == NULL)", [&] { BARE(text, none, nullptr); }},
        {"type == wanted", [&] { mask.write_value(1); }},
        {"attribute != m_attributes.end()", [&] { action.write_attribute_string("unit", "us"); }},
        {"attribute != m_attributes.end()", [&] { (void)action.read_attribute("unit"); }},
    };
    for (const auto& row : rows) EXPECT_EQ(internal_error_of(row.call), row.text);
    pgm_host::set_internal_error_handler(
        [](const char*, const char*, const char* file, int) { throw internal_error(file); });
    EXPECT_EQ(internal_error_of([&] { mask.write_value(1); }), "pgm/h/pgm_common_xml_export.cpp");
}

TEST_F(DocumentTest, NamesOfNumbers) {
    const std::pair<int, const char*> rows[] = {
        {0, "_INVALID__"},   {1, "_INVALID__"},   {21, "SDM"},       {388, "SDMMC_FLASH"},
        {389, "_INVALID__"}, {487, "_INVALID__"}, {-1, "_INVALID__"}};
    for (const auto& [value, name] : rows)
        EXPECT_STREQ(pgm_common_xml_name(number<PGM_COMMON_XML_ENUM>(value)), name) << value;
}

}  // namespace
