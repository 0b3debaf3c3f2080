// The element classes of the SDMMC document. The order of the typed lists isn't document order.
#pragma once

#include "pgm/h/pgm_common_xml_container.h"

#include <string>

#define ZORVA_SDMMC_ROOT_LISTS(X) X(flash, FLASH, ANY_NUMBER)

#define ZORVA_SDMMC_FLASH_LISTS(X) X(device_info, DEVICE_INFO, EXACTLY_ONE)

#define ZORVA_SDMMC_DEVICE_INFO_LISTS(X)                                                           \
    X(device_io_voltage, DEVICE_IO_VOLTAGE, EXACTLY_ONE)                                           \
    X(device_density, DEVICE_DENSITY, EXACTLY_ONE)                                                 \
    X(device_name, DEVICE_NAME, EXACTLY_ONE)

// Containers without an attribute: X(tag, lists).
#define ZORVA_SDMMC_CONTAINERS(X)                                                                  \
    X(FLASH, ZORVA_SDMMC_FLASH_LISTS)                                                              \
    X(DEVICE_INFO, ZORVA_SDMMC_DEVICE_INFO_LISTS)

// Elements with a value: X(tag, value, presence).
#define ZORVA_SDMMC_LEAVES(X)                                                                      \
    X(DEVICE_NAME, std::string, REQUIRED)                                                          \
    X(DEVICE_IO_VOLTAGE, std::string, REQUIRED)                                                    \
    X(DEVICE_DENSITY, std::string, REQUIRED)

#define ZORVA_SDMMC_CONTAINER_CLASS(TAG, LISTS)                                                    \
    PGM_COMMON_XML_CONTAINER_CLASS(PGM_COMMON_XML_ZORVA_SDMMC_##TAG, TAG, LISTS)
ZORVA_SDMMC_CONTAINERS(ZORVA_SDMMC_CONTAINER_CLASS)
#undef ZORVA_SDMMC_CONTAINER_CLASS

#define ZORVA_SDMMC_LEAF_CLASS(TAG, VALUE, EXIST)                                                  \
    PGM_COMMON_XML_LEAF_CLASS(PGM_COMMON_XML_ZORVA_SDMMC_##TAG, TAG, VALUE, EXIST)
ZORVA_SDMMC_LEAVES(ZORVA_SDMMC_LEAF_CLASS)
#undef ZORVA_SDMMC_LEAF_CLASS

class PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH,
                                      PGM_COMMON_XML_ENUM_SDMMC_FLASH> {
  public:
    explicit PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH(PGM_COMMON_XML_ENUM sub_class_type)
        : PGM_COMMON_XML_CONTAINER(sub_class_type) {
        add_attribute({"version", PGM_XML_TYPE_NUMBER, PGM_XML_EXIST_REQUIRED, "1", "", &version});
        init_check();
    }
    PGM_COMMON_XML_LISTS(ZORVA_SDMMC_ROOT_LISTS)
    dword version{};
};
