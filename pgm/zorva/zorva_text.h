// Texts that recur in thousands of actions, held once for the process.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// A text by its number in the pool. The pool only grows: a flow's texts recur from device to
// device, so it stays far smaller than the flows themselves.
class ZORVA_TEXT {
  public:
    ZORVA_TEXT() = default;  // not set: reads as the empty text
    explicit ZORVA_TEXT(std::string_view text);

    // Valid for the life of the process.
    const std::string& get() const;
    // Equal texts have equal numbers, counted up from 0.
    std::uint32_t number() const { return m_number; }

  private:
    std::uint32_t m_number = 0;
};
