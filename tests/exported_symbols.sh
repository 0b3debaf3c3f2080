#!/bin/sh
# exported_symbols.sh LIBRARY: fails if the library exports anything but its public classes, or
# doesn't export one of them.
set -eu
classes='HELPER MGR QSPI_MGR SDMMC_MGR FLASH QSPI_FLASH SDMMC_FLASH
         OPERATION QSPI_OPERATION ACTION QSPI_ACTION TEXT USER_FLASH_TEMPLATE'
symbols=$(nm -D --defined-only --demangle "$1" | cut -d ' ' -f 3-)

any=$(echo $classes | tr ' ' '|')
foreign=$(echo "$symbols" | grep -Ev "^((vtable|typeinfo|typeinfo name) for ZORVA_($any)$|ZORVA_($any)::)" || true)
if [ -n "$foreign" ]; then
    printf 'exported, but of no public class:\n%s\n' "$foreign"
    exit 1
fi
for class in $classes; do
    echo "$symbols" | grep -q "^ZORVA_$class::" || { echo "not exported: ZORVA_$class"; exit 1; }
done
