// Writes a load report: file by file, definition by definition.
#pragma once

#include "pgm/zorva/load/zorva_walk.h"
#include "pgm/zorva/zorva_load_report.h"

#include <string>
#include <unordered_map>

// What a report says of a definition while nothing speaks against it.
ZORVA_DEFINITION zorva_definition(const ZORVA_WALKED& walked);
// Tells of a definition that it is refused, and why.
void zorva_report_refused(ZORVA_DEFINITION& definition, const std::vector<ZORVA_REFUSAL>& refusals);
// Reports a file as one that can't be taken; `text` is one of check_xsd, each line of it a finding
// "FILE:LINE: sentence".
void zorva_report_skipped(ZORVA_FILE_REPORT& report, const std::string& text);

// The report of one load.
class ZORVA_LOAD_LOG {
  public:
    const ZORVA_LOAD_REPORT& report() const { return m_report; }

    // Starts the report of a file. Valid until the next one.
    ZORVA_FILE_REPORT& begin_file(const std::string& path, ZORVA_ORIGIN origin);
    // A definition of the file begun last.
    void add(ZORVA_DEFINITION definition);
    // The file begun last was read up to the definition added last.
    void end_file_early();
    // The device that `defined_in` put in force is hidden by another file from now on.
    void hide_device(const std::string& name, const std::string& defined_in,
                     const std::string& hidden_by);

  private:
    ZORVA_LOAD_REPORT m_report;
    std::unordered_map<std::string, std::size_t> m_places;  // path to place in the report
};
