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
    int eci = 0;         // the ECI of the data (of a single segment); 0 for none
    // The data is UTF-8, which libzint converts to the ECI's character set
    // (choosing one when eci is 0); otherwise it is written as raw bytes.
    bool utf8 = false;
    // Macro PDF417: the symbol's place (1-based) in a sequence of
    // structCount symbols (none when 0) and the sequence's ID, digits only,
    // read by libzint as three-digit codewords.
    int structIndex = 0;
    int structCount = 0;
    std::string structId = {};
    bool readerInit = false; // opens with reader initialisation (921)
};

// Encodes `data` (raw bytes) as PDF417. Returns false with a message in
// `error` when libzint refuses the input or options.
bool encodePdf417(const std::string& data, const ZintOptions& options, Pdf417Modules& out,
                  std::string* error = nullptr);

// One segment of a message with ECIs that change along it.
struct ZintSegment {
    std::string data;
    int eci = 0;
};

// Encodes the segments, each under its own ECI, as one PDF417 symbol;
// options.eci is not used.
bool encodePdf417Segments(const std::vector<ZintSegment>& segments, const ZintOptions& options,
                          Pdf417Modules& out, std::string* error = nullptr);

} // namespace test
} // namespace pdf417
