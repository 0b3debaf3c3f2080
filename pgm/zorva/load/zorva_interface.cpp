#include "pgm/zorva/load/zorva_interface.h"

#include "pgm/zorva/rules/zorva_report.h"

#include <algorithm>
#include <utility>

std::optional<ZORVA_REFUSAL> zorva_judge_density(const ZORVA_INTERFACE& interface,
                                                 std::string_view density) {
    if (std::ranges::find(interface.densities, density) != interface.densities.end()) return {};
    return ZORVA_REFUSAL{ZORVA_MESSAGE::INVALID_DEVICE_DENSITY, std::string(density), {}};
}

std::optional<ZORVA_REFUSAL> zorva_judge_io_voltage(const ZORVA_INTERFACE& interface,
                                                    std::string_view voltage) {
    if (std::ranges::find(interface.io_voltages, voltage) != interface.io_voltages.end()) return {};
    return ZORVA_REFUSAL{ZORVA_MESSAGE::INVALID_IO_VOLTAGE, std::string(voltage), {}};
}

bool zorva_keep_refusal(std::optional<ZORVA_REFUSAL> refusal, const PGM_COMMON_XML_ELEMENT& element,
                        std::vector<ZORVA_REFUSAL>& refusals) {
    if (!refusal) return false;
    refusal->line = element.get_line();
    refusals.push_back(std::move(*refusal));
    return true;
}

bool zorva_passes(const std::optional<ZORVA_REFUSAL>& refusal, std::string* err_msg) {
    if (refusal && err_msg) {
        zorva_post(*refusal);
        *err_msg = zorva_sentence(*refusal);
    }
    return !refusal;
}

const PGM_COMMON_XML_ELEMENT* zorva_first_child(const PGM_COMMON_XML_ELEMENT& parent,
                                                PGM_COMMON_XML_ENUM tag) {
    const auto& children = parent.get_all_childs();
    const auto child = std::ranges::find(children, tag, &PGM_COMMON_XML_ELEMENT::get_type);
    return child == children.end() ? nullptr : *child;
}

const PGM_COMMON_XML_ELEMENT& zorva_only_child(const PGM_COMMON_XML_ELEMENT& parent,
                                               PGM_COMMON_XML_ENUM tag, const char* parent_text) {
    if (parent.get_child_count(tag, true) != 1)
        ZORVA_FAIL("%s->get_child_count(PGM_COMMON_XML_ENUM_%s) == 1", parent_text,
                   pgm_common_xml_name(tag));
    return *zorva_first_child(parent, tag);
}

std::string zorva_definition_name(const PGM_COMMON_XML_ELEMENT& element) {
    const PGM_COMMON_XML_ELEMENT* device_info =
        zorva_first_child(element, PGM_COMMON_XML_ENUM_DEVICE_INFO);
    const PGM_COMMON_XML_ELEMENT* name =
        device_info ? zorva_first_child(*device_info, PGM_COMMON_XML_ENUM_DEVICE_NAME)
                    : zorva_first_child(element, PGM_COMMON_XML_ENUM_TEMPLATE_NAME);
    return name ? name->read_value() : std::string();
}

std::unique_ptr<ZORVA_FLASH> zorva_read_flash(const ZORVA_INTERFACE& interface,
                                              const PGM_COMMON_XML_ELEMENT& element,
                                              std::vector<ZORVA_REFUSAL>& refusals) {
    std::unique_ptr<ZORVA_FLASH> flash = interface.read_device(element, refusals);
    if (!flash || !interface.read_flows) return flash;
    const auto flows = interface.read_flows(element, refusals);
    flash->set_operation_list(std::exchange(flows->sfl_operation_list, {}),
                              ZORVA_PROG_FLOW_TYPE_SFL);
    flash->set_operation_list(std::exchange(flows->sdm_operation_list, {}),
                              ZORVA_PROG_FLOW_TYPE_SDM);
    return flash;
}

bool zorva_is_taken(const ZORVA_INTERFACE& interface, const PGM_COMMON_XML_ELEMENT& element) {
    std::vector<ZORVA_REFUSAL> refusals;
    const bool is_device = element.get_type() == PGM_COMMON_XML_ENUM_FLASH;
    if (is_device && !interface.read_device(element, refusals)) return false;
    if (interface.read_flows) interface.read_flows(element, refusals);
    return refusals.empty();
}

ZORVA_DEFINITION_KIND zorva_definition_kind(const PGM_COMMON_XML_ELEMENT& element) {
    return element.get_type() == PGM_COMMON_XML_ENUM_FLASH ? ZORVA_DEFINITION_KIND::DEVICE
                                                           : ZORVA_DEFINITION_KIND::TEMPLATE;
}

ZORVA_DEFINITION zorva_definition(const PGM_COMMON_XML_ELEMENT& element) {
    return {zorva_definition_kind(element),
            zorva_definition_name(element),
            element.get_line(),
            ZORVA_DEFINITION_STATE::IN_FORCE,
            {},
            {}};
}

void zorva_report_skipped(ZORVA_FILE_REPORT& report, const std::string& text) {
    report.state = ZORVA_FILE_STATE::SKIPPED;
    report.reason = text;
    const std::string& file = report.path;
    std::string_view rest = text;
    while (!rest.empty()) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        ZORVA_FINDING finding{0, {}, 0};
        if (line.starts_with(file + ":")) {
            line.remove_prefix(file.size() + 1);
            const std::string_view number = line.substr(0, line.find(':'));
            finding.line = PGM_COMMON::convert_string_to_dword(std::string(number), true, nullptr,
                                                               nullptr, false);
            line.remove_prefix(std::min(number.size() + 2, line.size()));
        }
        finding.sentence = line;
        report.findings.push_back(std::move(finding));
    }
}
