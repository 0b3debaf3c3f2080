// Texts of the XML framework that tell of a file; not for others.
#pragma once

#include "services/types.h"

#include <string>
#include <string_view>

// "FILE:LINE: reason", with the reason on one line and cut to a sensible length.
std::string xml_reason(const std::string& file, dword line, std::string_view reason);
