#include "pgm/zorva/load/zorva_load_log.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace {

ZORVA_FINDING finding_of(const ZORVA_REFUSAL& refusal) {
    return {zorva_message_row(refusal.message).id, zorva_sentence(refusal), refusal.line};
}

// One line of what check_xsd tells of a file.
ZORVA_FINDING finding_in(std::string_view line, const std::string& file) {
    ZORVA_FINDING finding{0, {}, 0};
    if (line.starts_with(file + ":")) {
        line.remove_prefix(file.size() + 1);
        const std::string_view number = line.substr(0, line.find(':'));
        finding.line =
            PGM_COMMON::convert_string_to_dword(std::string(number), true, nullptr, nullptr, false);
        line.remove_prefix(std::min(number.size() + 2, line.size()));
    }
    finding.sentence = line;
    return finding;
}

}  // namespace

ZORVA_DEFINITION zorva_definition(const ZORVA_WALKED& walked) {
    return {walked.key.kind,
            walked.key.name,
            walked.element.get_line(),
            ZORVA_DEFINITION_STATE::IN_FORCE,
            {},
            {}};
}

void zorva_report_refused(ZORVA_DEFINITION& definition,
                          const std::vector<ZORVA_REFUSAL>& refusals) {
    definition.state = ZORVA_DEFINITION_STATE::REFUSED;
    std::ranges::transform(refusals, std::back_inserter(definition.findings), finding_of);
}

void zorva_report_skipped(ZORVA_FILE_REPORT& report, const std::string& text) {
    report.state = ZORVA_FILE_STATE::SKIPPED;
    report.reason = text;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        report.findings.push_back(finding_in(line, report.path));
    }
}

ZORVA_FILE_REPORT& ZORVA_LOAD_LOG::begin_file(const std::string& path, ZORVA_ORIGIN origin) {
    m_places[path] = m_report.size();
    return m_report.emplace_back(
        ZORVA_FILE_REPORT{path, origin, ZORVA_FILE_STATE::READ, {}, {}, {}});
}

void ZORVA_LOAD_LOG::add(ZORVA_DEFINITION definition) {
    m_report.back().definitions.push_back(std::move(definition));
}

void ZORVA_LOAD_LOG::end_file_early() {
    ZORVA_FILE_REPORT& report = m_report.back();
    const ZORVA_DEFINITION& last = report.definitions.back();
    report.state = ZORVA_FILE_STATE::READ_IN_PART;
    report.reason = fmt::format("Reading ended at the {} '{}' in line {}.",
                                last.kind == ZORVA_DEFINITION_KIND::DEVICE ? "device" : "template",
                                last.name, last.line);
}

void ZORVA_LOAD_LOG::hide_device(const std::string& name, const std::string& defined_in,
                                 const std::string& hidden_by) {
    auto& definitions = m_report[m_places.at(defined_in)].definitions;
    const auto hidden = std::ranges::find_if(definitions, [&](const ZORVA_DEFINITION& definition) {
        return definition.kind == ZORVA_DEFINITION_KIND::DEVICE && definition.name == name &&
               definition.state == ZORVA_DEFINITION_STATE::IN_FORCE;
    });
    if (hidden == definitions.end()) return;
    hidden->state = ZORVA_DEFINITION_STATE::HIDDEN;
    hidden->hidden_by = hidden_by;
}
