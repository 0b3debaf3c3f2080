// What every reader asks of a tree.
#pragma once

#include "pgm/zorva/rules/zorva_messages.h"
#include "pgm/zorva/zorva_change.h"
#include "services/pgm_common.h"

#include <optional>
#include <string>
#include <vector>

// Adds a refusal with the line of the element at fault; true if there is one.
bool zorva_keep_refusal(std::optional<ZORVA_REFUSAL> refusal, const PGM_COMMON_XML_ELEMENT& element,
                        std::vector<ZORVA_REFUSAL>& refusals);

// The first child of that tag; null if there is none.
const PGM_COMMON_XML_ELEMENT* zorva_first_child(const PGM_COMMON_XML_ELEMENT& parent,
                                                PGM_COMMON_XML_ENUM tag);
// The one child of that tag; any other number is an internal error, whose text names the parent by
// `parent_text`. A user's file has passed the schema, so only the shipped file can reach it.
const PGM_COMMON_XML_ELEMENT& zorva_only_child(const PGM_COMMON_XML_ELEMENT& parent,
                                               PGM_COMMON_XML_ENUM tag, const char* parent_text);

// Kind and name of a FLASH or a USER_TEMPLATE; the name is empty if it has none. Any other element
// counts as a template without a name.
ZORVA_DEFINITION_KEY zorva_definition_key(const PGM_COMMON_XML_ELEMENT& element);
