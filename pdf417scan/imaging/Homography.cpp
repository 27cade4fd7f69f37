#include "pdf417scan/imaging/Homography.h"

#include <cmath>
#include <limits>

namespace pdf417 {

namespace {

// Shifts points to their weighted centroid and scales them to a mean distance
// of sqrt(2): the normal equations of pixel coordinates in the thousands are
// otherwise too ill-conditioned for a hundredth of a pixel.
struct Normalisation {
    double cx = 0.0;
    double cy = 0.0;
    double scale = 1.0;

    bool measure(const Point2D* points, const Point2D* weights, std::size_t count) {
        double total = 0.0;
        for (std::size_t i = 0; i < count; ++i) {
            const double w = weights[i].mass();
            cx += w * points[i].x();
            cy += w * points[i].y();
            total += w;
        }
        if (!(total > 0.0)) {
            return false;
        }
        cx /= total;
        cy /= total;
        double spread = 0.0;
        for (std::size_t i = 0; i < count; ++i) {
            spread += weights[i].mass() * std::hypot(points[i].x() - cx, points[i].y() - cy);
        }
        spread /= total;
        if (!(spread > 0.0) || !std::isfinite(spread)) {
            return false;
        }
        scale = std::sqrt(2.0) / spread;
        return true;
    }
    // The matrix that applies it, row-major.
    std::array<double, 9> matrix() const {
        return {scale, 0, -scale * cx, 0, scale, -scale * cy, 0, 0, 1};
    }
    std::array<double, 9> inverseMatrix() const {
        return {1.0 / scale, 0, cx, 0, 1.0 / scale, cy, 0, 0, 1};
    }
};

std::array<double, 9> multiply(const std::array<double, 9>& a, const std::array<double, 9>& b) {
    std::array<double, 9> r{};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            for (int k = 0; k < 3; ++k) {
                r[3 * i + j] += a[3 * i + k] * b[3 * k + j];
            }
        }
    }
    return r;
}

// Solves the 8 x 8 system a x = b in place by elimination with partial
// pivoting; false when it is singular.
bool solve8(double a[8][8], double b[8]) {
    for (int col = 0; col < 8; ++col) {
        int pivot = col;
        for (int row = col + 1; row < 8; ++row) {
            if (std::fabs(a[row][col]) > std::fabs(a[pivot][col])) {
                pivot = row;
            }
        }
        if (!(std::fabs(a[pivot][col]) > 1e-12)) {
            return false;
        }
        if (pivot != col) {
            for (int k = 0; k < 8; ++k) {
                std::swap(a[pivot][k], a[col][k]);
            }
            std::swap(b[pivot], b[col]);
        }
        for (int row = col + 1; row < 8; ++row) {
            const double f = a[row][col] / a[col][col];
            for (int k = col; k < 8; ++k) {
                a[row][k] -= f * a[col][k];
            }
            b[row] -= f * b[col];
        }
    }
    for (int row = 7; row >= 0; --row) {
        double sum = b[row];
        for (int k = row + 1; k < 8; ++k) {
            sum -= a[row][k] * b[k];
        }
        b[row] = sum / a[row][row];
    }
    return true;
}

} // namespace

bool Homography::fit(const Point2D* from, const Point2D* to, std::size_t count, Homography& out) {
    std::size_t counted = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (!std::isfinite(from[i].x()) || !std::isfinite(from[i].y()) ||
            !std::isfinite(to[i].x()) || !std::isfinite(to[i].y()) ||
            !std::isfinite(to[i].mass()) || to[i].mass() < 0.0f) {
            return false;
        }
        counted += to[i].mass() > 0.0f ? 1 : 0;
    }
    Normalisation source;
    Normalisation target;
    if (counted < 4 || !source.measure(from, to, count) || !target.measure(to, to, count)) {
        return false;
    }

    // Normal equations of a x + b y + c - g x X - h y X = X and its Y
    // twin, in normalised coordinates.
    double ata[8][8] = {};
    double atb[8] = {};
    for (std::size_t i = 0; i < count; ++i) {
        const double w = to[i].mass();
        if (!(w > 0.0)) {
            continue;
        }
        const double x = source.scale * (from[i].x() - source.cx);
        const double y = source.scale * (from[i].y() - source.cy);
        const double tx = target.scale * (to[i].x() - target.cx);
        const double ty = target.scale * (to[i].y() - target.cy);
        const double rows[2][8] = {{x, y, 1, 0, 0, 0, -x * tx, -y * tx},
                                   {0, 0, 0, x, y, 1, -x * ty, -y * ty}};
        const double rhs[2] = {tx, ty};
        for (int r = 0; r < 2; ++r) {
            for (int j = 0; j < 8; ++j) {
                atb[j] += w * rows[r][j] * rhs[r];
                for (int k = 0; k < 8; ++k) {
                    ata[j][k] += w * rows[r][j] * rows[r][k];
                }
            }
        }
    }
    if (!solve8(ata, atb)) {
        return false;
    }
    const std::array<double, 9> normalised = {atb[0], atb[1], atb[2], atb[3], atb[4],
                                              atb[5], atb[6], atb[7], 1.0};
    std::array<double, 9> m =
        multiply(target.inverseMatrix(), multiply(normalised, source.matrix()));
    if (!(std::fabs(m[8]) > 1e-15) || !std::isfinite(m[8])) {
        return false;
    }
    for (double& v : m) {
        v /= m[8];
        if (!std::isfinite(v)) {
            return false;
        }
    }
    out = Homography(m);
    return true;
}

bool Homography::map(double x, double y, double& outX, double& outY) const {
    const double w = m_[6] * x + m_[7] * y + m_[8];
    if (!(std::fabs(w) > 1e-12)) {
        return false;
    }
    outX = (m_[0] * x + m_[1] * y + m_[2]) / w;
    outY = (m_[3] * x + m_[4] * y + m_[5]) / w;
    return std::isfinite(outX) && std::isfinite(outY);
}

Point2D Homography::operator()(double x, double y) const {
    double ox = 0.0;
    double oy = 0.0;
    if (!map(x, y, ox, oy)) {
        const float nan = std::numeric_limits<float>::quiet_NaN();
        return Point2D(nan, nan, 1.0f);
    }
    return Point2D(static_cast<float>(ox), static_cast<float>(oy), 1.0f);
}

bool Homography::inverse(Homography& out) const {
    const auto& m = m_;
    const double c0 = m[4] * m[8] - m[5] * m[7];
    const double c1 = m[5] * m[6] - m[3] * m[8];
    const double c2 = m[3] * m[7] - m[4] * m[6];
    const double det = m[0] * c0 + m[1] * c1 + m[2] * c2;
    if (!(std::fabs(det) > 1e-300) || !std::isfinite(det)) {
        return false;
    }
    std::array<double, 9> r = {c0, m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
                               c1, m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
                               c2, m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
    if (!(std::fabs(r[8]) > 1e-300)) {
        return false;
    }
    for (double& v : r) {
        v /= r[8];
        if (!std::isfinite(v)) {
            return false;
        }
    }
    out = Homography(r);
    return true;
}

} // namespace pdf417
