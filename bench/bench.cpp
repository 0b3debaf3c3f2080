#include "bench/bench.h"

#include "pgm/zorva/zorva_mgr.h"
#include "services/host.h"
#include "services/pgm_common.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

const std::string& data_directory() {
    static const std::string directory = PGM_COMMON::pgm_get_common_programmer();
    return directory;
}

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("can't read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string document(const std::string& definitions) {
    return "<QSPI_FLASH version=\"1\">\n" + definitions + "</QSPI_FLASH>\n";
}

std::string empty_flows() {
    const std::string operations =
        "<INITIALIZATION/><PROGRAM/><ERASE/><VERIFY_BLANKCHECK_EXAMINE/><TERMINATION/>";
    return "<PROGRAMMING_FLOW><SFL>" + operations + "</SFL><SDM>" + operations +
           "</SDM></PROGRAMMING_FLOW>";
}

installation::installation() {
    data_directory();  // before it is set to the temporary one
    m_root = (fs::temp_directory_path() / "zorva_bench_XXXXXX").string();
    if (!::mkdtemp(m_root.data())) throw std::runtime_error("can't make " + m_root);
    m_root += "/";
    fs::create_directory(m_root + "xml");
    fs::create_directory(m_root + "custom");
    fs::copy(data_directory() + "xsd", m_root + "xsd");
    std::string vendors;
    for (const std::string tag : {"MICRON", "MACRONIX", "CYPRESS", "WINBOND", "ISSI"})
        vendors += "<" + tag + ">" + empty_flows() + "</" + tag + ">";
    add_user_file("pgm_flash_db_qspi.xml",
                  document("<GOLDEN_TEMPLATE>" + vendors + "</GOLDEN_TEMPLATE>"));
    add_user_file("pgm_flash_db_sdmmc.xml", "<SDMMC_FLASH/>\n");
}

void installation::use() const {
    pgm_host::set_common_programmer(m_root);
    pgm_host::set_user_ini_file(m_root + "settings.ini");
    pgm_host::set_setting("pgm_enable_custom_sdmmc", true);
    ZORVA_MGR::set_db_custom_dir(m_root + "custom");
}

installation::~installation() {
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
}

void installation::add_user_file(const std::string& name, const std::string& bytes) const {
    std::ofstream(m_root + "xml/" + name, std::ios::binary) << bytes;
}
