// Reads one document: bytes to elements, with the schema check on the way. For the XML
// framework's own sources.
#pragma once

#include "services/xml/xml_document.h"

#include <memory>
#include <string>
#include <string_view>

class XML_SCHEMA;

struct XML_OUTCOME {
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> root;  // null if one of the texts isn't empty
    std::string first_text;                        // as check_xsd gives them
    std::string second_text;
};

struct XML_READ_OPTIONS {
    bool is_shipped;     // child counts aren't checked; a misplaced element is an internal error
    bool keep_comments;  // for who writes the tree again
};

// `name` stands for the file in the texts. Without a schema only the rules of the element classes
// are kept.
XML_OUTCOME read_xml_document(const XML_DOCUMENT& document, std::string_view bytes,
                              const std::string& name, const XML_SCHEMA* schema,
                              XML_READ_OPTIONS options);
