// The device-information service: programmable device families and default flash devices.
#pragma once

#include "services/types.h"

#include <cstddef>
#include <string>

// One programmable device family.
struct PGMDEV_DEVICE_INFO {
    DEV_FAMILY_ENUM family;
    std::string name;
    bool qspi;               // programs through a QSPI flash
    bool sdmmc;              // programs through an SD/MMC flash
    bool use_sdm;            // reaches the flash through its secure device manager
    std::string io_voltage;  // the one flash I/O voltage it accepts, such as "1.8V"
};

// One default flash device.
struct PGMDEV_SFL_FLASH_INFO {
    std::string group;
    std::string device_name;
    bool legacy;             // offered by name only, without a flow
    dword order;             // place among the devices of its group
    std::string io_voltage;  // may be empty
};

// Knows the families. Records are the service's, valid until the host replaces the table.
class PGMDEV_DEV_INFO_MANAGER {
  public:
    PGMDEV_DEV_INFO_MANAGER(bool, int);
    // Null for a family that the service doesn't know.
    PGMDEV_DEVICE_INFO* get_db_by_family(DEV_FAMILY_ENUM family);
};

// Knows the default flash devices. Records are the service's, as above.
class PGMDEV_FLASH_MANAGER {
  public:
    PGMDEV_FLASH_MANAGER(bool, int, bool, bool);
    // The first record of that name; null if there is none.
    const PGMDEV_SFL_FLASH_INFO* get_default_flash(std::string device_name) const;

    std::size_t flash_count;
    const PGMDEV_SFL_FLASH_INFO* flash_table;  // null if flash_count is 0
};
