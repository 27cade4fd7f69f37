#include "tests/support/Glare.h"

namespace pdf417 {
namespace test {

void addGlare(SymbolRenderer::Frame& frame, int first, int last) {
    Homography toSymbol;
    if (!frame.symbolToFrame.inverse(toSymbol)) {
        return;
    }
    // Data column c starts after the start pattern and the left indicator.
    const double u0 = 17.0 * (first + 2), u1 = 17.0 * (last + 3);
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            const Vec2 p = toSymbol(x + 0.5, y + 0.5);
            if (p.x >= u0 && p.x < u1 && p.y >= -2.0 && p.y < frame.heightModules + 2.0) {
                frame.pixels[static_cast<std::size_t>(y) * frame.width + x] = 250;
            }
        }
    }
}

} // namespace test
} // namespace pdf417
