// What the XML framework writes, and that it reads that again.
#include "tests/xml_test.h"

namespace {

TEST_F(XmlTest, WrittenTextsReadBackToTheSameBytes) {
    const element_ptr tree = parsed(described("x"));
    auto* description =
        const_cast<PGM_COMMON_XML_ELEMENT*>(find(*tree, PGM_COMMON_XML_ENUM_DESCRIPTION));
    for (const std::string text : {"", "  ", " a ", "\n", "a\r\nb\tc", "&amp;<b>]]>\"'", "\xC3\xA4",
                                   "\xF4\x8F\xBF\xBD", "\x7F"}) {
        SCOPED_TRACE(text);
        description->write_string(text);
        const std::string bytes = PGM_COMMON_XML::write_bytes(tree.get());
        EXPECT_EQ(description_of(parsed(bytes)), text) << bytes;
    }
    for (const std::string& text :
         {std::string("\0", 1), std::string("\x01"), std::string("\xC3("), std::string("\x80"),
          std::string("\xBF\xBF"), std::string("\xC0\x80"), std::string("\xC1\x81"),
          std::string("\xE0\x81\x81"), std::string("\xF0\x80\x81\x81"), std::string("\xED\xA0\x80"),
          std::string("\xEF\xBF\xBE"), std::string("\xEF\xBF\xBF"), std::string("\xF4\x90\x80\x80"),
          std::string("\xF9\x80\x80\x80"), std::string("\xE2\x82")}) {
        description->write_string("a" + text);
        EXPECT_EQ(PGM_COMMON_XML::write_bytes(tree.get()), "") << text;
    }
}

TEST_F(XmlTest, WrittenForm) {
    const std::string written = R"(<?xml version="1.0" encoding="UTF-8"?>
<!--1
2-->
<QSPI_FLASH version="7">
  <USER_TEMPLATE>
    <TEMPLATE_NAME>T</TEMPLATE_NAME>
    <PROGRAMMING_FLOW>
      <SFL>
        <INITIALIZATION/>
        <PROGRAM>
          <ACTION type="ERASE">
            <DELAY unit="m&#10;s">5<!--3--></DELAY>
          </ACTION>
        </PROGRAM>
        <ERASE/>
        <VERIFY_BLANKCHECK_EXAMINE/>
        <TERMINATION/>
      </SFL>
      <SDM>
        <INITIALIZATION/>
        <PROGRAM/>
        <ERASE>
          <!--4-->
        </ERASE>
        <VERIFY_BLANKCHECK_EXAMINE/>
        <TERMINATION/>
      </SDM>
    </PROGRAMMING_FLOW>
  </USER_TEMPLATE>
</QSPI_FLASH>
<!--5-->
)";
    std::string one_line = written;
    for (std::string::size_type at; (at = one_line.find("\n ")) != std::string::npos;)
        one_line.erase(at, one_line.find('<', at) - at);
    const element_ptr tree = parsed(one_line);
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(PGM_COMMON_XML::write_bytes(tree.get()), written);
    for (const char* text : {"a--b", "a-", "-", "a\rb", "\x01", "\xC3("}) {
        SCOPED_TRACE(text);
        tree->edit_comments().ahead = {text};
        EXPECT_EQ(PGM_COMMON_XML::write_bytes(tree.get()), "");
    }
}

TEST_F(XmlTest, CommentsAreKeptForARewrite) {
    const std::string plain = document(device(device_text{}) + device(device_text{.name = "B"}));
    const std::string bare = PGM_COMMON_XML::write_bytes(parsed(plain).get());
    const struct {
        const char* name;
        std::string xml;      // of the plain document with comments
        std::string written;  // as it is written again
    } rows[] = {
        {"around the root",
         "<?xml version=\"1.0\"?><!--a--><?pi?>\n<!-- b -->" + plain + "<!--c-->\n<!--d-->",
         replaced(bare, "<QSPI_FLASH", "<!--a-->\n<!-- b -->\n<QSPI_FLASH") +
             "<!--c-->\n<!--d-->\n"},
        {"at the root's end", replaced(plain, "</QSPI_FLASH>", "<!--a--></QSPI_FLASH>"),
         replaced(bare, "</QSPI_FLASH>", "  <!--a-->\n</QSPI_FLASH>")},
        {"between siblings",
         replaced(plain, "</FLASH>\n<FLASH>", "</FLASH><!--a-->\n<!----><FLASH><!--c-->"),
         replaced(bare, "</FLASH>\n  <FLASH>\n",
                  "</FLASH>\n  <!--a-->\n  <!---->\n  <FLASH>\n    <!--c-->\n")},
        {"in an empty container", replaced(plain, "<ERASE/>", "<ERASE> <!--a--> <!--b--></ERASE>"),
         replaced(bare, "<ERASE/>",
                  "<ERASE>\n          <!--a-->\n          <!--b-->\n        </ERASE>")},
        {"in a value", replaced(plain, ">DEVICE<", "><!--a-->DE<!-- <b>&amp; -->VICE<!--c--><"),
         replaced(bare, ">DEVICE<", ">DEVICE<!--a--><!-- <b>&amp; --><!--c--><")},
        {"of many lines, with CRLF",
         replaced(plain, "<FLASH>", "<!--\r\n  \xC3\xA4\r\t]]> \n-->\r\n<FLASH>"),
         replaced(bare, "<FLASH>", "<!--\n  \xC3\xA4\n\t]]> \n-->\n  <FLASH>")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string written = PGM_COMMON_XML::write_bytes(parsed(row.xml).get());
        EXPECT_EQ(written, row.written);
        EXPECT_EQ(PGM_COMMON_XML::write_bytes(parsed(written).get()), written);
        EXPECT_EQ(check(written).second, "");
        // A load has none of them.
        const std::string file = write_custom("a.xml", row.xml);
        EXPECT_EQ(PGM_COMMON_XML::write_bytes(parse_file(file).get()), bare);
    }
}

}  // namespace
