// The element classes of both documents.
#include "h/pgm_common_xml_zorva_qspi_auto_export.h"
#include "h/pgm_common_xml_zorva_sdmmc_auto_export.h"
#include "services/pgm_common.h"
#include "tests/test_support.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

namespace {

using element_ptr = std::unique_ptr<PGM_COMMON_XML_ELEMENT>;

element_ptr parsed(PGM_COMMON_XML_FILE_ENUM kind, const std::string& xml) {
    return element_ptr(
        static_cast<PGM_COMMON_XML_ELEMENT*>(PGM_COMMON_XML::parse_bytes(kind, xml, "test.xml")));
}

// The text with its first element of that tag standing twice.
std::string doubled(const std::string& xml, const std::string& tag) {
    const std::string rest = without(xml, tag);
    const auto differs = std::mismatch(xml.begin(), xml.end(), rest.begin(), rest.end());
    const auto at = static_cast<std::size_t>(differs.first - xml.begin());
    return std::string(xml).insert(at, xml.substr(at, xml.size() - rest.size()));
}

enum class allowed { one, none_or_one, any };

struct child_row {
    std::string parent, child;
    allowed count;
    PGM_COMMON_XML_FILE_ENUM kind;
    std::string document;  // its first element of the child's tag stands below the parent
};

std::string every_child(const char* type) {
    std::string xml = std::string("<ACTION type=\"") + type + "\">";
    for (const char* tag :
         {"NAME", "COMMAND", "ADDRESS", "DATA", "DATA_LENGTH", "EXPECTED_DATA",
          "EXPECTED_DATA_MASK", "ATTEMPT_COUNT", "PAGE_SIZE", "ERASE_SIZE", "ADDRESSING_MODE",
          "ACT_DUMMY_CLOCK_CYCLE", "DELAY", "BUS_WIDTH", "DESCRIPTION", "DIRECTION"}) {
        xml += std::string("<") + tag + ">1</" + tag + ">";
    }
    return xml + "</ACTION>";
}

const char* const sdmmc_document =
    "<SDMMC_FLASH version=\"1\"><FLASH><DEVICE_INFO><DEVICE_NAME>CARD</DEVICE_NAME>"
    "<DEVICE_IO_VOLTAGE>1.8V</DEVICE_IO_VOLTAGE><DEVICE_DENSITY>8GB</DEVICE_DENSITY>"
    "</DEVICE_INFO></FLASH></SDMMC_FLASH>";

std::vector<child_row> child_rows() {
    std::vector<child_row> rows;
    const auto add = [&rows](const char* parent, allowed count, const std::string& document,
                             const std::vector<const char*>& children,
                             PGM_COMMON_XML_FILE_ENUM kind = PGM_COMMON_XML_FILE_QSPI) {
        for (const char* child : children) rows.push_back({parent, child, count, kind, document});
    };
    const std::string device_document = document(device(device_text{}));
    const std::string golden_document = document(golden_template());
    add("QSPI_FLASH", allowed::none_or_one, golden_document, {"GOLDEN_TEMPLATE"});
    add("QSPI_FLASH", allowed::any, device_document, {"FLASH"});
    add("QSPI_FLASH", allowed::any, document(user_template("T")), {"USER_TEMPLATE"});
    add("GOLDEN_TEMPLATE", allowed::one, golden_document,
        {"MICRON", "MACRONIX", "CYPRESS", "WINBOND", "ISSI"});
    add("MICRON", allowed::one, golden_document, {"PROGRAMMING_FLOW"});
    add("FLASH", allowed::one, device_document, {"DEVICE_INFO", "PROGRAMMING_FLOW"});
    add("USER_TEMPLATE", allowed::one, document(user_template("T")),
        {"TEMPLATE_NAME", "PROGRAMMING_FLOW"});
    add("DEVICE_INFO", allowed::one, device_document,
        {"DEVICE_NAME", "DEVICE_ID", "DEVICE_IO_VOLTAGE", "DEVICE_DENSITY", "TOTAL_DEVICE_DIE",
         "DUMMY_CLOCK_CYCLE", "DUMMY_CLOCK_CYCLE_X4", "PROG_FLOW_TEMPLATE"});
    add("PROGRAMMING_FLOW", allowed::one, device_document, {"SFL", "SDM"});
    const std::vector<const char*> operations = {"INITIALIZATION", "PROGRAM", "ERASE",
                                                 "VERIFY_BLANKCHECK_EXAMINE", "TERMINATION"};
    add("SFL", allowed::one, device_document, operations);
    std::string sdm_first = device_document;
    for (const auto& [from, to] :
         {std::pair("SFL>", "first>"), std::pair("SFL>", "first>"), std::pair("SDM>", "SFL>"),
          std::pair("SDM>", "SFL>"), std::pair("first>", "SDM>"), std::pair("first>", "SDM>")}) {
        sdm_first = replaced(sdm_first, from, to);
    }
    add("SDM", allowed::one, sdm_first, operations);
    for (const char* operation : operations) {
        const std::string empty = std::string("<") + operation + "/>";
        const std::string no_action = document(device(device_text{.flow = flows("", "")}));
        const std::string filled = replaced(
            replaced(no_action, "<PROGRAM></PROGRAM>", "<PROGRAM/>"), empty,
            std::string("<") + operation + ">" + every_child("CUSTOM") + "</" + operation + ">");
        add(operation, allowed::any, filled, {"ACTION"});
    }
    add("ACTION", allowed::none_or_one,
        document(device(device_text{.flow = flows(every_child("ERASE"))})),
        {"NAME", "COMMAND", "ADDRESS", "DATA", "DATA_LENGTH", "EXPECTED_DATA", "EXPECTED_DATA_MASK",
         "ATTEMPT_COUNT", "PAGE_SIZE", "ERASE_SIZE", "ADDRESSING_MODE", "ACT_DUMMY_CLOCK_CYCLE",
         "DELAY", "BUS_WIDTH", "DESCRIPTION", "DIRECTION"});
    add("SDMMC_FLASH", allowed::any, sdmmc_document, {"FLASH"}, PGM_COMMON_XML_FILE_SDMMC);
    add("FLASH", allowed::one, sdmmc_document, {"DEVICE_INFO"}, PGM_COMMON_XML_FILE_SDMMC);
    add("DEVICE_INFO", allowed::one, sdmmc_document,
        {"DEVICE_NAME", "DEVICE_IO_VOLTAGE", "DEVICE_DENSITY"}, PGM_COMMON_XML_FILE_SDMMC);
    return rows;
}

class DocumentTest : public InstallationTest {
  protected:
    void expect(const child_row& row, const std::string& xml, bool good) {
        EXPECT_EQ(parsed(row.kind, xml) != nullptr, good) << xml;
        const std::string schema =
            m_root +
            (row.kind == PGM_COMMON_XML_FILE_QSPI ? "xsd/zorva_qspi.xsd" : "xsd/zorva_sdmmc.xsd");
        std::string first;
        std::string second;
        PGM_COMMON_XML::check_bytes(xml, "test.xml", schema, first, second);
        EXPECT_EQ(first, "");
        EXPECT_EQ(second.empty(), good) << second << xml;
    }
};

// The counts that the classes declare and those of the schemas are one.
TEST_F(DocumentTest, EachChildRemovedAndDoubled) {
    for (const child_row& row : child_rows()) {
        SCOPED_TRACE(row.parent + " / " + row.child);
        expect(row, row.document, true);
        expect(row, without(row.document, row.child), row.count != allowed::one);
        expect(row, doubled(row.document, row.child), row.count == allowed::any);
    }
}

TEST_F(DocumentTest, TypedListsHoldTheChildrenInDocumentOrder) {
    const element_ptr tree = parsed(
        PGM_COMMON_XML_FILE_QSPI, document(golden_template() + device(device_text{.name = "A"}) +
                                           user_template("T") + device(device_text{.name = "B"})));
    ASSERT_NE(tree, nullptr);
    auto& root = dynamic_cast<PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH&>(*tree);
    EXPECT_EQ(root.version, 1U);
    EXPECT_EQ(root.golden_template.size(), 1U);
    EXPECT_EQ(root.user_template.size(), 1U);
    ASSERT_EQ(root.flash.size(), 2U);
    EXPECT_EQ(root.flash, root.get_childs(PGM_COMMON_XML_ENUM_FLASH, true));
    const auto& flash = dynamic_cast<PGM_COMMON_XML_ZORVA_QSPI_FLASH&>(*root.flash[1]);
    const auto& info =
        dynamic_cast<PGM_COMMON_XML_ZORVA_QSPI_DEVICE_INFO&>(*flash.device_info.at(0));
    EXPECT_EQ(dynamic_cast<PGM_COMMON_XML_ZORVA_QSPI_DEVICE_NAME&>(*info.device_name.at(0)).value,
              "B");
    const auto& die =
        dynamic_cast<PGM_COMMON_XML_ZORVA_QSPI_TOTAL_DEVICE_DIE&>(*info.total_device_die.at(0));
    EXPECT_EQ(die.value, 1U);
    EXPECT_EQ(die.get_sub_class_type(), PGM_COMMON_XML_ENUM_TOTAL_DEVICE_DIE);

    const PGM_COMMON_XML_ELEMENT* golden = root.golden_template[0];
    const auto vendors = golden->get_childs(PGM_COMMON_XML_ENUM_WINBOND, true);
    ASSERT_EQ(vendors.size(), 1U);
    EXPECT_EQ(vendors[0]->get_child_count(PGM_COMMON_XML_ENUM_PROGRAMMING_FLOW, true), 1U);
}

TEST_F(DocumentTest, GroupChildKeepsTheOrder) {
    PGM_COMMON_XML_ZORVA_QSPI_ERASE operation(PGM_COMMON_XML_ENUM_ERASE);
    PGM_COMMON_XML_ZORVA_QSPI_ACTION a(PGM_COMMON_XML_ENUM_ACTION);
    PGM_COMMON_XML_ZORVA_QSPI_ACTION b(PGM_COMMON_XML_ENUM_ACTION);
    PGM_COMMON_XML_ZORVA_QSPI_ACTION c(PGM_COMMON_XML_ENUM_ACTION);
    using list = PGM_COMMON_XML_ELEMENT::CHILDREN;
    operation.group_child(&b, false, true);
    operation.group_child(&c, false, true);
    operation.group_child(&a, false, false);
    EXPECT_EQ(operation.action, (list{&a, &b, &c}));
    operation.group_child(&a, true, false);
    operation.group_child(&c, true, true);
    EXPECT_EQ(operation.action, list{&b});
    operation.clear_child_groups();
    EXPECT_EQ(operation.action, list{});
}

TEST_F(DocumentTest, BrokenTreesAreInternalErrors) {
    PGM_COMMON_XML_ZORVA_QSPI_ACTION action(PGM_COMMON_XML_ENUM_ACTION);
    PGM_COMMON_XML_ZORVA_QSPI_EXPECTED_DATA_MASK mask(PGM_COMMON_XML_ENUM_EXPECTED_DATA_MASK);
    PGM_COMMON_XML_ZORVA_QSPI_FLASH flash(PGM_COMMON_XML_ENUM_FLASH);
    PGM_COMMON_XML_ZORVA_QSPI_GOLDEN golden(PGM_COMMON_XML_ENUM_MICRON);
    const struct {
        std::string text;
        std::function<void()> call;
    } rows[] = {
        {"expected_data_mask.size()", [&] { action.group_child(&mask, true, true); }},
        {R"(Element "ACTION" does not support child element "FLASH")",
         [&] { action.group_child(&flash, false, true); }},
        {R"(Element "EXPECTED_DATA_MASK" does not support child element "ACTION")",
         [&] { mask.group_child(&action, false, true); }},
        {R"(Element "MICRON" does not support child element "FLASH")",
         [&] { golden.group_child(&flash, false, true); }},
        {"name.size()",
         [&] { PGM_XML_ATTRIBUTE("", PGM_XML_TYPE_TEXT, PGM_XML_EXIST_NONE, "", "", &action); }},
        {"type < PGM_XML_TYPE_INVALID",
         [&] {
             PGM_XML_ATTRIBUTE("a", PGM_XML_TYPE_INVALID, PGM_XML_EXIST_NONE, "", "", &action);
         }},
        {"exist < PGM_XML_EXIST_INVALID",
         [&] {
             PGM_XML_ATTRIBUTE("a", PGM_XML_TYPE_TEXT, PGM_XML_EXIST_INVALID, "", "", &action);
         }},
        {"ptr != NULL",
         [&] { PGM_XML_ATTRIBUTE("a", PGM_XML_TYPE_TEXT, PGM_XML_EXIST_NONE, "", "", nullptr); }},
        {"ptr == NULL",
         [&] {
             PGM_XML_ATTRIBUTE("__hidden__", PGM_XML_TYPE_TEXT, PGM_XML_EXIST_NONE, "", "",
                               &action);
         }},
        {"",
         [&] {
             PGM_XML_ATTRIBUTE("__hidden__", PGM_XML_TYPE_TEXT, PGM_XML_EXIST_NONE, "", "",
                               nullptr);
         }},
    };
    for (const auto& row : rows) EXPECT_EQ(internal_error_of(row.call), row.text);
    EXPECT_NE(internal_error_of([&] { mask.write_value(1); }), "");
    pgm_host::set_internal_error_handler(
        [](const char*, const char*, const char* file, int) { throw internal_error(file); });
    EXPECT_EQ(internal_error_of([&] { mask.write_value(1); }), "pgm/h/pgm_common_xml_export.cpp");
    EXPECT_NE(internal_error_of([&] { action.write_attribute_string("unit", "us"); }), "");
}

TEST_F(DocumentTest, NamesOfNumbers) {
    const std::pair<int, const char*> rows[] = {
        {0, "_INVALID__"},   {1, "_INVALID__"},   {21, "SDM"},       {388, "SDMMC_FLASH"},
        {389, "_INVALID__"}, {487, "_INVALID__"}, {-1, "_INVALID__"}};
    for (const auto& [value, name] : rows)
        EXPECT_STREQ(pgm_common_xml_name(number<PGM_COMMON_XML_ENUM>(value)), name) << value;
}

TEST_F(DocumentTest, DefaultsOfNewElements) {
    const PGM_COMMON_XML_ZORVA_QSPI_DELAY delay(PGM_COMMON_XML_ENUM_DELAY);
    EXPECT_EQ(delay.unit, "us");
    EXPECT_EQ(delay.value, 0U);
    EXPECT_EQ(PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH(PGM_COMMON_XML_ENUM_QSPI_FLASH).version, 1U);
    EXPECT_EQ(PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH(PGM_COMMON_XML_ENUM_SDMMC_FLASH).version, 1U);
    EXPECT_EQ(PGM_COMMON_XML_ZORVA_QSPI_ACTION(PGM_COMMON_XML_ENUM_ACTION).type,
              PGM_COMMON_XML_ENUM__INVALID__);
    EXPECT_EQ(PGM_COMMON_XML_ZORVA_QSPI_PAGE_SIZE(PGM_COMMON_XML_ENUM_PAGE_SIZE).read_value(), "0");
    EXPECT_EQ(PGM_COMMON_XML_ZORVA_QSPI_NAME(PGM_COMMON_XML_ENUM_NAME).read_value(), "");
}

}  // namespace
