// The reader's state across decode() calls (the vote table and the failure
// count) and its result codes, on rendered libzint symbols damaged on purpose.
#include "pdf417scan/reader/PDF417Reader.h"

#include "pdf417scan/ecc/RS929Encoder.h"
#include "pdf417scan/imaging/Image.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/SymbolCase.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace pdf417::test {
namespace {

constexpr int kRows = 12;
constexpr int kColumns = 4;
constexpr int kLevel = 1; // four correction codewords: half the rows lost is far too many
const std::string kMessage = "VOTES FROM TWO ATTEMPTS ADD UP";

Pdf417Modules symbol() {
    Pdf417Modules s;
    EXPECT_TRUE(encodePdf417(kMessage, {kColumns, kLevel, kRows}, s));
    return s;
}

// The symbol with the data codewords of rows [from, to) wiped out.
Pdf417Modules damaged(int from, int to) {
    Pdf417Modules s = symbol();
    for (int row = from; row < to; ++row) {
        for (int column = 1; column <= kColumns; ++column) {
            EXPECT_TRUE(drawCodeword(s, row, column, -1));
        }
    }
    return s;
}

using Picture = SymbolRenderer::Frame;

Picture render(const Pdf417Modules& s, double rotation = 0.0) {
    return renderCase(s, {s.rows, s.dataColumns, 3.0, rotation});
}

std::string text(const std::vector<unsigned char>& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

// Number of data cells holding any vote.
int votedCells(const MultiTable& table) {
    int voted = 0;
    for (unsigned long row = 0; row < table.height(); ++row) {
        for (unsigned long column = 1; column + 1 < table.width(); ++column) {
            voted += table.get(column, row).codeWord.isValid() ? 1 : 0;
        }
    }
    return voted;
}

// Twenty readings that fail at correction count up; readings that fail at
// detection, or at sampling, neither count nor touch the votes; the next
// reading that gets past cutting starts from an empty table, so its votes
// equal the first reading's, or, if its sampling then fails, leaves none.
TEST(PDF417ReaderState, TwentyCountedFailuresClearTheVotesBeforeSampling) {
    Picture failing = render(damaged(0, kRows / 2));
    Image image = failing.image();
    std::vector<unsigned char> blank(200 * 100, 128);
    Image empty(blank.data(), 200, 100);
    Pdf417Modules wide;
    ASSERT_TRUE(encodePdf417(kMessage, {29, 2, 12}, wide));
    Picture tooWide = render(wide);
    Image tooWideImage = tooWide.image();

    auto reader = std::make_unique<PDF417Reader>();
    std::vector<unsigned char> out;
    const auto score = [&] { return reader->votes().get(2, kRows - 1).score; };
    ASSERT_EQ(reader->decode(image, out), PDF417Reader::CorrectionFailed);
    const float first = score();
    ASSERT_GT(first, 0.0f);
    float last = first;
    for (std::uint32_t failures = 2; failures <= 20; ++failures) {
        ASSERT_EQ(reader->decode(image, out), PDF417Reader::CorrectionFailed);
        EXPECT_EQ(reader->failureCount(), failures);
        EXPECT_GT(score(), last);
        last = score();
        if (failures == 10 || failures == 20) {
            EXPECT_EQ(reader->decode(empty, out), PDF417Reader::NoSymbol);
            EXPECT_EQ(reader->failureCount(), failures);
            EXPECT_EQ(score(), last);
        }
        if (failures == 10) {
            EXPECT_EQ(reader->decode(tooWideImage, out), PDF417Reader::NoCodewords);
            EXPECT_EQ(reader->failureCount(), failures);
            EXPECT_EQ(score(), last);
        }
    }
    ASSERT_EQ(reader->decode(image, out), PDF417Reader::CorrectionFailed);
    EXPECT_EQ(reader->failureCount(), 1u);
    EXPECT_EQ(score(), first);

    for (std::uint32_t failures = 2; failures <= 20; ++failures) {
        ASSERT_EQ(reader->decode(image, out), PDF417Reader::CorrectionFailed);
    }
    ASSERT_EQ(reader->failureCount(), 20u);
    EXPECT_EQ(reader->decode(tooWideImage, out), PDF417Reader::NoCodewords);
    EXPECT_EQ(reader->failureCount(), 0u);
    EXPECT_EQ(votedCells(reader->votes()), 0);
}

// A frame for each way a reading can end. Result 2 has none: the cutter
// refuses only corners the detector never hands over (not finite, or with no
// scan line crossing a boundary); the cutter's own tests cover its refusals.
TEST(PDF417ReaderResults, OneFramePerStage) {
    std::vector<unsigned char> out{'x'};
    const auto decode = [&](Picture&& picture, std::uint32_t failures) {
        auto reader = std::make_unique<PDF417Reader>();
        const int result = reader->decode(picture.image(), out);
        EXPECT_EQ(reader->failureCount(), failures);
        EXPECT_TRUE(result == PDF417Reader::Success || out.empty());
        return result;
    };

    Picture blank;
    blank.width = blank.height = 200;
    blank.pixels.assign(200 * 200, 200);
    EXPECT_EQ(decode(std::move(blank), 0), PDF417Reader::NoSymbol);

    // 29 data columns: the left indicators say 31 columns, which no table
    // holds, so sampling fails, which is not counted.
    Pdf417Modules wide;
    ASSERT_TRUE(encodePdf417(kMessage, {29, 2, 12}, wide));
    EXPECT_EQ(decode(render(wide), 0), PDF417Reader::NoCodewords);

    // A length descriptor beyond the symbol's capacity: extraction fails,
    // which is counted.
    Pdf417Modules longer = symbol();
    ASSERT_TRUE(drawCodeword(longer, 0, 1, 900));
    EXPECT_EQ(decode(render(longer), 1), PDF417Reader::NoCodewords);

    EXPECT_EQ(decode(render(damaged(0, kRows / 2)), 1), PDF417Reader::CorrectionFailed);

    // A success leaves no votes behind: the same symbol reads again.
    auto reader = std::make_unique<PDF417Reader>();
    Picture good = render(symbol());
    for (int twice = 0; twice < 2; ++twice) {
        EXPECT_EQ(reader->decode(good.image(), out), PDF417Reader::Success);
        EXPECT_EQ(text(out), kMessage);
        EXPECT_EQ(votedCells(reader->votes()), 0);
    }

    // A blank cell is an erasure at its own place in the word. Level 1
    // affords one erasure and no error: the cell named at any other place
    // would be an error there besides an erasure elsewhere, and refused.
    for (const auto& [row, column] : {std::pair{0, 2}, {7, 4}, {11, 1}}) {
        Pdf417Modules blot = symbol();
        ASSERT_TRUE(drawCodeword(blot, row, column, -1));
        EXPECT_EQ(decode(render(blot), 0), PDF417Reader::Success) << row << ", " << column;
        EXPECT_EQ(text(out), kMessage);
    }
}

// A symbol whose length descriptor is 1 carries no data: the reading succeeds
// with nothing in it. libzint draws no symbol
// without data, so a 9 x 1 symbol of level 1 is redrawn as level 2: the
// descriptor and eight correction codewords.
TEST(PDF417ReaderResults, DescriptorOfOneSucceedsWithNoBytes) {
    Pdf417Modules s;
    ASSERT_TRUE(encodePdf417("A", {1, 1, 9}, s));
    for (int row = 1; row < 9; row += 3) {
        // Rows of cluster 3 carry 3 x level + (rows - 1) mod 3 on the left,
        // the next rows (cluster 6) on the right.
        ASSERT_TRUE(drawCodeword(s, row, 0, 30 * (row / 3) + 3 * 2 + 8 % 3));
        ASSERT_TRUE(drawCodeword(s, row + 1, 2, 30 * (row / 3) + 3 * 2 + 8 % 3));
    }
    std::vector<G929Value> word;
    ASSERT_TRUE(RS929Encoder::encode({G929Value(1)}, word, 2));
    ASSERT_EQ(word.size(), 9u);
    for (std::size_t row = 0; row < word.size(); ++row) {
        ASSERT_TRUE(drawCodeword(s, static_cast<int>(row), 1, word[row].value()));
    }
    Picture frame = render(s);
    auto reader = std::make_unique<PDF417Reader>();
    std::vector<unsigned char> out{'x'};
    EXPECT_EQ(reader->decode(frame.image(), out), PDF417Reader::Success);
    EXPECT_TRUE(out.empty());
}

} // namespace
} // namespace pdf417::test
