// Texts of the XML framework that tell of a file; not for others.
#pragma once

#include "services/types.h"

#include <libxml/xmlstring.h>

#include <string>
#include <string_view>

inline std::string_view xml_view(const xmlChar* text) {
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

// "FILE:LINE: reason", with the reason on one line and cut to a sensible length.
std::string xml_reason(const std::string& file, dword line, std::string_view reason);
