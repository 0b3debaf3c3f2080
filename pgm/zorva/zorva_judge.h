// Judges files by themselves, without a manager.
#pragma once

#include "pgm/zorva/zorva_interface.h"

#include <string>
#include <vector>

// As ZORVA_QSPI_MGR::judge_files tells.
ZORVA_LOAD_REPORT zorva_judge_files(const ZORVA_INTERFACE& interface,
                                    const std::vector<std::string>& files);
