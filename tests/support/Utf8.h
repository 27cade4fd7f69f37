#pragma once

#include <string>

namespace pdf417 {
namespace test {

// Whether `text` is well-formed UTF-8 (Unicode's table of well-formed byte
// sequences: no overlong forms, no surrogates, nothing past U+10FFFF).
bool isWellFormedUtf8(const std::string& text);

// Appends one scalar value as UTF-8.
void appendUtf8(char32_t c, std::string& text);

// The bytes read as ISO/IEC 8859-1, as UTF-8.
std::string latin1ToUtf8(const std::string& bytes);

} // namespace test
} // namespace pdf417
