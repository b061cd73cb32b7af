#pragma once

namespace ulk::txt::out {

// Character classes and cases, the same in every locale
struct Ascii {
    static constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }
    static constexpr bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }
    static constexpr bool is_lower(char c) { return c >= 'a' && c <= 'z'; }
    static constexpr char to_lower(char c) { return is_upper(c) ? static_cast<char>(c + 32) : c; }
    static constexpr char to_upper(char c) { return is_lower(c) ? static_cast<char>(c - 32) : c; }
};

} // namespace ulk::txt::out
