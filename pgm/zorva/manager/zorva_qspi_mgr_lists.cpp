// The lists of the QSPI manager and their filters.
#include "pgm/zorva/manager/zorva_mgr_parts.h"
#include "pgm/zorva/rules/zorva_families.h"
#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/zorva_qspi_mgr.h"
#include "services/pgmdev.h"
#include "services/settings.h"
#include "services/text.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace {

// Only these two families program Issi devices.
bool takes_issi(DEV_FAMILY_ENUM family) {
    return family == ZORVA_FAMILY_ORLANE || family == ZORVA_FAMILY_HALDEN;
}

// Devices of the default table that scheme 13 can't use carry this mark in their names.
constexpr const char* not_for_sdm = "TYRN";

struct LEGACY_DEVICE {
    std::string name;
    const PGMDEV_SFL_FLASH_INFO* info;
};

// Orders only devices of one group whose names begin with the same four characters.
bool legacy_config_device_comparator(const LEGACY_DEVICE& a, const LEGACY_DEVICE& b) {
    constexpr std::size_t prefix = 4;
    if (a.info->group != b.info->group) return false;
    if (std::string_view(a.name).substr(0, prefix) != std::string_view(b.name).substr(0, prefix))
        return false;
    return a.info->order < b.info->order;
}

// The comparator is no ordering of a mixed list, so the procedure decides, and callers rely on
// what it gives: a device that goes before the very first moves to the front, past others that it
// has no order with; any other moves left until a neighbour that it doesn't go before.
void insertion_sort(std::vector<LEGACY_DEVICE>& devices) {
    for (auto next = devices.begin(); next != devices.end(); ++next) {
        auto place = next;
        if (legacy_config_device_comparator(*next, devices.front()))
            place = devices.begin();
        else
            while (place != devices.begin() &&
                   legacy_config_device_comparator(*next, *std::prev(place)))
                --place;
        std::rotate(place, next, std::next(next));
    }
}

std::vector<std::string> sorted_by_service(std::vector<std::string> names) {
    const PGMDEV_FLASH_MANAGER service(true, 1, false, false);
    const PGMDEV_SFL_FLASH_INFO unknown{};
    std::vector<LEGACY_DEVICE> devices;
    for (std::string& name : names) {
        const PGMDEV_SFL_FLASH_INFO* info = service.get_default_flash(name);
        devices.push_back({std::move(name), info ? info : &unknown});
    }
    insertion_sort(devices);
    std::ranges::transform(devices, names.begin(),
                           [](LEGACY_DEVICE& device) { return std::move(device.name); });
    return names;
}

bool legacy_device_suits(ZORVA_MGR_PARTS& parts, const std::string& device_name,
                         const std::string& io_voltage, DEV_FAMILY_ENUM family,
                         PGMIO_CONFIG_SCHEME config_mode, bool skip_filtering) {
    if (parts.takes_all(skip_filtering)) return true;
    if (io_voltage != parts.family(family).io_voltage) return false;
    if (config_mode == PGMIO_CONFIG_SCHEME_QSPI) return true;
    return config_mode == PGMIO_CONFIG_SCHEME_QSPI_SDM &&
           device_name.find(not_for_sdm) == std::string::npos;
}

const std::vector<ZORVA_OPERATION*>* flow_of(const ZORVA_USER_FLASH_TEMPLATE& flows,
                                             ZORVA_PROG_FLOW_TYPE flow_type) {
    return flow_type == ZORVA_PROG_FLOW_TYPE_SDM ? &flows.sdm_operation_list
                                                 : &flows.sfl_operation_list;
}

}  // namespace

const std::vector<std::string> ZORVA_QSPI_MGR::get_new_config_device_list(DEV_FAMILY_ENUM family,
                                                                          PGMIO_CONFIG_SCHEME,
                                                                          bool skip_filtering) {
    const bool take_all = parts().takes_all(skip_filtering);
    const auto suits = [&](ZORVA_FLASH& flash) {
        if (!parts().suits_family(flash, family)) return false;
        std::string vendor = flash.get_parameter_value(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE);
        return stl_toupper(vendor) != "ISSI" || takes_issi(family);
    };
    std::vector<std::string> names;
    for (const auto& [name, flash] : parts().catalogue.devices())
        if (take_all || suits(*flash)) names.push_back(name);
    return names;
}

bool ZORVA_QSPI_MGR::is_legacy_config_device(const std::string& device_name, DEV_FAMILY_ENUM family,
                                             PGMIO_CONFIG_SCHEME config_mode, bool skip_filtering) {
    const auto& legacy = parts().legacy_devices;
    // The list would ask for the family at each device, so the family has an entry from then on.
    if (!parts().takes_all(skip_filtering) && !legacy.empty()) parts().family(family);
    const auto found = legacy.find(device_name);
    return found != legacy.end() && legacy_device_suits(parts(), device_name, found->second, family,
                                                        config_mode, skip_filtering);
}

const std::vector<std::string> ZORVA_QSPI_MGR::get_legacy_config_device_list(
    DEV_FAMILY_ENUM family, PGMIO_CONFIG_SCHEME config_mode, bool skip_filtering) {
    std::vector<std::string> names;
    for (const auto& [name, io_voltage] : parts().legacy_devices)
        if (legacy_device_suits(parts(), name, io_voltage, family, config_mode, skip_filtering))
            names.push_back(name);
    return sorted_by_service(std::move(names));
}

const std::vector<ZORVA_OPERATION*>* ZORVA_QSPI_MGR::get_prog_flow_template_operation_list(
    ZORVA_PROG_FLOW_TEMPLATE prog_flow_template, ZORVA_PROG_FLOW_TYPE flow_type) {
    const auto& golden = parts().catalogue.golden_templates();
    const auto number = static_cast<std::size_t>(prog_flow_template);
    if (number >= golden.size()) ZORVA_FAIL("Unknown programming flow template");
    return flow_of(*golden[number], flow_type);
}

const std::vector<ZORVA_OPERATION*>* ZORVA_QSPI_MGR::get_user_template_operation_list(
    std::string& template_name, ZORVA_PROG_FLOW_TYPE flow_type) {
    const auto found = parts().catalogue.templates().find(template_name);
    if (found == parts().catalogue.templates().end())
        ZORVA_FAIL("Unknown user template %s", template_name);
    return flow_of(*found->second, flow_type);
}

bool ZORVA_QSPI_MGR::get_operation_editable_permission(ZORVA_FLASH* flash) {
    if (cfg_is_on(CFG_ENABLE_OPERATION_EDITABLE, false).value) return true;
    if (parts().use_sdm_mode) return false;
    return !flash || flash->get_flash_removable_permission() ||
           !device_exist_in_db(flash->get_name(), true);
}
