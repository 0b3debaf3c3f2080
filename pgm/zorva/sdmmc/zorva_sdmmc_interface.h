// What is known of the SD/MMC interface. Its devices have no flows, and there are no templates.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"

class ZORVA_SDMMC_INTERFACE final : public ZORVA_INTERFACE {
  public:
    explicit constexpr ZORVA_SDMMC_INTERFACE(const ZORVA_INTERFACE_FACTS& facts)
        : ZORVA_INTERFACE(facts) {}

    std::unique_ptr<ZORVA_FLASH> read_device(const PGM_COMMON_XML_ELEMENT& flash_element,
                                             std::vector<ZORVA_REFUSAL>& refusals) const override;
};
extern const ZORVA_SDMMC_INTERFACE zorva_sdmmc_interface;
