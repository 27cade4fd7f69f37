#pragma once

#include "pdf417scan/imaging/Point2D.h"

#include <array>
#include <cstddef>

namespace pdf417 {

// A plane projective map, (x, y) -> ((a x + b y + c) / w, (d x + e y + f) / w)
// with w = g x + h y + 1: how a flat symbol's own coordinates land in a
// camera frame under any viewpoint. Double precision inside, so that a map
// over a frame of thousands of pixels keeps a hundredth of a pixel.
class Homography {
public:
    // The identity.
    Homography() = default;

    // The least-squares map sending each from[i] to to[i], weighted by the
    // masses of to[] (a point of mass 0 does not count). Exact for four points
    // in general position. False, out untouched, when fewer than four points
    // count or they do not pin a map down (three on a line, say).
    static bool fit(const Point2D* from, const Point2D* to, std::size_t count, Homography& out);

    // The image of (x, y). False where the map has no finite image (the
    // point lies on or behind the horizon of the plane).
    bool map(double x, double y, double& outX, double& outY) const;
    // The same as a point of mass 1; NaN coordinates where map() is false.
    Point2D operator()(double x, double y) const;

    bool inverse(Homography& out) const;

    // Row-major, the last entry 1.
    const std::array<double, 9>& coefficients() const { return m_; }

private:
    explicit Homography(const std::array<double, 9>& m) : m_(m) {}

    std::array<double, 9> m_{1, 0, 0, 0, 1, 0, 0, 0, 1};
};

} // namespace pdf417
