#include "pgm/zorva/zorva_sdmmc_mgr.h"

#include "pgm/zorva/load/zorva_lint.h"
#include "pgm/zorva/manager/zorva_mgr_parts.h"
#include "pgm/zorva/rules/zorva_families.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/sdmmc/zorva_sdmmc_interface.h"
#include "pgm/zorva/zorva_sdmmc_flash.h"
#include "services/pgmdev.h"
#include "services/settings.h"

namespace {

bool custom_devices_are_enabled() { return cfg_is_on(CFG_ENABLE_CUSTOM_SDMMC, false).value; }

bool is_served(const PGMDEV_DEVICE_INFO& info) {
    return info.sdmmc &&
           (info.family != ZORVA_FAMILY_ORLANE || cfg_is_on(CFG_ENABLE_SDMMC_ORLANE, false).value);
}

void add_text(PGM_COMMON_XML_ELEMENT& parent, PGM_COMMON_XML_ENUM tag, const std::string& text) {
    auto element = PGM_COMMON_XML::new_element(PGM_COMMON_XML_FILE_SDMMC, tag);
    element->write_string(text);
    parent.add_child(element.release(), nullptr);
}

}  // namespace

ZORVA_SDMMC_MGR::ZORVA_SDMMC_MGR() : ZORVA_MGR(zorva_sdmmc_interface) {
    fill_family_info(is_served);
    parts().loader.load_shipped_file();
    if (custom_devices_are_enabled()) parts().loader.load_user_files();
}

ZORVA_SDMMC_MGR::~ZORVA_SDMMC_MGR() = default;

ZORVA_FLASH* ZORVA_SDMMC_MGR::get_flash_with_id(dword, dword) {
    ZORVA_FAIL("Unsupported function: get_flash_with_id");
}

bool ZORVA_SDMMC_MGR::is_new_device_supported() { return custom_devices_are_enabled(); }
bool ZORVA_SDMMC_MGR::is_flash_operation_supported() { return false; }
bool ZORVA_SDMMC_MGR::is_flash_action_supported() { return false; }

ZORVA_MGR* ZORVA_SDMMC_MGR::get_new_instance() { return new ZORVA_SDMMC_MGR; }

ZORVA_FLASH* ZORVA_SDMMC_MGR::create_flash(std::string device_name) {
    return adopt_new_flash(std::make_unique<ZORVA_SDMMC_FLASH>(std::move(device_name)));
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> ZORVA_SDMMC_MGR::create_xml_device_info(
    ZORVA_FLASH* flash) {
    ZORVA_ASSERT(flash);
    std::string err_msg;
    // The text of a report is the condition as spelled, so it stands on one line.
    // clang-format off
    ZORVA_ASSERT(device_io_voltage_is_valid(flash->get_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE), &err_msg));
    // clang-format on
    ZORVA_ASSERT(device_density_is_valid(flash->get_density(), &err_msg));
    auto device_info =
        PGM_COMMON_XML::new_element(PGM_COMMON_XML_FILE_SDMMC, PGM_COMMON_XML_ENUM_DEVICE_INFO);
    add_text(*device_info, PGM_COMMON_XML_ENUM_DEVICE_NAME, flash->get_name());
    add_text(*device_info, PGM_COMMON_XML_ENUM_DEVICE_IO_VOLTAGE,
             flash->get_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE));
    add_text(*device_info, PGM_COMMON_XML_ENUM_DEVICE_DENSITY, flash->get_density());
    return device_info;
}

PGM_COMMON_XML_ELEMENT* ZORVA_SDMMC_MGR::create_xml_object_with_flash_list(
    std::vector<ZORVA_FLASH*> flash_list) {
    ZORVA_ASSERT(flash_list.size() > 0);
    auto root = PGM_COMMON_XML::new_root(PGM_COMMON_XML_FILE_SDMMC);
    for (ZORVA_FLASH* flash : flash_list) {
        auto element =
            PGM_COMMON_XML::new_element(PGM_COMMON_XML_FILE_SDMMC, PGM_COMMON_XML_ENUM_FLASH);
        element->add_child(create_xml_device_info(flash).release(), nullptr);
        root->add_child(element.release(), nullptr);
    }
    return root.release();
}

ZORVA_LOAD_REPORT ZORVA_SDMMC_MGR::judge_files(const std::vector<std::string>& files) {
    return zorva_judge_files(zorva_sdmmc_interface, files);
}

ZORVA_FILE_REPORT ZORVA_SDMMC_MGR::judge_bytes(const std::string& bytes, const std::string& name) {
    return zorva_judge_bytes(zorva_sdmmc_interface, bytes, name).report;
}
