#include "pgm/zorva/load/zorva_judge.h"

#include "pgm/zorva/load/zorva_xml_file.h"
#include "services/file.h"

#include <algorithm>
#include <set>
#include <utility>

namespace {

// The names met so far; a device's counts within its directory, a template's everywhere.
class JUDGE {
  public:
    explicit JUDGE(const ZORVA_INTERFACE& interface) : m_interface(interface) {}

    ZORVA_FILE_REPORT judge_file(const std::string& file);
    // A tree, or why there is none.
    ZORVA_FILE_REPORT judge(const std::string& file, const PGM_COMMON_XML_ELEMENT* object,
                            const std::string& error);

  private:
    void judge_element(const PGM_COMMON_XML_ELEMENT& element, ZORVA_FILE_REPORT& report);
    void judge_device(const PGM_COMMON_XML_ELEMENT& element, const std::string& directory,
                      std::vector<ZORVA_REFUSAL>& refusals);
    void judge_template(const PGM_COMMON_XML_ELEMENT& element,
                        std::vector<ZORVA_REFUSAL>& refusals);

    const ZORVA_INTERFACE& m_interface;
    std::set<std::pair<std::string, std::string>> m_devices;  // directory and name
    std::set<std::string> m_templates;
};

ZORVA_FILE_REPORT JUDGE::judge_file(const std::string& file) {
    std::string error;
    const auto object = zorva_parse_xml_file(m_interface, file, false, error);
    return judge(file, object.get(), error);
}

ZORVA_FILE_REPORT JUDGE::judge(const std::string& file, const PGM_COMMON_XML_ELEMENT* object,
                               const std::string& error) {
    ZORVA_FILE_REPORT report{file, ZORVA_ORIGIN::CUSTOM, ZORVA_FILE_STATE::READ, {}, {}, {}};
    if (!object && zorva_is_empty_file(file)) return report;
    if (!object) {
        zorva_report_skipped(report, error);
        return report;
    }
    for (const PGM_COMMON_XML_ELEMENT* element : object->get_all_childs())
        judge_element(*element, report);
    return report;
}

void JUDGE::judge_element(const PGM_COMMON_XML_ELEMENT& element, ZORVA_FILE_REPORT& report) {
    std::vector<ZORVA_REFUSAL> refusals;
    if (element.get_type() == PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE) {
        for (const PGM_COMMON_XML_ELEMENT* vendor : element.get_all_childs())
            m_interface.read_flows(*vendor, refusals);
    } else if (element.get_type() == PGM_COMMON_XML_ENUM_FLASH) {
        judge_device(element, FIO_PATH(report.path).full_directory(), refusals);
    } else {
        judge_template(element, refusals);
    }
    ZORVA_DEFINITION definition = zorva_definition(element);
    if (!refusals.empty()) definition.state = ZORVA_DEFINITION_STATE::REFUSED;
    std::ranges::transform(refusals, std::back_inserter(definition.findings), zorva_finding);
    report.definitions.push_back(std::move(definition));
}

void JUDGE::judge_device(const PGM_COMMON_XML_ELEMENT& element, const std::string& directory,
                         std::vector<ZORVA_REFUSAL>& refusals) {
    m_interface.read_device(element, refusals);
    if (m_interface.read_flows) m_interface.read_flows(element, refusals);
    const std::string name = zorva_definition_name(element);
    if (!m_devices.emplace(directory, name).second)
        refusals.push_back(
            {ZORVA_MESSAGE::FOUND_DUPLICATED_FLASH_IN_DB, name, directory, element.get_line()});
}

void JUDGE::judge_template(const PGM_COMMON_XML_ELEMENT& element,
                           std::vector<ZORVA_REFUSAL>& refusals) {
    m_interface.read_flows(element, refusals);
    const std::string name = zorva_definition_name(element);
    if (!m_templates.insert(name).second)
        refusals.push_back({ZORVA_MESSAGE::INVALID_TEMPLATE_NAME_CONFLICT_WITH_TEMPLATE_DATABASE,
                            name,
                            {},
                            element.get_line()});
}

}  // namespace

ZORVA_LOAD_REPORT zorva_judge_files(const ZORVA_INTERFACE& interface,
                                    const std::vector<std::string>& files) {
    JUDGE judge(interface);
    ZORVA_LOAD_REPORT report;
    for (const std::string& file : files) report.push_back(judge.judge_file(file));
    return report;
}

ZORVA_JUDGED zorva_judge_bytes(const ZORVA_INTERFACE& interface, const std::string& bytes,
                               const std::string& name) {
    std::string error;
    auto root = zorva_parse_bytes(interface, bytes, name, error);
    return {JUDGE(interface).judge(name, root.get(), error), std::move(root)};
}
