// The registry: where managers come from.
#pragma once

#include "pgm/zorva/zorva_mgr.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

// One manager a flash interface: QSPI always, SD/MMC if the setting "pgm_enable_sdmmc" is on. The
// first call of any operation builds the registry and with it the managers, which read their
// whole database.
//
// Managers stay the registry's; a caller never deletes one. `refresh` and `reload` rebuild all of
// them, `new_instance` the one that is found; every manager, record, operation and action that
// came from what they replace is invalid afterwards, and the new manager starts from its defaults.
//
// A miss is null or false and posts nothing. For one thread at a time.
class ZORVA_HELPER {
  public:
    ZORVA_HELPER();
    ~ZORVA_HELPER();
    ZORVA_HELPER(const ZORVA_HELPER&) = delete;
    ZORVA_HELPER& operator=(const ZORVA_HELPER&) = delete;

    // The registry; never null.
    static ZORVA_HELPER* get_helper();

    // The manager of the active flash family, 10 (QSPI) until another is set.
    static ZORVA_MGR* get_active_flash_manager(bool new_instance);
    // The first manager that knows a device; see ZORVA_MGR::get_flash for `skip_filtering`.
    static ZORVA_MGR* get_flash_manager(std::string device_name, bool skip_filtering, bool reload);
    // The manager of a flash family: 10 or 55, not a device family.
    static ZORVA_MGR* get_flash_manager(DEV_FAMILY_ENUM flash_family, bool new_instance);
    // The manager that serves a configuration scheme: 7, 13, 23 or 24.
    static ZORVA_MGR* get_flash_manager(PGMIO_CONFIG_SCHEME config_mode, bool new_instance);

    // True for a device that has a record of its own; false for a legacy device.
    static bool is_zorva_flash(std::string device_name, DEV_FAMILY_ENUM flash_family,
                               bool skip_filtering, bool new_instance);
    static bool is_zorva_flash(std::string device_name, PGMIO_CONFIG_SCHEME config_mode,
                               bool skip_filtering, bool new_instance);
    static bool is_zorva_flash(std::string device_name, bool skip_filtering, bool reload);

    static bool is_supported_family(DEV_FAMILY_ENUM flash_family);
    static bool is_supported_family(DEV_FAMILY_ENUM flash_family, DEV_FAMILY_ENUM device_family);
    static bool is_supported_mode(PGMIO_CONFIG_SCHEME config_mode);

    // The flash family whose document some bytes are, whatever follows the start tag of the root
    // element; nothing if they are none of ours.
    static std::optional<DEV_FAMILY_ENUM> find_document_family(const std::string& bytes);
    // Path of the file that holds the shipped devices of a flash family; empty for any other.
    static std::string get_shipped_file(DEV_FAMILY_ENUM flash_family);

    static void refresh_flash_managers();
    // False, and nothing changes, if no manager serves it. The choice outlives every rebuild.
    static bool set_active_flash_family(DEV_FAMILY_ENUM flash_family);
    static bool set_active_flash_family(PGMIO_CONFIG_SCHEME config_mode);

    // Deletes the managers, the last first. Until the next refresh a search is an internal error.
    void clear();
    void refresh();
    ZORVA_MGR* get_manager(std::string device_name, bool skip_filtering, bool reload);
    ZORVA_MGR* get_manager(DEV_FAMILY_ENUM flash_family, bool new_instance);
    ZORVA_MGR* get_manager(PGMIO_CONFIG_SCHEME config_mode, bool new_instance);

    // All managers, in search order; valid until the next rebuild.
    std::vector<ZORVA_MGR*> get_manager_list() const;

  private:
    using MGR_LIST = std::vector<std::unique_ptr<ZORVA_MGR>>;

    ZORVA_MGR* manager_at(MGR_LIST::iterator place, bool new_instance);

    MGR_LIST m_mgr_list;
};
