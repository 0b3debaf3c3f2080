#include "pgm/zorva/store/zorva_stored_file.h"

#include "pgm/zorva/load/zorva_walk.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "services/file.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace {

// The first line of what the framework tells of a file, to stand within a sentence.
std::string first_reason(const std::string& path, const std::string& text) {
    std::string line = text.substr(0, text.find('\n'));
    line.erase(line.find_last_not_of('.') + 1);
    return line.starts_with(path + ":") ? "line " + line.substr(path.size() + 1) : line;
}

void append(std::vector<std::string>& to, std::vector<std::string> from) {
    std::ranges::move(from, std::back_inserter(to));
}

std::vector<std::string> comments_ahead(PGM_COMMON_XML_ELEMENT& element) {
    if (!element.get_comments()) return {};
    return std::move(element.edit_comments().ahead);
}

// In front of those that stand there.
void put_ahead(std::vector<std::string>& comments, PGM_COMMON_XML_ELEMENT& element) {
    if (comments.empty()) return;
    append(comments, comments_ahead(element));
    element.edit_comments().ahead = std::exchange(comments, {});
}

// Which definitions are good, each by itself: what a load then takes hangs on other files too.
struct VERDICTS final : ZORVA_WALKER {
    bool is_defined(const ZORVA_DEFINITION_KEY&) override { return false; }
    void meet(ZORVA_WALKED walked) override { met.push_back({walked.key, walked.is_good()}); }

    ZORVA_CONTENTS met;
};

}  // namespace

ZORVA_STORED_FILE::ZORVA_STORED_FILE(const ZORVA_INTERFACE& interface, std::string path)
    : m_interface(&interface), m_path(std::move(path)) {}

ZORVA_STORED_FILE::RESULT ZORVA_STORED_FILE::read(const ZORVA_INTERFACE& interface,
                                                  const std::string& path) {
    ZORVA_STORED_FILE file(interface, path);
    std::string bytes;
    // Only a file that surely isn't there holds nothing.
    if (!FIO_FILE_SYSTEM::read(path, bytes) &&
        FIO_FILE_SYSTEM::error() != std::errc::no_such_file_or_directory)
        return {{}, FIO_FILE_SYSTEM::error().message()};
    const std::string why = bytes.empty() ? std::string() : file.parse(bytes);
    if (!why.empty()) return {{}, why};
    return {std::move(file), {}};
}

std::string ZORVA_STORED_FILE::parse(const std::string& bytes) {
    std::string error;
    m_root = zorva_parse_bytes(*m_interface, bytes, m_path, error);
    if (!m_root) return first_reason(m_path, error);
    VERDICTS verdicts;
    zorva_walk_all(*m_interface, *m_root, verdicts);
    for (ZORVA_MET& met : verdicts.met) {
        auto element = m_root->take_first_child();
        if (element->get_type() == PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE)
            m_others.push_back(std::move(element));
        else
            m_definitions.push_back({std::move(met), std::move(element)});
    }
    return {};
}

ZORVA_CONTENTS ZORVA_STORED_FILE::contents() const {
    ZORVA_CONTENTS contents;
    contents.reserve(m_definitions.size());
    for (const auto kind : {ZORVA_DEFINITION_KIND::DEVICE, ZORVA_DEFINITION_KIND::TEMPLATE})
        for (const STORED& definition : m_definitions)
            if (definition.met.key.kind == kind) contents.push_back(definition.met);
    return contents;
}

bool ZORVA_STORED_FILE::holds(const ZORVA_DEFINITION_KEY& key) const {
    return find(key) != nullptr;
}

bool ZORVA_STORED_FILE::is_empty() const { return m_definitions.empty() && m_others.empty(); }

const PGM_COMMON_XML_ELEMENT* ZORVA_STORED_FILE::find(const ZORVA_DEFINITION_KEY& key) const {
    const auto found = std::ranges::find_if(
        m_definitions, [&](const STORED& definition) { return definition.met.key == key; });
    return found == m_definitions.end() ? nullptr : found->element.get();
}

void ZORVA_STORED_FILE::erase(const ZORVA_DEFINITION_KEY& key) { erase_but(key, nullptr); }

void ZORVA_STORED_FILE::put(const ZORVA_DEFINITION_KEY& key,
                            std::unique_ptr<PGM_COMMON_XML_ELEMENT> element) {
    const PGM_COMMON_XML_ELEMENT* kept = element.get();
    const auto first = std::ranges::find_if(
        m_definitions, [&](const STORED& definition) { return definition.met.key == key; });
    if (first == m_definitions.end()) {
        m_definitions.push_back({{key, true}, std::move(element)});
        return;
    }
    std::vector<std::string> comments = comments_ahead(*first->element);
    put_ahead(comments, *element);
    *first = {{key, true}, std::move(element)};
    erase_but(key, kept);
}

void ZORVA_STORED_FILE::erase_but(const ZORVA_DEFINITION_KEY& key,
                                  const PGM_COMMON_XML_ELEMENT* kept) {
    const auto goes = [&](const STORED& definition) {
        return definition.met.key == key && definition.element.get() != kept;
    };
    std::vector<std::string> comments;
    for (STORED& definition : m_definitions) {
        if (goes(definition))
            append(comments, comments_ahead(*definition.element));
        else
            put_ahead(comments, *definition.element);
    }
    if (!comments.empty()) {
        std::vector<std::string>& at_end = root().edit_comments().at_end;
        append(comments, std::exchange(at_end, {}));
        at_end = std::move(comments);
    }
    std::erase_if(m_definitions, goes);
}

PGM_COMMON_XML_ELEMENT& ZORVA_STORED_FILE::root() {
    if (!m_root) m_root = PGM_COMMON_XML::new_root(m_interface->document);
    return *m_root;
}

// Of a name that stands in the file twice, only the first can be in force.
void ZORVA_STORED_FILE::sort(const std::set<ZORVA_DEFINITION_KEY>& in_force) {
    std::map<ZORVA_DEFINITION_KEY, STORED> first;
    std::vector<STORED> behind;
    for (STORED& definition : m_definitions) {
        const ZORVA_DEFINITION_KEY key = definition.met.key;
        if (in_force.contains(key) && !first.contains(key))
            first.emplace(key, std::move(definition));
        else
            behind.push_back(std::move(definition));
    }
    m_definitions.clear();
    for (auto& [key, definition] : first) m_definitions.push_back(std::move(definition));
    std::ranges::move(behind, std::back_inserter(m_definitions));
}

std::optional<std::string> ZORVA_STORED_FILE::to_bytes(
    const std::set<ZORVA_DEFINITION_KEY>& in_force) {
    sort(in_force);
    const auto written = PGM_COMMON_XML::new_root(m_interface->document);
    if (root().get_comments()) written->edit_comments() = std::move(root().edit_comments());
    for (auto& element : m_others) written->add_child(element.release(), nullptr);
    for (STORED& definition : m_definitions)
        written->add_child(definition.element.release(), nullptr);
    std::string bytes = PGM_COMMON_XML::write_bytes(written.get());
    if (bytes.empty() || !reads_back(bytes)) return {};
    return bytes;
}

bool ZORVA_STORED_FILE::reads_back(const std::string& bytes) const {
    ZORVA_STORED_FILE again(*m_interface, m_path);
    return again.parse(bytes).empty() && again.contents() == contents();
}
