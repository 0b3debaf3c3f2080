#include "services/xml/xml_schema.h"

#include "services/xml/xml_text.h"

#include <libxml/parser.h>

#include <utility>

namespace {

struct FIRST_ERROR {
    std::string file;
    std::string text;
};

void keep_first(void* context, xmlErrorPtr error) {
    auto& first = *static_cast<FIRST_ERROR*>(context);
    if (!first.text.empty() || error->level < XML_ERR_ERROR) return;
    const char* message = error->message != nullptr ? error->message : "not a schema";
    first.text = xml_reason(first.file, static_cast<dword>(error->line), message);
}

xmlDoc* read_document(const std::string& bytes, FIRST_ERROR& error) {
    if (bytes.empty()) return nullptr;
    const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> parser(xmlNewParserCtxt(),
                                                                              &xmlFreeParserCtxt);
    if (!parser) return nullptr;
    xmlDoc* document =
        xmlCtxtReadMemory(parser.get(), bytes.data(), static_cast<int>(bytes.size()), nullptr,
                          nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (document == nullptr) keep_first(&error, &parser->lastError);
    return document;
}

}  // namespace

std::unique_ptr<XML_SCHEMA> XML_SCHEMA::compile(std::string bytes, const std::string& file,
                                                std::string& error) {
    const XML_QUIET quiet;
    FIRST_ERROR first{file, {}};
    auto schema = std::make_unique<XML_SCHEMA>();
    schema->m_bytes = std::move(bytes);
    schema->m_document.reset(read_document(schema->m_bytes, first));
    if (schema->m_document) {
        xmlSchemaParserCtxtPtr parser = xmlSchemaNewDocParserCtxt(schema->m_document.get());
        xmlSchemaSetParserStructuredErrors(parser, &keep_first, &first);
        schema->m_schema.reset(xmlSchemaParse(parser));
        xmlSchemaFreeParserCtxt(parser);
    }
    if (schema->m_schema) schema->m_validator.reset(xmlSchemaNewValidCtxt(schema->m_schema.get()));
    if (schema->m_validator) return schema;
    error = first.text.empty() ? xml_reason(file, 1, "This is not a schema.") : first.text;
    return nullptr;
}

XML_CHECK::XML_CHECK(const XML_SCHEMA& schema, xmlStructuredErrorFunc on_breach, void* context) {
    m_none.initialized = XML_SAX2_MAGIC;
    xmlSchemaSetValidStructuredErrors(schema.validator(), on_breach, context);
    m_plug = xmlSchemaSAXPlug(schema.validator(), &m_calls, &m_context);
}
