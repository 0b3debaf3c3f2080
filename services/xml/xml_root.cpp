// Which document a file holds, told by no more of it than its first start tag.
#include "services/host.h"
#include "services/pgm_common.h"
#include "services/xml/xml_schema.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

namespace {

struct ROOT_SEARCH {
    xmlParserCtxtPtr parser;
    std::string name;
};

void on_doctype(void* context, const xmlChar*, const xmlChar*, const xmlChar*) noexcept {
    xmlStopParser(static_cast<ROOT_SEARCH*>(context)->parser);
}

void on_start(void* context, const xmlChar* name, const xmlChar*, const xmlChar*, int,
              const xmlChar**, int, int, const xmlChar**) noexcept {
    auto& search = *static_cast<ROOT_SEARCH*>(context);
    if (search.name.empty()) search.name = reinterpret_cast<const char*>(name);
    xmlStopParser(search.parser);
}

}  // namespace

std::string PGM_COMMON_XML::root_name(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > pgm_host::file_system::largest_file) return {};
    const XML_QUIET quiet;
    ROOT_SEARCH search{xmlCreateMemoryParserCtxt(bytes.data(), static_cast<int>(bytes.size())), {}};
    if (search.parser == nullptr) return {};
    xmlSAXHandler calls{};
    calls.initialized = XML_SAX2_MAGIC;
    calls.internalSubset = &on_doctype;
    calls.startElementNs = &on_start;
    *search.parser->sax = calls;
    search.parser->userData = &search;
    xmlCtxtUseOptions(search.parser, XML_PARSE_NONET);
    xmlParseDocument(search.parser);
    xmlFreeParserCtxt(search.parser);
    return search.name;
}
