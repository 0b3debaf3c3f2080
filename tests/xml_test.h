// What the tests of the XML framework share.
#pragma once

#include "services/pgm_common.h"
#include "tests/test_support.h"

#include <memory>
#include <string>

using element_ptr = std::unique_ptr<PGM_COMMON_XML_ELEMENT>;

inline const std::string empty_document = "<QSPI_FLASH version=\"1\"/>";

struct verdict {
    std::string first, second;
};

// A DESCRIPTION can hold any text.
inline std::string described(const std::string& description) {
    return document(device(device_text{.flow = flows("<ACTION type=\"CUSTOM\"><DESCRIPTION>" +
                                                     description + "</DESCRIPTION></ACTION>")}));
}

inline const PGM_COMMON_XML_ELEMENT* find(const PGM_COMMON_XML_ELEMENT& element,
                                          PGM_COMMON_XML_ENUM tag) {
    if (element.get_type() == tag) return &element;
    for (const PGM_COMMON_XML_ELEMENT* child : element.get_all_childs()) {
        if (const PGM_COMMON_XML_ELEMENT* found = find(*child, tag)) return found;
    }
    return nullptr;
}

inline std::string description_of(const element_ptr& tree) {
    return tree ? find(*tree, PGM_COMMON_XML_ENUM_DESCRIPTION)->read_value() : "no tree";
}

inline element_ptr owned(void* root) {
    return element_ptr(static_cast<PGM_COMMON_XML_ELEMENT*>(root));
}

inline element_ptr parsed(const std::string& xml) {
    return owned(PGM_COMMON_XML::parse_bytes(PGM_COMMON_XML_FILE_QSPI, xml, "test.xml"));
}

class XmlTest : public InstallationTest {
  protected:
    verdict check(const std::string& xml) {
        verdict result{"stale", "stale"};
        PGM_COMMON_XML::check_bytes(xml, "test.xml", m_schema, result.first, result.second);
        return result;
    }
    verdict check_file(const std::string& file) {
        verdict result{"stale", "stale"};
        PGM_COMMON_XML::check_xsd(file, m_schema, result.first, result.second);
        return result;
    }
    element_ptr parse_file(const std::string& file, bool shipped = false) {
        return owned(PGM_COMMON_XML::parse_xml(PGM_COMMON_XML_FILE_QSPI, file, m_schema, shipped,
                                               "", "", ""));
    }

    const std::string m_schema = m_root + "xsd/zorva_qspi.xsd";
};
