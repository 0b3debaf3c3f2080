#include "pgm/zorva/load/zorva_elements.h"

#include "pgm/zorva/rules/zorva_report.h"

#include <algorithm>
#include <utility>

bool zorva_keep_refusal(std::optional<ZORVA_REFUSAL> refusal, const PGM_COMMON_XML_ELEMENT& element,
                        std::vector<ZORVA_REFUSAL>& refusals) {
    if (!refusal) return false;
    refusal->line = element.get_line();
    refusals.push_back(std::move(*refusal));
    return true;
}

const PGM_COMMON_XML_ELEMENT* zorva_first_child(const PGM_COMMON_XML_ELEMENT& parent,
                                                PGM_COMMON_XML_ENUM tag) {
    const auto& children = parent.get_all_childs();
    const auto child = std::ranges::find(children, tag, &PGM_COMMON_XML_ELEMENT::get_type);
    return child == children.end() ? nullptr : *child;
}

const PGM_COMMON_XML_ELEMENT& zorva_only_child(const PGM_COMMON_XML_ELEMENT& parent,
                                               PGM_COMMON_XML_ENUM tag, const char* parent_text) {
    if (parent.get_child_count(tag, true) != 1)
        ZORVA_FAIL("%s->get_child_count(PGM_COMMON_XML_ENUM_%s) == 1", parent_text,
                   pgm_common_xml_name(tag));
    return *zorva_first_child(parent, tag);
}

namespace {

std::string definition_name(const PGM_COMMON_XML_ELEMENT& element) {
    const PGM_COMMON_XML_ELEMENT* device_info =
        zorva_first_child(element, PGM_COMMON_XML_ENUM_DEVICE_INFO);
    const PGM_COMMON_XML_ELEMENT* name =
        device_info ? zorva_first_child(*device_info, PGM_COMMON_XML_ENUM_DEVICE_NAME)
                    : zorva_first_child(element, PGM_COMMON_XML_ENUM_TEMPLATE_NAME);
    return name ? name->read_value() : std::string();
}

}  // namespace

ZORVA_DEFINITION_KEY zorva_definition_key(const PGM_COMMON_XML_ELEMENT& element) {
    const bool is_device = element.get_type() == PGM_COMMON_XML_ENUM_FLASH;
    return {is_device ? ZORVA_DEFINITION_KIND::DEVICE : ZORVA_DEFINITION_KIND::TEMPLATE,
            definition_name(element)};
}
