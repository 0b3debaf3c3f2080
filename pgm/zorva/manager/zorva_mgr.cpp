#include "pgm/zorva/zorva_mgr.h"

#include "pgm/zorva/load/zorva_directories.h"
#include "pgm/zorva/load/zorva_lint.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/manager/zorva_mgr_parts.h"
#include "pgm/zorva/rules/zorva_data_list.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "services/pgmdev.h"
#include "services/settings.h"

#include <algorithm>
#include <utility>

ZORVA_MGR_PARTS::ZORVA_MGR_PARTS(const ZORVA_INTERFACE& its_interface,
                                 ZORVA_STORE::DEVICE_DOCUMENT device_document)
    : interface(its_interface),
      loader(interface, catalogue),
      store(interface, catalogue, std::move(device_document)),
      active_device_family(interface.default_device_family),
      active_config_mode(interface.default_config_mode),
      use_sdm_mode(interface.default_use_sdm_mode),
      skip_device_filtering(cfg_is_on(CFG_SKIP_DEVICE_FILTERING, false).value) {}

bool ZORVA_MGR_PARTS::suits_family(ZORVA_FLASH& flash, DEV_FAMILY_ENUM device_family) {
    return flash.get_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE) ==
           family(device_family).io_voltage;
}

ZORVA_FLASH* ZORVA_MGR_PARTS::find_flash(const std::string& name, bool skip_filtering) {
    const ZORVA_FLASH_INDEX::ENTRY* entry = catalogue.index().find(name);
    if (!entry) return nullptr;
    const bool passes = takes_all(skip_filtering) ||
                        entry->io_voltage.get() == family(active_device_family).io_voltage;
    return passes ? entry->flash : nullptr;
}

ZORVA_MGR::ZORVA_MGR(const ZORVA_INTERFACE& interface)
    : m_parts(std::make_unique<ZORVA_MGR_PARTS>(interface, [this](ZORVA_FLASH& flash) {
          return std::unique_ptr<PGM_COMMON_XML_ELEMENT>(
              create_xml_object_with_flash_list({&flash}));
      })) {}

ZORVA_MGR::~ZORVA_MGR() = default;

bool ZORVA_MGR::get_use_sdm_mode() { return parts().use_sdm_mode; }
DEV_FAMILY_ENUM ZORVA_MGR::get_active_device_family() { return parts().active_device_family; }
PGMIO_CONFIG_SCHEME ZORVA_MGR::get_active_config_mode() { return parts().active_config_mode; }
void ZORVA_MGR::set_active_config_mode(PGMIO_CONFIG_SCHEME config_mode) {
    parts().active_config_mode = config_mode;
}
void ZORVA_MGR::set_active_device_family(DEV_FAMILY_ENUM family) {
    parts().active_device_family = family;
    parts().use_sdm_mode = parts().family(family).use_sdm_mode;
}

void ZORVA_MGR::fill_family_info(bool (*serves)(const PGMDEV_DEVICE_INFO&)) {
    PGMDEV_DEV_INFO_MANAGER service(false, 0);
    for (dword family = 1; family <= DEV_FAMILY_LAST; ++family) {
        const PGMDEV_DEVICE_INFO* info =
            service.get_db_by_family(static_cast<DEV_FAMILY_ENUM>(family));
        if (!info || !serves(*info)) continue;
        parts().families[info->family] = {info->use_sdm, info->io_voltage};
    }
}

const ZORVA_FAMILY_INFO* ZORVA_MGR::get_family_info(DEV_FAMILY_ENUM family) const {
    const auto found = parts().families.find(family);
    return found == parts().families.end() ? nullptr : &found->second;
}

ZORVA_FLASH* ZORVA_MGR::adopt_new_flash(std::unique_ptr<ZORVA_FLASH> flash) {
    ZORVA_CATALOGUE& catalogue = parts().catalogue;
    catalogue.drop_placeholder();
    return catalogue.hand_out(catalogue.keep_loose(std::move(flash)));
}

bool ZORVA_MGR::device_is_legacy(std::string device_name, bool skip_filtering) {
    return !device_name.empty() &&
           is_legacy_config_device(device_name, parts().active_device_family,
                                   parts().active_config_mode, skip_filtering);
}

