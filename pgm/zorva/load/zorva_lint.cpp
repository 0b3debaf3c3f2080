#include "pgm/zorva/load/zorva_lint.h"

#include "pgm/zorva/load/zorva_load_log.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "services/file.h"

#include <set>
#include <utility>

namespace {

// Judges one document after another. A device's name counts within its directory, a template's
// everywhere.
class LINT final : public ZORVA_WALKER {
  public:
    explicit LINT(const ZORVA_INTERFACE& interface) : m_interface(interface) {}

    ZORVA_JUDGED judge_file(const std::string& file);
    ZORVA_JUDGED judge_bytes(const std::string& bytes, const std::string& name);

    bool is_defined(const ZORVA_DEFINITION_KEY& key) override;
    void meet(ZORVA_WALKED walked) override;

  private:
    void begin(const std::string& path);
    // Of a tree; null, and why there is none, for what can't be read.
    ZORVA_JUDGED judge(const PGM_COMMON_XML_ELEMENT* root, const std::string& error);

    const ZORVA_INTERFACE& m_interface;
    ZORVA_JUDGED m_judged;  // the document at hand
    std::string m_directory;
    std::set<std::pair<std::string, ZORVA_DEFINITION_KEY>> m_names;
};

void LINT::begin(const std::string& path) {
    m_judged = {{path, ZORVA_ORIGIN::CUSTOM, ZORVA_FILE_STATE::READ, {}, {}, {}}, {}};
    m_directory = FIO_PATH(path).full_directory();
}

ZORVA_JUDGED LINT::judge_file(const std::string& file) {
    begin(file);
    std::string error;
    const auto root = zorva_parse_xml_file(m_interface, file, false, error);
    if (!root && zorva_is_empty_file(file)) return std::move(m_judged);
    return judge(root.get(), error);
}

ZORVA_JUDGED LINT::judge_bytes(const std::string& bytes, const std::string& name) {
    begin(name);
    std::string error;
    const auto root = zorva_parse_bytes(m_interface, bytes, name, error);
    return judge(root.get(), error);
}

ZORVA_JUDGED LINT::judge(const PGM_COMMON_XML_ELEMENT* root, const std::string& error) {
    if (root)
        zorva_walk_all(m_interface, *root, *this);
    else
        zorva_report_skipped(m_judged.report, error);
    return std::move(m_judged);
}

bool LINT::is_defined(const ZORVA_DEFINITION_KEY& key) {
    const bool is_device = key.kind == ZORVA_DEFINITION_KIND::DEVICE;
    return !m_names.emplace(is_device ? m_directory : std::string(), key).second;
}

// One that is bad and repeated is told to be both.
void LINT::meet(ZORVA_WALKED walked) {
    const bool is_golden = walked.element.get_type() == PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE;
    const bool is_device = walked.key.kind == ZORVA_DEFINITION_KIND::DEVICE;
    if (walked.is_repeated && !is_golden)
        walked.refusals.push_back(
            {is_device ? ZORVA_MESSAGE::FOUND_DUPLICATED_FLASH_IN_DB
                       : ZORVA_MESSAGE::INVALID_TEMPLATE_NAME_CONFLICT_WITH_TEMPLATE_DATABASE,
             walked.key.name, is_device ? m_directory : std::string(), walked.element.get_line()});
    ZORVA_DEFINITION definition = zorva_definition(walked);
    if (!walked.is_good()) zorva_report_refused(definition, walked.refusals);
    m_judged.report.definitions.push_back(std::move(definition));
    if (walked.is_good() && !is_golden)
        m_judged.definitions.push_back(
            {std::move(walked.key), std::move(walked.flash), std::move(walked.flows)});
}

}  // namespace

ZORVA_LOAD_REPORT zorva_judge_files(const ZORVA_INTERFACE& interface,
                                    const std::vector<std::string>& files) {
    LINT lint(interface);
    ZORVA_LOAD_REPORT report;
    for (const std::string& file : files) report.push_back(lint.judge_file(file).report);
    return report;
}

ZORVA_JUDGED zorva_judge_bytes(const ZORVA_INTERFACE& interface, const std::string& bytes,
                               const std::string& name) {
    return LINT(interface).judge_bytes(bytes, name);
}
