#include "pgm/zorva/load/zorva_loader.h"

#include "pgm/zorva/load/zorva_directories.h"
#include "pgm/zorva/load/zorva_elements.h"
#include "pgm/zorva/load/zorva_scan_lock.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "services/file.h"

#include <utility>

namespace {

// Takes what a walk over one file meets into the catalogue, and tells the log.
class FILE_LOAD final : public ZORVA_WALKER {
  public:
    FILE_LOAD(ZORVA_CATALOGUE& catalogue, ZORVA_LOAD_LOG& log, std::string file,
              ZORVA_DIRECTORY directory, bool is_shipped, const ZORVA_LEFTOVER& leftover)
        : m_catalogue(catalogue),
          m_log(log),
          m_file(std::move(file)),
          m_path(FIO_PATH(m_file).full_directory()),
          m_directory(directory),
          m_is_shipped(is_shipped),
          m_leftover(leftover) {}

    bool passes_over(const ZORVA_WALKED& walked) override;
    bool is_defined(const ZORVA_DEFINITION_KEY& key) override {
        return !m_catalogue.file_known_of(key, m_directory).empty();
    }
    void meet(ZORVA_WALKED walked) override;
    bool is_whole() const { return m_is_whole; }

  private:
    void take(ZORVA_WALKED& walked);
    void refuse(ZORVA_DEFINITION& definition, const std::vector<ZORVA_REFUSAL>& refusals);
    void refuse_repeated(ZORVA_DEFINITION& definition);

    ZORVA_CATALOGUE& m_catalogue;
    ZORVA_LOAD_LOG& m_log;
    std::string m_file;
    std::string m_path;
    ZORVA_DIRECTORY m_directory;
    bool m_is_shipped;
    const ZORVA_LEFTOVER& m_leftover;
    bool m_is_whole = true;
};

// An old definition that a broken-off change has left in its file, and whatever the shipped file
// holds beside golden templates and devices.
bool FILE_LOAD::passes_over(const ZORVA_WALKED& walked) {
    if (m_is_shipped) return walked.key.kind == ZORVA_DEFINITION_KIND::TEMPLATE;
    if (m_leftover.path != m_file || m_leftover.key != walked.key) return false;
    ZORVA_DEFINITION definition = zorva_definition(walked);
    definition.state = ZORVA_DEFINITION_STATE::HIDDEN;
    definition.hidden_by = m_leftover.replaced_by;
    m_log.add(std::move(definition));
    return true;
}

void FILE_LOAD::meet(ZORVA_WALKED walked) {
    ZORVA_DEFINITION definition = zorva_definition(walked);
    switch (walked.verdict) {
        case ZORVA_VERDICT::TAKEN:
            take(walked);
            break;
        case ZORVA_VERDICT::REFUSED:
            refuse(definition, walked.refusals);
            break;
        case ZORVA_VERDICT::REPEATED:
            refuse_repeated(definition);
            break;
        case ZORVA_VERDICT::NOT_READ:
            definition.state = ZORVA_DEFINITION_STATE::NOT_READ;
            break;
    }
    m_log.add(std::move(definition));
    if (!walked.ends_file) return;
    m_is_whole = false;
    if (!m_is_shipped) m_log.end_file_early();
}

void FILE_LOAD::take(ZORVA_WALKED& walked) {
    if (walked.key.kind == ZORVA_DEFINITION_KIND::TEMPLATE) {
        m_catalogue.put_template(walked.key.name, std::move(walked.flows), m_file);
        return;
    }
    walked.flash->set_db_dir(m_path);
    walked.flash->set_flash_removable_permission(!m_is_shipped);
    const std::string displaced =
        m_catalogue.load_device(std::move(walked.flash), m_file, m_directory);
    if (!displaced.empty()) m_log.hide_device(walked.key.name, displaced, m_file);
}

void FILE_LOAD::refuse(ZORVA_DEFINITION& definition, const std::vector<ZORVA_REFUSAL>& refusals) {
    zorva_report_refused(definition, refusals);
    for (const ZORVA_REFUSAL& refusal : refusals) zorva_post(refusal);
}

// The first definition of a template stands, the reverse of a device, which an other directory may
// define anew: callers rely on it.
void FILE_LOAD::refuse_repeated(ZORVA_DEFINITION& definition) {
    if (definition.kind == ZORVA_DEFINITION_KIND::DEVICE)
        return refuse(definition, {{ZORVA_MESSAGE::FOUND_DUPLICATED_FLASH_IN_DB, definition.name,
                                    m_path, definition.line}});
    definition.state = ZORVA_DEFINITION_STATE::HIDDEN;
    definition.hidden_by =
        m_catalogue.file_known_of({definition.kind, definition.name}, m_directory);
}

}  // namespace

