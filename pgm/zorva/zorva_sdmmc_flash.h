// An SD/MMC flash device: a name, an I/O voltage and a density.
#pragma once

#include "pgm/zorva/zorva_flash.h"

// The I/O voltage is its one text; its die count is always 1. Only the SDM flow exists, and nothing
// in the library fills it.
class ZORVA_SDMMC_FLASH : public ZORVA_FLASH {
  public:
    explicit ZORVA_SDMMC_FLASH(std::string name);
    ~ZORVA_SDMMC_FLASH() override;

    DEV_FAMILY_ENUM get_family() override;
    // "SDMMC_8GB"; below 1 GiB "SDMMC_512MB".
    std::string get_generic_name() override;
    std::string get_parameter_value(ZORVA_FLASH_PARAM param) override;
    dword get_parameter_value_in_dword(ZORVA_FLASH_PARAM param, dword* mask) override;
    void set_parameter_value(ZORVA_FLASH_PARAM param, dword value) override;
    void set_parameter_value(ZORVA_FLASH_PARAM param, std::string value) override;

  protected:
    bool has_flow(ZORVA_PROG_FLOW_TYPE flow) const override;

  private:
    std::string m_io_voltage;
};
