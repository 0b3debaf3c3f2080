#include "pgm/zorva/zorva_stored_file.h"

#include "pgm/zorva/zorva_xml_file.h"
#include "services/file.h"

#include <algorithm>
#include <cerrno>
#include <tuple>
#include <utility>

ZORVA_STORED_FILE::ZORVA_STORED_FILE(const ZORVA_INTERFACE& interface, std::string path,
                                     DEFINED_ELSEWHERE defined_elsewhere)
    : m_interface(&interface),
      m_path(std::move(path)),
      m_defined_elsewhere(std::move(defined_elsewhere)) {}

std::optional<ZORVA_STORED_FILE> ZORVA_STORED_FILE::read(
    const ZORVA_INTERFACE& interface, const std::string& path,
    const DEFINED_ELSEWHERE& defined_elsewhere) {
    ZORVA_STORED_FILE file(interface, path, defined_elsewhere);
    std::string bytes;
    errno = 0;
    // Only a file that surely isn't there holds nothing.
    const bool is_read = FIO_FILE_SYSTEM::read(path, bytes);
    if (!is_read && errno != ENOENT) return {};
    if (!bytes.empty() && !file.parse(bytes)) return {};
    return file;
}

bool ZORVA_STORED_FILE::parse(const std::string& bytes) {
    std::string first_text;
    std::string second_text;
    PGM_COMMON_XML::check_bytes(bytes, m_path, zorva_xsd_file(*m_interface), first_text,
                                second_text);
    if (!first_text.empty() || !second_text.empty()) return false;
    const std::unique_ptr<PGM_COMMON_XML_ELEMENT> root(static_cast<PGM_COMMON_XML_ELEMENT*>(
        PGM_COMMON_XML::parse_bytes(m_interface->document, bytes, m_path)));
    if (!root) return false;
    while (!root->get_all_childs().empty()) {
        auto element = root->take_first_child();
        const PGM_COMMON_XML_ENUM tag = element->get_type();
        if (tag == PGM_COMMON_XML_ENUM_FLASH)
            take(ZORVA_DEFINITION_KIND::DEVICE, std::move(element));
        else if (tag == PGM_COMMON_XML_ENUM_USER_TEMPLATE)
            take(ZORVA_DEFINITION_KIND::TEMPLATE, std::move(element));
        else
            m_others.push_back(std::move(element));
    }
    bool ended = false;
    judge(ZORVA_DEFINITION_KIND::DEVICE, ended);
    judge(ZORVA_DEFINITION_KIND::TEMPLATE, ended);
    return true;
}

void ZORVA_STORED_FILE::take(ZORVA_DEFINITION_KIND kind,
                             std::unique_ptr<PGM_COMMON_XML_ELEMENT> element) {
    ZORVA_DEFINITION_KEY key{kind, zorva_definition_name(*element)};
    m_definitions.push_back({std::move(key), false, std::move(element)});
}

// Marks what a load takes. A bad device or a repeated name ends the file, templates included; a
// bad template is only left out.
void ZORVA_STORED_FILE::judge(ZORVA_DEFINITION_KIND kind, bool& ended) {
    std::vector<std::string> names;
    for (STORED& definition : m_definitions) {
        if (ended) return;
        if (definition.key.kind != kind) continue;
        const bool good = zorva_is_taken(*m_interface, *definition.element);
        const bool repeated = m_defined_elsewhere(definition.key) ||
                              std::ranges::find(names, definition.key.name) != names.end();
        definition.in_force = good && !repeated;
        if (definition.in_force) names.push_back(definition.key.name);
        ended = (good && repeated) || (!good && kind == ZORVA_DEFINITION_KIND::DEVICE);
    }
}

bool ZORVA_STORED_FILE::holds(const ZORVA_DEFINITION_KEY& key) const {
    return std::ranges::find(m_definitions, key, &STORED::key) != m_definitions.end();
}

bool ZORVA_STORED_FILE::is_empty() const { return m_definitions.empty() && m_others.empty(); }

void ZORVA_STORED_FILE::erase(const ZORVA_DEFINITION_KEY& key) {
    std::erase_if(m_definitions, [&](const STORED& definition) { return definition.key == key; });
}

void ZORVA_STORED_FILE::insert(ZORVA_DEFINITION_KEY key,
                               std::unique_ptr<PGM_COMMON_XML_ELEMENT> element) {
    m_definitions.push_back({std::move(key), true, std::move(element)});
}

std::optional<std::string> ZORVA_STORED_FILE::to_bytes() {
    const auto behind =
        std::stable_partition(m_definitions.begin(), m_definitions.end(),
                              [](const STORED& definition) { return definition.in_force; });
    std::sort(m_definitions.begin(), behind, [](const STORED& a, const STORED& b) {
        return std::tie(a.key.kind, a.key.name) < std::tie(b.key.kind, b.key.name);
    });
    const auto root = PGM_COMMON_XML::new_root(m_interface->document);
    for (auto& element : m_others) root->add_child(element.release(), nullptr);
    for (STORED& definition : m_definitions) root->add_child(definition.element.release(), nullptr);
    std::string bytes = PGM_COMMON_XML::write_bytes(root.get());
    if (bytes.empty() || !loads_as_expected(bytes)) return {};
    return bytes;
}

// A definition that a load didn't take may come out in force: the one that stood before it may be
// gone. The reverse would be a loss.
bool ZORVA_STORED_FILE::loads_as_expected(const std::string& bytes) const {
    ZORVA_STORED_FILE again(*m_interface, m_path, m_defined_elsewhere);
    return again.parse(bytes) &&
           std::ranges::equal(
               m_definitions, again.m_definitions, [](const STORED& expected, const STORED& read) {
                   return expected.key == read.key && (read.in_force || !expected.in_force);
               });
}
