#include "pdf417scan/reader/Decoder.h"

#include "tests/support/DataCodewords.h"
#include "tests/support/MessageSymbol.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

namespace pdf417 {
namespace {

using test::concat;
using test::MessageKind;
using Words = std::vector<unsigned short>;

std::string decoded(const Words& words) {
    std::vector<unsigned char> out = {'x'};
    EXPECT_TRUE(Decoder::decode(words, out));
    return std::string(out.begin(), out.end());
}

// Text, digits (short runs stay text, long ones become numeric compaction),
// bytes (every third length a multiple of 6, which libzint writes after 924)
// and mixtures of the three, encoded by libzint and read back from the
// symbol's bar patterns, come back unchanged.
TEST(Decoder, LibzintSymbolsDecodeToTheirMessages) {
    std::mt19937 rng(417);
    const MessageKind kinds[] = {MessageKind::Text, MessageKind::Digits, MessageKind::Bytes};
    std::map<std::string, int> seen;
    for (int i = 0; i < 600; ++i) {
        std::string text;
        if (i % 4 == 3) {
            for (std::size_t part = 2 + rng() % 4; part > 0; --part) {
                text += test::randomMessage(kinds[rng() % 3], 1 + rng() % 40, rng);
            }
        } else {
            const std::size_t lengths[] = {1 + rng() % 150, 1 + rng() % (i % 8 == 1 ? 20 : 250),
                                           i % 3 == 0 ? 6 * (1 + rng() % 20) : 1 + rng() % 120};
            text = test::randomMessage(kinds[i % 4], lengths[i % 4], rng);
        }
        Words words = test::zintDataCodewords(
            text, {1 + static_cast<int>(rng() % 12), static_cast<int>(rng() % 5)});
        ASSERT_FALSE(words.empty()) << i;
        for (const unsigned short mode : {901, 924, 902, 913}) {
            seen[std::to_string(mode)] += std::count(words.begin() + 1, words.end(), mode) > 0;
        }
        seen["mixed+punct text"] +=
            text.find_first_of("&#+%=^") != std::string::npos &&
            text.find_first_of(";<>@[\\]_`~!\"|(){}?'") != std::string::npos;
        if (words.size() > 1 && words[1] == 913) {
            // libzint opens with a byte shift when the message starts with
            // one byte that text cannot carry and text follows. This decoder
            // reads 913 only inside text, so there the shift is skipped and
            // the byte is read as text. Everything else must still be right:
            // behind a text latch the same codewords decode to the message.
            ++seen["leading 913"];
            EXPECT_NE(decoded(words), text) << i;
            words.insert(words.begin() + 1, 900);
            ++words[0];
        }
        EXPECT_EQ(decoded(words), text) << i;
    }
    // The corpus reaches every mode and submode.
    const std::pair<const char*, int> least[] = {{"901", 60},        {"924", 30},
                                                 {"902", 60},        {"913", 20},
                                                 {"leading 913", 1}, {"mixed+punct text", 60}};
    for (const auto& [what, count] : least) {
        EXPECT_GE(seen[what], count) << what;
    }
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

// What no encoder writes and the round trip cannot reach: the descriptor's
// bounds, the submodes' odd corners, byte groups cut short, codewords this
// decoder does not interpret.
TEST(Decoder, HandCases) {
    // The descriptor counts itself; 1 is "AB", 2 is "AC".
    const std::pair<Words, std::string> whole[] = {
        {{}, ""},        {{0}, ""},         {{0, 1, 2}, ""},       {{1}, ""},
        {{1, 5, 6}, ""}, {{2, 1, 2}, "AB"}, {{100, 1, 2}, "ABAC"}, {{65535, 1}, "AB"}};
    for (const auto& [words, expected] : whole) {
        EXPECT_EQ(decoded(words), expected) << testing::PrintToString(words);
    }
    const std::string group = "\x3b\xac\x5b\xca\xd6\xc5"; // 100, 2, 3, 4, 5 in base 900
    const std::pair<Words, std::string> data[] = {
        // Under AlphaShift, Alpha's own shift and latches apply.
        {text({27, 27, 29, 4, 2}), "[c"},
        {text({27, 27, 27, 2}), "c"},
        {text({27, 27, 28, 2, 28, 2}), "2C"},
        // 29 under PunctShift, or in Punct latched through Mixed, latches
        // Alpha instead of returning.
        {text({27, 29, 29, 0}), "A"},
        {text({28, 25, 0, 29, 1}), ";B"},
        // 900 inside text returns to Alpha; every entry into text starts there.
        {concat({text({27, 0}), {900}, text({0, 1})}), "aAB"},
        {concat({text({27, 0}), {902, 900}, text({0, 1})}), "aAB"},
        // Byte shift: the low 8 bits; under PunctShift it first returns.
        {{32, 913, 300}, "BC,"},
        {{1, 913, 65535, 1},
         "AB\xff"
         "AB"},
        {{1, 913}, "AB"},
        {concat({text({27, 29}), {913, 200}, text({0, 1})}), "\xc8"
                                                             "ab"},
        // A byte codeword keeps its low 8 bits; 924 takes whole groups only.
        {{901, 300}, ","},
        {{901}, ""},
        {{924, 100, 2, 3, 4, 5, 1, 2}, group},
        {{924, 1, 2, 3, 4}, ""},
        {{924, 100, 2, 3, 4, 5, 1, 2, 900, 1}, group + "AB"},
        // The top digit 0 is not the leading 1, so both digits stay.
        {{902, 1}, "01"},
        {{902}, ""},
        // Macro PDF417 fields and ECI parameters come out as text.
        {{928, 1, 2, 3}, "ABACAD"},
        {{927, 26, 901, 65}, "A A"},
        {{929, 930, 65535, 1}, "AB"},
    };
    for (const auto& [words, expected] : data) {
        Words all = words;
        all.insert(all.begin(), static_cast<unsigned short>(words.size() + 1));
        EXPECT_EQ(decoded(all), expected) << testing::PrintToString(words);
    }
    // Any other codeword of 900 and up is skipped, and text restarts in Alpha.
    for (unsigned short c = 903; c <= 928; ++c) {
        if (c != 913 && c != 924) {
            EXPECT_EQ(decoded(concat({{4}, text({27, 0}), {c}, text({0, 1})})), "aAB") << c;
        }
    }

    // Counts past a numeric group are held to its 15 codewords, and values
    // out of range convert without overflow: 15 x 65535 fits the 64 digits.
    std::array<unsigned short, 15> numbers{};
    numbers.fill(65535);
    std::vector<unsigned char> out, held;
    Decoder::base900toBase10(numbers, 0, out);
    EXPECT_TRUE(out.empty());
    Decoder::base900toBase10(numbers, 15, out);
    Decoder::base900toBase10(numbers, 1000, held);
    EXPECT_EQ(out.size(), 46u);
    EXPECT_EQ(out, held);
}

} // namespace
} // namespace pdf417
