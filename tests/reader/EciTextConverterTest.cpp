#include "pdf417scan/reader/EciTextConverter.h"

#include "tests/support/Utf8.h"

#include <gtest/gtest.h>

#include <iconv.h>

#include <random>
#include <string>

namespace pdf417 {
namespace {

const std::string FFFD = "\xEF\xBF\xBD";

std::string repeat(const std::string& s, std::size_t n) {
    std::string all;
    while (n-- > 0) {
        all += s;
    }
    return all;
}

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
        const std::string expected(out, outPtr);
        for (const int eci : {0, 2}) {
            const Converted c = convert(eci, std::string(1, static_cast<char>(b)));
            EXPECT_EQ(c.text, expected) << "byte " << b;
            EXPECT_TRUE(c.complete);
        }
    }
    iconv_close(cd);
}

// Well-formed text, from every script and plane, is read in the ECI 26
// round trip through libzint; here what no encoder writes.
TEST(EciTextConverter, Utf8IsCheckedNotTrusted) {
    std::mt19937 rng(26);
    // Overlong forms, surrogates, values past U+10FFFF, stray and cut-short
    // sequences: one U+FFFD for each maximal ill-formed part.
    const std::pair<std::string, std::string> illFormed[] = {
        {"\xC0\x80", repeat(FFFD, 2)},
        {"\xE0\x80\x80", repeat(FFFD, 3)},
        {"\xED\xA0\x80", repeat(FFFD, 3)},
        {"\xF4\x90\x80\x80", repeat(FFFD, 4)},
        {"\xF0\x80\x80\x80", repeat(FFFD, 4)},
        {"\x80\xBF", repeat(FFFD, 2)},
        {"\xF5\xFF", repeat(FFFD, 2)},
        {"a\xE2\x82", "a" + FFFD},
        {"a\xE2\x82z\xF0\x9F\x98", "a" + FFFD + "z" + FFFD},
    };
    for (const auto& [bytes, text] : illFormed) {
        const Converted c = convert(26, bytes);
        EXPECT_EQ(c.text, text);
        EXPECT_FALSE(c.complete);
    }
    // Whatever the bytes, the text is well-formed, and complete exactly when
    // the bytes were.
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

// Both byte orders of both, surrogate pairs among them, are read in the ECI
// round trip through libzint; here the ill-formed.
TEST(EciTextConverter, IllFormedUtf16And32) {
    const std::pair<int, std::string> illFormed[] = {
        {25, std::string("\xD8\x00\x00\x41", 4)}, // a high surrogate alone
        {33, std::string("\x00\xDC", 2)},         // a low one alone
        {25, std::string("\x00\x41\x00", 3)},     // an odd byte
        {34, std::string("\x00\x11\x00\x00", 4)}, // past U+10FFFF
        {35, std::string("\x00\xD8\x00\x00", 4)}, // a surrogate
        {34, std::string("\x00\x00\x00", 3)},
    };
    for (const auto& [eci, bytes] : illFormed) {
        const Converted c = convert(eci, bytes);
        EXPECT_FALSE(c.complete) << eci;
        EXPECT_NE(c.text.find(FFFD), std::string::npos) << eci;
        EXPECT_TRUE(test::isWellFormedUtf8(c.text));
    }
}

TEST(EciTextConverter, WhatCannotBeReadSaysSo) {
    // Binary data, ECIs that name no character set: one U+FFFD a byte.
    for (const int eci : {899, 14, 19, 36, 1000, 811799, -1}) {
        const Converted c = convert(eci, "AB\xC3\xA9");
        EXPECT_EQ(c.text, repeat(FFFD, 4)) << eci;
        EXPECT_FALSE(c.complete);
    }
    // ASCII has no upper half; ISO/IEC 646's invariant set lacks the twelve
    // national positions.
    EXPECT_EQ(convert(27, "A~\xE9").text, "A~" + FFFD);
    EXPECT_EQ(convert(170, "A-#").text, "A-" + FFFD);
    EXPECT_TRUE(convert(170, "AZaz09 !\"%&'()*+,-./:;<=>?_").complete);
    EXPECT_EQ(convert(3, "\xE9\xFF").text, "\xC3\xA9\xC3\xBF");

    EciTextConverter converter;
    if (!EciTextConverter::hasPlatformCharsets()) {
        EXPECT_FALSE(converter.canConvert(20));
        EXPECT_EQ(convert(20, "AB").text, repeat(FFFD, 2));
        return;
    }
    EXPECT_TRUE(converter.canConvert(20));
    EXPECT_TRUE(converter.canConvert(7));
    const struct {
        int eci;
        std::string bytes;
        std::string text;
    } cases[] = {
        {20,
         "\x93\xFA"
         "A",
         "\xE6\x97\xA5"
         "A"},                            // Shift JIS
        {20, "A\x93", "A" + FFFD},        // a lead byte cut short
        {23, "\x80", "\xE2\x82\xAC"},     // Windows-1252's euro sign
        {23, "\x81", FFFD},               // a byte it leaves undefined
        {28, "\xA4\xA4", "\xE4\xB8\xAD"}, // Big5
        {28,
         "\xFA\x40"
         "A",
         FFFD + "A"},           // no such pair: its trail is no '@'
        {28, "\xC6\xA5", FFFD}, // ETEN kana, private use to glibc
        {32,
         "\x81\x30"
         "5",
         FFFD}, // GB 18030's four bytes, cut short
    };
    for (const auto& c : cases) {
        const Converted converted = convert(c.eci, c.bytes);
        EXPECT_EQ(converted.text, c.text) << c.eci;
        EXPECT_EQ(converted.complete, c.text.find(FFFD) == std::string::npos) << c.eci;
    }
}

} // namespace
} // namespace pdf417
