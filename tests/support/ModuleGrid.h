#pragma once

#include "tests/support/ZintPdf417.h"

#include <cstdint>
#include <vector>

namespace pdf417 {
namespace test {

// A rectangle of modules, each a bar or a space, row by row. Any grid can be
// rendered; a PDF417 symbol is one with start and stop patterns on every row.
class ModuleGrid {
public:
    ModuleGrid() = default;
    // All spaces.
    ModuleGrid(int columns, int rows);
    explicit ModuleGrid(const Pdf417Modules& symbol);

    int columns() const { return columns_; }
    int rows() const { return rows_; }
    bool bar(int column, int row) const {
        return cells_[static_cast<std::size_t>(row) * columns_ + column] != 0;
    }
    void set(int column, int row, bool bar) {
        cells_[static_cast<std::size_t>(row) * columns_ + column] = bar ? 1 : 0;
    }

private:
    int columns_ = 0;
    int rows_ = 0;
    std::vector<std::uint8_t> cells_;
};

} // namespace test
} // namespace pdf417
