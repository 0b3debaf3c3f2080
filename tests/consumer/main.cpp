// Looks a shipped device up through the installed library.
#include "pgm/zorva/zorva_helper.h"
#include "pgm/zorva/zorva_mgr.h"

#include <iostream>

int main() {
    ZORVA_MGR* manager =
        ZORVA_HELPER::get_flash_manager(static_cast<PGMIO_CONFIG_SCHEME>(13), false);
    ZORVA_FLASH* flash = manager ? manager->get_flash("MT25QU256", true) : nullptr;
    std::cout << (flash ? flash->get_name() : "no such device") << '\n';
    return flash ? 0 : 1;
}
