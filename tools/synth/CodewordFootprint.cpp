#include "tools/synth/CodewordFootprint.h"

#include <cmath>

namespace pdf417 {
namespace synth {

int CodewordFootprint::count(
    const std::function<bool(double u, double v)>& hit, double step,
    const std::function<bool(double u, double v, double reach)>& near) const {
    const int across = static_cast<int>(std::ceil(17.0 / step));
    const int down = static_cast<int>(std::ceil(rowHeight_ / step));
    int hits = 0;
    for (int r = 0; r < rows_; ++r) {
        for (int j = 0; j < columns_; ++j) {
            const double u0 = 34.0 + 17.0 * j;
            const double v0 = r * rowHeight_;
            if (near && !near(u0 + 8.5, v0 + rowHeight_ / 2.0, std::hypot(8.5, rowHeight_ / 2.0))) {
                continue;
            }
            bool struck = false;
            for (int a = 0; a <= across && !struck; ++a) {
                for (int d = 0; d <= down && !struck; ++d) {
                    struck = hit(u0 + 17.0 * a / across, v0 + rowHeight_ * d / down);
                }
            }
            hits += struck ? 1 : 0;
        }
    }
    return hits;
}

int CodewordFootprint::outside(const test::Homography& place, int width, int height) const {
    int cut = 0;
    for (int r = 0; r < rows_; ++r) {
        for (int j = 0; j < columns_; ++j) {
            const double u0 = 34.0 + 17.0 * j;
            const double v0 = r * rowHeight_;
            // A codeword maps to a convex quad, inside the frame exactly when
            // its corners are.
            bool inside = true;
            for (const test::Vec2 corner :
                 {test::Vec2{u0, v0}, test::Vec2{u0 + 17.0, v0},
                  test::Vec2{u0 + 17.0, v0 + rowHeight_}, test::Vec2{u0, v0 + rowHeight_}}) {
                test::Vec2 p;
                inside = inside && place.map(corner.x, corner.y, p) && p.x >= 0.0 && p.x <= width &&
                         p.y >= 0.0 && p.y <= height;
            }
            cut += inside ? 0 : 1;
        }
    }
    return cut;
}

} // namespace synth
} // namespace pdf417
