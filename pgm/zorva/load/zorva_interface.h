// What tells one flash interface from the other; the managers share everything else.
#pragma once

#include "pgm/zorva/rules/zorva_messages.h"
#include "pgm/zorva/zorva_mgr.h"
#include "services/pgm_common.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct ZORVA_INTERFACE {
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

    // A record of what DEVICE_INFO of a FLASH element says. Null if a child is missing or a value
    // is refused; every refusal is told.
    std::unique_ptr<ZORVA_FLASH> (*read_device)(const PGM_COMMON_XML_ELEMENT& flash_element,
                                                std::vector<ZORVA_REFUSAL>& refusals);
    // Both flows of the PROGRAMMING_FLOW below an element, good or not; every refused value is
    // told. Null where the interface knows no flows.
    std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> (*read_flows)(const PGM_COMMON_XML_ELEMENT& holder,
                                                             std::vector<ZORVA_REFUSAL>& refusals);
    // False if the record's flows can't stand in a file as they are: an operation twice in a flow,
    // a number that would turn into another. Null where the interface knows no flows.
    bool (*is_writable)(ZORVA_FLASH& flash);
    // A new USER_TEMPLATE of that name with the flows of a record, and a copy of these flows. Null
    // where the interface knows no flows.
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> (*template_element)(const std::string& name,
                                                                ZORVA_FLASH& flash);
    std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> (*copy_flows)(ZORVA_FLASH& flash);
    // Brings the flows below a written FLASH or USER_TEMPLATE to their five operations, in order.
    // Null where the interface knows no flows.
    void (*complete_flows)(PGM_COMMON_XML_ELEMENT& holder);
};

// What is wrong with a value; nothing if it is good. Nothing is posted.
std::optional<ZORVA_REFUSAL> zorva_judge_density(const ZORVA_INTERFACE& interface,
                                                 std::string_view density);
std::optional<ZORVA_REFUSAL> zorva_judge_io_voltage(const ZORVA_INTERFACE& interface,
                                                    std::string_view voltage);

// Adds a refusal with the line of the element at fault; true if there is one.
bool zorva_keep_refusal(std::optional<ZORVA_REFUSAL> refusal, const PGM_COMMON_XML_ELEMENT& element,
                        std::vector<ZORVA_REFUSAL>& refusals);

// The outcome of a manager's check: a refusal is silent unless `err_msg` is given.
bool zorva_passes(const std::optional<ZORVA_REFUSAL>& refusal, std::string* err_msg);

// The first child of that tag; null if there is none.
const PGM_COMMON_XML_ELEMENT* zorva_first_child(const PGM_COMMON_XML_ELEMENT& parent,
                                                PGM_COMMON_XML_ENUM tag);
// The one child of that tag; any other number is an internal error, whose text names the parent by
// `parent_text`. A user's file has passed the schema, so only the shipped file can reach it.
const PGM_COMMON_XML_ELEMENT& zorva_only_child(const PGM_COMMON_XML_ELEMENT& parent,
                                               PGM_COMMON_XML_ENUM tag, const char* parent_text);
// Name of the device of a FLASH or of the template of a USER_TEMPLATE; empty if it has none.
std::string zorva_definition_name(const PGM_COMMON_XML_ELEMENT& element);

// A record of a FLASH element, its flows included, good or not. Null as read_device tells.
std::unique_ptr<ZORVA_FLASH> zorva_read_flash(const ZORVA_INTERFACE& interface,
                                              const PGM_COMMON_XML_ELEMENT& element,
                                              std::vector<ZORVA_REFUSAL>& refusals);
// What a load takes of an element: nothing is refused.
bool zorva_is_taken(const ZORVA_INTERFACE& interface, const PGM_COMMON_XML_ELEMENT& element);

// Whether an element is a FLASH or anything else, and what a report says of it while nothing
// speaks against it.
ZORVA_DEFINITION_KIND zorva_definition_kind(const PGM_COMMON_XML_ELEMENT& element);
ZORVA_DEFINITION zorva_definition(const PGM_COMMON_XML_ELEMENT& element);

// Reports a file as one that can't be taken; `text` is one of check_xsd, each line of it a finding
// "FILE:LINE: sentence".
void zorva_report_skipped(ZORVA_FILE_REPORT& report, const std::string& text);
