#include "services/xml/xml_reader.h"

#include "services/host.h"
#include "services/xml/xml_schema.h"
#include "services/xml/xml_text.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t deepest = 64;
// A file of many empty elements takes far more room in memory than on the disk.
constexpr std::size_t most_elements = 1'000'000;
constexpr int most_breaches = 100;
constexpr std::string_view instance_namespace = "http://www.w3.org/2001/XMLSchema-instance";

std::string_view view(const xmlChar* text) {
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

bool is_blank(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; });
}

std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

// Builds the elements while libxml2 parses. The schema check goes first at each step, so each of
// its errors belongs to the element that was started or ended last.
class reader {
  public:
    reader(const PGM_COMMON_XML_DOCUMENT& document, const std::string& name,
           XML_READ_OPTIONS options)
        : m_document(document), m_name(name), m_options(options) {}

    XML_OUTCOME read(std::string_view bytes, const XML_SCHEMA* schema);

  private:
    // libxml2 gives equal names as one pointer.
    struct known_tag {
        const xmlChar* name;
        PGM_COMMON_XML_ENUM tag;
    };
    struct attribute_text {
        std::string_view name, space, text;
    };

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
    void build(const xmlChar* name, std::string_view space);
    void report_misplaced() const;
    void read_attributes(int count, const xmlChar** texts);
    void read_attribute(const attribute_text& attribute);
    void finish_element();
    void end_text(bool is_value);
    PGM_COMMON_XML_ENUM tag_of(const xmlChar* name);

    void refuse(std::string_view reason);
    void breach(std::string_view reason);
    void give_up(std::string_view reason);
    void stop();
    void drop_tree();

    const PGM_COMMON_XML_DOCUMENT& m_document;
    const std::string& m_name;
    const XML_READ_OPTIONS m_options;
    xmlParserCtxtPtr m_parser = nullptr;
    std::optional<XML_CHECK> m_check;

    dword m_line = 1;
    std::size_t m_elements = 0;
    bool m_stopped = false;
    bool m_building = true;
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> m_root;
    std::vector<PGM_COMMON_XML_ELEMENT*> m_open;
    std::vector<dword> m_open_lines;      // also where no element is built any more
    std::string m_text;                   // of the innermost element, up to here
    std::vector<std::string> m_comments;  // whose element is yet to come
    std::array<known_tag, 256> m_tags{};

    std::string m_refusal;
    std::string m_breaches;
    int m_breach_count = 0;
    std::string m_problem;  // why no tree came out, if the schema doesn't tell
    std::pair<PGM_COMMON_XML_ENUM, PGM_COMMON_XML_ENUM> m_misplaced{};  // parent and child
};

XML_OUTCOME reader::read(std::string_view bytes, const XML_SCHEMA* schema) {
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
    if (m_options.is_shipped) report_misplaced();
    if (!m_breaches.empty()) return {nullptr, {}, m_breaches};
    if (!m_problem.empty()) return {nullptr, {}, m_problem};
    return {std::move(m_root), {}, {}};
}

void reader::parse(const XML_SCHEMA* schema) {
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

void reader::on_doctype(void* self, const xmlChar*, const xmlChar*, const xmlChar*) noexcept {
    auto& me = *static_cast<reader*>(self);
    me.m_line = static_cast<dword>(me.m_parser->input->line);
    me.refuse("A DOCTYPE is not allowed here.");
}

void reader::on_start(void* self, const xmlChar* name, const xmlChar* prefix, const xmlChar* space,
                      int namespaces, const xmlChar** namespace_texts, int attributes,
                      int defaulted, const xmlChar** texts) noexcept {
    auto& me = *static_cast<reader*>(self);
    if (me.m_stopped) return;
    me.end_text(false);
    me.m_line = me.start_line();
    me.m_open_lines.push_back(me.m_line);
    if (!me.may_start(view(name), view(space))) return;
    if (me.m_check) {
        me.m_check->calls().startElementNs(me.m_check->context(), name, prefix, space, namespaces,
                                           namespace_texts, attributes, defaulted, texts);
    }
    if (me.m_building) me.build(name, view(space));
    if (me.m_building) me.read_attributes(attributes, texts);
}

void reader::on_end(void* self, const xmlChar* name, const xmlChar* prefix,
                    const xmlChar* space) noexcept {
    auto& me = *static_cast<reader*>(self);
    if (me.m_stopped) return;
    me.m_line = me.m_open_lines.back();
    me.m_open_lines.pop_back();
    if (me.m_building) me.end_text(me.m_open.back()->get_value_type() != PGM_XML_TYPE_NONE);
    if (me.m_check) {
        me.m_check->calls().endElementNs(me.m_check->context(), name, prefix, space);
    }
    if (me.m_building) me.finish_element();
}

void reader::on_text(void* self, const xmlChar* text, int length) noexcept {
    auto& me = *static_cast<reader*>(self);
    if (me.m_building) {
        me.m_text.append(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length));
    } else if (me.m_check && !me.m_stopped) {
        me.m_check->calls().characters(me.m_check->context(), text, length);
    }
}

