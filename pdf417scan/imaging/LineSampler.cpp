#include "pdf417scan/imaging/LineSampler.h"

#include <algorithm>
#include <cmath>

namespace pdf417 {

float LineSampler::at(float x, float y) const {
    const int width = static_cast<int>(image_.width());
    const int height = static_cast<int>(image_.height());
    if (width == 0 || height == 0 || !std::isfinite(x) || !std::isfinite(y)) {
        return 0.0f;
    }
    // Pixel centres sit at half-integers.
    const float fx = std::min(std::max(x - 0.5f, 0.0f), static_cast<float>(width - 1));
    const float fy = std::min(std::max(y - 0.5f, 0.0f), static_cast<float>(height - 1));
    const int x0 = std::min(static_cast<int>(fx), width - 1);
    const int y0 = std::min(static_cast<int>(fy), height - 1);
    const int x1 = std::min(x0 + 1, width - 1);
    const int y1 = std::min(y0 + 1, height - 1);
    const float ax = fx - static_cast<float>(x0);
    const float ay = fy - static_cast<float>(y0);
    const unsigned char* const data = image_.data();
    const std::size_t stride = image_.stride();
    const unsigned char* r0 = data + static_cast<std::size_t>(y0) * stride;
    const unsigned char* r1 = data + static_cast<std::size_t>(y1) * stride;
    const float top = static_cast<float>(r0[x0]) + ax * static_cast<float>(r0[x1] - r0[x0]);
    const float bottom = static_cast<float>(r1[x0]) + ax * static_cast<float>(r1[x1] - r1[x0]);
    return top + ay * (bottom - top);
}

bool LineSampler::sampleRow(const Homography& toFrame, double u0, double u1, double v, int count,
                            std::vector<float>& out) const {
    out.clear();
    if (count < 2) {
        return false;
    }
    // Homogeneous coordinates move linearly along a line of the plane.
    const auto& m = toFrame.coefficients();
    const double x0 = m[0] * u0 + m[1] * v + m[2];
    const double y0 = m[3] * u0 + m[4] * v + m[5];
    const double w0 = m[6] * u0 + m[7] * v + m[8];
    const double x1 = m[0] * u1 + m[1] * v + m[2];
    const double y1 = m[3] * u1 + m[4] * v + m[5];
    const double w1 = m[6] * u1 + m[7] * v + m[8];
    if (!(w0 > 1e-9 && w1 > 1e-9) && !(w0 < -1e-9 && w1 < -1e-9)) {
        return false;
    }
    out.resize(static_cast<std::size_t>(count));
    const double step = 1.0 / (count - 1);
    for (int i = 0; i < count; ++i) {
        const double a = i * step;
        const double w = w0 + a * (w1 - w0);
        const double x = (x0 + a * (x1 - x0)) / w;
        const double y = (y0 + a * (y1 - y0)) / w;
        out[static_cast<std::size_t>(i)] = at(static_cast<float>(x), static_cast<float>(y));
    }
    return true;
}

} // namespace pdf417
