// Well-formed text under every ECI is read in MessageDecoder's round trips
// through libzint; here the tables no encoder exercises whole, and what no
// encoder writes.
#include "pdf417scan/reader/EciTextConverter.h"

#include "tests/support/Utf8.h"

#include <gtest/gtest.h>

#include <iconv.h>

#include <random>
#include <string>

namespace pdf417 {
namespace {

const std::string FFFD = "\xEF\xBF\xBD";

struct Converted {
    std::string text;
    bool complete = false;
};

Converted convert(int eci, const std::string& bytes) {
    static EciTextConverter converter;
    Converted c;
    c.text = "<";
    c.complete = converter.appendUtf8(eci, reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                      bytes.size(), c.text);
    EXPECT_EQ(c.text.substr(0, 1), "<") << "appends";
    c.text.erase(0, 1);
    return c;
}

// The built-in table against the platform's own (glibc's iconv in the test
// environment, whether or not the library uses it).
TEST(EciTextConverter, CodePage437MatchesThePlatformTable) {
    const iconv_t cd = iconv_open("UTF-8", "IBM437");
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        GTEST_SKIP() << "no IBM437 in this iconv";
    }
    for (int b = 0; b < 256; ++b) {
        char in[1] = {static_cast<char>(b)};
        char out[8];
        char* inPtr = in;
        char* outPtr = out;
        std::size_t inLeft = 1;
        std::size_t outLeft = sizeof out;
        ASSERT_NE(iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft), static_cast<std::size_t>(-1));
        for (const int eci : {0, 2}) {
            const Converted c = convert(eci, std::string(1, static_cast<char>(b)));
            EXPECT_EQ(c.text, std::string(out, outPtr)) << "byte " << b;
            EXPECT_TRUE(c.complete);
        }
    }
    iconv_close(cd);
}

// Whatever the bytes, UTF-8 comes out well-formed, and complete exactly when
// the bytes were.
TEST(EciTextConverter, Utf8IsCheckedNotTrusted) {
    std::mt19937 rng(26);
    for (int i = 0; i < 20000; ++i) {
        std::string bytes(rng() % 12, '\0');
        for (char& b : bytes) {
            b = static_cast<char>(rng() % 4 == 0 ? 0x80 | rng() % 0x80 : rng() % 256);
        }
        const Converted c = convert(26, bytes);
        ASSERT_TRUE(test::isWellFormedUtf8(c.text));
        ASSERT_EQ(c.complete, test::isWellFormedUtf8(bytes));
        ASSERT_EQ(c.complete, c.text == bytes);
    }
}

// Ill-formed input of every kind: one U+FFFD for each maximal ill-formed
// part, the rest kept.
TEST(EciTextConverter, WhatCannotBeReadSaysSo) {
    const std::string x2 = FFFD + FFFD, x3 = x2 + FFFD, x4 = x3 + FFFD;
    const struct {
        int eci;
        std::string bytes;
        std::string text;
    } cases[] = {
        // UTF-8: overlong forms, surrogates, past U+10FFFF, stray, cut short.
        {26, "\xC0\x80", x2},
        {26, "\xE0\x80\x80", x3},
        {26, "\xED\xA0\x80", x3},
        {26, "\xF4\x90\x80\x80", x4},
        {26, "\xF0\x80\x80\x80", x4},
        {26, "\x80\xBF", x2},
        {26, "\xF5\xFF", x2},
        {26, "a\xE2\x82", "a" + FFFD},
        {26, "a\xE2\x82z\xF0\x9F\x98", "a" + FFFD + "z" + FFFD},
        // The edges of well-formed UTF-8.
        {26, "\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80",
         "\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80"},
        {26, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        // UTF-16 and UTF-32: lone surrogates, an odd byte, past U+10FFFF.
        {25, std::string("\xD8\x00\x00\x41", 4), FFFD + "A"},
        {33, std::string("\x00\xDC", 2), FFFD},
        {25, std::string("\x00\x41\x00", 3), "A" + FFFD},
        {34, std::string("\x00\x11\x00\x00", 4), FFFD},
        {35, std::string("\x00\xD8\x00\x00", 4), FFFD},
        {34, std::string("\x00\x00\x00", 3), FFFD},
        // Binary data and ECIs that name no character set: one a byte.
        {899, "AB\xC3\xA9", x4},
        {14, "AB\xC3\xA9", x4},
        {19, "AB\xC3\xA9", x4},
        {36, "AB\xC3\xA9", x4},
        {1000, "AB\xC3\xA9", x4},
        {811799, "AB\xC3\xA9", x4},
        {-1, "AB\xC3\xA9", x4},
        // ASCII has no upper half; ISO/IEC 646's invariant set lacks the
        // twelve national positions.
        {27, "A~\xE9", "A~" + FFFD},
        {170, "A-#", "A-" + FFFD},
        {170, "AZaz09 !\"%&'()*+,-./:;<=>?_", "AZaz09 !\"%&'()*+,-./:;<=>?_"},
        {3, "\xE9\xFF", "\xC3\xA9\xC3\xBF"},
    };
    for (const auto& c : cases) {
        const Converted converted = convert(c.eci, c.bytes);
        EXPECT_EQ(converted.text, c.text) << c.eci << " " << testing::PrintToString(c.bytes);
        EXPECT_EQ(converted.complete, c.text.find(FFFD) == std::string::npos) << c.eci;
    }

    EciTextConverter converter;
    if (!EciTextConverter::hasPlatformCharsets()) {
        EXPECT_FALSE(converter.canConvert(20));
        EXPECT_EQ(convert(20, "AB").text, x2);
        return;
    }
    // An unreadable character is one U+FFFD, a pair whose trail could be
    // one skipped whole; a private-use character says nothing true.
    const struct {
        int eci;
        std::string bytes, text;
    } platform[] = {
        {20, "A\x93", "A" + FFFD}, // a Shift JIS lead byte cut short
        {20, "\x85@Z", FFFD + "Z"},
        {28, "\xFA@Z", FFFD + "Z"}, // Big5
        {28, "\xFA@", FFFD},
        {28, "A\xC6\xA5\xC6\xA5", "A" + x2}, // ETEN kana, private use to glibc
        {29, "\xAA\xA1Z", FFFD + "Z"},       // GB 2312
        {30, "\xAD\xA1Z", FFFD + "Z"},       // EUC-KR
        {32, "\x81\x30", FFFD},              // GB 18030's four bytes, cut short
        {32, "\x81\x30\x20\x30Z", FFFD + "Z"},
        {32, "\xD8\x38\x97\x34\xDE\x30\x99\x30", x2}, // planes 15 and 16
    };
    for (const auto& c : platform) {
        const Converted converted = convert(c.eci, c.bytes);
        EXPECT_EQ(converted.text, c.text) << c.eci << " " << testing::PrintToString(c.bytes);
        EXPECT_FALSE(converted.complete) << c.eci;
    }
    // Single bytes a set leaves undefined.
    for (const auto& [eci, byte] : {std::pair{5, 0xA5},
                                    {8, 0xA1},
                                    {9, 0xAE},
                                    {10, 0xA1},
                                    {13, 0xDB},
                                    {21, 0x81},
                                    {22, 0x98},
                                    {23, 0x81}}) {
        EXPECT_EQ(convert(eci, {static_cast<char>(byte), 'Z'}).text, FFFD + "Z") << eci;
    }
    // Four bytes of GB 18030 past the BMP, U+30000, are a character like any.
    EXPECT_EQ(convert(32, "\x9A\x34\x84\x32").text, "\xF0\xB0\x80\x80");
}

} // namespace
} // namespace pdf417
