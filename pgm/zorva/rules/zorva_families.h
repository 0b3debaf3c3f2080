// The device families that a rule of this library names. What is known of each family comes from
// the device-information service.
#pragma once

#include "services/types.h"

inline constexpr auto ZORVA_FAMILY_HALDEN = static_cast<DEV_FAMILY_ENUM>(23);
inline constexpr auto ZORVA_FAMILY_ORLANE = static_cast<DEV_FAMILY_ENUM>(28);
inline constexpr auto ZORVA_FAMILY_SARNATH = static_cast<DEV_FAMILY_ENUM>(48);
