// From a grid of read cells to the message: every level's capacity, unread
// cells as erasures, doubtful cells erased on a retry, and nothing wrong
// taken past the capacity.
#include "pdf417scan/reader/SymbolDecoder.h"
#include "pdf417scan/ecc/RS929Encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace pdf417 {
namespace {

struct Grid {
    std::vector<std::uint16_t> cells;
    std::string message;
    int rows = 0;
    int columns = 0;
};

// A symbol of rows x columns at `level` holding random capitals and spaces
// in text compaction (two to a codeword), padded as encoders pad.
Grid makeGrid(std::mt19937& rng, int rows, int columns, unsigned level) {
    Grid g;
    g.rows = rows;
    g.columns = columns;
    const std::size_t n = static_cast<std::size_t>(rows * columns);
    if (n <= _ecs[level]) {
        ADD_FAILURE() << "no room for data";
        return g;
    }
    const std::size_t dataLength = n - static_cast<std::size_t>(_ecs[level]);
    const std::size_t textLength = (dataLength - 1) * 3 / 4;
    std::vector<G929Value> data{G929Value(static_cast<unsigned short>(dataLength))};
    for (std::size_t i = 1; i < dataLength; ++i) {
        if (i > textLength) {
            data.push_back(G929Value(900));
            continue;
        }
        const unsigned high = rng() % 27, low = rng() % 27;
        data.push_back(G929Value(static_cast<unsigned short>(30 * high + low)));
        for (const unsigned v : {high, low}) {
            g.message += v == 26 ? ' ' : static_cast<char>('A' + v);
        }
    }
    std::vector<G929Value> word;
    RS929Encoder::encode(data, word, level);
    for (const G929Value v : word) {
        g.cells.push_back(v.value());
    }
    return g;
}

std::vector<std::size_t> distinctPlaces(std::mt19937& rng, std::size_t n, std::size_t count) {
    std::vector<std::size_t> all(n);
    for (std::size_t i = 0; i < n; ++i) {
        all[i] = i;
    }
    std::shuffle(all.begin(), all.end(), rng);
    all.resize(count);
    return all;
}

std::string text(const DecodedSymbol& s) {
    return std::string(s.message.bytes.begin(), s.message.bytes.end());
}

// Within half the capacity every level from 2 reads, counting what it
// corrected. Levels 0 and 1 have too few check codewords to confirm any
// correction: they read only an undamaged grid.
TEST(SymbolDecoder, EveryLevelWithinHalfItsCapacity) {
    std::mt19937 rng(11);
    SymbolDecoder decoder;
    const int shapes[9][2] = {{3, 2},  {3, 3},  {4, 4},   {6, 5},  {10, 6},
                              {15, 8}, {30, 8}, {30, 15}, {20, 30}};
    for (unsigned level = 0; level <= 8; ++level) {
        const std::size_t budget = _ecs[level] / 2;
        for (int trial = 0; trial < 6; ++trial) {
            const Grid g = makeGrid(rng, shapes[level][0], shapes[level][1], level);
            // Undamaged, then erasures alone, then errors and erasures.
            const std::size_t erasures = trial == 0       ? 0
                                         : trial % 2 == 1 ? budget
                                                          : rng() % (budget - 1 + (budget < 2));
            const std::size_t errors = trial == 0 || trial % 2 == 1
                                           ? 0
                                           : std::max<std::size_t>(1, (budget - erasures) / 2);
            std::vector<std::uint16_t> cells = g.cells;
            const std::vector<std::size_t> places =
                distinctPlaces(rng, cells.size(), erasures + errors);
            for (std::size_t i = 0; i < places.size(); ++i) {
                std::uint16_t& cell = cells[places[i]];
                cell = i < erasures ? SymbolDecoder::UNREAD
                                    : static_cast<std::uint16_t>((cell + 1 + rng() % 928) % 929);
            }
            DecodedSymbol out;
            SCOPED_TRACE("level " + std::to_string(level) + " erasures " +
                         std::to_string(erasures) + " errors " + std::to_string(errors));
            const bool read =
                decoder.decode(cells, {}, g.rows, g.columns, static_cast<int>(level), out);
            ASSERT_EQ(read, level >= 2 || erasures + errors == 0);
            if (read) {
                EXPECT_EQ(text(out), g.message);
                EXPECT_EQ(out.errors, static_cast<int>(errors));
                EXPECT_EQ(out.erasures, static_cast<int>(erasures));
                EXPECT_EQ(out.rows, g.rows);
                EXPECT_EQ(out.dataColumns, g.columns);
                EXPECT_EQ(out.ecLevel, static_cast<int>(level));
            }
        }
    }
}

// Misread cells the reader was unsure of are erased on a retry: twice as
// many of them are repaired as errors alone. Sure cells are never erased,
// so the same damage marked sure does not read.
TEST(SymbolDecoder, DoubtfulCellsBecomeErasures) {
    std::mt19937 rng(12);
    SymbolDecoder decoder;
    for (int trial = 0; trial < 20; ++trial) {
        const unsigned level = 3 + static_cast<unsigned>(trial % 3);
        const Grid g = makeGrid(rng, 15, 6 + trial % 4, level);
        const std::size_t k = _ecs[level];
        const std::size_t n = g.cells.size();
        std::vector<std::uint16_t> cells = g.cells;
        std::vector<float> confidence(n, 0.9f);
        // Beyond k / 2 errors, but within what erasing up to 16 of them leaves.
        const std::size_t misread = k / 2 + 1 + rng() % 3;
        for (const std::size_t p : distinctPlaces(rng, n, misread)) {
            cells[p] = static_cast<std::uint16_t>((cells[p] + 1 + rng() % 928) % 929);
            confidence[p] = 0.1f + 0.5f * static_cast<float>(rng() % 100) / 100.0f;
        }
        DecodedSymbol out;
        SCOPED_TRACE("trial " + std::to_string(trial));
        ASSERT_TRUE(
            decoder.decode(cells, confidence, g.rows, g.columns, static_cast<int>(level), out));
        EXPECT_EQ(text(out), g.message);
        EXPECT_EQ(out.errors + out.erasures, static_cast<int>(misread));

        std::fill(confidence.begin(), confidence.end(), 0.9f);
        EXPECT_FALSE(
            decoder.decode(cells, confidence, g.rows, g.columns, static_cast<int>(level), out));
    }
}

// A grid that disagrees with its geometry is refused before any decoding.
TEST(SymbolDecoder, RefusesGeometryItCannotHold) {
    std::mt19937 rng(13);
    SymbolDecoder decoder;
    const Grid g = makeGrid(rng, 4, 4, 2);
    DecodedSymbol out;
    EXPECT_TRUE(decoder.decode(g.cells, {}, 4, 4, 2, out));
    EXPECT_FALSE(decoder.decode(g.cells, {}, 4, 4, 9, out));
    EXPECT_FALSE(decoder.decode(g.cells, {}, 4, 4, -1, out));
    EXPECT_FALSE(decoder.decode(g.cells, {}, 2, 8, 2, out));
    EXPECT_FALSE(decoder.decode(g.cells, {}, 3, 5, 2, out));
    EXPECT_FALSE(decoder.decode(g.cells, std::vector<float>(15, 1.0f), 4, 4, 2, out));
    // Level 3's sixteen check codewords fill a 4 x 4 grid.
    EXPECT_FALSE(decoder.decode(g.cells, {}, 4, 4, 3, out));
}

} // namespace
} // namespace pdf417
