#include "pgm/zorva/zorva_template.h"

namespace {

void delete_operations(std::vector<ZORVA_OPERATION*>& operation_list) {
    for (; !operation_list.empty(); operation_list.pop_back()) delete operation_list.back();
}

}  // namespace

ZORVA_USER_FLASH_TEMPLATE::~ZORVA_USER_FLASH_TEMPLATE() {
    delete_operations(sfl_operation_list);
    delete_operations(sdm_operation_list);
}
