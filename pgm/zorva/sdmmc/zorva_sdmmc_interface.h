// What is known of the SD/MMC interface.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"

extern const ZORVA_INTERFACE zorva_sdmmc_interface;
