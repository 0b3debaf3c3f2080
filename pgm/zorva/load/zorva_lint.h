// Judges documents by themselves, without a manager.
#pragma once

#include "pgm/zorva/load/zorva_walk.h"

#include <string>
#include <vector>

// As ZORVA_QSPI_MGR::judge_files tells.
ZORVA_LOAD_REPORT zorva_judge_files(const ZORVA_INTERFACE& interface,
                                    const std::vector<std::string>& files);

struct ZORVA_JUDGED {
    // What a load would take: a device's record, or a template's flows.
    struct DEFINITION {
        ZORVA_DEFINITION_KEY key;
        std::unique_ptr<ZORVA_FLASH> flash;
        std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> flows;
    };
    ZORVA_FILE_REPORT report;
    std::vector<DEFINITION> definitions;
};
// The bytes of one document, which the report calls `name`.
ZORVA_JUDGED zorva_judge_bytes(const ZORVA_INTERFACE& interface, const std::string& bytes,
                               const std::string& name);
