#include "pgm/zorva/load/zorva_walk.h"

#include "pgm/zorva/load/zorva_elements.h"

#include <utility>

namespace {

// Whether the flows are read of a device whose parameters are refused.
enum class THOROUGHNESS { AS_A_LOAD, TELL_ALL };

void read_device(const ZORVA_INTERFACE& interface, THOROUGHNESS thoroughness,
                 ZORVA_WALKED& walked) {
    walked.flash = interface.read_device(walked.element, walked.refusals);
    if (!walked.flash && thoroughness == THOROUGHNESS::AS_A_LOAD) return;
    const auto flows = interface.read_flows(walked.element, walked.refusals);
    if (walked.flash) zorva_give_flows(*walked.flash, *flows);
}

void read(const ZORVA_INTERFACE& interface, THOROUGHNESS thoroughness, ZORVA_WALKED& walked) {
    if (walked.element.get_type() == PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE) {
        for (const PGM_COMMON_XML_ELEMENT* vendor : walked.element.get_all_childs())
            walked.flows = interface.read_flows(*vendor, walked.refusals);
    } else if (walked.key.kind == ZORVA_DEFINITION_KIND::DEVICE) {
        read_device(interface, thoroughness, walked);
    } else {
        walked.flows = interface.read_flows(walked.element, walked.refusals);
    }
}

void walk_kind(const ZORVA_INTERFACE& interface, const PGM_COMMON_XML_ELEMENT& root,
               PGM_COMMON_XML_ENUM tag, ZORVA_FILE_RULE& rule, ZORVA_WALKER& walker) {
    for (const PGM_COMMON_XML_ELEMENT* element : root.get_all_childs()) {
        if (element->get_type() != tag) continue;
        ZORVA_WALKED walked{*element, zorva_definition_key(*element)};
        const bool is_read = !rule.has_ended();
        if (is_read) {
            if (walker.passes_over(walked)) continue;
            read(interface, THOROUGHNESS::AS_A_LOAD, walked);
            walked.is_repeated = walker.is_defined(walked.key);
        }
        walked.verdict = rule.meet(walked.key.kind, walked.is_good(), walked.is_repeated);
        walked.ends_file = is_read && rule.has_ended();
        walker.meet(std::move(walked));
    }
}

}  // namespace

void zorva_give_flows(ZORVA_FLASH& flash, ZORVA_USER_FLASH_TEMPLATE& flows) {
    const auto give = [&](std::vector<ZORVA_OPERATION*>& flow, ZORVA_PROG_FLOW_TYPE type) {
        if (!flow.empty()) flash.set_operation_list(std::exchange(flow, {}), type);
    };
    give(flows.sfl_operation_list, ZORVA_PROG_FLOW_TYPE_SFL);
    give(flows.sdm_operation_list, ZORVA_PROG_FLOW_TYPE_SDM);
}

ZORVA_VERDICT ZORVA_FILE_RULE::meet(ZORVA_DEFINITION_KIND kind, bool is_good, bool is_repeated) {
    if (m_has_ended) return ZORVA_VERDICT::NOT_READ;
    if (!is_good) {
        m_has_ended = kind == ZORVA_DEFINITION_KIND::DEVICE;
        return ZORVA_VERDICT::REFUSED;
    }
    m_has_ended = is_repeated;
    return is_repeated ? ZORVA_VERDICT::REPEATED : ZORVA_VERDICT::TAKEN;
}

ZORVA_WALKED zorva_read_definition(const ZORVA_INTERFACE& interface,
                                   const PGM_COMMON_XML_ELEMENT& element) {
    ZORVA_WALKED walked{element, zorva_definition_key(element)};
    read(interface, THOROUGHNESS::AS_A_LOAD, walked);
    walked.verdict = ZORVA_FILE_RULE().meet(walked.key.kind, walked.is_good(), false);
    return walked;
}

void zorva_walk(const ZORVA_INTERFACE& interface, const PGM_COMMON_XML_ELEMENT& root,
                ZORVA_WALKER& walker) {
    ZORVA_FILE_RULE rule;
    walk_kind(interface, root, PGM_COMMON_XML_ENUM_FLASH, rule, walker);
    walk_kind(interface, root, PGM_COMMON_XML_ENUM_USER_TEMPLATE, rule, walker);
}

void zorva_walk_all(const ZORVA_INTERFACE& interface, const PGM_COMMON_XML_ELEMENT& root,
                    ZORVA_WALKER& walker) {
    for (const PGM_COMMON_XML_ELEMENT* element : root.get_all_childs()) {
        ZORVA_WALKED walked{*element, zorva_definition_key(*element)};
        read(interface, THOROUGHNESS::TELL_ALL, walked);
        walked.is_repeated = walker.is_defined(walked.key);
        walked.verdict =
            ZORVA_FILE_RULE().meet(walked.key.kind, walked.is_good(), walked.is_repeated);
        walker.meet(std::move(walked));
    }
}
