#pragma once

#include "pdf417scan/sampling/CodeWord.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pdf417 {

// The competing readings of one symbol cell, N candidates with a vote count
// each.
template <std::size_t N>
class MultiCodeWord {
public:
    void reset() {
        for (ScoredCodeWord& slot : slots_) {
            slot.reset();
        }
    }

    // One vote for cw. A new candidate takes the first empty slot or, in a
    // full cell, evicts the first candidate with the fewest votes, whatever
    // that count was. Counts saturate at 65535.
    void add(CodeWord cw) {
        if (!cw.isValid()) {
            return;
        }
        constexpr std::uint16_t MAX_VOTES = 65535;
        std::size_t weakest = N;
        std::uint16_t fewest = MAX_VOTES;
        for (std::size_t i = 0; i < N; ++i) {
            ScoredCodeWord& slot = slots_[i];
            if (slot.codeWord == cw) {
                if (slot.votes < MAX_VOTES) {
                    ++slot.votes;
                }
                return;
            }
            if (slot.votes < fewest) {
                fewest = slot.votes;
                weakest = i;
            }
        }
        // Every slot saturated with other candidates: none is weaker than the
        // newcomer could ever become, so the vote is dropped.
        if (weakest == N) {
            return;
        }
        slots_[weakest].codeWord = cw;
        slots_[weakest].votes = 1;
    }

    // The candidate with the most votes (the lower slot on a tie), scored
    // votes / (all votes + 1): one lone vote scores 0.5, and nothing reaches
    // 1.0. An empty cell gives the invalid codeword with score 0.
    CodeWordInfo getBest() const {
        std::uint32_t sum = 0;
        std::uint16_t most = 0;
        CodeWord best;
        for (const ScoredCodeWord& slot : slots_) {
            sum += slot.votes;
            if (slot.votes > most) {
                most = slot.votes;
                best = slot.codeWord;
            }
        }
        if (most == 0) {
            return CodeWordInfo();
        }
        return CodeWordInfo(best, static_cast<float>(most) / static_cast<float>(sum + 1));
    }

    const std::array<ScoredCodeWord, N>& slots() const { return slots_; }

private:
    std::array<ScoredCodeWord, N> slots_{};
};

// The vote table of one symbol: up to 28 data columns by 90 rows, eight
// candidates per cell, held by value so that sampling never allocates. The
// width counts the two row-indicator columns as well.
class MultiTable {
public:
    static constexpr std::uint64_t MAX_WIDTH = 30;
    static constexpr std::uint64_t MAX_HEIGHT = 90;
    static constexpr std::uint8_t MAX_ECL = 8;
    static constexpr std::size_t CELL_COUNT = (MAX_WIDTH - 2) * MAX_HEIGHT;

    // The symbol's data and error correction codewords in reading order, the
    // last ecCount of them being the error correction.
    struct TableData {
        std::vector<CodeWordInfo> codeWords;
        std::uint64_t ecCount = 0;
    };

    MultiTable() = default;

    // Takes a new geometry (clamped to 30 × 90, level 8) and empties its cells.
    void clear(unsigned long width, unsigned long height, unsigned char ecl);
    // Empties the cells of the current geometry only.
    void clear();

    // One vote for the data cell (column, row), filed under the row's cluster
    // whatever the recogniser said. False, with nothing changed, for the
    // row-indicator columns and positions outside the table.
    bool add(unsigned long column, unsigned long row, unsigned short value);

    // The best candidate of a data cell. The two row-indicator columns are
    // computed from the geometry with score 1.0; outside the table the
    // invalid codeword with score 0.
    CodeWordInfo get(unsigned long column, unsigned long row) const;

    // The codewords the symbol length descriptor (cell 1, 0) asks for plus the
    // error correction codewords, or the whole table when the descriptor was
    // never read. False on a degenerate geometry or an impossible length.
    bool getData(TableData& data) const;

    std::uint64_t width() const { return width_; }
    std::uint64_t height() const { return height_; }
    std::uint8_t ecl() const { return ecl_; }

private:
    std::size_t index(unsigned long column, unsigned long row) const {
        return static_cast<std::size_t>(row * (width_ - 2) + (column - 1));
    }

    std::array<MultiCodeWord<8>, CELL_COUNT> cells_{};
    std::uint64_t width_ = 0;
    std::uint64_t height_ = 0;
    std::uint8_t ecl_ = 0;
};

} // namespace pdf417
