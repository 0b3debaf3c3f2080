#include "h/pgm_common_xml_zorva_sdmmc_auto_export.h"

#include "services/pgm_common.h"

namespace {

const PGM_COMMON_XML::REGISTRAR registrar(
    {PGM_COMMON_XML_FILE_SDMMC, &pgm_common_xml_description<PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH>,
     "zorva_sdmmc.xsd"});

}  // namespace

PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH::PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH(
    PGM_COMMON_XML_ENUM sub_class_type)
    : PGM_COMMON_XML_CONTAINER(sub_class_type) {
    add_described_attribute(attributes[0], &version);
    init_check();
}