void reader::on_comment(void* self, const xmlChar* text) noexcept {
    auto& me = *static_cast<reader*>(self);
    if (!me.m_building) return;
    const bool is_behind = me.m_root && me.m_open.empty();
    auto& place = is_behind ? me.m_root->edit_comments().behind : me.m_comments;
    place.emplace_back(view(text));
}

// The schema check gets a value in one piece, and the blanks between elements not at all.
void reader::end_text(bool is_value) {
    if (!m_building) return;
    if (is_value || !is_blank(m_text)) {
        if (m_check) {
            m_check->calls().characters(m_check->context(),
                                        reinterpret_cast<const xmlChar*>(m_text.data()),
                                        static_cast<int>(m_text.size()));
        }
        if (!is_value) give_up("The text " + quoted(m_text) + " is not allowed here.");
    }
    if (!is_value) m_text.clear();
}

void reader::on_parser_error(void* self, xmlErrorPtr error) noexcept {
    auto& me = *static_cast<reader*>(self);
    if (error->level < XML_ERR_ERROR || me.m_stopped) return;
    me.m_line = static_cast<dword>(error->line);
    me.refuse(error->message != nullptr ? error->message : "This is not well-formed XML.");
}

void reader::on_breach(void* self, xmlErrorPtr error) noexcept {
    auto& me = *static_cast<reader*>(self);
    if (error->level < XML_ERR_ERROR || me.m_stopped) return;
    me.breach(error->message != nullptr ? error->message : "This breaks the schema.");
}

// libxml2 counts up to the end of the start tag.
dword reader::start_line() const {
    const xmlParserInput& input = *m_parser->input;
    auto line = static_cast<dword>(input.line);
    const auto* begin = static_cast<const xmlChar*>(
        memrchr(input.base, '<', static_cast<std::size_t>(input.cur - input.base)));
    return begin == nullptr ? line : line - static_cast<dword>(std::count(begin, input.cur, '\n'));
}

// The root tells another document's file at once, before all of it is read.
bool reader::may_start(std::string_view name, std::string_view space) {
    if (m_open_lines.size() > deepest) {
        refuse("The elements are nested too deep.");
    } else if (++m_elements > most_elements) {
        refuse("There are more than 1,000,000 elements.");
    } else if (m_open_lines.size() == 1 &&
               (name != pgm_common_xml_name(m_document.root) || !space.empty())) {
        breach("The root element is " + std::string(name) + ", not " +
               pgm_common_xml_name(m_document.root) + ".");
        stop();
    }
    return !m_stopped;
}

void reader::build(const xmlChar* name, std::string_view space) {
    const PGM_COMMON_XML_ENUM tag = space.empty() ? tag_of(name) : PGM_COMMON_XML_ENUM__INVALID__;
    PGM_COMMON_XML_ELEMENT* parent = m_open.empty() ? nullptr : m_open.back();
    const bool fits = parent == nullptr || parent->can_hold(tag);
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> element(fits ? m_document.create(tag) : nullptr);
    if (!element) {
        if (!fits) m_misplaced = {parent->get_type(), tag};
        return give_up("The element " + quoted(view(name)) + " is not allowed here.");
    }
    element->set_line(m_line);
    if (!m_comments.empty()) element->edit_comments().ahead = std::exchange(m_comments, {});
    m_open.push_back(element.get());
    if (parent == nullptr) {
        m_root = std::move(element);
    } else {
        parent->add_child(element.release(), nullptr);
    }
}

