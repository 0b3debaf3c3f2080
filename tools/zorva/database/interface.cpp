#include "tools/zorva/database/interface.h"

#include "pgm/zorva/zorva_helper.h"
#include "pgm/zorva/zorva_qspi_mgr.h"
#include "pgm/zorva/zorva_sdmmc_mgr.h"
#include "services/file.h"
#include "services/pgmdev.h"
#include "services/settings.h"

#include <fmt/format.h>

#include <algorithm>

namespace zorva_tool {

namespace {

constexpr interface_row interface_table[] = {
    {"qspi", "QSPI", DEV_FAMILY_QSPI_FLASH, &PGMDEV_DEVICE_INFO::qspi, nullptr, nullptr,
     &ZORVA_QSPI_MGR::judge_files, &ZORVA_QSPI_MGR::judge_bytes},
    {"sdmmc", "SD/MMC", DEV_FAMILY_SDMMC_FLASH, &PGMDEV_DEVICE_INFO::sdmmc, CFG_ENABLE_SDMMC,
     CFG_ENABLE_CUSTOM_SDMMC, &ZORVA_SDMMC_MGR::judge_files, &ZORVA_SDMMC_MGR::judge_bytes},
};

}  // namespace

std::vector<const interface_row*> selected_interfaces(const std::string& name) {
    std::vector<const interface_row*> selected;
    for (const interface_row& row : interface_table)
        if (name == "all" || name == row.name) selected.push_back(&row);
    return selected;
}

const interface_row& interface_of(DEV_FAMILY_ENUM family) {
    return *std::ranges::find(interface_table, family, &interface_row::family);
}

const interface_row& interface_for_bytes(const std::string& bytes) {
    const auto family = ZORVA_HELPER::find_document_family(bytes);
    return family ? interface_of(*family) : interface_table[0];
}

const interface_row& interface_for(const std::string& file) {
    std::string bytes;
    FIO_FILE_SYSTEM::read(file, bytes);
    return interface_for_bytes(bytes);
}

std::string off_text(const interface_row& row, const char* setting) {
    return fmt::format("{}{} devices are switched off", setting == row.setting ? "" : "Your own ",
                       row.label);
}

failure switched_off(const interface_row& row, const char* setting) {
    return {exit_no, fmt::format("{}; 'zorva config set {} on' switches them on.",
                                 off_text(row, setting), setting)};
}

refusal lacks_field(const interface_row& row) {
    return refusal(
        fmt::format("{} devices have a name, an I/O voltage and a density only: no ID, "
                    "no flow, no template.",
                    row.label));
}

}  // namespace zorva_tool
