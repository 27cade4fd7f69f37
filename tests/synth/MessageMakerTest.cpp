#include "tools/synth/MessageMaker.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace pdf417::synth {
namespace {

bool printable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 32 && c <= 126; });
}

// Each kind keeps its length range and alphabet, the same seed gives the same
// message, and libzint takes every message at the widest layout the corpus
// uses (20 columns, level 5). Byte messages tagged by one binary byte before
// words open that symbol with a byte shift; arbitrary ones never do.
TEST(MessageMaker, KindsKeepTheirLengthsAlphabetsAndEncode) {
    bool highByte = false;
    int tagged = 0;
    for (std::uint64_t seed = 1; seed <= 120; ++seed) {
        for (int k = 0; k < CONTENT_KIND_COUNT; ++k) {
            const auto kind = static_cast<ContentKind>(k);
            Random first(seed);
            Random again(seed);
            const std::string text = MessageMaker::make(kind, first);
            ASSERT_EQ(text, MessageMaker::make(kind, again));
            const std::size_t n = text.size();
            switch (kind) {
            case ContentKind::ShortText:
                EXPECT_TRUE(n >= 4 && n <= 40 && printable(text)) << text;
                EXPECT_NE(text.back(), ' ');
                break;
            case ContentKind::LongText:
                EXPECT_TRUE(n >= 100 && n <= 600 && printable(text)) << text;
                break;
            case ContentKind::Digits:
                EXPECT_TRUE(n >= 8 && n <= 300) << n;
                EXPECT_TRUE(std::all_of(text.begin(), text.end(),
                                        [](char c) { return c >= '0' && c <= '9'; }));
                break;
            case ContentKind::Bytes:
                EXPECT_TRUE(n >= 6 && n <= 150) << n;
                highByte = highByte || std::any_of(text.begin(), text.end(), [](char c) {
                               return static_cast<unsigned char>(c) >= 128;
                           });
                break;
            case ContentKind::Licence:
                EXPECT_TRUE(n >= 250 && n <= 450) << n;
                EXPECT_EQ(text.rfind("@\n\x1e\rANSI 636", 0), 0u);
                EXPECT_EQ(text.back(), '\r');
                EXPECT_GE(std::count(text.begin(), text.end(), '\n'), 17);
                for (const char* element : {"DLDAQ", "\nDCS", "\nDBB", "\nDCGUSA\n"}) {
                    EXPECT_NE(text.find(element), std::string::npos) << element;
                }
                break;
            }
            test::Pdf417Modules symbol;
            std::string error;
            ASSERT_TRUE(test::encodePdf417(text, {20, 5, 0}, symbol, &error))
                << contentName(kind) << ": " << error;
            const bool wordsAfterTag = kind == ContentKind::Bytes &&
                                       static_cast<unsigned char>(text[0]) >= 128 &&
                                       printable(text.substr(1));
            tagged += wordsAfterTag ? 1 : 0;
            EXPECT_EQ(test::opensWithByteShift(symbol, 5), wordsAfterTag) << contentName(kind);
        }
    }
    EXPECT_TRUE(highByte);
    EXPECT_TRUE(tagged > 10 && tagged < 40) << tagged; // one in five of 120
}

} // namespace
} // namespace pdf417::synth