// The element classes report it in their own words, here where no call of libxml2 is in between.
void reader::report_misplaced() const {
    const std::unique_ptr<PGM_COMMON_XML_ELEMENT> parent(m_document.create(m_misplaced.first));
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> child(m_document.create(m_misplaced.second));
    if (parent && child) parent->add_child(child.release(), nullptr);
}

void reader::read_attributes(int count, const xmlChar** texts) {
    for (; count > 0 && m_building; --count, texts += 5) {
        const auto* begin = reinterpret_cast<const char*>(texts[3]);
        const auto* end = reinterpret_cast<const char*>(texts[4]);
        read_attribute({view(texts[0]), view(texts[2]),
                        std::string_view(begin, static_cast<std::size_t>(end - begin))});
    }
    if (!m_building) return;
    for (const PGM_XML_ATTRIBUTE& attribute : m_open.back()->get_attributes()) {
        const bool lacks = attribute.type == PGM_XML_TYPE_ENUM &&
                           *static_cast<const PGM_COMMON_XML_ENUM*>(attribute.ptr) ==
                               PGM_COMMON_XML_ENUM__INVALID__;
        if (lacks) return give_up("The attribute " + quoted(attribute.name) + " is missing.");
    }
}

// The attributes by which a file names its schema aren't the document's.
void reader::read_attribute(const attribute_text& attribute) {
    if (attribute.space == instance_namespace) return;
    const bool known = attribute.space.empty() &&
                       m_open.back()->read_attribute_from_text(attribute.name, attribute.text);
    if (!known) {
        give_up("The attribute " + quoted(attribute.name) + " can't be " + quoted(attribute.text) +
                " here.");
    }
}

void reader::finish_element() {
    PGM_COMMON_XML_ELEMENT& element = *m_open.back();
    m_open.pop_back();
    if (!m_comments.empty()) element.edit_comments().at_end = std::exchange(m_comments, {});
    const std::string_view tag = pgm_common_xml_name(element.get_type());
    if (element.get_value_type() == PGM_XML_TYPE_NONE) {
        if (!m_options.is_shipped && !element.check_child_count()) {
            give_up("The children of " + std::string(tag) + " are too few or too many.");
        }
    } else if (!element.read_from_text(m_text)) {
        give_up("The value of " + std::string(tag) + " can't be " + quoted(m_text) + ".");
    }
    m_text.clear();
}

PGM_COMMON_XML_ENUM reader::tag_of(const xmlChar* name) {
    known_tag& known = m_tags[reinterpret_cast<std::uintptr_t>(name) / 4 % m_tags.size()];
    if (known.name != name) known = {name, pgm_common_xml_value(view(name))};
    return known.tag;
}

void reader::refuse(std::string_view reason) {
    if (m_refusal.empty()) m_refusal = xml_reason(m_name, m_line, reason);
    stop();
}

void reader::breach(std::string_view reason) {
    drop_tree();
    if (!m_breaches.empty()) m_breaches += '\n';
    if (++m_breach_count <= most_breaches) {
        m_breaches += xml_reason(m_name, m_line, reason);
    } else {
        m_breaches += xml_reason(m_name, m_line, "There are more errors from here on.");
        stop();
    }
}

void reader::give_up(std::string_view reason) {
    m_problem = xml_reason(m_name, m_line, reason);
    drop_tree();
}

void reader::stop() {
    m_stopped = true;
    drop_tree();
    if (m_parser != nullptr) xmlStopParser(m_parser);
}

void reader::drop_tree() {
    m_building = false;
    m_open.clear();
    m_root.reset();
    m_text.clear();
    m_comments.clear();
}

}  // namespace

XML_OUTCOME read_xml_document(const PGM_COMMON_XML_DOCUMENT& document, std::string_view bytes,
                              const std::string& name, const XML_SCHEMA* schema,
                              XML_READ_OPTIONS options) {
    return reader(document, name, options).read(bytes, schema);
}
