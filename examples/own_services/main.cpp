// A host that brings its own services: it looks a shipped device up, asks which families its own
// table has, and has a message of the library shown by its own service.
#include "examples/own_services/services.h"
#include "pgm/zorva/zorva_helper.h"
#include "pgm/zorva/zorva_mgr.h"

#include <iostream>

int main(int count, char** arguments) {
    if (count != 2) return 2;
    own_data_directory = std::string(arguments[1]) + "/";
    ZORVA_MGR* manager = ZORVA_HELPER::get_flash_manager(PGMIO_CONFIG_SCHEME_QSPI_SDM, false);
    ZORVA_FLASH* flash = manager ? manager->get_flash("MT25QU256", true) : nullptr;
    std::cout << (flash ? flash->get_name() : "no such device") << '\n';
    for (const dword family : {5U, 23U, 73U})
        if (ZORVA_HELPER::is_supported_family(DEV_FAMILY_QSPI_FLASH, DEV_FAMILY_ENUM{family}))
            std::cout << "family " << family << '\n';
    std::string sentence;
    const bool good = manager && manager->is_parameter_valid(ZORVA_FLASH_PARAM_DENSITY,
                                                             std::string("12Mb?"), &sentence);
    return flash && !good && !sentence.empty() ? 0 : 1;
}
