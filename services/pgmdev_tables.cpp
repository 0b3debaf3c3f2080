// The families and default flash devices that the stand-alone services know.
#include "services/host_state.h"

namespace {

constexpr const char* low = "1.8V";
constexpr const char* high = "3.0V/3.3V";

constexpr DEV_FAMILY_ENUM family(dword number) { return static_cast<DEV_FAMILY_ENUM>(number); }

}  // namespace

// clang-format off
std::vector<PGMDEV_DEVICE_INFO> pgm_host::host_state::default_devices() {
    return {
        // family, name, QSPI flash, SD/MMC flash, secure device manager, I/O voltage
        {family(3),       "Brindle",  true,  false, false, high},
        {family(7),       "Caldera",  true,  false, false, low},
        {family(12),      "Dunmore",  true,  false, false, high},
        {family(17),      "Fenwick",  true,  true,  false, high},
        {family(23),      "Halden",   true,  false, true,  low},
        {family(28),      "Orlane",   true,  true,  true,  low},
        {family(34),      "Merrow",   true,  false, true,  high},
        {family(41),      "Quillon",  false, true,  true,  low},
        {family(48),      "Sarnath",  true,  true,  true,  low},
        {family(52),      "Tallis",   false, true,  false, low},
        {family(60),      "Umbrel",   true,  false, false, low},
        {family(66),      "Wexmoor",  false, false, false, high},
        {DEV_FAMILY_LAST, "Generic",  true,  true,  true,  low},
    };
}

std::vector<PGMDEV_SFL_FLASH_INFO> pgm_host::host_state::default_flashes() {
    return {
        // group, device name, legacy, order in the group, I/O voltage
        {"Serial",   "QCFG1",        true,   1, high},
        {"Serial",   "QCFG2",        true,   2, high},
        {"Serial",   "QCFG4",        true,   3, high},
        {"Serial",   "QCFG8",        true,   4, high},
        {"Serial",   "QCFG16",       true,   5, high},
        {"Serial",   "QCFG32",       true,   6, high},
        {"Serial",   "QCFG64",       true,   7, high},
        {"Serial",   "QCFG128",      true,   8, high},
        {"Serial",   "QCFG256",      true,   9, high},
        {"Serial",   "QCFG512",      true,  10, high},
        {"Serial",   "QCFG1024",     true,  11, high},
        {"Serial",   "QCFG16L",      true,  12, low},
        {"Serial",   "QCFG32L",      true,  13, low},
        {"Serial",   "QCFG64L",      true,  14, low},
        {"Serial",   "QCFG128L",     true,  15, low},
        {"Serial",   "QCFG256L",     true,  16, low},
        {"Serial",   "QCFG512L",     true,  17, low},
        {"Serial",   "QCFG1024L",    true,  18, low},
        {"Serial",   "QCFG2048",     false, 19, high},
        {"Quad",     "QTYRN16",      true,   1, high},
        {"Quad",     "QTYRN32",      true,   2, high},
        {"Quad",     "QTYRN64",      true,   3, high},
        {"Quad",     "QTYRN128",     true,   4, high},
        {"Quad",     "QTYRN256",     true,   5, high},
        {"Quad",     "QTYRN512",     true,   6, high},
        {"Quad",     "QTYRN1024",    true,   7, high},
        {"Quad",     "QTYRN128L",    true,   8, low},
        {"Quad",     "QTYRN256L",    true,   9, low},
        {"Quad",     "QTYRN512L",    true,  10, low},
        {"Quad",     "QTYRN1024L",   true,  11, low},
        {"Quad",     "QTYRN2048L",   true,  12, low},
        {"Quad",     "QUADCFG32",    true,  20, low},
        {"Quad",     "QUADCFG64",    true,  21, low},
        {"Quad",     "QUADCFG128",   true,  22, low},
        {"Quad",     "QUADCFG256",   true,  23, low},
        {"Quad",     "QUADCFG512",   true,  24, low},
        {"Quad",     "QUADCFG1024",  false, 25, ""},
        {"Parallel", "PCFG4",        true,   1, high},
        {"Parallel", "PCFG8",        true,   2, high},
        {"Parallel", "PCFG16",       true,   3, high},
        {"Parallel", "PCFG32",       true,   4, high},
        {"Parallel", "PCFG64",       true,   5, high},
        {"Parallel", "PCFG64L",      true,   6, low},
        {"Parallel", "PCFG128L",     true,   7, low},
        {"Parallel", "PCFG256L",     true,   8, low},
        {"Parallel", "PX_TYRN64",    true,  10, low},
        {"Parallel", "PX_TYRN128",   true,  11, low},
        {"Parallel", "PX_TYRN256",   true,  12, low},
        {"Parallel", "PCFG1",        false,  0, high},
    };
}
// clang-format on
