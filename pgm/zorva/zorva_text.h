// Texts that recur in thousands of actions: each is held once, for as long as something uses it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

// A counted reference to a text in the pool of all texts, half the size of a pointer. The pool
// forgets a text when its last reference goes. One thread at a time may use any of them.
class ZORVA_TEXT {
  public:
    ZORVA_TEXT() = default;  // the empty text
    explicit ZORVA_TEXT(std::string_view text);
    ZORVA_TEXT(const ZORVA_TEXT& other) : m_number(other.m_number) {
        if (m_number != 0) refer();
    }
    ZORVA_TEXT(ZORVA_TEXT&& other) noexcept : m_number(std::exchange(other.m_number, 0)) {}
    ZORVA_TEXT& operator=(ZORVA_TEXT other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~ZORVA_TEXT() {
        if (m_number != 0) release();
    }

    // Valid while a reference to the same text lives.
    const std::string& get() const;
    // The text's place in the pool; 0 for the empty text.
    std::uint32_t number() const { return m_number; }

  private:
    void refer() const;
    void release() const;

    std::uint32_t m_number = 0;
};
