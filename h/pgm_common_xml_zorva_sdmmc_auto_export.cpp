#include "h/pgm_common_xml_zorva_sdmmc_auto_export.h"

#include "services/pgm_common.h"

namespace {

PGM_COMMON_XML_ELEMENT* create(PGM_COMMON_XML_ENUM tag) {
    switch (static_cast<dword>(tag)) {
#define ZORVA_SDMMC_CASE(TAG, ...)                                                                 \
    case PGM_COMMON_XML_ENUM_##TAG:                                                                \
        return new PGM_COMMON_XML_ZORVA_SDMMC_##TAG(tag);
        ZORVA_SDMMC_CONTAINERS(ZORVA_SDMMC_CASE)
        ZORVA_SDMMC_LEAVES(ZORVA_SDMMC_CASE)
        ZORVA_SDMMC_CASE(SDMMC_FLASH)
#undef ZORVA_SDMMC_CASE
    }
    return nullptr;
}

const PGM_COMMON_XML::REGISTRAR registrar({PGM_COMMON_XML_FILE_SDMMC,
                                           PGM_COMMON_XML_ENUM_SDMMC_FLASH, "zorva_sdmmc.xsd",
                                           create});

}  // namespace
