// From trees to records: what a manager takes of each file, and what it reports of it.
#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/store/zorva_replace.h"
#include "pgm/zorva/zorva_mgr.h"
#include "services/file.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

std::unique_ptr<PGM_COMMON_XML_ELEMENT> ZORVA_MGR::parse_shipped_xml(
    const std::string& xml_file) const {
    std::string error;
    auto object = zorva_parse_xml_file(m_interface, xml_file, true, error);
    if (!object) ZORVA_FAIL("%s", error);
    return object;
}

void ZORVA_MGR::parse_user_xml() {
    parse_user_xml_in_dir(ZORVA_ORIGIN::INSTALLATION);
    if (!PGM_COMMON::compare_string(get_db_kestrin_dir(), get_db_custom_dir(), false))
        parse_user_xml_in_dir(ZORVA_ORIGIN::CUSTOM);
}

namespace {

// A load's part in the lock of a directory: held to the end of the scan, so that no change moves a
// device from a file that is still to be read to one that has been. Others may load meanwhile.
class SCAN_LOCK {
  public:
    SCAN_LOCK(const ZORVA_INTERFACE& interface, const std::string& directory)
        : m_interface(interface), m_directory(directory) {
        share();
        if (zorva_is_unfinished(interface, directory)) finish();
    }
    // What a broken-off change has left, for the scan to pass over.
    const ZORVA_LEFTOVER& leftover() const { return m_leftover; }

  private:
    // Longer than a change takes. A scan that doesn't get the lock by then goes on without.
    static constexpr std::chrono::seconds longest_wait{2};

    void share() { m_lock.emplace(m_directory, FIO_DIRECTORY_LOCK::SHARED, longest_wait); }
    // Only who has the lock alone may change files.
    void finish() {
        m_lock.reset();
        {
            const FIO_DIRECTORY_LOCK alone(m_directory, FIO_DIRECTORY_LOCK::EXCLUSIVE,
                                           longest_wait);
            zorva_finish_change(m_interface, m_directory, alone.held());
        }
        share();
        m_leftover = zorva_finish_change(m_interface, m_directory, false);
    }

    const ZORVA_INTERFACE& m_interface;
    std::string m_directory;
    std::optional<FIO_DIRECTORY_LOCK> m_lock;
    ZORVA_LEFTOVER m_leftover;
};

}  // namespace

bool ZORVA_MGR::parse_user_xml_in_dir(ZORVA_ORIGIN origin) {
    const bool installation = origin == ZORVA_ORIGIN::INSTALLATION;
    DIR_MAP& db_dir_map = installation ? m_flash_db_kestrin_dir_map : m_flash_db_custom_dir_map;
    FIO_PATH path(installation ? get_db_kestrin_dir() : get_db_custom_dir());
    const std::string directory = path.full_directory();
    const SCAN_LOCK lock(m_interface, directory);
    m_leftover = &lock.leftover();
    path.filename(ZORVA_FILE_MASK);
    FIO_FIND find(path);
    bool status = true;
    for (std::string name = find.find_first(); !name.empty(); name = find.find_next()) {
        // The shipped file stands in the installation directory and has been read already.
        if (installation && PGM_COMMON::compare_string(name, m_interface.golden_file, false))
            continue;
        path.filename(name);
        zorva_trace(installation ? "Parsing XML file in Kestrin directory: %s"
                                 : "Parsing XML file in custom directory: %s",
                    path.fullpath().c_str());
        status = parse_user_xml_file(path.fullpath(), origin, db_dir_map) && status;
    }
    m_leftover = nullptr;
    report_directory(find, directory, origin);
    return status && !find.error();
}

// What a scan didn't get to read.
void ZORVA_MGR::report_directory(const FIO_FIND& find, const std::string& directory,
                                 ZORVA_ORIGIN origin) {
    for (const std::string& name : find.passed_over()) {
        ZORVA_FILE_REPORT& report = report_file(directory + name, origin);
        report.state = ZORVA_FILE_STATE::PASSED_OVER;
        report.reason = "It is no regular file.";
    }
    if (!find.error()) return;
    ZORVA_FILE_REPORT& report = report_file(directory, origin);
    report.state = ZORVA_FILE_STATE::SKIPPED;
    report.reason = fmt::format("The directory can't be listed: {}.", find.error().message());
    report.findings.push_back({0, report.reason, 0});
}

