#include "services/xml/xml_reader.h"

#include "services/host.h"
#include "services/xml/xml_schema.h"
#include "services/xml/xml_text.h"
#include "services/xml/xml_tree.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace {

constexpr std::size_t deepest = 64;
// A file of many empty elements takes far more room in memory than on the disk.
constexpr std::size_t most_elements = 1'000'000;
constexpr int most_breaches = 100;

bool is_blank(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; });
}

// Builds the elements while libxml2 parses. The schema check goes first at each step, so each of
// its errors belongs to the element that was started or ended last.
class READER {
  public:
    READER(const XML_DOCUMENT& document, const std::string& name, XML_READ_OPTIONS options)
        : m_root_name(pgm_common_xml_name(document.kind.root->tag)),
          m_name(name),
          m_options(options),
          m_tree(document) {}

    XML_OUTCOME read(std::string_view bytes, const XML_SCHEMA* schema);

  private:
    // The calls that libxml2 makes; none may throw through it.
    static void on_doctype(void* self, const xmlChar*, const xmlChar*, const xmlChar*) noexcept;
    static void on_start(void* self, const xmlChar* name, const xmlChar* prefix,
                         const xmlChar* space, int namespaces, const xmlChar** namespace_texts,
                         int attributes, int defaulted, const xmlChar** texts) noexcept;
    static void on_end(void* self, const xmlChar* name, const xmlChar* prefix,
                       const xmlChar* space) noexcept;
    static void on_text(void* self, const xmlChar* text, int length) noexcept;
    static void on_comment(void* self, const xmlChar* text) noexcept;
    static void on_parser_error(void* self, xmlErrorPtr error) noexcept;
    static void on_breach(void* self, xmlErrorPtr error) noexcept;

    void parse(const XML_SCHEMA* schema);
    dword start_line() const;
    bool may_start(std::string_view name, std::string_view space);
    void end_text(bool is_value);

    void refuse(std::string_view reason);
    void breach(std::string_view reason);
    void give_up(std::string_view reason);
    void stop();

    const std::string m_root_name;
    const std::string& m_name;
    const XML_READ_OPTIONS m_options;
    xmlParserCtxtPtr m_parser = nullptr;
    std::optional<XML_CHECK> m_check;

    dword m_line = 1;
    std::size_t m_elements = 0;
    bool m_stopped = false;
    XML_TREE m_tree;
    std::vector<dword> m_open_lines;  // also where no element is built any more

    std::string m_refusal;
    std::string m_breaches;
    int m_breach_count = 0;
    std::string m_problem;  // why no tree came out, if the schema doesn't tell
};

XML_OUTCOME READER::read(std::string_view bytes, const XML_SCHEMA* schema) {
    if (bytes.empty()) {
        refuse("The file is empty.");
    } else if (bytes.size() > pgm_host::file_system::largest_file) {
        refuse("The file is larger than 64 MiB.");
    } else {
        m_parser = xmlCreateMemoryParserCtxt(bytes.data(), static_cast<int>(bytes.size()));
        if (m_parser == nullptr) {
            refuse("There is no memory to read the file.");
        } else {
            parse(schema);
        }
    }
    if (!m_refusal.empty()) return {nullptr, m_refusal, {}};
    // Here, where no call of libxml2 is in between.
    if (m_options.is_shipped) m_tree.report_misplaced();
    if (!m_breaches.empty()) return {nullptr, {}, m_breaches};
    if (!m_problem.empty()) return {nullptr, {}, m_problem};
    return {m_tree.take(), {}, {}};
}

void READER::parse(const XML_SCHEMA* schema) {
    const XML_QUIET quiet;
    xmlSAXHandler calls{};
    calls.initialized = XML_SAX2_MAGIC;
    calls.internalSubset = &on_doctype;
    calls.startElementNs = &on_start;
    calls.endElementNs = &on_end;
    calls.characters = &on_text;
    calls.ignorableWhitespace = &on_text;
    calls.cdataBlock = &on_text;
    if (m_options.keep_comments) calls.comment = &on_comment;
    calls.serror = &on_parser_error;
    *m_parser->sax = calls;
    m_parser->userData = this;
    // With NOENT an "&amp;" in an attribute comes as "&"; no other entity gets that far.
    xmlCtxtUseOptions(m_parser, XML_PARSE_NONET | XML_PARSE_NOENT);
    if (schema != nullptr) m_check.emplace(*schema, &on_breach, this);
    if (m_check && !m_check->is_ready()) refuse("The schema check can't be set up.");
    if (!m_stopped) xmlParseDocument(m_parser);
    if (!m_stopped && m_parser->wellFormed == 0) refuse("This is not well-formed XML.");
    m_check.reset();
    xmlFreeParserCtxt(m_parser);
    m_parser = nullptr;
}

void READER::on_doctype(void* self, const xmlChar*, const xmlChar*, const xmlChar*) noexcept {
    auto& me = *static_cast<READER*>(self);
    me.m_line = static_cast<dword>(me.m_parser->input->line);
    me.refuse("A DOCTYPE is not allowed here.");
}

