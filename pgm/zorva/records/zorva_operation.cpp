#include "pgm/zorva/zorva_operation.h"

ZORVA_OPERATION::~ZORVA_OPERATION() = default;

std::string ZORVA_OPERATION::get_name() const { return m_name.get(); }
void ZORVA_OPERATION::set_name(std::string name) { m_name = ZORVA_TEXT(name); }
std::string ZORVA_OPERATION::get_operation_description() const { return m_description.get(); }
