// From file names to trees: where an interface's files lie and how one file is read.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/zorva_change.h"

#include <memory>
#include <string>

// Which files a scan reads.
inline constexpr const char* ZORVA_FILE_MASK = "pgm_flash_*.xml";

// Names of the shipped files of all interfaces; no other file of their directory may have one.
inline constexpr const char* ZORVA_QSPI_SHIPPED_FILE = "pgm_flash_db_qspi.xml";
inline constexpr const char* ZORVA_SDMMC_SHIPPED_FILE = "pgm_flash_db_sdmmc.xml";
// True if a path leads to a shipped file, or would make one in the installation directory.
bool zorva_is_shipped_file(const std::string& path);

// The file of its own that a definition is stored in, in a directory.
std::string zorva_own_file(const ZORVA_DEFINITION_KEY& key, const std::string& directory);

// Path of the shipped file and of the schema of an interface.
std::string zorva_golden_template_file(const ZORVA_INTERFACE& interface);
std::string zorva_xsd_file(const ZORVA_INTERFACE& interface);

bool zorva_is_empty_file(const std::string& path);

// The tree of the shipped file, which isn't checked against the schema. One that can't be taken is
// an internal error.
std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_parse_shipped_file(const ZORVA_INTERFACE& interface);
// The tree of a file, checked against the schema. Null for a file that can't be taken; *error then
// tells why, for one with several faults in as many lines.
std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_parse_xml_file(const ZORVA_INTERFACE& interface,
                                                             const std::string& xml_file,
                                                             std::string& error);
// The same for the bytes of a file, by one pass and with their comments; `name` is for the error.
std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_parse_bytes(const ZORVA_INTERFACE& interface,
                                                          const std::string& bytes,
                                                          const std::string& name,
                                                          std::string& error);
