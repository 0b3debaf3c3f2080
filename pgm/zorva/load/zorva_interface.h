// What tells one flash interface from the other; the managers share everything else.
#pragma once

#include "pgm/zorva/rules/zorva_messages.h"
#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/zorva_flash.h"
#include "pgm/zorva/zorva_template.h"
#include "services/pgm_common.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct ZORVA_INTERFACE_FACTS {
    DEV_FAMILY_ENUM flash_family;
    DEV_FAMILY_ENUM default_device_family;
    PGMIO_CONFIG_SCHEME default_config_mode;
    bool default_use_sdm_mode;
    std::span<const PGMIO_CONFIG_SCHEME> config_modes;
    std::span<const char* const> io_voltages;
    std::span<const char* const> densities;
    PGM_COMMON_XML_FILE_ENUM document;
    const char* golden_file;  // the shipped file's name
    const char* xsd_file;     // the schema's name
};

// There is one object a flash interface. What a definition lacks on an interface, such as flows,
// is empty there.
class ZORVA_INTERFACE : public ZORVA_INTERFACE_FACTS {
  public:
    // A record of what DEVICE_INFO of a FLASH element says. Null if a child is missing or a value
    // is refused; every refusal is told.
    virtual std::unique_ptr<ZORVA_FLASH> read_device(
        const PGM_COMMON_XML_ELEMENT& flash_element,
        std::vector<ZORVA_REFUSAL>& refusals) const = 0;
    // Both flows of the PROGRAMMING_FLOW below an element, good or not; every refused value is
    // told.
    virtual std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> read_flows(
        const PGM_COMMON_XML_ELEMENT& holder, std::vector<ZORVA_REFUSAL>& refusals) const;
    // What is wrong with a parameter's value, whatever the database holds; nothing if it is good,
    // or if the interface knows no rule for it.
    virtual std::optional<ZORVA_REFUSAL> judge(ZORVA_FLASH_PARAM param,
                                               std::string_view value) const;
    virtual std::optional<ZORVA_REFUSAL> judge(ZORVA_FLASH_PARAM, dword) const { return {}; }
    // Whether a parameter that is judged is a number, and not a text.
    virtual bool is_number(ZORVA_FLASH_PARAM) const { return false; }
    // The vendors whose templates the shipped file holds.
    virtual std::span<const ZORVA_GOLDEN_VENDOR_ROW> golden_vendors() const { return {}; }

    // False if the record's flows can't stand in a file as they are: an operation twice in a flow,
    // a number that would turn into another.
    virtual bool is_writable(ZORVA_FLASH&) const { return true; }
    // A new USER_TEMPLATE of that name with the flows of a record; null where there is no such
    // element.
    virtual std::unique_ptr<PGM_COMMON_XML_ELEMENT> template_element(const std::string& name,
                                                                     ZORVA_FLASH& flash) const;
    // A copy of the flows of a record.
    virtual std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> copy_flows(ZORVA_FLASH& flash) const;
    // Brings the flows below a written FLASH or USER_TEMPLATE to their five operations, in order.
    virtual void complete_flows(PGM_COMMON_XML_ELEMENT&) const {}

  protected:
    explicit constexpr ZORVA_INTERFACE(const ZORVA_INTERFACE_FACTS& facts)
        : ZORVA_INTERFACE_FACTS(facts) {}
    ~ZORVA_INTERFACE() = default;
};

// What is wrong with a value that has to be one of those offered.
template <class OFFERED>
std::optional<ZORVA_REFUSAL> zorva_judge_offered(std::string_view value, const OFFERED& offered,
                                                 ZORVA_MESSAGE message) {
    if (!value.empty() && std::ranges::find(offered, value) != std::ranges::end(offered)) return {};
    return ZORVA_REFUSAL{message, std::string(value), {}};
}

// The outcome of a manager's check: a refusal is silent unless `err_msg` is given.
bool zorva_passes(const std::optional<ZORVA_REFUSAL>& refusal, std::string* err_msg);
