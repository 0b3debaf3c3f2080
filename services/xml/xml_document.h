// A document kind as the framework keeps it; for its own sources.
#pragma once

#include "services/pgm_common.h"

#include <map>

// A registered document kind, and each element that it knows.
struct XML_DOCUMENT {
    explicit XML_DOCUMENT(const PGM_COMMON_XML_DOCUMENT& document);
    // Null for a tag that the kind doesn't know.
    const PGM_COMMON_XML_DESCRIPTION* find(PGM_COMMON_XML_ENUM tag) const;

    PGM_COMMON_XML_DOCUMENT kind;
    std::map<PGM_COMMON_XML_ENUM, const PGM_COMMON_XML_DESCRIPTION*> elements;
};
