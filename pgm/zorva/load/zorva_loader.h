// Fills a catalogue from the files of the database.
#pragma once

#include "pgm/zorva/catalogue/zorva_catalogue.h"
#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/load/zorva_load_log.h"

#include <string>

class FIO_FIND;
struct ZORVA_LEFTOVER;

class ZORVA_LOADER {
  public:
    // Both outlive the loader.
    ZORVA_LOADER(const ZORVA_INTERFACE& interface, ZORVA_CATALOGUE& catalogue)
        : m_interface(interface), m_catalogue(catalogue) {}

    // Takes the golden templates and the devices of the shipped file. It is part of the
    // installation: whatever is wrong with it is an internal error.
    void load_shipped_file();
    // Takes the files of the installation directory and then, unless it is the same, of the custom
    // directory. What can't be taken is left out and told in the report.
    void load_user_files();

    // What was met, file by file.
    const ZORVA_LOAD_REPORT& report() const { return m_log.report(); }

  private:
    bool take_golden_templates(const PGM_COMMON_XML_ELEMENT& root);
    void load_directory(ZORVA_DIRECTORY directory);
    void load_file(const std::string& file, ZORVA_DIRECTORY directory,
                   const ZORVA_LEFTOVER& leftover);
    void report_directory(const FIO_FIND& find, const std::string& path, ZORVA_ORIGIN origin);

    const ZORVA_INTERFACE& m_interface;
    ZORVA_CATALOGUE& m_catalogue;
    ZORVA_LOAD_LOG m_log;
};
