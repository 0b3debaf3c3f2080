// Judges files by themselves, without a manager.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"

#include <memory>
#include <string>
#include <vector>

// As ZORVA_QSPI_MGR::judge_files tells.
ZORVA_LOAD_REPORT zorva_judge_files(const ZORVA_INTERFACE& interface,
                                    const std::vector<std::string>& files);

// A document by itself, and its tree, whose children are the report's definitions in order; null
// for bytes that are no such document.
struct ZORVA_JUDGED {
    ZORVA_FILE_REPORT report;
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> root;
};
ZORVA_JUDGED zorva_judge_bytes(const ZORVA_INTERFACE& interface, const std::string& bytes,
                               const std::string& name);
