#include "tests/support/ModuleGrid.h"

namespace pdf417 {
namespace test {

ModuleGrid::ModuleGrid(int columns, int rows)
    : columns_(columns < 0 ? 0 : columns), rows_(rows < 0 ? 0 : rows),
      cells_(static_cast<std::size_t>(columns_) * rows_, 0) {}

ModuleGrid::ModuleGrid(const Pdf417Modules& symbol)
    : ModuleGrid(symbol.widthModules(), symbol.rows) {
    for (int r = 0; r < rows_; ++r) {
        for (int c = 0; c < columns_; ++c) {
            set(c, r, symbol.bar(r, c));
        }
    }
}

} // namespace test
} // namespace pdf417
