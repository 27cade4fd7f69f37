#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace pdf417 {

// Codeword readings of one symbol pooled over the frames of a video: every
// cell keeps a few candidate values, each weighted by the confidence of the
// frames that read it. The pool is keyed by the symbol's rows, columns and
// level, not by where it lies, so the symbol may move between frames; a
// reading of another geometry starts the pool afresh.
class CellVotes {
public:
    static constexpr std::uint16_t UNREAD = 0xFFFF;

    // Adds one frame's cells (rows x columns, reading order) and their
    // confidences.
    void add(int rows, int columns, int ecLevel, const std::vector<std::uint16_t>& cells,
             const std::vector<float>& confidence);
    // The pooled reading: each cell's strongest candidate, its confidence
    // the lead over the runner-up per frame pooled.
    void pooled(std::vector<std::uint16_t>& cells, std::vector<float>& confidence) const;
    void clear();

    int frames() const { return frames_; }
    int rows() const { return rows_; }
    int columns() const { return columns_; }
    int ecLevel() const { return ecLevel_; }

private:
    static constexpr std::size_t MAX_CELLS = 928;
    static constexpr std::size_t CANDIDATES = 3;

    struct Candidate {
        std::uint16_t value = UNREAD;
        float weight = 0.0f;
    };

    std::array<std::array<Candidate, CANDIDATES>, MAX_CELLS> cells_{};
    int rows_ = 0;
    int columns_ = 0;
    int ecLevel_ = -1;
    int frames_ = 0;
};

} // namespace pdf417
