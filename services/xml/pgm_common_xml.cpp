#include "services/file.h"
#include "services/host_state.h"
#include "services/message.h"
#include "services/pgm_common.h"
#include "services/xml/xml_reader.h"
#include "services/xml/xml_schema.h"
#include "services/xml/xml_text.h"

#include <algorithm>
#include <cstdarg>
#include <map>
#include <utility>
#include <vector>

namespace {

std::vector<XML_DOCUMENT>& documents() {
    static std::vector<XML_DOCUMENT> registered;
    return registered;
}

const XML_DOCUMENT* document_of(PGM_COMMON_XML_FILE_ENUM kind) {
    const auto found =
        std::find_if(documents().begin(), documents().end(),
                     [kind](const auto& document) { return document.kind.kind == kind; });
    return found != documents().end() ? &*found : nullptr;
}

const XML_DOCUMENT* document_of_schema(std::string_view xsd_file) {
    const std::string_view name = xsd_file.substr(xsd_file.find_last_of("/\\") + 1);
    const auto found =
        std::find_if(documents().begin(), documents().end(),
                     [name](const auto& document) { return document.kind.schema == name; });
    return found != documents().end() ? &*found : nullptr;
}

// What check_xsd has just passed, for the parse_xml that follows it.
struct KEPT_DOCUMENT {
    PGM_COMMON_XML_FILE_ENUM kind{};
    std::string xml_file;
    std::string xsd_file;
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> root;
};

KEPT_DOCUMENT& kept() {
    static KEPT_DOCUMENT document;
    return document;
}

bool read_file(const std::string& file, std::string& bytes, std::string& error) {
    if (FIO_FILE_SYSTEM::read(file, bytes)) return true;
    error =
        xml_reason(file, 1, "The file can't be read: " + FIO_FILE_SYSTEM::error().message() + ".");
    return false;
}

// The schema as its file stands now; it is compiled anew only if the file's bytes have changed.
const XML_SCHEMA* schema_of(PGM_COMMON_XML_FILE_ENUM kind, const std::string& xsd_file,
                            std::string& error) {
    static std::map<PGM_COMMON_XML_FILE_ENUM, std::unique_ptr<XML_SCHEMA>> compiled;
    std::string bytes;
    if (!read_file(xsd_file, bytes, error)) return nullptr;
    std::unique_ptr<XML_SCHEMA>& schema = compiled[kind];
    if (!schema || schema->bytes() != bytes) {
        schema = XML_SCHEMA::compile(std::move(bytes), xsd_file, error);
    }
    return schema.get();
}

XML_OUTCOME check(const XML_DOCUMENT* document, std::string_view bytes, const std::string& name,
                  const std::string& xsd_file, bool keep_comments = false) {
    XML_OUTCOME outcome;
    if (document == nullptr) {
        outcome.first_text = xml_reason(xsd_file, 1, "No document has a schema of this name.");
        return outcome;
    }
    const XML_SCHEMA* schema = schema_of(document->kind.kind, xsd_file, outcome.first_text);
    if (schema == nullptr) return outcome;
    return read_xml_document(*document, bytes, name, schema,
                             {.is_shipped = false, .keep_comments = keep_comments});
}

XML_OUTCOME parse_file(PGM_COMMON_XML_FILE_ENUM kind, const std::string& xml_file,
                       const std::string& xsd_file, bool shipped) {
    XML_OUTCOME outcome;
    std::string bytes;
    const XML_DOCUMENT* document = document_of(kind);
    if (document == nullptr) {
        outcome.first_text = xml_reason(xml_file, 1, "The kind of document is not known.");
    } else if (read_file(xml_file, bytes, outcome.first_text)) {
        outcome = shipped ? read_xml_document(*document, bytes, xml_file, nullptr,
                                              {.is_shipped = true, .keep_comments = false})
                          : check(document, bytes, xml_file, xsd_file);
    }
    return outcome;
}

void trace(const char* format, ...) {
    constexpr MSG_D_LEVEL level = 2;
    std::va_list args;
    va_start(args, format);
    msg_local_vdebug("ZORVA", level, format, args);
    va_end(args);
}

// The tree for a caller, who gets it as a pointer to the base class.
void* hand_over(XML_OUTCOME outcome) {
    const std::string& why = outcome.first_text.empty() ? outcome.second_text : outcome.first_text;
    if (!outcome.root) trace("%s", why.c_str());
    return outcome.root.release();
}

}  // namespace

