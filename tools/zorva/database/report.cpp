#include "tools/zorva/database/report.h"

#include "pgm/zorva/zorva_helper.h"
#include "services/settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_map>

namespace zorva_tool {

namespace {

json findings_json(const std::vector<ZORVA_FINDING>& findings) {
    json rows = json::array();
    for (const ZORVA_FINDING& finding : findings)
        rows.push_back(
            {{"id", finding.id}, {"line", finding.line}, {"sentence", finding.sentence}});
    return rows;
}

std::string with_slash(const std::string& path) { return path.ends_with('/') ? path : path + '/'; }

// A directory that couldn't be listed stands among the files.
bool is_of_directory(const ZORVA_FILE_REPORT& report) {
    const std::string directory = with_slash(report.path);
    return directory == ZORVA_MGR::get_db_kestrin_dir() ||
           directory == ZORVA_MGR::get_db_custom_dir();
}

// What one manager tells of a file.
struct told_file {
    const interface_row* by;
    const ZORVA_FILE_REPORT* report;
};

// A file that one manager took is meant for it; of one that all skipped the root element tells.
met_file as_meant(const std::vector<told_file>& told) {
    for (const told_file& file : told)
        if (file.report->state != ZORVA_FILE_STATE::SKIPPED) return {file.report, file.by, nullptr};
    const interface_row& meant_for = interface_for(told[0].report->path);
    const auto own = std::ranges::find(told, &meant_for, &told_file::by);
    if (own != told.end()) return {own->report, &meant_for, nullptr};
    return {
        told[0].report, &meant_for,
        cfg_is_on(meant_for.setting, false).value ? meant_for.custom_setting : meant_for.setting};
}

}  // namespace

std::string definition::place() const { return fmt::format("{}:{}", file->path, is->line); }

std::optional<definition> user_template_in_force(const ZORVA_MGR& manager,
                                                 const std::string& name) {
    for (const ZORVA_FILE_REPORT& file : manager.get_load_report())
        for (const ZORVA_DEFINITION& is : file.definitions)
            if (is.kind == ZORVA_DEFINITION_KIND::TEMPLATE && is.name == name &&
                is.state == ZORVA_DEFINITION_STATE::IN_FORCE)
                return definition{&file, &is};
    return {};
}

const char* origin_name(ZORVA_ORIGIN origin) {
    switch (origin) {
        case ZORVA_ORIGIN::SHIPPED:
            return "shipped";
        case ZORVA_ORIGIN::INSTALLATION:
            return "installation";
        case ZORVA_ORIGIN::CUSTOM:
            break;
    }
    return "custom";
}

const char* kind_name(ZORVA_DEFINITION_KIND kind) {
    return kind == ZORVA_DEFINITION_KIND::DEVICE ? "device" : "template";
}

const char* state_name(ZORVA_DEFINITION_STATE state) {
    switch (state) {
        case ZORVA_DEFINITION_STATE::IN_FORCE:
            return "in force";
        case ZORVA_DEFINITION_STATE::HIDDEN:
            return "hidden";
        case ZORVA_DEFINITION_STATE::REFUSED:
            return "refused";
        case ZORVA_DEFINITION_STATE::NOT_READ:
            break;
    }
    return "not read";
}

// Another interface's manager takes a shipped file for one of the installation's own.
ZORVA_ORIGIN met_file::origin() const {
    const bool is_shipped = report->path == ZORVA_HELPER::get_shipped_file(meant_for->family);
    return is_shipped ? ZORVA_ORIGIN::SHIPPED : report->origin;
}

const char* met_file::state() const {
    if (switched_off_by != nullptr) return "not read";
    switch (report->state) {
        case ZORVA_FILE_STATE::READ:
            return "read";
        case ZORVA_FILE_STATE::READ_IN_PART:
            return "read in part";
        case ZORVA_FILE_STATE::PASSED_OVER:
            return "passed over";
        case ZORVA_FILE_STATE::SKIPPED:
            break;
    }
    return "skipped";
}

std::string met_file::why() const {
    if (switched_off_by != nullptr) return off_text(*meant_for, switched_off_by);
    if (report->findings.empty()) return report->reason;
    const ZORVA_FINDING& first = report->findings[0];
    const std::string place = first.line == 0 ? "" : fmt::format("Line {}: ", first.line);
    const std::string more = report->findings.size() == 1
                                 ? ""
                                 : fmt::format(" (and {} more)", report->findings.size() - 1);
    return place + first.sentence + more;
}

std::vector<met_file> merged(const std::vector<ZORVA_MGR*>& managers) {
    std::vector<std::vector<told_file>> files;
    std::unordered_map<std::string_view, std::size_t> places;
    for (ZORVA_MGR* manager : managers) {
        const interface_row& row = interface_of(manager->get_flash_family());
        for (const ZORVA_FILE_REPORT& report : manager->get_load_report()) {
            if (is_of_directory(report)) continue;
            const auto [place, is_new] = places.try_emplace(report.path, files.size());
            if (is_new) files.emplace_back();
            files[place->second].push_back({&row, &report});
        }
    }
    std::vector<met_file> met;
    met.reserve(files.size());
    std::ranges::transform(files, std::back_inserter(met), as_meant);
    return met;
}

std::string directory_finding(const std::vector<ZORVA_MGR*>& managers,
                              const std::string& directory) {
    for (const ZORVA_MGR* manager : managers)
        for (const ZORVA_FILE_REPORT& report : manager->get_load_report())
            if (is_of_directory(report) && with_slash(report.path) == directory &&
                !report.findings.empty())
                return report.findings[0].sentence;
    return {};
}

json definition_json(const definition& definition) {
    const ZORVA_DEFINITION& is = *definition.is;
    return {{"name", is.name},
            {"kind", kind_name(is.kind)},
            {"state", state_name(is.state)},
            {"file", definition.file->path},
            {"line", is.line},
            {"place", definition.place()},
            {"origin", origin_name(definition.file->origin)},
            {"hidden_by", is.hidden_by.empty() ? json() : json(is.hidden_by)},
            {"findings", findings_json(is.findings)}};
}

json file_json(const met_file& file) {
    const ZORVA_FILE_REPORT& report = *file.report;
    const bool is_off = file.switched_off_by != nullptr;
    json definitions = json::array();
    for (const ZORVA_DEFINITION& is : report.definitions)
        definitions.push_back(definition_json({&report, &is}));
    return {{"path", report.path},
            {"interface", file.meant_for->label},
            {"origin", origin_name(file.origin())},
            {"state", file.state()},
            {"why", file.why()},
            {"findings", is_off ? json::array() : findings_json(report.findings)},
            {"definitions", definitions}};
}

}  // namespace zorva_tool
