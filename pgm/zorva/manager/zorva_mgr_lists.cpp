// What a manager answers of itself, as far as a kind of flash doesn't tell otherwise.
#include "pgm/zorva/manager/zorva_mgr_parts.h"
#include "pgm/zorva/rules/zorva_report.h"

namespace {

template <class KEY, class VALUE>
std::vector<KEY> keys_of(const std::map<KEY, VALUE>& map) {
    std::vector<KEY> keys;
    keys.reserve(map.size());
    for (const auto& [key, value] : map) keys.push_back(key);
    return keys;
}

}  // namespace

bool ZORVA_MGR::is_new_device_supported() { return true; }
bool ZORVA_MGR::is_flash_operation_supported() { return true; }
bool ZORVA_MGR::is_flash_action_supported() { return true; }

DEV_FAMILY_ENUM ZORVA_MGR::get_flash_family() { return parts().interface.flash_family; }

const std::vector<DEV_FAMILY_ENUM> ZORVA_MGR::get_device_family_list() {
    return keys_of(parts().families);
}

const std::vector<PGMIO_CONFIG_SCHEME> ZORVA_MGR::get_config_mode_list() {
    return {parts().interface.config_modes.begin(), parts().interface.config_modes.end()};
}

const std::vector<std::string> ZORVA_MGR::get_device_io_voltage_list() {
    return {parts().interface.io_voltages.begin(), parts().interface.io_voltages.end()};
}

const std::vector<std::string> ZORVA_MGR::get_device_density_list() {
    return {parts().interface.densities.begin(), parts().interface.densities.end()};
}

const std::vector<std::string> ZORVA_MGR::get_new_config_device_list(DEV_FAMILY_ENUM,
                                                                     PGMIO_CONFIG_SCHEME, bool) {
    return keys_of(parts().catalogue.devices());
}

const std::vector<std::string> ZORVA_MGR::get_legacy_config_device_list(DEV_FAMILY_ENUM,
                                                                        PGMIO_CONFIG_SCHEME, bool) {
    return {};
}

const std::vector<std::string> ZORVA_MGR::get_prog_flow_template_list() {
    std::vector<std::string> names;
    for (const ZORVA_GOLDEN_VENDOR_ROW& vendor : parts().interface.golden_vendors())
        names.emplace_back(vendor.name);
    for (const std::string& name : get_user_template_list()) names.push_back(name);
    return names;
}

const std::vector<std::string> ZORVA_MGR::get_user_template_list() {
    return keys_of(parts().catalogue.templates());
}

ZORVA_ACTION* ZORVA_MGR::create_action(ZORVA_ACT_TYPE) {
    ZORVA_FAIL("Unsupported function: create_action");
}

ZORVA_OPERATION* ZORVA_MGR::create_operation(ZORVA_OP_TYPE) {
    ZORVA_FAIL("Unsupported function: create_operation");
}

const std::vector<ZORVA_OPERATION*>* ZORVA_MGR::get_prog_flow_template_operation_list(
    ZORVA_PROG_FLOW_TEMPLATE, ZORVA_PROG_FLOW_TYPE) {
    return nullptr;
}

const std::vector<ZORVA_OPERATION*>* ZORVA_MGR::get_user_template_operation_list(
    std::string&, ZORVA_PROG_FLOW_TYPE) {
    return nullptr;
}

bool ZORVA_MGR::get_operation_editable_permission(ZORVA_FLASH*) { return false; }
bool ZORVA_MGR::update_template_db(ZORVA_FLASH*, std::string) { return true; }
bool ZORVA_MGR::delete_template(std::string) { return true; }

void ZORVA_MGR::create_user_template_with_template_list(PGM_COMMON_XML_ELEMENT*&,
                                                        std::vector<std::string>) {}

bool ZORVA_MGR::is_legacy_config_device(const std::string&, DEV_FAMILY_ENUM, PGMIO_CONFIG_SCHEME,
                                        bool) {
    return false;
}
