// Numbers that the programmer tool and this library share.
#pragma once

#include <cstdint>

// 32 bits unsigned on every platform; the interface's "unsigned long" is this type too.
using dword = std::uint32_t;
using qword = std::uint64_t;

// A device family of the programmer tool: either a programmable device family or, for the two
// numbers named here, a flash interface. Any 32-bit number is a legal value.
enum DEV_FAMILY_ENUM : dword {
    DEV_FAMILY_QSPI_FLASH = 10,
    DEV_FAMILY_SDMMC_FLASH = 55,
    DEV_FAMILY_LAST = 73,  // the generic family, last of the family table
};

// A configuration scheme of the programmer tool. Any 32-bit number is a legal value.
enum PGMIO_CONFIG_SCHEME : dword {
    PGMIO_CONFIG_SCHEME_QSPI = 7,
    PGMIO_CONFIG_SCHEME_QSPI_SDM = 13,
    PGMIO_CONFIG_SCHEME_SDMMC = 23,
    PGMIO_CONFIG_SCHEME_SDMMC_SDM = 24,
};
