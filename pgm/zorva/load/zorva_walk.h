// The walk over a document: what a load makes of each definition in it.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/zorva_change.h"

#include <memory>
#include <vector>

enum class ZORVA_VERDICT {
    TAKEN,
    REFUSED,   // a value is bad
    REPEATED,  // the name is defined already, where it counts
    NOT_READ,  // it stands behind a definition that ended the reading
};

// What a load takes of one file, whose definitions are told one after another: the devices and
// then the templates. A bad device ends the file and so does a repeated name; a bad template is
// left out.
class ZORVA_FILE_RULE {
  public:
    ZORVA_VERDICT meet(ZORVA_DEFINITION_KIND kind, bool is_good, bool is_repeated);
    bool has_ended() const { return m_has_ended; }

  private:
    bool m_has_ended = false;
};

struct ZORVA_WALKED {
    const PGM_COMMON_XML_ELEMENT& element;
    ZORVA_DEFINITION_KEY key;
    ZORVA_VERDICT verdict = ZORVA_VERDICT::NOT_READ;
    bool is_repeated = false;
    bool ends_file = false;                    // what stands behind it isn't read
    std::vector<ZORVA_REFUSAL> refusals = {};  // what is wrong with its values
    // Of a definition that isn't refused: a device's record, a template's flows.
    std::unique_ptr<ZORVA_FLASH> flash = nullptr;
    std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> flows = nullptr;

    bool is_good() const { return refusals.empty() && (flash || flows); }
};

// Who walks.
class ZORVA_WALKER {
  public:
    // Whether a definition is to be passed over, as if it weren't there.
    virtual bool passes_over(const ZORVA_WALKED&) { return false; }
    virtual bool is_defined(const ZORVA_DEFINITION_KEY& key) = 0;
    virtual void meet(ZORVA_WALKED walked) = 0;

  protected:
    ~ZORVA_WALKER() = default;
};

// Gives a record the flows that a file holds, if it holds any.
void zorva_give_flows(ZORVA_FLASH& flash, ZORVA_USER_FLASH_TEMPLATE& flows);

// One definition by itself, as a load reads it.
ZORVA_WALKED zorva_read_definition(const ZORVA_INTERFACE& interface,
                                   const PGM_COMMON_XML_ELEMENT& element);

// Meets the devices and then the templates of a document, as a load does. What stands behind the
// definition that ends the reading is met as not read.
void zorva_walk(const ZORVA_INTERFACE& interface, const PGM_COMMON_XML_ELEMENT& root,
                ZORVA_WALKER& walker);
// Meets all that stands in a document, in its order, and tells all that is wrong with it, whatever
// a load would read of it. A GOLDEN_TEMPLATE is met as a template without a name.
void zorva_walk_all(const ZORVA_INTERFACE& interface, const PGM_COMMON_XML_ELEMENT& root,
                    ZORVA_WALKER& walker);