bool ZORVA_MGR::device_exist_in_db(std::string device_name, bool skip_filtering) {
    if (device_name.empty()) return false;
    return device_is_legacy(device_name, skip_filtering) ||
           parts().find_flash(device_name, skip_filtering) != nullptr;
}

// The answer is device_is_legacy's and then device_exist_in_db's, with one search of the map.
ZORVA_FLASH* ZORVA_MGR::get_flash(std::string device_name, bool skip_filtering) {
    ZORVA_CATALOGUE& catalogue = parts().catalogue;
    catalogue.drop_placeholder();
    catalogue.hand_out(nullptr);
    if (device_name.empty()) return nullptr;
    if (is_legacy_config_device(device_name, parts().active_device_family,
                                parts().active_config_mode, skip_filtering)) {
        return catalogue.make_placeholder(create_flash(device_name));
    }
    return catalogue.hand_out(parts().find_flash(device_name, skip_filtering));
}

ZORVA_FLASH* ZORVA_MGR::get_flash_with_density(qword density_in_bytes) {
    ZORVA_CATALOGUE& catalogue = parts().catalogue;
    catalogue.drop_placeholder();
    const auto found = std::ranges::find_if(catalogue.devices(), [&](const auto& device) {
        return device.second->get_density_in_bytes_qword() == density_in_bytes;
    });
    return catalogue.hand_out(found == catalogue.devices().end() ? nullptr : found->second);
}

ZORVA_FLASH* ZORVA_MGR::get_flash_with_id(dword id, dword mask) {
    ZORVA_CATALOGUE& catalogue = parts().catalogue;
    catalogue.drop_placeholder();
    return catalogue.hand_out(catalogue.index().first_with_id(id, mask));
}

std::vector<ZORVA_FLASH*> ZORVA_MGR::get_flash_list_with_id(dword id, dword mask) const {
    return parts().catalogue.index().all_with_id(id, mask);
}

std::string ZORVA_MGR::get_flash_file(const std::string& device_name) const {
    const auto& files = parts().catalogue.active_files();
    const auto found = files.find(device_name);
    return found == files.end() ? std::string() : found->second;
}

const ZORVA_LOAD_REPORT& ZORVA_MGR::get_load_report() const { return parts().loader.report(); }

ZORVA_MGR::DOCUMENT ZORVA_MGR::read_document(const std::string& bytes, const std::string& name) {
    ZORVA_JUDGED judged = zorva_judge_bytes(parts().interface, bytes, name);
    DOCUMENT document{std::move(judged.report), {}};
    // A template's record carries its name and flows.
    const auto new_record = [this](ZORVA_JUDGED::DEFINITION& definition) {
        if (definition.flash) return parts().catalogue.keep_loose(std::move(definition.flash));
        ZORVA_FLASH* carrier = create_flash(definition.key.name);
        carrier->set_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME, definition.key.name);
        zorva_give_flows(*carrier, *definition.flows);
        return carrier;
    };
    for (const auto kind : {ZORVA_DEFINITION_KIND::DEVICE, ZORVA_DEFINITION_KIND::TEMPLATE})
        for (ZORVA_JUDGED::DEFINITION& definition : judged.definitions)
            if (definition.key.kind == kind)
                document.definitions.push_back({kind, new_record(definition), ZORVA_BASIS::NEW});
    return document;
}

const std::string ZORVA_MGR::get_db_kestrin_dir() { return zorva_installation_directory(); }
const std::string ZORVA_MGR::get_db_custom_dir() { return zorva_custom_directory(); }
void ZORVA_MGR::set_db_custom_dir(std::string dir) { zorva_set_custom_directory(std::move(dir)); }
const std::string ZORVA_MGR::get_custom_dir_from_ini() { return zorva_stored_custom_directory(); }
bool ZORVA_MGR::save_custom_dir_to_ini(std::string dir, bool force) {
    return zorva_store_custom_directory(dir, force);
}

const char* ZORVA_MGR::get_file_mask() { return ZORVA_FILE_MASK; }

std::string ZORVA_MGR::get_definition_file(const ZORVA_DEFINITION_KEY& key,
                                           const std::string& db_dir) {
    return zorva_own_file(key, db_dir);
}

unsigned char* ZORVA_MGR::convert_data_list_string_to_byte_array(std::string data_string,
                                                                 dword* length, bool* valid) {
    return zorva_data_list_array(data_string, length, valid);
}
