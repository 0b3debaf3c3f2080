#include "h/pgm_common_xml_zorva_qspi_auto_export.h"

#include "services/pgm_common.h"

#include <algorithm>
#include <span>

namespace {

constexpr PGM_COMMON_XML_ENUM vendors[] = {PGM_COMMON_XML_ENUM_MICRON, PGM_COMMON_XML_ENUM_MACRONIX,
                                           PGM_COMMON_XML_ENUM_CYPRESS, PGM_COMMON_XML_ENUM_WINBOND,
                                           PGM_COMMON_XML_ENUM_ISSI};
constexpr PGM_COMMON_XML_ENUM vendor_children[] = {PGM_COMMON_XML_ENUM_PROGRAMMING_FLOW};

// What a golden element holds, each exactly once.
std::span<const PGM_COMMON_XML_ENUM> golden_children(PGM_COMMON_XML_ENUM tag) {
    if (tag == PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE) return vendors;
    return vendor_children;
}

bool is_golden(PGM_COMMON_XML_ENUM tag) {
    return tag == PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE ||
           std::find(std::begin(vendors), std::end(vendors), tag) != std::end(vendors);
}

PGM_COMMON_XML_ELEMENT* create(PGM_COMMON_XML_ENUM tag) {
    switch (static_cast<dword>(tag)) {
#define ZORVA_QSPI_CASE(TAG, ...)                                                                  \
    case PGM_COMMON_XML_ENUM_##TAG:                                                                \
        return new PGM_COMMON_XML_ZORVA_QSPI_##TAG(tag);
        ZORVA_QSPI_CONTAINERS(ZORVA_QSPI_CASE)
        ZORVA_QSPI_LEAVES(ZORVA_QSPI_CASE)
        ZORVA_QSPI_CASE(QSPI_FLASH)
        ZORVA_QSPI_CASE(ACTION)
        ZORVA_QSPI_CASE(DELAY)
#undef ZORVA_QSPI_CASE
    }
    return is_golden(tag) ? new PGM_COMMON_XML_ZORVA_QSPI_GOLDEN(tag) : nullptr;
}

const PGM_COMMON_XML::REGISTRAR registrar({PGM_COMMON_XML_FILE_QSPI, PGM_COMMON_XML_ENUM_QSPI_FLASH,
                                           "zorva_qspi.xsd", create});

}  // namespace

PGM_COMMON_XML_ZORVA_QSPI_GOLDEN::PGM_COMMON_XML_ZORVA_QSPI_GOLDEN(
    PGM_COMMON_XML_ENUM sub_class_type)
    : PGM_COMMON_XML_ELEMENT(sub_class_type, sub_class_type, PGM_XML_TYPE_NONE, PGM_XML_EXIST_NONE,
                             "", "", nullptr) {
    init_check();
}

bool PGM_COMMON_XML_ZORVA_QSPI_GOLDEN::check_child_count() {
    const auto tags = golden_children(get_type());
    return std::all_of(tags.begin(), tags.end(),
                       [this](auto tag) { return check_count(tag, EXACTLY_ONE); }) &&
           PGM_COMMON_XML_ELEMENT::check_child_count();
}

void PGM_COMMON_XML_ZORVA_QSPI_GOLDEN::group_child(PGM_COMMON_XML_ELEMENT* child, bool remove,
                                                   bool at_end) {
    if (!can_hold(child->get_type())) report_unsupported(*child);
    PGM_COMMON_XML_ELEMENT::group_child(child, remove, at_end);
}

bool PGM_COMMON_XML_ZORVA_QSPI_GOLDEN::can_hold(PGM_COMMON_XML_ENUM tag) const {
    const auto tags = golden_children(get_type());
    return std::find(tags.begin(), tags.end(), tag) != tags.end();
}
