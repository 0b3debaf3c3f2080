// The element classes of both documents: their descriptions against the schemas, and what the
// classes do with their children.
#include "h/pgm_common_xml_zorva_qspi_auto_export.h"
#include "h/pgm_common_xml_zorva_sdmmc_auto_export.h"
#include "services/file.h"
#include "tests/xml_test.h"

#include <functional>
#include <map>
#include <optional>
#include <regex>
#include <set>

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

// An element as small as its description lets it be; without an attribute given, a good one.
using TEXT = std::optional<std::string>;

std::string start_of(const DESCRIPTION& element, const TEXT& attribute = {}) {
    std::string xml = std::string("<") + pgm_common_xml_name(element.tag);
    for (const PGM_COMMON_XML_ATTRIBUTE& row : element.attributes) {
        const std::string allowed = row.allowed_values;
        const std::string good = allowed.empty() ? row.default_value : split(allowed).front();
        xml += std::string(" ") + row.name + "=\"" + attribute.value_or(good) + "\"";
    }
    return xml + ">";
}

std::string spelled(const DESCRIPTION& element, const std::string& value = "1",
                    const TEXT& attribute = {}) {
    std::string xml = start_of(element, attribute);
    if (element.type != PGM_XML_TYPE_NONE) xml += value;
    for (const PGM_COMMON_XML_CHILD& child : element.children)
        for (unsigned i = child.counts->front().front(); i > 0; --i) xml += spelled(*child.element);
    return xml + "</" + pgm_common_xml_name(element.tag) + ">\n";
}

// Whether texts are good for a value or an attribute of that type.
std::map<std::string, bool> texts_of(PGM_XML_TYPE type, const std::string& allowed) {
    std::map<std::string, bool> texts = {{"x", type == PGM_XML_TYPE_TEXT}};
    if (type == PGM_XML_TYPE_NUMBER)
        texts.insert({{"", false}, {"4294967295", true}, {"4294967296", false}});
    if (type == PGM_XML_TYPE_ENUM) texts["MICRON"] = false;
    if (!allowed.empty())
        for (const std::string& keyword : split(allowed)) texts[keyword] = true;
    return texts;
}

class DocumentTest : public InstallationTest {
  protected:
    // The schema, and the description alone, say the same of a document.
    void expect(const std::string& xml, bool is_good) const {
        const element_ptr tree =
            owned(PGM_COMMON_XML::parse_bytes(m_document->kind, xml, "test.xml"));
        EXPECT_EQ(tree != nullptr, is_good) << "description\n" << xml;
        std::string first, second;
        const std::string schema = m_root + "xsd/" + m_document->schema;
        PGM_COMMON_XML::check_bytes(xml, "test.xml", schema, first, second);
        EXPECT_EQ(first, "");
        // What the schema itself finds is told in its own words.
        const bool breaks_schema = second.find(": Element '") != std::string::npos;
        EXPECT_TRUE(is_good ? second.empty() : breaks_schema) << "schema\n" << second << xml;
    }

    // Walks an element that stands between these texts. What an element is like in itself is tried
    // once, the counts of its children at each place where it can stand.
    void walk(const DESCRIPTION& element, const std::string& before, const std::string& after) {
        if (m_names.insert(pgm_common_xml_name(element.tag)).second)
            try_values(element, before, after);
        std::string lead = before + start_of(element);
        std::string rest = spelled(element, "").substr(start_of(element).size()) + after;
        for (const PGM_COMMON_XML_CHILD& row : element.children) {
            const std::string child = spelled(*row.element);
            const unsigned least = row.counts->front().front();
            rest.erase(0, least * child.size());
            expect(lead + rest, least == 0);
            expect(lead + child + child + rest, least <= 2 && row.counts->back().back() >= 2);
            walk(*row.element, lead, rest);
            for (unsigned i = 0; i < least; ++i) lead += child;
        }
    }

    void try_values(const DESCRIPTION& element, const std::string& before,
                    const std::string& after) {
        expect(before + spelled(element) + after, true);
        if (element.type != PGM_XML_TYPE_NONE)
            for (const auto& [text, is_good] : texts_of(element.type, ""))
                expect(before + spelled(element, text) + after, is_good);
        for (const PGM_COMMON_XML_ATTRIBUTE& row : element.attributes) {
            m_names.insert(row.name);
            for (const auto& [text, is_good] : texts_of(row.type, row.allowed_values))
                expect(before + spelled(element, "1", text) + after, is_good);
        }
    }

    const DOCUMENT* m_document = nullptr;
    std::set<std::string> m_names;  // of elements and attributes that were met
};

// Each child left out and doubled, and each value and attribute of a wrong type.
TEST_F(DocumentTest, DescriptionsAndSchemasSayTheSame) {
    for (const DOCUMENT& document : documents) {
        SCOPED_TRACE(document.schema);
        m_names.clear();
        m_document = &document;
        walk(document.root, "", "");
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
    const element_ptr element(description.create());
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
    const auto tag = PGM_COMMON_XML_ENUM_ACTION;
    PGM_COMMON_XML_ZORVA_QSPI_ACTION a(tag), b(tag), c(tag);
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
        operation.add_child(new PGM_COMMON_XML_ZORVA_QSPI_ACTION(tag), nullptr);
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
    const auto attribute = [](auto name, auto type, auto exist, void* member) {
        return [=] { PGM_XML_ATTRIBUTE(name, type, exist, "", "", member); };
    };
    const auto text = PGM_XML_TYPE_TEXT;
    const auto none = PGM_XML_EXIST_NONE;
    const struct {
        std::string text;
        std::function<void()> call;
    } rows[] = {
        {"expected_data_mask.size()", [&] { action.group_child(&mask, true, true); }},
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
    const auto name = [](int value) {
        return pgm_common_xml_name(number<PGM_COMMON_XML_ENUM>(value));
    };
    EXPECT_STREQ(name(21), "SDM");
    EXPECT_STREQ(name(388), "SDMMC_FLASH");
    for (const int none : {-1, 0, 1, 389, 487}) EXPECT_STREQ(name(none), "_INVALID__") << none;
}

}  // namespace