void ZORVA_LOADER::load_shipped_file() {
    const std::string file = zorva_golden_template_file(m_interface);
    const auto root = zorva_parse_shipped_file(m_interface);
    m_log.begin_file(file, ZORVA_ORIGIN::SHIPPED);
    const bool flows_taken = take_golden_templates(*root);
    // The shipped devices are read even so, to tell all that is wrong with the file.
    const ZORVA_LEFTOVER nothing{};
    FILE_LOAD load(m_catalogue, m_log, file, ZORVA_DIRECTORY::INSTALLATION, true, nothing);
    zorva_walk(m_interface, *root, load);
    const bool status = load.is_whole() && flows_taken;
    ZORVA_ASSERT(status);
}

bool ZORVA_LOADER::take_golden_templates(const PGM_COMMON_XML_ELEMENT& root) {
    if (m_interface.golden_vendors().empty()) return true;
    const PGM_COMMON_XML_ELEMENT& templates =
        zorva_only_child(root, PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE, "object");
    bool all_taken = true;
    for (const ZORVA_GOLDEN_VENDOR_ROW& vendor : m_interface.golden_vendors()) {
        std::vector<ZORVA_REFUSAL> refusals;
        m_catalogue.add_golden_template(m_interface.read_flows(
            zorva_only_child(templates, vendor.tag, "template_list.at(0)"), refusals));
        // At once: a vendor that is missing further on ends the load.
        for (const ZORVA_REFUSAL& refusal : refusals) zorva_post(refusal);
        all_taken = all_taken && refusals.empty();
    }
    return all_taken;
}

void ZORVA_LOADER::load_user_files() {
    load_directory(ZORVA_DIRECTORY::INSTALLATION);
    if (!PGM_COMMON::compare_string(zorva_installation_directory(), zorva_custom_directory(),
                                    false))
        load_directory(ZORVA_DIRECTORY::CUSTOM);
}

void ZORVA_LOADER::load_directory(ZORVA_DIRECTORY directory) {
    const bool installation = directory == ZORVA_DIRECTORY::INSTALLATION;
    FIO_PATH path(installation ? zorva_installation_directory() : zorva_custom_directory());
    const ZORVA_SCAN_LOCK lock(m_interface, path.full_directory());
    path.filename(ZORVA_FILE_MASK);
    FIO_FIND find(path);
    for (std::string name = find.find_first(); !name.empty(); name = find.find_next()) {
        // The shipped file stands in the installation directory and has been read already.
        if (installation && PGM_COMMON::compare_string(name, m_interface.golden_file, false))
            continue;
        path.filename(name);
        zorva_trace(installation ? "Parsing XML file in Kestrin directory: %s"
                                 : "Parsing XML file in custom directory: %s",
                    path.fullpath().c_str());
        load_file(path.fullpath(), directory, lock.leftover());
    }
    report_directory(find, path.full_directory(), zorva_origin(directory));
}

// What a scan didn't get to read.
void ZORVA_LOADER::report_directory(const FIO_FIND& find, const std::string& path,
                                    ZORVA_ORIGIN origin) {
    for (const std::string& name : find.passed_over()) {
        ZORVA_FILE_REPORT& report = m_log.begin_file(path + name, origin);
        report.state = ZORVA_FILE_STATE::PASSED_OVER;
        report.reason = "It is no regular file.";
    }
    if (!find.error()) return;
    ZORVA_FILE_REPORT& report = m_log.begin_file(path, origin);
    report.state = ZORVA_FILE_STATE::SKIPPED;
    report.reason = fmt::format("The directory can't be listed: {}.", find.error().message());
    report.findings.push_back({0, report.reason, 0});
}

void ZORVA_LOADER::load_file(const std::string& file, ZORVA_DIRECTORY directory,
                             const ZORVA_LEFTOVER& leftover) {
    ZORVA_FILE_REPORT& report = m_log.begin_file(file, zorva_origin(directory));
    if (leftover.unfinished.contains(file)) {
        report.state = ZORVA_FILE_STATE::SKIPPED;
        report.reason = "The change that made it was broken off and is taken back.";
        return;
    }
    std::string error;
    const auto root = zorva_parse_xml_file(m_interface, file, error);
    if (root) {
        FILE_LOAD load(m_catalogue, m_log, file, directory, false, leftover);
        zorva_walk(m_interface, *root, load);
        return;
    }
    zorva_trace("Skip %s due to parsing error: %s", FIO_PATH(file).filename().c_str(),
                error.c_str());
    // A change that was broken off at its first step leaves an empty file; nothing is wrong with
    // it.
    if (!zorva_is_empty_file(file)) zorva_report_skipped(report, error);
}
