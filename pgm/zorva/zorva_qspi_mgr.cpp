// Life and load of the QSPI manager, and what it makes.
#include "pgm/zorva/zorva_qspi_mgr.h"

#include "pgm/zorva/load/zorva_judge.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/qspi/zorva_qspi_interface.h"
#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/zorva_qspi_action.h"
#include "pgm/zorva/zorva_qspi_flash.h"
#include "pgm/zorva/zorva_qspi_operation.h"
#include "services/pgmdev.h"

#include <span>

ZORVA_QSPI_MGR::ZORVA_QSPI_MGR() : ZORVA_MGR(zorva_qspi_interface) {
    fill_family_info([](const PGMDEV_DEVICE_INFO& info) { return info.qspi; });
    initialize_flash_info();
    if (!parse_golden_template_xml()) ZORVA_FAIL("Failed to parse golden template XML.");
    parse_user_xml();
}

ZORVA_QSPI_MGR::~ZORVA_QSPI_MGR() = default;

void ZORVA_QSPI_MGR::initialize_flash_info() {
    const PGMDEV_FLASH_MANAGER service(true, 1, false, false);
    for (const PGMDEV_SFL_FLASH_INFO& info : std::span(service.flash_table, service.flash_count))
        if (info.legacy && !info.device_name.empty() && !info.io_voltage.empty())
            m_legacy_flash_map[info.device_name] = info.io_voltage;
}

bool ZORVA_QSPI_MGR::parse_golden_template_xml() {
    const std::string xml_file = zorva_golden_template_file(m_interface);
    const auto object = parse_shipped_xml(xml_file);
    report_file(xml_file, ZORVA_ORIGIN::SHIPPED);
    const bool status = create_flash_info_with_golden_template(*object, xml_file);
    ZORVA_ASSERT(status);
    return status;
}

bool ZORVA_QSPI_MGR::create_flash_info_with_golden_template(const PGM_COMMON_XML_ELEMENT& object,
                                                            const std::string& xml_file) {
    const PGM_COMMON_XML_ELEMENT& templates =
        zorva_only_child(object, PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE, "object");
    bool flows_taken = true;
    for (const ZORVA_GOLDEN_VENDOR_ROW& vendor : zorva_golden_vendors()) {
        std::vector<ZORVA_REFUSAL> refusals;
        m_golden_templates[static_cast<std::size_t>(vendor.number)] = m_interface.read_flows(
            zorva_only_child(templates, vendor.tag, "template_list.at(0)"), refusals);
        // At once: a vendor that is missing further on ends the load.
        for (const ZORVA_REFUSAL& refusal : refusals) zorva_post(refusal);
        flows_taken = flows_taken && refusals.empty();
    }
    // The shipped devices are read even so, to tell all that is wrong with the file.
    const bool devices_taken =
        update_flash_list(object, xml_file, m_flash_db_kestrin_dir_map, false);
    return devices_taken && flows_taken;
}

ZORVA_MGR* ZORVA_QSPI_MGR::get_new_instance() { return new ZORVA_QSPI_MGR; }

ZORVA_FLASH* ZORVA_QSPI_MGR::create_flash(std::string device_name) {
    return adopt_new_flash(std::make_unique<ZORVA_QSPI_FLASH>(std::move(device_name)));
}

ZORVA_ACTION* ZORVA_QSPI_MGR::create_action(ZORVA_ACT_TYPE type) {
    return new ZORVA_QSPI_ACTION(type);
}

ZORVA_OPERATION* ZORVA_QSPI_MGR::create_operation(ZORVA_OP_TYPE type) {
    return new ZORVA_QSPI_OPERATION(type);
}

ZORVA_LOAD_REPORT ZORVA_QSPI_MGR::judge_files(const std::vector<std::string>& files) {
    return zorva_judge_files(zorva_qspi_interface, files);
}

ZORVA_FILE_REPORT ZORVA_QSPI_MGR::judge_bytes(const std::string& bytes, const std::string& name) {
    return zorva_judge_bytes(zorva_qspi_interface, bytes, name).report;
}
