// Life and load of the QSPI manager, and what it makes.
#include "pgm/zorva/zorva_qspi_mgr.h"

#include "pgm/zorva/load/zorva_lint.h"
#include "pgm/zorva/manager/zorva_mgr_parts.h"
#include "pgm/zorva/qspi/zorva_qspi_interface.h"
#include "pgm/zorva/zorva_qspi_action.h"
#include "pgm/zorva/zorva_qspi_flash.h"
#include "pgm/zorva/zorva_qspi_operation.h"
#include "services/pgmdev.h"

#include <span>

namespace {

std::map<std::string, std::string> legacy_devices() {
    const PGMDEV_FLASH_MANAGER service(true, 1, false, false);
    std::map<std::string, std::string> devices;
    for (const PGMDEV_SFL_FLASH_INFO& info : std::span(service.flash_table, service.flash_count))
        if (info.legacy && !info.device_name.empty() && !info.io_voltage.empty())
            devices[info.device_name] = info.io_voltage;
    return devices;
}

}  // namespace

ZORVA_QSPI_MGR::ZORVA_QSPI_MGR() : ZORVA_MGR(zorva_qspi_interface) {
    fill_family_info([](const PGMDEV_DEVICE_INFO& info) { return info.qspi; });
    parts().legacy_devices = legacy_devices();
    parts().loader.load_shipped_file();
    parts().loader.load_user_files();
}

ZORVA_QSPI_MGR::~ZORVA_QSPI_MGR() = default;

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
