// A compiled schema; for the XML framework's own sources.
#pragma once

#include <libxml/globals.h>
#include <libxml/xmlschemas.h>

#include <memory>
#include <string>
#include <string_view>

// While it lives libxml2 prints nothing by itself; what parsers and checks report goes its own way.
class XML_QUIET {
  public:
    XML_QUIET() {
        xmlSetStructuredErrorFunc(nullptr, [](void*, xmlErrorPtr) {});
    }
    ~XML_QUIET() { xmlSetStructuredErrorFunc(m_context, m_handler); }
    XML_QUIET(const XML_QUIET&) = delete;
    XML_QUIET& operator=(const XML_QUIET&) = delete;

  private:
    xmlStructuredErrorFunc m_handler = xmlStructuredError;
    void* m_context = xmlStructuredErrorContext;
};

class XML_SCHEMA {
  public:
    // Null, and `error` as "FILE:LINE: reason", for bytes that aren't a schema.
    static std::unique_ptr<XML_SCHEMA> compile(std::string bytes, const std::string& file,
                                               std::string& error);

    const std::string& bytes() const { return m_bytes; }
    // One document at a time; libxml2 clears it after each.
    xmlSchemaValidCtxtPtr validator() const { return m_validator.get(); }

  private:
    template <auto FREE>
    struct DELETER {
        template <class T>
        void operator()(T* object) const {
            FREE(object);
        }
    };

    std::string m_bytes;
    // The schema points into the document that it was read from.
    std::unique_ptr<xmlDoc, DELETER<xmlFreeDoc>> m_document;
    std::unique_ptr<xmlSchema, DELETER<xmlSchemaFree>> m_schema;
    std::unique_ptr<xmlSchemaValidCtxt, DELETER<xmlSchemaFreeValidCtxt>> m_validator;
};

// The check of one document. It is driven by calling what a parser would call.
class XML_CHECK {
  public:
    // `on_breach` is called with `context` for each breach, from inside those calls.
    XML_CHECK(const XML_SCHEMA& schema, xmlStructuredErrorFunc on_breach, void* context);
    ~XML_CHECK() { xmlSchemaSAXUnplug(m_plug); }
    XML_CHECK(const XML_CHECK&) = delete;
    XML_CHECK& operator=(const XML_CHECK&) = delete;

    bool is_ready() const { return m_plug != nullptr; }
    const xmlSAXHandler& calls() const { return *m_calls; }
    void* context() const { return m_context; }  // the first argument of those calls

  private:
    xmlSAXHandler m_none{};
    xmlSAXHandler* m_calls = &m_none;
    void* m_context = nullptr;
    xmlSchemaSAXPlugPtr m_plug;
};
