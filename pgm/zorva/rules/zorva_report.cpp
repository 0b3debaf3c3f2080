#include "pgm/zorva/rules/zorva_report.h"

#include <cstdarg>

void zorva_trace(const char* format, ...) {
    constexpr MSG_D_LEVEL level = 2;
    va_list args;
    va_start(args, format);
    msg_local_vdebug("ZORVA", level, format, args);
    va_end(args);
}
