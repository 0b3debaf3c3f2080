// The load of a thousand user files: its time and the heap that it leaves in use.
#include "bench/bench.h"
#include "pgm/zorva/zorva_qspi_mgr.h"
#include "pgm/zorva/zorva_sdmmc_mgr.h"
#include "services/pgm_common.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>
#include <malloc.h>

#include <memory>
#include <stdexcept>
#include <vector>

namespace {

constexpr int file_count = 1000;

// The first shipped device in a file of its own, as the library writes such files.
std::string device_file() {
    const std::string shipped = read_file(data_directory() + "xml/pgm_flash_db_qspi.xml");
    const std::string end_tag = "</FLASH>";
    const std::size_t begin = shipped.find("<FLASH>");
    const std::size_t end = shipped.find(end_tag, begin) + end_tag.size();
    const std::string xml = document(shipped.substr(begin, end - begin));
    const std::unique_ptr<PGM_COMMON_XML_ELEMENT> root(static_cast<PGM_COMMON_XML_ELEMENT*>(
        PGM_COMMON_XML::parse_bytes(PGM_COMMON_XML_FILE_QSPI, xml, "device")));
    if (!root) throw std::runtime_error("the first shipped device can't be read");
    return PGM_COMMON_XML::write_bytes(root.get());
}

std::string renamed(const std::string& file, const std::string& name) {
    const std::string tag = "<DEVICE_NAME>";
    const std::size_t begin = file.find(tag) + tag.size();
    const std::size_t end = file.find("</DEVICE_NAME>");
    return file.substr(0, begin) + name + file.substr(end);
}

// An installation with the files, and their bytes in memory.
struct user_files {
    installation place;
    std::vector<std::string> bytes;

    user_files() {
        const std::string file = device_file();
        for (int i = 0; i < file_count; ++i) {
            const std::string name = "DEVICE_" + std::to_string(i);
            bytes.push_back(renamed(file, name));
            place.add_user_file("pgm_flash_" + name + ".xml", bytes.back());
        }
    }
};

void add_card_files(const installation& place) {
    const std::string behind_the_name =
        "</DEVICE_NAME><DEVICE_IO_VOLTAGE>1.8V</DEVICE_IO_VOLTAGE>"
        "<DEVICE_DENSITY>8GB</DEVICE_DENSITY></DEVICE_INFO></FLASH></SDMMC_FLASH>\n";
    for (int i = 0; i < file_count; ++i) {
        const std::string name = "CARD_" + std::to_string(i);
        place.add_user_file(
            "pgm_flash_" + name + ".xml",
            "<SDMMC_FLASH><FLASH><DEVICE_INFO><DEVICE_NAME>" + name + behind_the_name);
    }
}

// The same files, and as many of the other interface beside them.
const installation& mixed_files() {
    static const user_files files;
    static const bool added = (add_card_files(files.place), true);
    benchmark::DoNotOptimize(added);
    return files.place;
}

const installation& card_files() {
    static const installation place;
    static const bool added = (add_card_files(place), true);
    benchmark::DoNotOptimize(added);
    return place;
}

const user_files& qspi_files() {
    static const user_files files;
    return files;
}

const user_files& files_in_use() {
    qspi_files().place.use();
    return qspi_files();
}

void load(benchmark::State& state) {
    files_in_use();
    for (auto _ : state) {
        ZORVA_QSPI_MGR mgr;
        if (mgr.get_flash_list_with_id(0, 0).size() != file_count)
            state.SkipWithError("a file was refused");
    }
}

// Tree and schema check of the same bytes, with the schema compiled once.
void parse_and_validate(benchmark::State& state) {
    const user_files& files = files_in_use();
    const std::string xsd = data_directory() + "xsd/zorva_qspi.xsd";
    const std::unique_ptr<xmlSchemaParserCtxt, decltype(&xmlSchemaFreeParserCtxt)> parser(
        xmlSchemaNewParserCtxt(xsd.c_str()), &xmlSchemaFreeParserCtxt);
    const std::unique_ptr<xmlSchema, decltype(&xmlSchemaFree)> schema(xmlSchemaParse(parser.get()),
                                                                      &xmlSchemaFree);
    const std::unique_ptr<xmlSchemaValidCtxt, decltype(&xmlSchemaFreeValidCtxt)> validator(
        xmlSchemaNewValidCtxt(schema.get()), &xmlSchemaFreeValidCtxt);
    for (auto _ : state)
        for (const std::string& bytes : files.bytes) {
            const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> tree(
                xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "file", nullptr, 0),
                &xmlFreeDoc);
            if (xmlSchemaValidateDoc(validator.get(), tree.get()) != 0)
                state.SkipWithError("a file was refused");
        }
}

void load_both(benchmark::State& state, const installation& qspi, const installation& sdmmc) {
    for (auto _ : state) {
        qspi.use();
        const ZORVA_QSPI_MGR qspi_mgr;
        sdmmc.use();
        ZORVA_SDMMC_MGR sdmmc_mgr;
        const auto cards =
            sdmmc_mgr.get_new_config_device_list(DEV_FAMILY_LAST, PGMIO_CONFIG_SCHEME_SDMMC, true);
        if (qspi_mgr.get_flash_list_with_id(0, 0).size() != file_count ||
            cards.size() != file_count)
            state.SkipWithError("a file was refused");
    }
}

double heap_in_use() {
    const struct mallinfo2 info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

// The heap that a loaded manager holds, a device.
double heap_of_a_device() {
    files_in_use();
    const double before = heap_in_use();
    const ZORVA_QSPI_MGR mgr;
    return (heap_in_use() - before) / file_count;
}

}  // namespace

void add_load_ratios() {
    add_ratio("load of 1000 files / tree and schema check by libxml2", 1.4, load,
              parse_and_validate);
    add_ratio(
        "load of both interfaces from one directory / from one each", 1.5,
        [](benchmark::State& state) { load_both(state, mixed_files(), mixed_files()); },
        [](benchmark::State& state) { load_both(state, qspi_files().place, card_files()); });
    add_ratio_of_amounts("heap of a loaded device / bytes of its file", 0.5, heap_of_a_device,
                         [] { return static_cast<double>(files_in_use().bytes[0].size()); });
}
