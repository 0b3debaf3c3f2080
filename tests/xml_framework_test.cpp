#include "services/file.h"
#include "tests/xml_test.h"

#include <algorithm>
#include <filesystem>
#include <functional>

namespace fs = std::filesystem;

namespace {

const std::string root = "<QSPI_FLASH version=\"1\">";
const std::string good = document(device(device_text{}));

std::string times(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

TEST_F(XmlTest, HostileFilesAreRefusedWhole) {
    const std::string external =
        "<!DOCTYPE QSPI_FLASH SYSTEM \"http://127.0.0.1/a.dtd\" [<!ENTITY a \"aaaaaaaaaa\">"
        "<!ENTITY b \"&a;&a;&a;&a;&a;\"><!ENTITY x SYSTEM \"file:///etc/passwd\">]>";
    const struct {
        const char* name;
        std::string xml;
        const char* line_and_reason;
    } rows[] = {
        {"empty", "", ":1: The file is empty."},
        {"blank", " \n ", ":2:"},
        {"cut off", root + "\n<FLASH>", ":2:"},
        {"two roots", empty_document + "\n" + empty_document, ":2:"},
        {"NUL", root + "\n" + '\0' + "</QSPI_FLASH>", ":2:"},
        {"invalid UTF-8", described("\xC3("), ":"},
        {"unknown entity", described("&nothing;"), ":"},
        {"unknown prefix", root + "\n<a:FLASH/></QSPI_FLASH>", ":2:"},
        {"DOCTYPE", "\n<!DOCTYPE QSPI_FLASH>" + empty_document, ":2: A DOCTYPE"},
        {"entities", external + described("&b;&x;"), ":1: A DOCTYPE"},
        {"deep", root + times(64, "<FLASH>"), ":1: The elements are nested too deep."},
        {"large", empty_document + std::string(64 << 20, ' '), ":1: The file is larger"},
        {"many", document(times(1'000'000, "<a/>")), ":2: There are more than 1,000,000 elements."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto [first, second] = check(row.xml);
        EXPECT_TRUE(first.starts_with(std::string("test.xml") + row.line_and_reason)) << first;
        EXPECT_EQ(std::count(first.begin(), first.end(), '\n'), 0) << first;
        EXPECT_EQ(second, "");
        m_traces.clear();
        EXPECT_EQ(parsed(row.xml), nullptr);
        EXPECT_EQ(m_traces, std::vector{first});
    }
}

TEST_F(XmlTest, EncodingsMarkupAndTextsOfAnyWellFormedFile) {
    const std::string plain = described("x");
    std::string utf16 = "\xFF\xFE";
    for (const char c : plain) utf16 += {c, '\0'};
    const std::string large(3 << 20, 'x');
    const struct {
        const char* name;
        std::string xml;
        std::string description = "x";
    } rows[] = {
        {"byte order mark and CRLF", "\xEF\xBB\xBF" + replaced(plain, "\n", "\r\n")},
        {"UTF-16", utf16},
        {"Latin-1", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + described("\xE4"),
         "\xC3\xA4"},
        {"comments", "<!-- a --><?pi?>" + replaced(plain, "<FLASH>", "<!-- b --><FLASH>")},
        {"schema named", replaced(plain, "version",
                                  "xmlns:x=\"http://www.w3.org/2001/XMLSchema-instance\" "
                                  "x:noNamespaceSchemaLocation=\"a.xsd\" version")},
        {"no text", described(""), ""},
        {"blanks", described(" \n\t a "), " \n\t a "},
        {"references", described("&amp;&lt;&gt;&quot;&apos;&#10;&#13;&#x41;"), "&<>\"'\n\rA"},
        {"markup", described("a<!-- b -->c<?d e?>f<![CDATA[ <a> & ]]>g<![CDATA[]]>"),
         "acf <a> & g"},
        {"four bytes", described("\xF0\x9F\x98\x80"), "\xF0\x9F\x98\x80"},
        {"large", described(large), large},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(description_of(parsed(row.xml)), row.description);
        const std::string file = write_custom("a.xml", row.xml);
        const auto [first, second] = check_file(file);
        EXPECT_EQ(first + second, "");
        EXPECT_EQ(description_of(parse_file(file)), row.description);
    }
}

TEST_F(XmlTest, LinesAreThoseOfTheStartTagsAlsoBeyondSixteenBits) {
    const std::string late =
        "\n" + replaced(document(std::string(70000, '\n') + device(device_text{})), " v", "\nv");
    const element_ptr tree = parsed(late);
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->get_line(), 2U);
    EXPECT_EQ(find(*tree, PGM_COMMON_XML_ENUM_FLASH)->get_line(), 70004U);
    const struct {
        const char *name, *from, *to, *error;
    } rows[] = {
        {"value", "<TOTAL_DEVICE_DIE>1", "<TOTAL_DEVICE_DIE>x", "test.xml:70009: "},
        {"missing child", "<TERMINATION/>", "", "test.xml:70014: "},
        {"unexpected child", "<DEVICE_ID>", "\n<NAME/><DEVICE_ID>", "test.xml:70007: "},
        {"syntax", "<DEVICE_ID>", "<DEVICE_ID", "test.xml:70006: "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto [first, second] = check(replaced(late, row.from, row.to));
        EXPECT_EQ((first + second).substr(0, 16), row.error) << first << second;
    }
}

TEST_F(XmlTest, EachBreachIsALineUpToAHundred) {
    const std::string bad = device(device_text{.total_die = "x"});
    const auto breaches = [&](int count) {
        const std::string text = check(document(times(count, bad))).second;
        return std::count(text.begin(), text.end(), '\n') + 1;
    };
    EXPECT_EQ(breaches(10), 10 * breaches(1));
    EXPECT_EQ(breaches(210), 101);
    EXPECT_NE(check(document(times(210, bad))).second.find("There are more errors"), bad.npos);
    // A value of any length makes one line of a sensible length.
    const device_text endless{.total_die = "x\n" + std::string(100000, 'y')};
    EXPECT_LT(check(document(device(endless))).second.size(), 3000U);
    // It is cut between characters, whatever place of one the limit falls on.
    for (const std::string lead : {"", "a", "ab"}) {
        const std::string name = lead + times(200, "\xE2\x82\xAC");
        const std::string unknown = check(document("<" + name + "/>")).second;
        const std::string first_line = unknown.substr(0, unknown.find('\n'));
        EXPECT_TRUE(first_line.ends_with("\xE2\x82\xAC...")) << first_line;
        EXPECT_GT(first_line.size(), 490U);
    }
}

TEST_F(XmlTest, AFileOfAnotherKindIsToldByItsRoot) {
    const auto [first, second] = check("<!-- a -->\n<SDMMC_FLASH version=\"1\">\n<<<");
    EXPECT_EQ(first, "");
    EXPECT_EQ(second, "test.xml:2: The root element is SDMMC_FLASH, not QSPI_FLASH.");
    // By its name without a namespace, and to the parse alone too.
    const std::string foreign = "<QSPI_FLASH xmlns=\"urn:x\" version=\"1\"/>";
    const std::string reason = "test.xml:1: The root element is QSPI_FLASH, not QSPI_FLASH.";
    EXPECT_EQ(check(foreign).second, reason);
    EXPECT_EQ(parsed(foreign), nullptr);
    EXPECT_EQ(m_traces, std::vector{reason});
}

TEST_F(XmlTest, AnUnreadableFileTellsWhy) {
    const std::string file = m_custom_dir + "nothing.xml";
    EXPECT_EQ(check_file(file).first,
              file + ":1: The file can't be read: No such file or directory.");
    EXPECT_NE(check_file(m_custom_dir).first, "");
    EXPECT_EQ(parse_file(file, true), nullptr);
    EXPECT_EQ(m_traces.size(), 1U);
    // A parse that no check went ahead of checks the file itself.
    const std::string bad = write_custom("a.xml", document(device(device_text{.name = ""})));
    EXPECT_EQ(parse_file(bad), nullptr);
    ASSERT_EQ(m_traces.size(), 2U);
    EXPECT_TRUE(m_traces[1].starts_with(bad + ":")) << m_traces[1];
}

TEST_F(XmlTest, WhatWasCheckedIsParsedOnce) {
    const std::string file = write_custom("a.xml", described("old"));
    const std::string other = write_custom("b.xml", described("other"));
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"the parse", [&] { EXPECT_EQ(description_of(parse_file(file)), "old"); }},
        {"another parse", [&] { parse_file(other); }},
        {"parse as shipped", [&] { EXPECT_EQ(description_of(parse_file(file, true)), "new"); }},
        {"another check", [&] { check_file(other); }},
        {"failed check", [&] { check_file("nothing"); }},
        {"check of bytes", [&] { check(empty_document); }},
        {"parse of bytes", [&] { parsed(empty_document); }},
        {"another disk", [&] { pgm_host::set_file_system(nullptr); }},
        {"reset", [] { pgm_host::reset(); }},
    };
    for (const auto& [name, between] : rows) {
        SCOPED_TRACE(name);
        write_file(file, described("old"));
        check_file(file);
        write_file(file, described("new"));
        between();
        EXPECT_EQ(description_of(parse_file(file)), "new");
    }
}

TEST_F(XmlTest, AShippedFileKeepsTheRulesOfTheClassesOnly) {
    const struct {
        const char *name, *from, *to;
        bool taken;
    } rows[] = {
        {"wrong count", "<TERMINATION/>", "", true},
        {"empty name", "<DEVICE_NAME>DEVICE", "<DEVICE_NAME>", true},
        {"blanks around a number", "<TOTAL_DEVICE_DIE>1", "<TOTAL_DEVICE_DIE> 1\n", true},
        {"unknown element", "<TERMINATION/>", "<ENDING/>", false},
        {"element of another document", "<TERMINATION/>", "<SDMMC_FLASH/>", false},
        {"element of another namespace", "<TERMINATION/>", "<TERMINATION xmlns=\"urn:x\"/>", false},
        {"unknown attribute", "<FLASH>", "<FLASH a=\"1\">", false},
        {"attribute of another namespace", "<FLASH>", "<FLASH xmlns:a=\"urn:x\" a:b=\"1\">", false},
        {"no type", " type=\"WRITE_REG\"", "", false},
        {"type of another kind", "\"WRITE_REG\"", "\"MICRON\"", false},
        {"no number", "version=\"1\"", "version=\"one\"", false},
        {"empty number", "<TOTAL_DEVICE_DIE>1", "<TOTAL_DEVICE_DIE>", false},
        {"large number", "<TOTAL_DEVICE_DIE>1", "<TOTAL_DEVICE_DIE>4294967296", false},
        {"hexadecimal number", "<TOTAL_DEVICE_DIE>1", "<TOTAL_DEVICE_DIE>0x1", false},
        {"text between elements", "<FLASH>", "<FLASH>text", false},
        {"root of another kind", "<QSPI_FLASH version=\"1\">", "<SDMMC_FLASH/><", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        m_traces.clear();
        const std::string xml = replaced(good, row.from, row.to);
        const std::string file = write_shipped(xml);
        EXPECT_EQ(parse_file(file, true) != nullptr, row.taken);
        ASSERT_EQ(m_traces.size(), row.taken ? 0U : 1U);
        if (row.taken) continue;
        EXPECT_TRUE(m_traces[0].starts_with(file + ":")) << m_traces[0];
        EXPECT_NE(check(xml).second, "");
    }
}

TEST_F(XmlTest, AMisplacedElementOfAShippedFileIsAnInternalError) {
    const std::pair<std::string, std::string> rows[] = {{"<TERMINATION/>", "SFL"},
                                                        {"DEVICE</DEVICE_NAME>", "DEVICE_NAME"},
                                                        {"<FLASH>", "QSPI_FLASH"}};
    for (const auto& [place, parent] : rows) {
        const std::string xml = replaced(good, place, "<NAME/>" + place);
        EXPECT_EQ(internal_error_of([&] { parse_file(write_shipped(xml), true); }),
                  "Element \"" + parent + "\" does not support child element \"NAME\"");
        // It is one of a whole file only, and a user's file is a different matter.
        EXPECT_EQ(parse_file(write_shipped(xml + "<"), true), nullptr);
        EXPECT_EQ(parsed(xml), nullptr);
    }
}

TEST_F(XmlTest, TheSchemaIsTheFileAsItStands) {
    const auto schema_of = [](const std::string& type) {
        return "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">\n<xs:element "
               "name=\"QSPI_FLASH\" type=\"" +
               type + "\"/></xs:schema>";
    };
    const std::string wrong_count = document(device(device_text{}) + "<FLASH/>");
    EXPECT_NE(check(wrong_count).second, "");
    write_file(m_schema, schema_of("xs:anyType"));
    EXPECT_EQ(check(good).second, "");
    // Counts hold even where a schema forgets them.
    EXPECT_NE(check(wrong_count).second, "");

    const std::pair<std::string, const char*> rows[] = {
        {"", ":1: This is not a schema."}, {"<a/>", ":1: "}, {schema_of("nothing"), ":2: "}};
    for (const auto& [schema, error] : rows) {
        write_file(m_schema, schema);
        const auto [first, second] = check(empty_document);
        EXPECT_TRUE(first.starts_with(m_schema + error)) << first;
        EXPECT_EQ(second, "");
    }
    fs::remove(m_schema);
    EXPECT_TRUE(check(empty_document).first.starts_with(m_schema + ":1: The file can't be read"));
    write_file(m_schema, schema_of("xs:anyType"));
    EXPECT_EQ(check(empty_document).first, "");
}

}  // namespace
