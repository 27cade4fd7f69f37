#pragma once

#include <array>

namespace pdf417 {
namespace test {

struct Vec2 {
    double x = 0.0;
    double y = 0.0;
};

// A plane projective map (x, y) -> ((a x + b y + c) / w, (d x + e y + f) / w)
// with w = g x + h y + i, held as a row-major 3x3 matrix. Double precision:
// ground truth must be far more exact than what is being measured.
class Homography {
public:
    Homography() = default; // identity
    explicit Homography(const std::array<double, 9>& m) : m_(m) {}

    // The map taking (0, 0), (1, 0), (1, 1), (0, 1) to q[0], q[1], q[2], q[3].
    static Homography squareToQuad(const std::array<Vec2, 4>& q);
    // The map taking the rectangle (0, 0)-(width, height), corners in the
    // same order, to q.
    static Homography rectToQuad(double width, double height, const std::array<Vec2, 4>& q);
    static Homography translation(double dx, double dy);
    static Homography scaling(double sx, double sy);
    // Turns by `degrees` about the origin; with y pointing down a positive
    // angle turns clockwise on screen.
    static Homography rotation(double degrees);

    // Applies the map; false (out untouched) where w is not positive, i.e.
    // on or behind the horizon of a perspective map.
    bool map(double x, double y, Vec2& out) const;
    // Applies the map ignoring the horizon.
    Vec2 operator()(double x, double y) const;
    Vec2 operator()(const Vec2& p) const { return (*this)(p.x, p.y); }

    // False when the map is singular.
    bool inverse(Homography& out) const;
    // (*this * other)(p) == (*this)(other(p)).
    Homography operator*(const Homography& other) const;

    const std::array<double, 9>& matrix() const { return m_; }

private:
    std::array<double, 9> m_{1, 0, 0, 0, 1, 0, 0, 0, 1};
};

} // namespace test
} // namespace pdf417
