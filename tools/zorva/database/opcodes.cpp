// The common names of command bytes. Where vendors differ, both readings are given.
#include "tools/zorva/database/flow.h"

#include <algorithm>
#include <iterator>

namespace zorva_tool {

namespace {

struct opcode {
    dword code;
    std::string_view name;
};

constexpr opcode opcode_table[] = {
    {0x01, "write status register"},
    {0x02, "page program"},
    {0x03, "read"},
    {0x04, "write disable"},
    {0x05, "read status register"},
    {0x06, "write enable"},
    {0x0B, "fast read"},
    {0x0C, "fast read with 4-byte address"},
    {0x11, "write status register 3"},
    {0x12, "page program with 4-byte address"},
    {0x13, "read with 4-byte address"},
    {0x15, "read configuration register or status register 3"},
    {0x16, "read bank register"},
    {0x17, "write bank register"},
    {0x20, "sector erase"},
    {0x21, "sector erase with 4-byte address"},
    {0x30, "clear status register"},
    {0x31, "write status register 2"},
    {0x32, "quad page program"},
    {0x34, "quad page program with 4-byte address"},
    {0x35, "read configuration register or status register 2"},
    {0x38, "enter quad mode or quad page program"},
    {0x3B, "dual output fast read"},
    {0x3E, "quad page program with 4-byte address"},
    {0x50, "clear flag status or enable volatile register write"},
    {0x52, "block erase"},
    {0x5A, "read discovery parameters (SFDP)"},
    {0x5C, "block erase with 4-byte address"},
    {0x60, "chip erase"},
    {0x61, "write enhanced volatile configuration"},
    {0x65, "read any register or enhanced volatile configuration"},
    {0x66, "reset enable"},
    {0x6B, "quad output fast read"},
    {0x6C, "quad output fast read with 4-byte address"},
    {0x70, "read flag status register"},
    {0x71, "write any register"},
    {0x81, "write volatile configuration"},
    {0x85, "read volatile configuration"},
    {0x90, "read manufacturer and device ID"},
    {0x98, "unlock all blocks"},
    {0x99, "reset"},
    {0x9F, "read JEDEC ID"},
    {0xAB, "release from power-down"},
    {0xAF, "read ID over several lines"},
    {0xB1, "write non-volatile configuration"},
    {0xB5, "read non-volatile configuration"},
    {0xB7, "enter 4-byte addressing"},
    {0xB9, "power-down"},
    {0xBB, "dual I/O fast read"},
    {0xC2, "select die"},
    {0xC4, "die erase"},
    {0xC5, "write extended address register"},
    {0xC7, "chip erase"},
    {0xC8, "read extended address register"},
    {0xD7, "sector erase"},
    {0xD8, "sector/block erase"},
    {0xDC, "sector/block erase with 4-byte address"},
    {0xE9, "leave 4-byte addressing"},
    {0xEB, "quad I/O fast read"},
    {0xEC, "quad I/O fast read with 4-byte address"},
    {0xF0, "software reset"},
};
static_assert(std::ranges::is_sorted(opcode_table, {}, &opcode::code));

}  // namespace

std::string_view opcode_name(dword code) {
    const auto found = std::ranges::lower_bound(opcode_table, code, {}, &opcode::code);
    return found != std::end(opcode_table) && found->code == code ? found->name
                                                                  : std::string_view();
}

}  // namespace zorva_tool
