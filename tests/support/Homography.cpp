#include "tests/support/Homography.h"

#include <cmath>

namespace pdf417 {
namespace test {

namespace {
constexpr double kPi = 3.14159265358979323846;
} // namespace

Homography Homography::squareToQuad(const std::array<Vec2, 4>& q) {
    // Heckbert's closed form: the projective terms g, h vanish for a
    // parallelogram.
    const double sx = q[0].x - q[1].x + q[2].x - q[3].x;
    const double sy = q[0].y - q[1].y + q[2].y - q[3].y;
    const double dx1 = q[1].x - q[2].x;
    const double dx2 = q[3].x - q[2].x;
    const double dy1 = q[1].y - q[2].y;
    const double dy2 = q[3].y - q[2].y;
    const double det = dx1 * dy2 - dx2 * dy1;
    double g = 0.0;
    double h = 0.0;
    if (det != 0.0) {
        g = (sx * dy2 - dx2 * sy) / det;
        h = (dx1 * sy - sx * dy1) / det;
    }
    return Homography({q[1].x - q[0].x + g * q[1].x, q[3].x - q[0].x + h * q[3].x, q[0].x,
                       q[1].y - q[0].y + g * q[1].y, q[3].y - q[0].y + h * q[3].y, q[0].y, g, h,
                       1.0});
}

Homography Homography::rectToQuad(double width, double height, const std::array<Vec2, 4>& q) {
    return squareToQuad(q) * scaling(1.0 / width, 1.0 / height);
}

Homography Homography::translation(double dx, double dy) {
    return Homography({1, 0, dx, 0, 1, dy, 0, 0, 1});
}

Homography Homography::scaling(double sx, double sy) {
    return Homography({sx, 0, 0, 0, sy, 0, 0, 0, 1});
}

Homography Homography::rotation(double degrees) {
    const double r = degrees * (kPi / 180.0);
    const double c = std::cos(r);
    const double s = std::sin(r);
    return Homography({c, -s, 0, s, c, 0, 0, 0, 1});
}

bool Homography::map(double x, double y, Vec2& out) const {
    if (!(m_[6] * x + m_[7] * y + m_[8] > 0.0)) {
        return false;
    }
    out = (*this)(x, y);
    return true;
}

Vec2 Homography::operator()(double x, double y) const {
    const double w = m_[6] * x + m_[7] * y + m_[8];
    return {(m_[0] * x + m_[1] * y + m_[2]) / w, (m_[3] * x + m_[4] * y + m_[5]) / w};
}

bool Homography::inverse(Homography& out) const {
    const auto& m = m_;
    const double c0 = m[4] * m[8] - m[5] * m[7];
    const double c1 = m[5] * m[6] - m[3] * m[8];
    const double c2 = m[3] * m[7] - m[4] * m[6];
    const double det = m[0] * c0 + m[1] * c1 + m[2] * c2;
    if (det == 0.0 || !std::isfinite(det)) {
        return false;
    }
    const double k = 1.0 / det;
    out = Homography({c0 * k, (m[2] * m[7] - m[1] * m[8]) * k, (m[1] * m[5] - m[2] * m[4]) * k,
                      c1 * k, (m[0] * m[8] - m[2] * m[6]) * k, (m[2] * m[3] - m[0] * m[5]) * k,
                      c2 * k, (m[1] * m[6] - m[0] * m[7]) * k, (m[0] * m[4] - m[1] * m[3]) * k});
    return true;
}

Homography Homography::operator*(const Homography& other) const {
    std::array<double, 9> r{};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            for (int k = 0; k < 3; ++k) {
                r[3 * i + j] += m_[3 * i + k] * other.m_[3 * k + j];
            }
        }
    }
    return Homography(r);
}

} // namespace test
} // namespace pdf417
