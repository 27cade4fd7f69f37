#include "tools/synth/MessageMaker.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace pdf417::synth {
namespace {

bool printable(char c) {
    return c >= 32 && c <= 126;
}
bool digit(char c) {
    return c >= '0' && c <= '9';
}
bool anyByte(char) {
    return true;
}

// Each kind keeps its length range and alphabet, the same seed gives the same
// message, and libzint takes every message at the widest layout the corpus
// uses (20 columns, level 5). Byte messages tagged by one binary byte before
// words open that symbol with a byte shift; arbitrary ones never do.
TEST(MessageMaker, KindsKeepTheirLengthsAlphabetsAndEncode) {
    const struct {
        std::size_t least, most;
        bool (*allowed)(char);
    } kinds[] = {{4, 40, printable},
                 {100, 600, printable},
                 {8, 300, digit},
                 {6, 150, anyByte},
                 {250, 450, anyByte}};
    static_assert(std::size(kinds) == CONTENT_KIND_COUNT);
    bool highByte = false;
    int tagged = 0;
    for (std::uint64_t seed = 1; seed <= 120; ++seed) {
        for (int k = 0; k < CONTENT_KIND_COUNT; ++k) {
            const auto kind = static_cast<ContentKind>(k);
            Random first(seed), again(seed);
            const std::string text = MessageMaker::make(kind, first);
            ASSERT_EQ(text, MessageMaker::make(kind, again));
            EXPECT_TRUE(text.size() >= kinds[k].least && text.size() <= kinds[k].most) << text;
            EXPECT_TRUE(std::all_of(text.begin(), text.end(), kinds[k].allowed)) << text;
            if (kind == ContentKind::ShortText) {
                EXPECT_NE(text.back(), ' ');
            } else if (kind == ContentKind::Bytes) {
                highByte = highByte || std::any_of(text.begin(), text.end(), [](char c) {
                               return static_cast<unsigned char>(c) >= 128;
                           });
            } else if (kind == ContentKind::Licence) {
                EXPECT_EQ(text.rfind("@\n\x1e\rANSI 636", 0), 0u);
                EXPECT_EQ(text.back(), '\r');
                EXPECT_GE(std::count(text.begin(), text.end(), '\n'), 17);
                for (const char* element : {"DLDAQ", "\nDCS", "\nDBB", "\nDCGUSA\n"}) {
                    EXPECT_NE(text.find(element), std::string::npos) << element;
                }
            }
            test::Pdf417Modules symbol;
            std::string error;
            ASSERT_TRUE(test::encodePdf417(text, {20, 5, 0}, symbol, &error))
                << contentName(kind) << ": " << error;
            const bool wordsAfterTag = kind == ContentKind::Bytes &&
                                       static_cast<unsigned char>(text[0]) >= 128 &&
                                       std::all_of(text.begin() + 1, text.end(), printable);
            tagged += wordsAfterTag ? 1 : 0;
            EXPECT_EQ(test::opensWithByteShift(symbol, 5), wordsAfterTag) << contentName(kind);
        }
    }
    EXPECT_TRUE(highByte);
    EXPECT_TRUE(tagged > 10 && tagged < 40) << tagged; // one in five of 120
}

} // namespace
} // namespace pdf417::synth
