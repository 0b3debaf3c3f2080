#include "tools/zorva/report.h"

#include "tools/zorva/interface.h"

#include <fmt/format.h>

#include <algorithm>

namespace zorva_tool {

namespace {

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

json findings_json(const std::vector<ZORVA_FINDING>& findings) {
    json rows = json::array();
    for (const ZORVA_FINDING& finding : findings)
        rows.push_back(
            {{"id", finding.id}, {"line", finding.line}, {"sentence", finding.sentence}});
    return rows;
}

}  // namespace

std::string definition::place() const { return fmt::format("{}:{}", file->path, is->line); }

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

const char* state_name(ZORVA_FILE_STATE state) {
    switch (state) {
        case ZORVA_FILE_STATE::READ:
            return "read";
        case ZORVA_FILE_STATE::READ_IN_PART:
            return "read in part";
        case ZORVA_FILE_STATE::SKIPPED:
            break;
    }
    return "skipped";
}

std::vector<const ZORVA_FILE_REPORT*> merged(const std::vector<ZORVA_MGR*>& managers) {
    std::vector<const ZORVA_FILE_REPORT*> files;
    for (ZORVA_MGR* manager : managers)
        for (const ZORVA_FILE_REPORT& file : manager->get_load_report()) {
            const auto known = std::ranges::find(files, file.path, &ZORVA_FILE_REPORT::path);
            if (known == files.end())
                files.push_back(&file);
            else if (interface_for(file.path).family == manager->get_flash_family())
                *known = &file;
        }
    return files;
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

json file_json(const ZORVA_FILE_REPORT& file) {
    json definitions = json::array();
    for (const ZORVA_DEFINITION& is : file.definitions)
        definitions.push_back(definition_json({&file, &is}));
    return {{"path", file.path},
            {"origin", origin_name(file.origin)},
            {"state", state_name(file.state)},
            {"findings", findings_json(file.findings)},
            {"definitions", definitions}};
}

}  // namespace zorva_tool
