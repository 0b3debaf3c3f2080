// A document that passes the check parses, and what is written of it passes again.
#include "services/pgm_common.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace {

void try_document(PGM_COMMON_XML_FILE_ENUM kind, const char* schema, std::string_view bytes,
                  int rewrites) {
    const std::string xsd_file = PGM_COMMON::pgm_get_common_programmer() + "xsd/" + schema;
    std::string first;
    std::string second;
    PGM_COMMON_XML::check_bytes(bytes, "fuzz.xml", xsd_file, first, second);
    const std::unique_ptr<PGM_COMMON_XML_ELEMENT> tree(
        static_cast<PGM_COMMON_XML_ELEMENT*>(PGM_COMMON_XML::parse_bytes(kind, bytes, "fuzz.xml")));
    const bool good = first.empty() && second.empty();
    if ((good && !tree) || (!good && rewrites == 0)) std::abort();
    if (good && rewrites > 0) {
        try_document(kind, schema, PGM_COMMON_XML::write_bytes(tree.get()), rewrites - 1);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    try_document(PGM_COMMON_XML_FILE_QSPI, "zorva_qspi.xsd", bytes, 1);
    try_document(PGM_COMMON_XML_FILE_SDMMC, "zorva_sdmmc.xsd", bytes, 1);
    return 0;
}
