// What a manager is made of.
#pragma once

#include "pgm/zorva/catalogue/zorva_catalogue.h"
#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/load/zorva_loader.h"
#include "pgm/zorva/store/zorva_store.h"
#include "pgm/zorva/zorva_mgr.h"

#include <map>
#include <string>

struct ZORVA_MGR_PARTS {
    ZORVA_MGR_PARTS(const ZORVA_INTERFACE& its_interface,
                    ZORVA_STORE::DEVICE_DOCUMENT device_document);

    const ZORVA_INTERFACE& interface;
    ZORVA_CATALOGUE catalogue;
    ZORVA_LOADER loader;
    ZORVA_STORE store;

    DEV_FAMILY_ENUM active_device_family;
    PGMIO_CONFIG_SCHEME active_config_mode;
    bool use_sdm_mode;
    bool skip_device_filtering;
    std::map<DEV_FAMILY_ENUM, ZORVA_FAMILY_INFO> families;
    std::map<std::string, std::string> legacy_devices;  // name to I/O voltage

    // What is known of a family. Asking for an unknown one makes an entry for it, with no voltage,
    // which then stands in get_device_family_list too: callers rely on it.
    ZORVA_FAMILY_INFO& family(DEV_FAMILY_ENUM family) { return families[family]; }
    bool suits_family(ZORVA_FLASH& flash, DEV_FAMILY_ENUM family);
    // The device of a name, if the filter lets it through; null otherwise.
    ZORVA_FLASH* find_flash(const std::string& name, bool skip_filtering);
    bool takes_all(bool skip_filtering) const { return skip_filtering || skip_device_filtering; }
};
