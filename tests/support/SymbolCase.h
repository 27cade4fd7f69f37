#pragma once

#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <cstdint>
#include <string>

namespace pdf417 {
namespace test {

// One symbol placement for a generated test case: its size in symbol rows and
// data columns, the module width in pixels, the turn in degrees (clockwise)
// and how much the frame looks like a camera's.
struct SymbolCase {
    int rows = 0;
    int columns = 0;
    double module = 0.0;   // pixels
    double rotation = 0.0; // degrees
    bool camera = false;   // blur, noise and uneven light
    bool mild = false;     // a little of each (ignored for a camera case)

    std::string describe() const;
};

// Draws the symbol as the case places it, with a margin around it. A camera
// case is blurred (sigma 0.4 to 1.1 pixels), noisy (sigma 2 to 6 levels),
// lit unevenly and lower in contrast, all picked by the seed. A mild case is
// blurred by 0.3 to 0.8 pixels, has noise of 1 to 3 levels and a gentle
// light gradient, without the vignette and the loss of contrast.
SymbolRenderer::Frame renderCase(const Pdf417Modules& symbol, const SymbolCase& c,
                                 std::uint64_t seed = 1);

} // namespace test
} // namespace pdf417
