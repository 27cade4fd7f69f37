#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pdf417 {
namespace test {

// A PDF417 symbol as drawn by libzint, our independent encoder: one entry per
// symbol row, one byte per module (1 = bar, 0 = space), from the start
// pattern's first bar to the stop pattern's last bar, without quiet zones.
struct Pdf417Modules {
    int rows = 0;
    int dataColumns = 0;
    int ecLevel = 0;
    std::vector<std::vector<std::uint8_t>> modules;

    int widthModules() const { return modules.empty() ? 0 : static_cast<int>(modules[0].size()); }
    bool bar(int row, int column) const { return modules[row][column] != 0; }
};

struct ZintOptions {
    int dataColumns = 0; // 1..30; 0 lets libzint choose
    int ecLevel = -1;    // 0..8; -1 lets libzint choose
    int rows = 0;        // 3..90; 0 lets libzint choose
};

// Encodes `data` (raw bytes) as PDF417. Returns false with a message in
// `error` when libzint refuses the input or options.
bool encodePdf417(const std::string& data, const ZintOptions& options, Pdf417Modules& out,
                  std::string* error = nullptr);

} // namespace test
} // namespace pdf417
