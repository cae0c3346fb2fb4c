// The character classes of the C locale, whatever locale the process has selected: what the
// wire's numbers, dates, descriptions and array attributes are read with. (The option strings
// use the C runtime's classes in the current locale instead, as the host's scripts expect.)
#pragma once

namespace tssoap {

// ' ', '\t', '\n', '\v', '\f', '\r'.
constexpr bool IsAsciiSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool IsAsciiDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace tssoap