bool ZORVA_MGR::parse_user_xml_file(const std::string& xml_file, ZORVA_ORIGIN origin,
                                    DIR_MAP& db_dir_map) {
    ZORVA_FILE_REPORT& report = report_file(xml_file, origin);
    if (m_leftover && m_leftover->unfinished.contains(xml_file)) {
        report.state = ZORVA_FILE_STATE::SKIPPED;
        report.reason = "The change that made it was broken off and is taken back.";
        return true;
    }
    std::string error;
    const auto object = zorva_parse_xml_file(m_interface, xml_file, false, error);
    if (!object) {
        zorva_trace("Skip %s due to parsing error: %s", FIO_PATH(xml_file).filename().c_str(),
                    error.c_str());
        // What a change that was broken off at its first step leaves; nothing is wrong with it.
        if (zorva_is_empty_file(xml_file)) return false;
        zorva_report_skipped(report, error);
        return false;
    }
    const bool status = update_flash_list(*object, xml_file, db_dir_map, true) &&
                        create_user_template_list(*object, xml_file);
    if (!status) report_end(m_load_report.back(), *object);
    return status;
}

bool ZORVA_MGR::update_flash_list(const PGM_COMMON_XML_ELEMENT& object, const std::string& xml_file,
                                  DIR_MAP& db_dir_map, bool removable) {
    return std::ranges::all_of(object.get_all_childs(), [&](const PGM_COMMON_XML_ELEMENT* element) {
        return element->get_type() != PGM_COMMON_XML_ENUM_FLASH ||
               is_leftover(*element, xml_file) ||
               take_flash(*element, xml_file, db_dir_map, removable);
    });
}

bool ZORVA_MGR::create_user_template_list(const PGM_COMMON_XML_ELEMENT& object,
                                          const std::string& xml_file) {
    return std::ranges::all_of(object.get_all_childs(), [&](const PGM_COMMON_XML_ELEMENT* element) {
        return element->get_type() != PGM_COMMON_XML_ENUM_USER_TEMPLATE ||
               is_leftover(*element, xml_file) || take_template(*element, xml_file);
    });
}

namespace {

// Tells the user of each refusal and keeps it for the report.
void refuse(ZORVA_DEFINITION& definition, const std::vector<ZORVA_REFUSAL>& refusals) {
    definition.state = ZORVA_DEFINITION_STATE::REFUSED;
    for (const ZORVA_REFUSAL& refusal : refusals) {
        definition.findings.push_back(zorva_finding(refusal));
        zorva_post(refusal);
    }
}

}  // namespace

bool ZORVA_MGR::take_flash(const PGM_COMMON_XML_ELEMENT& element, const std::string& xml_file,
                           DIR_MAP& db_dir_map, bool removable) {
    const std::string directory = FIO_PATH(xml_file).full_directory();
    std::vector<ZORVA_REFUSAL> refusals;
    std::unique_ptr<ZORVA_FLASH> flash = zorva_read_flash(m_interface, element, refusals);
    // One name twice in one directory; in the other directory it is an override.
    if (flash && refusals.empty() && db_dir_map.contains(flash->get_name()))
        refusals.push_back({ZORVA_MESSAGE::FOUND_DUPLICATED_FLASH_IN_DB, flash->get_name(),
                            directory, element.get_line()});

    ZORVA_DEFINITION definition = zorva_definition(element);
    const bool taken = flash && refusals.empty();
    if (taken) {
        flash->set_db_dir(directory);
        flash->set_flash_removable_permission(removable);
        store_flash(std::move(flash), xml_file, db_dir_map);
    } else {
        refuse(definition, refusals);
    }
    report_definition(xml_file, std::move(definition));
    return taken;
}

void ZORVA_MGR::store_flash(std::unique_ptr<ZORVA_FLASH> flash, const std::string& xml_file,
                            DIR_MAP& db_dir_map) {
    const std::string name = flash->get_name();
    db_dir_map[name] = xml_file;
    const std::string displaced_file = std::exchange(m_flash_db_active_dir_map[name], xml_file);
    ZORVA_FLASH*& record = m_flash_map[name];
    if (record) {
        report_hidden(name, displaced_file, xml_file);
        if (m_flash == record) m_flash = nullptr;
        delete record;
    }
    record = flash.release();
    flash_map_changed();
}

