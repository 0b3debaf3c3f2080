#include "services/xml/xml_document.h"

#include <vector>

XML_DOCUMENT::XML_DOCUMENT(const PGM_COMMON_XML_DOCUMENT& document) : kind(document) {
    std::vector<const PGM_COMMON_XML_DESCRIPTION*> found = {kind.root};
    while (!found.empty()) {
        const PGM_COMMON_XML_DESCRIPTION* element = found.back();
        found.pop_back();
        if (!elements.emplace(element->tag, element).second) continue;
        for (const PGM_COMMON_XML_CHILD& child : element->children) found.push_back(child.element);
    }
}

const PGM_COMMON_XML_DESCRIPTION* XML_DOCUMENT::find(PGM_COMMON_XML_ENUM tag) const {
    const auto found = elements.find(tag);
    return found != elements.end() ? found->second : nullptr;
}
