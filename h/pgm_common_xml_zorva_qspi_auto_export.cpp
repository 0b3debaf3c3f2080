#include "h/pgm_common_xml_zorva_qspi_auto_export.h"

#include "services/pgm_common.h"

namespace {

const PGM_COMMON_XML::REGISTRAR registrar(
    {PGM_COMMON_XML_FILE_QSPI, &pgm_common_xml_description<PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH>,
     "zorva_qspi.xsd"});

}  // namespace

PGM_COMMON_XML_ZORVA_QSPI_DELAY::PGM_COMMON_XML_ZORVA_QSPI_DELAY(PGM_COMMON_XML_ENUM sub_class_type)
    : PGM_COMMON_XML_DESCRIBED(pgm_common_xml_description<PGM_COMMON_XML_ZORVA_QSPI_DELAY>,
                               sub_class_type, &value) {
    add_described_attribute(attributes[0], &unit);
    init_check();
}

PGM_COMMON_XML_ZORVA_QSPI_ACTION::PGM_COMMON_XML_ZORVA_QSPI_ACTION(
    PGM_COMMON_XML_ENUM sub_class_type)
    : PGM_COMMON_XML_CONTAINER(sub_class_type) {
    add_described_attribute(attributes[0], &type);
    init_check();
}

PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH::PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH(
    PGM_COMMON_XML_ENUM sub_class_type)
    : PGM_COMMON_XML_CONTAINER(sub_class_type) {
    add_described_attribute(attributes[0], &version);
    init_check();
}