void READER::on_start(void* self, const xmlChar* name, const xmlChar* prefix, const xmlChar* space,
                      int namespaces, const xmlChar** namespace_texts, int attributes,
                      int defaulted, const xmlChar** texts) noexcept {
    auto& me = *static_cast<READER*>(self);
    if (me.m_stopped) return;
    me.end_text(false);
    me.m_line = me.start_line();
    me.m_open_lines.push_back(me.m_line);
    if (!me.may_start(xml_view(name), xml_view(space))) return;
    if (me.m_check) {
        me.m_check->calls().startElementNs(me.m_check->context(), name, prefix, space, namespaces,
                                           namespace_texts, attributes, defaulted, texts);
    }
    XML_TREE& tree = me.m_tree;
    if (!tree.is_building()) return;
    if (!tree.start(name, xml_view(space), me.m_line) || !tree.read_attributes(attributes, texts))
        me.give_up(tree.why());
}

void READER::on_end(void* self, const xmlChar* name, const xmlChar* prefix,
                    const xmlChar* space) noexcept {
    auto& me = *static_cast<READER*>(self);
    if (me.m_stopped) return;
    me.m_line = me.m_open_lines.back();
    me.m_open_lines.pop_back();
    if (me.m_tree.is_building()) me.end_text(me.m_tree.open_has_value());
    if (me.m_check) {
        me.m_check->calls().endElementNs(me.m_check->context(), name, prefix, space);
    }
    if (me.m_tree.is_building() && !me.m_tree.end(!me.m_options.is_shipped))
        me.give_up(me.m_tree.why());
}

void READER::on_text(void* self, const xmlChar* text, int length) noexcept {
    auto& me = *static_cast<READER*>(self);
    if (me.m_tree.is_building()) {
        me.m_tree.add_text({reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)});
    } else if (me.m_check && !me.m_stopped) {
        me.m_check->calls().characters(me.m_check->context(), text, length);
    }
}

void READER::on_comment(void* self, const xmlChar* text) noexcept {
    auto& me = *static_cast<READER*>(self);
    if (me.m_tree.is_building()) me.m_tree.add_comment(xml_view(text));
}

// The schema check gets a value in one piece, and the blanks between elements not at all.
void READER::end_text(bool is_value) {
    if (!m_tree.is_building()) return;
    const std::string& text = m_tree.text();
    if (is_value || !is_blank(text)) {
        if (m_check) {
            m_check->calls().characters(m_check->context(),
                                        reinterpret_cast<const xmlChar*>(text.data()),
                                        static_cast<int>(text.size()));
        }
        if (!is_value) give_up("The text \"" + text + "\" is not allowed here.");
    }
    if (!is_value) m_tree.forget_text();
}

void READER::on_parser_error(void* self, xmlErrorPtr error) noexcept {
    auto& me = *static_cast<READER*>(self);
    if (error->level < XML_ERR_ERROR || me.m_stopped) return;
    me.m_line = static_cast<dword>(error->line);
    me.refuse(error->message != nullptr ? error->message : "This is not well-formed XML.");
}

void READER::on_breach(void* self, xmlErrorPtr error) noexcept {
    auto& me = *static_cast<READER*>(self);
    if (error->level < XML_ERR_ERROR || me.m_stopped) return;
    me.breach(error->message != nullptr ? error->message : "This breaks the schema.");
}

// libxml2 counts up to the end of the start tag.
dword READER::start_line() const {
    const xmlParserInput& input = *m_parser->input;
    auto line = static_cast<dword>(input.line);
    const auto* begin = static_cast<const xmlChar*>(
        memrchr(input.base, '<', static_cast<std::size_t>(input.cur - input.base)));
    return begin == nullptr ? line : line - static_cast<dword>(std::count(begin, input.cur, '\n'));
}

// The root tells another document's file at once, before all of it is read.
bool READER::may_start(std::string_view name, std::string_view space) {
    if (m_open_lines.size() > deepest) {
        refuse("The elements are nested too deep.");
    } else if (++m_elements > most_elements) {
        refuse("There are more than 1,000,000 elements.");
    } else if (m_open_lines.size() == 1 && (name != m_root_name || !space.empty())) {
        breach("The root element is " + std::string(name) + ", not " + m_root_name + ".");
        stop();
    }
    return !m_stopped;
}

void READER::refuse(std::string_view reason) {
    if (m_refusal.empty()) m_refusal = xml_reason(m_name, m_line, reason);
    stop();
}

void READER::breach(std::string_view reason) {
    m_tree.drop();
    if (!m_breaches.empty()) m_breaches += '\n';
    if (++m_breach_count <= most_breaches) {
        m_breaches += xml_reason(m_name, m_line, reason);
    } else {
        m_breaches += xml_reason(m_name, m_line, "There are more errors from here on.");
        stop();
    }
}

void READER::give_up(std::string_view reason) {
    m_problem = xml_reason(m_name, m_line, reason);
    m_tree.drop();
}

void READER::stop() {
    m_stopped = true;
    m_tree.drop();
    if (m_parser != nullptr) xmlStopParser(m_parser);
}

}  // namespace

XML_OUTCOME read_xml_document(const XML_DOCUMENT& document, std::string_view bytes,
                              const std::string& name, const XML_SCHEMA* schema,
                              XML_READ_OPTIONS options) {
    return READER(document, name, options).read(bytes, schema);
}