bool ZORVA_MGR::take_template(const PGM_COMMON_XML_ELEMENT& element, const std::string& xml_file) {
    ZORVA_DEFINITION definition = zorva_definition(element);
    std::vector<ZORVA_REFUSAL> refusals;
    auto flows = m_interface.read_flows(element, refusals);
    // The first definition of a template stands, the reverse of a device: callers rely on it. A
    // bad template is left out without ending the file, a repeated one ends it.
    const bool known = refusals.empty() && m_user_flash_template_map.contains(definition.name);
    if (!refusals.empty()) {
        refuse(definition, refusals);
    } else if (known) {
        definition.state = ZORVA_DEFINITION_STATE::HIDDEN;
        definition.hidden_by = m_template_db_dir_map[definition.name];
    } else {
        m_user_flash_template_map[definition.name] = flows.release();
        m_template_db_dir_map[definition.name] = xml_file;
    }
    report_definition(xml_file, std::move(definition));
    return !known;
}

bool ZORVA_MGR::is_leftover(const PGM_COMMON_XML_ELEMENT& element, const std::string& xml_file) {
    if (!m_leftover || m_leftover->path != xml_file) return false;
    ZORVA_DEFINITION definition = zorva_definition(element);
    if (m_leftover->key != ZORVA_DEFINITION_KEY{definition.kind, definition.name}) return false;
    definition.state = ZORVA_DEFINITION_STATE::HIDDEN;
    definition.hidden_by = m_leftover->replaced_by;
    report_definition(xml_file, std::move(definition));
    return true;
}

ZORVA_FILE_REPORT& ZORVA_MGR::report_file(const std::string& path, ZORVA_ORIGIN origin) {
    m_report_places[path] = m_load_report.size();
    return m_load_report.emplace_back(
        ZORVA_FILE_REPORT{path, origin, ZORVA_FILE_STATE::READ, {}, {}, {}});
}

void ZORVA_MGR::report_definition(const std::string& xml_file, ZORVA_DEFINITION definition) {
    m_load_report[m_report_places.at(xml_file)].definitions.push_back(std::move(definition));
}

void ZORVA_MGR::report_hidden(const std::string& name, const std::string& defined_in,
                              const std::string& hidden_by) {
    auto& definitions = m_load_report[m_report_places.at(defined_in)].definitions;
    const auto hidden = std::ranges::find_if(definitions, [&](const ZORVA_DEFINITION& definition) {
        return definition.kind == ZORVA_DEFINITION_KIND::DEVICE && definition.name == name &&
               definition.state == ZORVA_DEFINITION_STATE::IN_FORCE;
    });
    if (hidden == definitions.end()) return;
    hidden->state = ZORVA_DEFINITION_STATE::HIDDEN;
    hidden->hidden_by = hidden_by;
}

// The last definition met ended the reading; what stands behind it is reported unread.
void ZORVA_MGR::report_end(ZORVA_FILE_REPORT& report, const PGM_COMMON_XML_ELEMENT& object) {
    const ZORVA_DEFINITION& last = report.definitions.back();
    report.state = ZORVA_FILE_STATE::READ_IN_PART;
    report.reason = fmt::format("Reading ended at the {} '{}' in line {}.",
                                last.kind == ZORVA_DEFINITION_KIND::DEVICE ? "device" : "template",
                                last.name, last.line);
    const auto met = [&](ZORVA_DEFINITION_KIND kind) {
        return std::ranges::count(report.definitions, kind, &ZORVA_DEFINITION::kind);
    };
    const auto add_unread = [&](PGM_COMMON_XML_ENUM tag, ZORVA_DEFINITION_KIND kind) {
        const auto elements = object.get_childs(tag, true);
        for (auto element = elements.begin() + met(kind); element != elements.end(); ++element) {
            report.definitions.push_back(zorva_definition(**element));
            report.definitions.back().state = ZORVA_DEFINITION_STATE::NOT_READ;
        }
    };
    add_unread(PGM_COMMON_XML_ENUM_FLASH, ZORVA_DEFINITION_KIND::DEVICE);
    add_unread(PGM_COMMON_XML_ENUM_USER_TEMPLATE, ZORVA_DEFINITION_KIND::TEMPLATE);
}
