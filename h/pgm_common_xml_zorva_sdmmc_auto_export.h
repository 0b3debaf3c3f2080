// The element classes of the SDMMC document, children ahead of their parents. The order of the
// typed lists isn't document order.
#pragma once

#include "pgm/h/pgm_common_xml_description.h"

#include <array>
#include <string>

class PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH;

template <PGM_COMMON_XML_ENUM TAG>
using ZORVA_SDMMC_TEXT = PGM_COMMON_XML_LEAF<PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH, TAG,
                                             std::string, PGM_XML_EXIST_REQUIRED>;

using PGM_COMMON_XML_ZORVA_SDMMC_DEVICE_NAME = ZORVA_SDMMC_TEXT<PGM_COMMON_XML_ENUM_DEVICE_NAME>;
using PGM_COMMON_XML_ZORVA_SDMMC_DEVICE_IO_VOLTAGE =
    ZORVA_SDMMC_TEXT<PGM_COMMON_XML_ENUM_DEVICE_IO_VOLTAGE>;
using PGM_COMMON_XML_ZORVA_SDMMC_DEVICE_DENSITY =
    ZORVA_SDMMC_TEXT<PGM_COMMON_XML_ENUM_DEVICE_DENSITY>;

class PGM_COMMON_XML_ZORVA_SDMMC_DEVICE_INFO final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_SDMMC_DEVICE_INFO,
                                      PGM_COMMON_XML_ENUM_DEVICE_INFO> {
  public:
    using PGM_COMMON_XML_CONTAINER::PGM_COMMON_XML_CONTAINER;
    CHILDREN device_io_voltage;
    CHILDREN device_density;
    CHILDREN device_name;

    static constexpr auto children() {
        return std::array{
            xml_child<PGM_COMMON_XML_ZORVA_SDMMC_DEVICE_IO_VOLTAGE>(EXACTLY_ONE,
                                                                    &SELF::device_io_voltage),
            xml_child<PGM_COMMON_XML_ZORVA_SDMMC_DEVICE_DENSITY>(EXACTLY_ONE,
                                                                 &SELF::device_density),
            xml_child<PGM_COMMON_XML_ZORVA_SDMMC_DEVICE_NAME>(EXACTLY_ONE, &SELF::device_name)};
    }
};

class PGM_COMMON_XML_ZORVA_SDMMC_FLASH final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_SDMMC_FLASH, PGM_COMMON_XML_ENUM_FLASH> {
  public:
    using PGM_COMMON_XML_CONTAINER::PGM_COMMON_XML_CONTAINER;
    CHILDREN device_info;

    static constexpr auto children() {
        return std::array{
            xml_child<PGM_COMMON_XML_ZORVA_SDMMC_DEVICE_INFO>(EXACTLY_ONE, &SELF::device_info)};
    }
};

class PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH,
                                      PGM_COMMON_XML_ENUM_SDMMC_FLASH> {
  public:
    explicit PGM_COMMON_XML_ZORVA_SDMMC_SDMMC_FLASH(PGM_COMMON_XML_ENUM sub_class_type);

    CHILDREN flash;
    dword version{};

    static constexpr std::array attributes = {
        PGM_COMMON_XML_ATTRIBUTE{"version", PGM_XML_TYPE_NUMBER, PGM_XML_EXIST_REQUIRED, "1", ""}};
    static constexpr auto children() {
        return std::array{xml_child<PGM_COMMON_XML_ZORVA_SDMMC_FLASH>(ANY_NUMBER, &SELF::flash)};
    }
};
