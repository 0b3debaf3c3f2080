#include "pgm/zorva/qspi/zorva_qspi_interface.h"

#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/rules/zorva_data_list.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr PGMIO_CONFIG_SCHEME config_modes[] = {PGMIO_CONFIG_SCHEME_QSPI,
                                                PGMIO_CONFIG_SCHEME_QSPI_SDM};
constexpr const char* io_voltages[] = {"1.8V", "3.0V/3.3V"};
constexpr const char* densities[] = {"1Mb",  "2Mb",   "4Mb",   "8Mb",   "16Mb",   "32Mb",
                                     "64Mb", "128Mb", "256Mb", "512Mb", "1024Mb", "2048Mb"};

constexpr ZORVA_QSPI_PARAM_ROW param_table[] = {
    {ZORVA_FLASH_PARAM_NAME, PGM_COMMON_XML_ENUM_DEVICE_NAME, false},
    {ZORVA_FLASH_PARAM_ID, PGM_COMMON_XML_ENUM_DEVICE_ID, false},
    {ZORVA_FLASH_PARAM_IO_VOLTAGE, PGM_COMMON_XML_ENUM_DEVICE_IO_VOLTAGE, false},
    {ZORVA_FLASH_PARAM_DENSITY, PGM_COMMON_XML_ENUM_DEVICE_DENSITY, false},
    {ZORVA_FLASH_PARAM_TOTAL_DIE, PGM_COMMON_XML_ENUM_TOTAL_DEVICE_DIE, true},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, PGM_COMMON_XML_ENUM_DUMMY_CLOCK_CYCLE, true},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, PGM_COMMON_XML_ENUM_DUMMY_CLOCK_CYCLE_X4, true},
    {ZORVA_FLASH_PARAM_TEMPLATE_NAME, PGM_COMMON_XML_ENUM__INVALID__, false},
    {ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, PGM_COMMON_XML_ENUM_PROG_FLOW_TEMPLATE, false},
};
constexpr bool rows_stand_in_order() {
    int place = 0;
    return std::ranges::all_of(param_table, [&](const auto& row) { return row.param == place++; });
}
static_assert(std::size(param_table) == 9 && rows_stand_in_order());

}  // namespace

constinit const ZORVA_QSPI_INTERFACE zorva_qspi_interface({
    .flash_family = DEV_FAMILY_QSPI_FLASH,
    .default_device_family = DEV_FAMILY_LAST,
    .default_config_mode = PGMIO_CONFIG_SCHEME_QSPI_SDM,
    .default_use_sdm_mode = false,
    .config_modes = config_modes,
    .io_voltages = io_voltages,
    .densities = densities,
    .document = PGM_COMMON_XML_FILE_QSPI,
    .golden_file = ZORVA_QSPI_SHIPPED_FILE,
    .xsd_file = "zorva_qspi.xsd",
});

std::span<const ZORVA_QSPI_PARAM_ROW> zorva_qspi_params() { return param_table; }

namespace {

std::optional<ZORVA_REFUSAL> judge_device_id(std::string_view id) {
    constexpr std::string_view allowed = "abcdefxABCDEF0123456789 ";
    if (id.find_first_not_of(allowed) == id.npos && zorva_data_list_length(id)) return {};
    return ZORVA_REFUSAL{
        ZORVA_MESSAGE::INVALID_DEVICE_ID_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, std::string(id), {}};
}

std::optional<ZORVA_REFUSAL> judge_total_device_die(dword value) {
    if (value != 0) return {};
    return ZORVA_REFUSAL{ZORVA_MESSAGE::INVALID_TOTAL_DEVICE_DIE, std::to_string(value), {}};
}

std::optional<ZORVA_REFUSAL> judge_dummy_clock_cycle(dword value) {
    constexpr dword most = 15;
    if (value <= most) return {};
    return ZORVA_REFUSAL{
        ZORVA_MESSAGE::INVALID_DEVICE_DUMMY_CLOCK_CYCLE, std::to_string(value), {}};
}

}  // namespace

// A name and a flow template are taken from a file as they are: only what a user enters for a new
// device is held against the names that exist.
std::optional<ZORVA_REFUSAL> ZORVA_QSPI_INTERFACE::judge(ZORVA_FLASH_PARAM param,
                                                         std::string_view value) const {
    if (param == ZORVA_FLASH_PARAM_ID) return judge_device_id(value);
    return ZORVA_INTERFACE::judge(param, value);
}

std::optional<ZORVA_REFUSAL> ZORVA_QSPI_INTERFACE::judge(ZORVA_FLASH_PARAM param,
                                                         dword value) const {
    if (param == ZORVA_FLASH_PARAM_TOTAL_DIE) return judge_total_device_die(value);
    return judge_dummy_clock_cycle(value);
}

std::span<const ZORVA_GOLDEN_VENDOR_ROW> ZORVA_QSPI_INTERFACE::golden_vendors() const {
    return zorva_golden_vendors();
}
