// Names of elements and keywords of the programmer's XML documents.
#pragma once

#include "services/types.h"

#include <string_view>

// X(name, value): the names that the documents of this library use. The numbers are fixed: they
// are shared with the programmer's other documents, whose names are left out here.
#define PGM_COMMON_XML_NAMES(X)                                                                    \
    X(_INVALID__, 0)                                                                               \
    X(SDM, 21)                                                                                     \
    X(ADDRESS, 196)                                                                                \
    X(DATA, 298)                                                                                   \
    X(WRITE_REG, 342)                                                                              \
    X(READ_REG, 343)                                                                               \
    X(WRITE_DATA, 344)                                                                             \
    X(READ_DATA, 345)                                                                              \
    X(ERASE, 346)                                                                                  \
    X(CUSTOM, 347)                                                                                 \
    X(GOLDEN_TEMPLATE, 348)                                                                        \
    X(MICRON, 349)                                                                                 \
    X(PROGRAMMING_FLOW, 350)                                                                       \
    X(TERMINATION, 351)                                                                            \
    X(ACTION, 352)                                                                                 \
    X(EXPECTED_DATA_MASK, 353)                                                                     \
    X(EXPECTED_DATA, 354)                                                                          \
    X(NAME, 355)                                                                                   \
    X(DATA_LENGTH, 356)                                                                            \
    X(DIRECTION, 357)                                                                              \
    X(ATTEMPT_COUNT, 358)                                                                          \
    X(ERASE_SIZE, 359)                                                                             \
    X(DELAY, 360)                                                                                  \
    X(COMMAND, 361)                                                                                \
    X(PAGE_SIZE, 362)                                                                              \
    X(ADDRESSING_MODE, 363)                                                                        \
    X(ACT_DUMMY_CLOCK_CYCLE, 364)                                                                  \
    X(BUS_WIDTH, 365)                                                                              \
    X(DESCRIPTION, 366)                                                                            \
    X(INITIALIZATION, 367)                                                                         \
    X(PROGRAM, 368)                                                                                \
    X(VERIFY_BLANKCHECK_EXAMINE, 369)                                                              \
    X(SFL, 370)                                                                                    \
    X(CYPRESS, 371)                                                                                \
    X(ISSI, 372)                                                                                   \
    X(MACRONIX, 373)                                                                               \
    X(WINBOND, 374)                                                                                \
    X(FLASH, 375)                                                                                  \
    X(DEVICE_INFO, 376)                                                                            \
    X(TOTAL_DEVICE_DIE, 377)                                                                       \
    X(DUMMY_CLOCK_CYCLE_X4, 378)                                                                   \
    X(PROG_FLOW_TEMPLATE, 379)                                                                     \
    X(DEVICE_NAME, 380)                                                                            \
    X(DUMMY_CLOCK_CYCLE, 381)                                                                      \
    X(DEVICE_ID, 382)                                                                              \
    X(DEVICE_IO_VOLTAGE, 383)                                                                      \
    X(DEVICE_DENSITY, 384)                                                                         \
    X(USER_TEMPLATE, 385)                                                                          \
    X(TEMPLATE_NAME, 386)                                                                          \
    X(QSPI_FLASH, 387)                                                                             \
    X(SDMMC_FLASH, 388)                                                                            \
    X(_MAX__, 486)

enum PGM_COMMON_XML_ENUM : dword {
#define PGM_COMMON_XML_ENUMERATOR(name, value) PGM_COMMON_XML_ENUM_##name = value,
    PGM_COMMON_XML_NAMES(PGM_COMMON_XML_ENUMERATOR)
#undef PGM_COMMON_XML_ENUMERATOR
};

// The tag or keyword as it stands in a file; "_INVALID__" for a number without a name here.
const char* pgm_common_xml_name(PGM_COMMON_XML_ENUM value);
// The value of a tag or keyword; PGM_COMMON_XML_ENUM__INVALID__ for a name that isn't one.
PGM_COMMON_XML_ENUM pgm_common_xml_value(std::string_view name);
