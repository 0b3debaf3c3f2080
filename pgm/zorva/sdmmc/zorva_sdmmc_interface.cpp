#include "pgm/zorva/sdmmc/zorva_sdmmc_interface.h"

#include "pgm/zorva/load/zorva_elements.h"
#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/zorva_sdmmc_flash.h"

namespace {

constexpr PGMIO_CONFIG_SCHEME config_modes[] = {PGMIO_CONFIG_SCHEME_SDMMC,
                                                PGMIO_CONFIG_SCHEME_SDMMC_SDM};
constexpr const char* io_voltages[] = {"1.8V"};
constexpr const char* densities[] = {"1GB",  "2GB",  "4GB",   "8GB",   "16GB",
                                     "32GB", "64GB", "128GB", "256GB", "512GB"};

}  // namespace

std::unique_ptr<ZORVA_FLASH> ZORVA_SDMMC_INTERFACE::read_device(
    const PGM_COMMON_XML_ELEMENT& flash_element, std::vector<ZORVA_REFUSAL>& refusals) const {
    const PGM_COMMON_XML_ELEMENT& device_info =
        zorva_only_child(flash_element, PGM_COMMON_XML_ENUM_DEVICE_INFO, "flash_element");
    const auto* name = zorva_first_child(device_info, PGM_COMMON_XML_ENUM_DEVICE_NAME);
    const auto* voltage = zorva_first_child(device_info, PGM_COMMON_XML_ENUM_DEVICE_IO_VOLTAGE);
    const auto* density = zorva_first_child(device_info, PGM_COMMON_XML_ENUM_DEVICE_DENSITY);
    // Only the shipped file, which isn't held against the schema, can lack one.
    if (!name || !voltage || !density) return nullptr;
    const bool voltage_is_bad = zorva_keep_refusal(
        judge(ZORVA_FLASH_PARAM_IO_VOLTAGE, voltage->read_value()), *voltage, refusals);
    const bool density_is_bad = zorva_keep_refusal(
        judge(ZORVA_FLASH_PARAM_DENSITY, density->read_value()), *density, refusals);
    if (voltage_is_bad || density_is_bad) return nullptr;
    auto flash = std::make_unique<ZORVA_SDMMC_FLASH>(name->read_value());
    flash->set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, voltage->read_value());
    flash->set_density(density->read_value());
    return flash;
}

constinit const ZORVA_SDMMC_INTERFACE zorva_sdmmc_interface({
    .flash_family = DEV_FAMILY_SDMMC_FLASH,
    .default_device_family = static_cast<DEV_FAMILY_ENUM>(48),
    .default_config_mode = PGMIO_CONFIG_SCHEME_SDMMC,
    .default_use_sdm_mode = true,
    .config_modes = config_modes,
    .io_voltages = io_voltages,
    .densities = densities,
    .document = PGM_COMMON_XML_FILE_SDMMC,
    .golden_file = ZORVA_SDMMC_SHIPPED_FILE,
    .xsd_file = "zorva_sdmmc.xsd",
});
