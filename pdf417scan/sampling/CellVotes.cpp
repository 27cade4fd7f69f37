#include "pdf417scan/sampling/CellVotes.h"

#include <algorithm>

namespace pdf417 {

void CellVotes::add(int rows, int columns, int ecLevel, const std::vector<std::uint16_t>& cells,
                    const std::vector<float>& confidence) {
    const std::size_t count = static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
    if (rows <= 0 || columns <= 0 || count > MAX_CELLS || cells.size() != count ||
        confidence.size() != count) {
        return;
    }
    if (rows != rows_ || columns != columns_ || ecLevel != ecLevel_) {
        clear();
        rows_ = rows;
        columns_ = columns;
        ecLevel_ = ecLevel;
    }
    ++frames_;
    for (std::size_t i = 0; i < count; ++i) {
        if (cells[i] == UNREAD || !(confidence[i] > 0.0f)) {
            continue;
        }
        auto& slots = cells_[i];
        // The same value gains weight; a new one takes the weakest slot if
        // it is weaker still.
        Candidate* weakest = &slots[0];
        bool found = false;
        for (Candidate& c : slots) {
            if (c.value == cells[i]) {
                c.weight += confidence[i];
                found = true;
                break;
            }
            if (c.weight < weakest->weight) {
                weakest = &c;
            }
        }
        if (!found && weakest->weight < confidence[i]) {
            weakest->value = cells[i];
            weakest->weight = confidence[i];
        }
    }
}

void CellVotes::pooled(std::vector<std::uint16_t>& cells, std::vector<float>& confidence) const {
    const std::size_t count = static_cast<std::size_t>(rows_) * static_cast<std::size_t>(columns_);
    cells.assign(count, UNREAD);
    confidence.assign(count, 0.0f);
    if (frames_ == 0) {
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const auto& slots = cells_[i];
        const Candidate* best = &slots[0];
        for (const Candidate& c : slots) {
            if (c.weight > best->weight) {
                best = &c;
            }
        }
        if (best->value == UNREAD) {
            continue;
        }
        float second = 0.0f;
        for (const Candidate& c : slots) {
            if (&c != best) {
                second = std::max(second, c.weight);
            }
        }
        cells[i] = best->value;
        confidence[i] = std::min(1.0f, (best->weight - second) / static_cast<float>(frames_));
    }
}

void CellVotes::clear() {
    const std::size_t count = static_cast<std::size_t>(rows_) * static_cast<std::size_t>(columns_);
    for (std::size_t i = 0; i < count && i < MAX_CELLS; ++i) {
        cells_[i].fill(Candidate());
    }
    rows_ = columns_ = 0;
    ecLevel_ = -1;
    frames_ = 0;
}

} // namespace pdf417