void pgm_host::drop_kept_document() { kept() = KEPT_DOCUMENT(); }

PGM_COMMON_XML::REGISTRAR::REGISTRAR(const PGM_COMMON_XML_DOCUMENT& document)
    : m_kind(document.kind) {
    kept();  // outlives each registrar, and so can be dropped by it
    documents().emplace_back(document);
}

PGM_COMMON_XML::REGISTRAR::~REGISTRAR() {
    // The code of the kept elements may go with the registrar.
    pgm_host::drop_kept_document();
    std::erase_if(documents(),
                  [this](const auto& document) { return document.kind.kind == m_kind; });
}

void PGM_COMMON_XML::check_xsd(std::string xml_file, std::string xsd_file, std::string& first_text,
                               std::string& second_text) {
    pgm_host::drop_kept_document();
    first_text.clear();
    second_text.clear();
    std::string bytes;
    if (!read_file(xml_file, bytes, first_text)) return;
    const XML_DOCUMENT* document = document_of_schema(xsd_file);
    XML_OUTCOME outcome = check(document, bytes, xml_file, xsd_file);
    first_text = std::move(outcome.first_text);
    second_text = std::move(outcome.second_text);
    if (outcome.root) {
        kept() = {document->kind.kind, std::move(xml_file), std::move(xsd_file),
                  std::move(outcome.root)};
    }
}

void* PGM_COMMON_XML::parse_xml(PGM_COMMON_XML_FILE_ENUM kind, std::string xml_file,
                                std::string xsd_file, bool shipped, std::string, std::string,
                                std::string) {
    KEPT_DOCUMENT checked = std::exchange(kept(), KEPT_DOCUMENT());
    const bool is_checked = checked.root && !shipped && checked.kind == kind &&
                            checked.xml_file == xml_file && checked.xsd_file == xsd_file;
    if (is_checked) return checked.root.release();
    return hand_over(parse_file(kind, xml_file, xsd_file, shipped));
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> PGM_COMMON_XML::new_element(PGM_COMMON_XML_FILE_ENUM kind,
                                                                    PGM_COMMON_XML_ENUM tag) {
    const XML_DOCUMENT* document = document_of(kind);
    const PGM_COMMON_XML_DESCRIPTION* element = document ? document->find(tag) : nullptr;
    return std::unique_ptr<PGM_COMMON_XML_ELEMENT>(element ? element->create() : nullptr);
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> PGM_COMMON_XML::new_root(PGM_COMMON_XML_FILE_ENUM kind) {
    const XML_DOCUMENT* document = document_of(kind);
    return document ? new_element(kind, document->kind.root->tag) : nullptr;
}

void PGM_COMMON_XML::check_bytes(std::string_view bytes, std::string name, std::string xsd_file,
                                 std::string& first_text, std::string& second_text) {
    pgm_host::drop_kept_document();
    XML_OUTCOME outcome = check(document_of_schema(xsd_file), bytes, name, xsd_file);
    first_text = std::move(outcome.first_text);
    second_text = std::move(outcome.second_text);
}

void* PGM_COMMON_XML::parse_bytes(PGM_COMMON_XML_FILE_ENUM kind, std::string_view bytes,
                                  std::string name) {
    pgm_host::drop_kept_document();
    XML_OUTCOME outcome;
    if (const XML_DOCUMENT* document = document_of(kind)) {
        outcome = read_xml_document(*document, bytes, name, nullptr,
                                    {.is_shipped = false, .keep_comments = true});
    } else {
        outcome.first_text = xml_reason(name, 1, "The kind of document is not known.");
    }
    return hand_over(std::move(outcome));
}

void* PGM_COMMON_XML::read_bytes(std::string_view bytes, std::string name, std::string xsd_file,
                                 std::string& first_text, std::string& second_text) {
    pgm_host::drop_kept_document();
    XML_OUTCOME outcome = check(document_of_schema(xsd_file), bytes, name, xsd_file, true);
    first_text = std::move(outcome.first_text);
    second_text = std::move(outcome.second_text);
    return outcome.root.release();
}
