#include "pdf417scan/reader/Decoder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace pdf417 {
namespace {

using Words = std::vector<unsigned short>;

// Decodes `data` behind a length descriptor that counts it exactly.
std::string decoded(Words data) {
    data.insert(data.begin(), static_cast<unsigned short>(data.size() + 1));
    std::vector<unsigned char> out;
    EXPECT_TRUE(Decoder::decode(data, out));
    return std::string(out.begin(), out.end());
}

// Text values paired into codewords, an odd one padded with 29 as encoders do.
Words text(std::vector<unsigned> values) {
    if (values.size() % 2 != 0) {
        values.push_back(29);
    }
    Words words;
    for (std::size_t i = 0; i < values.size(); i += 2) {
        words.push_back(static_cast<unsigned short>(30 * values[i] + values[i + 1]));
    }
    return words;
}

Words concat(std::initializer_list<Words> parts) {
    Words all;
    for (const Words& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// The five base-900 codewords of six bytes.
Words byteGroup(const unsigned char (&bytes)[6]) {
    std::uint64_t value = 0;
    for (const unsigned char b : bytes) {
        value = value << 8 | b;
    }
    Words words(5);
    for (int i = 4; i >= 0; --i) {
        words[static_cast<std::size_t>(i)] = static_cast<unsigned short>(value % 900);
        value /= 900;
    }
    return words;
}

// 1 is "AB", 2 is "AC": too large a descriptor is cut to the vector, a
// smaller one hides the rest, and 0 or 1 leave nothing.
TEST(Decoder, LengthDescriptorBoundsTheRange) {
    const std::pair<Words, std::string> cases[] = {
        {{}, ""},        {{0}, ""},         {{0, 1, 2}, ""},       {{1}, ""},
        {{1, 5, 6}, ""}, {{2, 1, 2}, "AB"}, {{100, 1, 2}, "ABAC"}, {{65535, 1}, "AB"}};
    for (const auto& [words, expected] : cases) {
        std::vector<unsigned char> out = {1, 2, 3};
        EXPECT_TRUE(Decoder::decode(words, out));
        EXPECT_EQ(std::string(out.begin(), out.end()), expected) << testing::PrintToString(words);
    }
}

// Alpha and Lower, and whole words of every submode, are read in the
// libzint round trip; here the Mixed and Punct tables (libzint may never use
// Punct for a character Mixed also has), the shifts and the odd cases.
TEST(Decoder, TextSubmodes) {
    // Mixed: every character, then back to Alpha.
    std::vector<unsigned> mixed = {28};
    for (unsigned v = 0; v < 25; ++v) {
        mixed.push_back(v);
    }
    mixed.insert(mixed.end(), {26, 28, 0});
    EXPECT_EQ(decoded(text(mixed)), "0123456789&\r\t,:#-.$/+%*=^ A");
    // Mixed to Lower.
    EXPECT_EQ(decoded(text({28, 1, 27, 1})), "1b");

    // Punct, latched through Mixed: every character; 29 goes to Alpha, not
    // back to Mixed.
    std::vector<unsigned> punct = {28, 25};
    for (unsigned v = 0; v < 29; ++v) {
        punct.push_back(v);
    }
    punct.insert(punct.end(), {29, 1});
    EXPECT_EQ(decoded(text(punct)), ";<>@[\\]_`~!\r\t,:\n-.$/\"|*()?{}'B");

    // Shifts return to where they came from.
    EXPECT_EQ(decoded(text({29, 15, 0})), "\nA");           // Alpha, PS
    EXPECT_EQ(decoded(text({27, 27, 0, 1})), "Ab");         // Lower, AS
    EXPECT_EQ(decoded(text({27, 29, 10, 1})), "!b");        // Lower, PS
    EXPECT_EQ(decoded(text({28, 1, 29, 0, 2})), "1;2");     // Mixed, PS
    EXPECT_EQ(decoded(text({27, 27, 29, 4, 2})), "[c");     // Lower, AS, PS
    EXPECT_EQ(decoded(text({27, 27, 27, 2})), "c");         // AS then latch Lower
    EXPECT_EQ(decoded(text({27, 27, 28, 2, 28, 2})), "2C"); // AS then latch Mixed
    // 29 under PunctShift latches Alpha instead of returning to Lower.
    EXPECT_EQ(decoded(text({27, 29, 29, 0})), "A");
    // The standard's pairs: 29 in Alpha then 15 is a line feed.
    EXPECT_EQ(decoded({885, 1}), "\nAB");
    EXPECT_EQ(decoded({837, 1}), "Ab");

    // 900 inside text returns to Alpha.
    EXPECT_EQ(decoded(concat({text({27, 0}), {900}, text({0, 1})})), "aAB");
    // Every entry into text starts in Alpha.
    EXPECT_EQ(decoded(concat({text({27, 0}), {902, 900}, text({0, 1})})), "aAB");
}

TEST(Decoder, ByteShiftInsideText) {
    EXPECT_EQ(decoded({32, 913, 300}), "BC,"); // 300 mod 256 is 44
    EXPECT_EQ(decoded({1, 913, 65535, 1}), "AB\xff"
                                           "AB");
    EXPECT_EQ(decoded({1, 913}), "AB");
    // A shift under PunctShift first returns to Lower.
    EXPECT_EQ(decoded(concat({text({27, 29}), {913, 200}, text({0, 1})})), "\xc8"
                                                                           "ab");
    // Outside text, as the first data codeword, 913 is skipped and the next
    // codeword is text.
    EXPECT_EQ(decoded({913, 65}), "CF");
}

TEST(Decoder, ByteCompaction) {
    EXPECT_EQ(decoded({901, 1, 2, 3, 4, 5}), std::string("\x01\x02\x03\x04\x05"));
    const unsigned char six[6] = {0xde, 0xad, 0xbe, 0xef, 0x00, 0x7f};
    const Words group = byteGroup(six);
    // Five codewords make six bytes only when a sixth byte codeword follows.
    EXPECT_EQ(decoded(concat({{901}, group, {66}})), std::string("\xde\xad\xbe\xef\x00\x7f"
                                                                 "B",
                                                                 7));
    std::string singles;
    for (const unsigned short c : group) {
        singles += static_cast<char>(c & 0xff);
    }
    EXPECT_EQ(decoded(concat({{901}, group})), singles);
    EXPECT_EQ(decoded(concat({{901}, group, group, {900}, text({0})})),
              std::string("\xde\xad\xbe\xef\x00\x7f", 6) + singles + "A");
    EXPECT_EQ(decoded({901, 300}), ",");
    EXPECT_EQ(decoded({901}), "");

    // 924: only whole groups; 7 codewords give 6 bytes.
    EXPECT_EQ(decoded(concat({{924}, group, {1, 2}})), std::string("\xde\xad\xbe\xef\x00\x7f", 6));
    EXPECT_EQ(decoded(concat({{924}, group, group})),
              std::string("\xde\xad\xbe\xef\x00\x7f\xde\xad\xbe\xef\x00\x7f", 12));
    EXPECT_EQ(decoded({924, 1, 2, 3, 4}), "");
    EXPECT_EQ(decoded(concat({{924}, group, {1, 2, 900, 1}})),
              std::string("\xde\xad\xbe\xef\x00\x7f", 6) + "AB");
}

TEST(Decoder, NumericCompaction) {
    // The top digit 0 is not the leading 1, so both digits stay.
    EXPECT_EQ(decoded({902, 1}), "01");
    EXPECT_EQ(decoded({902, 17}), "7");
    EXPECT_EQ(decoded({902}), "");

    // Whole and partial groups of libzint's numeric compaction are read in
    // the round trip. Counts past a group are held to its 15 codewords.
    std::array<unsigned short, 15> group{};
    std::vector<unsigned char> out, held;
    Decoder::base900toBase10(group, 0, out);
    EXPECT_TRUE(out.empty());
    std::mt19937 rng(4);
    for (auto& codeword : group) {
        codeword = static_cast<unsigned short>(1 + rng() % 899);
    }
    Decoder::base900toBase10(group, 15, out);
    Decoder::base900toBase10(group, 1000, held);
    EXPECT_GE(out.size(), 41u); // 42 to 45 digits, less a leading 1
    EXPECT_EQ(out, held);
    // Out-of-range values convert without overflow: 15 × 65535 stays within
    // the 64 digits.
    group.fill(65535);
    out.clear();
    Decoder::base900toBase10(group, 15, out);
    EXPECT_EQ(out.size(), 46u);
}

TEST(Decoder, UninterpretedCodewordsAreSkipped) {
    for (unsigned short c = 903; c <= 928; ++c) {
        if (c == 913 || c == 924) {
            continue;
        }
        // Text restarts in Alpha after the skipped codeword.
        EXPECT_EQ(decoded(concat({text({27, 0}), {c}, text({0, 1})})), "aAB") << c;
    }
    // A Macro PDF417 block at the start: its fields come out as text.
    EXPECT_EQ(decoded({928, 1, 2, 3}), "ABACAD");
    // So do ECI parameters.
    EXPECT_EQ(decoded({927, 26, 901, 65}), "A A");
    EXPECT_EQ(decoded({929, 930, 65535, 1}), "AB");
}

// Any codewords at all: decode returns true, stays within the descriptor's
// range and writes at most three bytes per codeword; each sub-decoder stops
// at the end or at a codeword it does not handle.
TEST(Decoder, AnySequenceIsSafe) {
    std::mt19937 rng(99);
    const unsigned short specials[] = {900, 901, 902, 913, 922, 923, 924, 925, 926, 927, 928, 929};
    auto randomWord = [&]() -> unsigned short {
        switch (rng() % 4) {
        case 0:
            return specials[rng() % std::size(specials)];
        case 1:
            return static_cast<unsigned short>(rng() % 65536);
        default:
            return static_cast<unsigned short>(rng() % 900);
        }
    };
    for (int round = 0; round < 20000; ++round) {
        Words words(rng() % 64);
        for (auto& w : words) {
            w = randomWord();
        }
        if (!words.empty() && rng() % 2 == 0) {
            words[0] = static_cast<unsigned short>(rng() % (words.size() + 3));
        }
        std::vector<unsigned char> out;
        ASSERT_TRUE(Decoder::decode(words, out));
        const std::size_t limit = words.empty() ? 0 : std::min<std::size_t>(words[0], words.size());
        ASSERT_LE(out.size(), 3 * (limit > 0 ? limit - 1 : 0));
        // Nothing past the descriptor's range counts.
        if (limit > 0) {
            Words cut(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(limit));
            std::vector<unsigned char> again;
            Decoder::decode(cut, again);
            ASSERT_EQ(out, again);
        }

        for (int mode = 0; mode < 4; ++mode) {
            Decoder::iterator it = words.begin();
            const Decoder::iterator end = words.end();
            std::vector<unsigned char> sub;
            switch (mode) {
            case 0:
                Decoder::decodeTextCompaction(it, end, sub);
                ASSERT_TRUE(it == end || (*it > 899 && *it != 900 && *it != 913));
                break;
            case 1:
                Decoder::decodeByteCompaction(it, end, sub);
                ASSERT_TRUE(it == end || *it > 899);
                break;
            case 2:
                Decoder::decodeByteCompaction6(it, end, sub);
                ASSERT_TRUE(it == end || *it > 899);
                break;
            default:
                Decoder::decodeNumericCompaction(it, end, sub);
                ASSERT_TRUE(it == end || *it > 899);
                break;
            }
            ASSERT_LE(sub.size(), 3 * words.size());
        }
    }
}

} // namespace
} // namespace pdf417
