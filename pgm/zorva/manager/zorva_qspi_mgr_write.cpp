// From records and user templates to QSPI documents.
#include "pgm/zorva/manager/zorva_mgr_parts.h"
#include "pgm/zorva/qspi/zorva_qspi_interface.h"
#include "pgm/zorva/qspi/zorva_qspi_write.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/zorva_qspi_mgr.h"

namespace {

std::unique_ptr<PGM_COMMON_XML_ELEMENT> new_element(PGM_COMMON_XML_ENUM tag) {
    return PGM_COMMON_XML::new_element(PGM_COMMON_XML_FILE_QSPI, tag);
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> text_element(PGM_COMMON_XML_ENUM tag,
                                                     const std::string& text) {
    auto element = new_element(tag);
    element->write_string(text);
    return element;
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> parameter_element(const ZORVA_QSPI_PARAM_ROW& row,
                                                          ZORVA_FLASH& flash) {
    if (row.param == ZORVA_FLASH_PARAM_NAME) return text_element(row.tag, flash.get_name());
    if (row.param == ZORVA_FLASH_PARAM_DENSITY) return text_element(row.tag, flash.get_density());
    if (!row.is_number) return text_element(row.tag, flash.get_parameter_value(row.param));
    auto element = new_element(row.tag);
    element->write_value(flash.get_parameter_value_in_dword(row.param, nullptr));
    return element;
}

}  // namespace

std::unique_ptr<PGM_COMMON_XML_ELEMENT> ZORVA_QSPI_MGR::create_xml_device_info(ZORVA_FLASH* flash) {
    ZORVA_ASSERT(flash);
    std::string err_msg;
    // The text of a report is the condition as spelled, so each stands on one line.
    // clang-format off
    ZORVA_ASSERT(device_id_is_valid(flash->get_parameter_value(ZORVA_FLASH_PARAM_ID), &err_msg));
    ZORVA_ASSERT(device_io_voltage_is_valid(flash->get_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE), &err_msg));
    ZORVA_ASSERT(device_density_is_valid(flash->get_density(), &err_msg));
    ZORVA_ASSERT(total_device_die_is_valid(flash->get_parameter_value_in_dword(ZORVA_FLASH_PARAM_TOTAL_DIE, nullptr), &err_msg));
    ZORVA_ASSERT(dummy_clock_cycle_is_valid(flash->get_parameter_value_in_dword(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, nullptr), &err_msg));
    ZORVA_ASSERT(dummy_clock_cycle_is_valid(flash->get_parameter_value_in_dword(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, nullptr), &err_msg));
    // clang-format on
    auto device_info = new_element(PGM_COMMON_XML_ENUM_DEVICE_INFO);
    for (const ZORVA_QSPI_PARAM_ROW& row : zorva_qspi_params())
        if (row.tag != PGM_COMMON_XML_ENUM__INVALID__)
            device_info->add_child(parameter_element(row, *flash).release(), nullptr);
    return device_info;
}

PGM_COMMON_XML_ELEMENT* ZORVA_QSPI_MGR::create_xml_object_with_flash_list(
    std::vector<ZORVA_FLASH*> flash_list) {
    ZORVA_ASSERT(flash_list.size() > 0);
    auto root = PGM_COMMON_XML::new_root(PGM_COMMON_XML_FILE_QSPI);
    for (ZORVA_FLASH* flash : flash_list) {
        auto element = new_element(PGM_COMMON_XML_ENUM_FLASH);
        element->add_child(create_xml_device_info(flash).release(), nullptr);
        element->add_child(
            zorva_create_xml_programming_flow(*flash->get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL),
                                              *flash->get_operation_list(ZORVA_PROG_FLOW_TYPE_SDM))
                .release(),
            nullptr);
        root->add_child(element.release(), nullptr);
    }
    return root.release();
}

void ZORVA_QSPI_MGR::create_user_template_with_template_list(
    PGM_COMMON_XML_ELEMENT*& root, std::vector<std::string> template_list) {
    ZORVA_ASSERT(template_list.size() > 0);
    if (!root) root = PGM_COMMON_XML::new_root(PGM_COMMON_XML_FILE_QSPI).release();
    const auto& m_user_flash_template_map = parts().catalogue.templates();
    for (const std::string& template_name : template_list) {
        ZORVA_ASSERT(m_user_flash_template_map.find(template_name) !=
                     m_user_flash_template_map.end());
        const ZORVA_USER_FLASH_TEMPLATE& flows = *m_user_flash_template_map.at(template_name);
        root->add_child(zorva_create_xml_user_template(template_name, flows.sfl_operation_list,
                                                       flows.sdm_operation_list)
                            .release(),
                        nullptr);
    }
}

std::string ZORVA_QSPI_MGR::get_template_document(const std::string& template_name,
                                                  ZORVA_FLASH* flash) {
    ZORVA_ASSERT(flash);
    if (!zorva_qspi_interface.is_writable(*flash)) return {};
    const auto root = PGM_COMMON_XML::new_root(PGM_COMMON_XML_FILE_QSPI);
    root->add_child(zorva_qspi_interface.template_element(template_name, *flash).release(),
                    nullptr);
    return PGM_COMMON_XML::write_bytes(root.get());
}

bool ZORVA_QSPI_MGR::update_template_db(ZORVA_FLASH* flash, std::string db_dir) {
    ZORVA_ASSERT(flash);
    ZORVA_ASSERT(!flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME).empty());
    return carried_template_is_valid(*flash) && parts().store.write_template(*flash, db_dir);
}

bool ZORVA_QSPI_MGR::delete_template(std::string template_name) {
    return parts().store.delete_template(template_name);
}
