// A named pair of flows.
#pragma once

#include "pgm/zorva/zorva_operation.h"

#include <vector>

// Owns its operations.
struct ZORVA_USER_FLASH_TEMPLATE {
    std::vector<ZORVA_OPERATION*> sdm_operation_list;
    std::vector<ZORVA_OPERATION*> sfl_operation_list;

    ZORVA_USER_FLASH_TEMPLATE() = default;
    ~ZORVA_USER_FLASH_TEMPLATE();
    ZORVA_USER_FLASH_TEMPLATE(const ZORVA_USER_FLASH_TEMPLATE&) = delete;
    ZORVA_USER_FLASH_TEMPLATE& operator=(const ZORVA_USER_FLASH_TEMPLATE&) = delete;
};
