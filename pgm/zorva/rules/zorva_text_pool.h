// The pool that ZORVA_TEXT refers to.
#pragma once

#include "pgm/zorva/zorva_text.h"

#include <cstddef>
#include <cstdint>

// What the rules of property kinds have said of a text; bit k stands for kind k.
struct ZORVA_VERDICTS {
    std::uint32_t known = 0;  // the rule has been asked
    std::uint32_t good = 0;   // and takes the text
};

// Kept with the text and forgotten with it.
ZORVA_VERDICTS& zorva_verdicts(const ZORVA_TEXT& text);

// The number of texts that something uses, and the empty one.
std::size_t zorva_pooled_text_count();
