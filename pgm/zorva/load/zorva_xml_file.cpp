#include "pgm/zorva/load/zorva_xml_file.h"

#include "pgm/zorva/load/zorva_directories.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "services/file.h"

namespace {

// What the schema says against a file; empty if nothing.
std::string schema_error(const std::string& xml_file, const std::string& xsd) {
    std::string first_text;
    std::string second_text;
    PGM_COMMON_XML::check_xsd(xml_file, xsd, first_text, second_text);
    return first_text.empty() ? second_text : first_text;
}

}  // namespace

bool zorva_is_shipped_file(const std::string& path) {
    for (const char* name : {ZORVA_QSPI_SHIPPED_FILE, ZORVA_SDMMC_SHIPPED_FILE}) {
        const std::string directory = zorva_installation_directory();
        const FIO_PATH file(path);
        const bool has_its_name = file.filename() == name &&
                                  (file.full_directory() == directory ||
                                   FIO_FILE_SYSTEM::same_file(file.full_directory(), directory));
        if (has_its_name || FIO_FILE_SYSTEM::same_file(path, directory + name)) return true;
    }
    return false;
}

std::string zorva_own_file(const ZORVA_DEFINITION_KEY& key, const std::string& directory) {
    const bool is_device = key.kind == ZORVA_DEFINITION_KIND::DEVICE;
    return directory + (is_device ? "pgm_flash_" : "pgm_flash_template_") + key.name + ".xml";
}

std::string zorva_golden_template_file(const ZORVA_INTERFACE& interface) {
    return PGM_COMMON::pgm_get_common_programmer() + "xml/" + interface.golden_file;
}

std::string zorva_xsd_file(const ZORVA_INTERFACE& interface) {
    return PGM_COMMON::pgm_get_common_programmer() + "xsd/" + interface.xsd_file;
}

bool zorva_is_empty_file(const std::string& path) {
    std::string bytes;
    return FIO_FILE_SYSTEM::read(path, bytes) && bytes.empty();
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_parse_xml_file(const ZORVA_INTERFACE& interface,
                                                             const std::string& xml_file,
                                                             bool golden, std::string& error) {
    error.clear();
    if (!FIO_FILE_SYSTEM::exists(xml_file)) {
        error = xml_file + " not found.";
        return nullptr;
    }
    const std::string xsd = zorva_xsd_file(interface);
    if (!golden) error = schema_error(xml_file, xsd);
    if (!error.empty()) return nullptr;
    void* object = PGM_COMMON_XML::parse_xml(interface.document, xml_file, xsd, golden, "", "", "");
    // The shipped file is part of the installation; a user's file may have changed under our eyes.
    if (!object && golden) ZORVA_FAIL("*object != 0");
    if (!object) error = xml_file + ":1: can't be read any more.";
    return std::unique_ptr<PGM_COMMON_XML_ELEMENT>(static_cast<PGM_COMMON_XML_ELEMENT*>(object));
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_parse_bytes(const ZORVA_INTERFACE& interface,
                                                          const std::string& bytes,
                                                          const std::string& name,
                                                          std::string& error) {
    std::string first_text;
    std::string second_text;
    void* object =
        PGM_COMMON_XML::read_bytes(bytes, name, zorva_xsd_file(interface), first_text, second_text);
    error = first_text.empty() ? second_text : first_text;
    return std::unique_ptr<PGM_COMMON_XML_ELEMENT>(static_cast<PGM_COMMON_XML_ELEMENT*>(object));
}
