#include "tests/support/Utf8.h"

#include <cstddef>

namespace pdf417 {
namespace test {

bool isWellFormedUtf8(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[i + k]); };
        const unsigned char b0 = byte(0);
        std::size_t n = 0;
        unsigned char low = 0x80;
        unsigned char high = 0xBF; // the range of the second byte
        if (b0 <= 0x7F) {
            n = 1;
        } else if (b0 >= 0xC2 && b0 <= 0xDF) {
            n = 2;
        } else if (b0 >= 0xE0 && b0 <= 0xEF) {
            n = 3;
            low = b0 == 0xE0 ? 0xA0 : 0x80;
            high = b0 == 0xED ? 0x9F : 0xBF;
        } else if (b0 >= 0xF0 && b0 <= 0xF4) {
            n = 4;
            low = b0 == 0xF0 ? 0x90 : 0x80;
            high = b0 == 0xF4 ? 0x8F : 0xBF;
        } else {
            return false;
        }
        if (i + n > text.size()) {
            return false;
        }
        for (std::size_t k = 1; k < n; ++k) {
            const unsigned char b = byte(k);
            if (k == 1 ? (b < low || b > high) : (b < 0x80 || b > 0xBF)) {
                return false;
            }
        }
        i += n;
    }
    return true;
}

void appendUtf8(char32_t c, std::string& text) {
    if (c < 0x80) {
        text += static_cast<char>(c);
        return;
    }
    const int n = c < 0x800 ? 2 : (c < 0x10000 ? 3 : 4);
    const unsigned char lead[] = {0, 0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(lead[n] | (c >> (6 * (n - 1))));
    for (int k = n - 2; k >= 0; --k) {
        text += static_cast<char>(0x80 | ((c >> (6 * k)) & 0x3F));
    }
}

std::string latin1ToUtf8(const std::string& bytes) {
    std::string text;
    for (const char b : bytes) {
        appendUtf8(static_cast<unsigned char>(b), text);
    }
    return text;
}

} // namespace test
} // namespace pdf417
