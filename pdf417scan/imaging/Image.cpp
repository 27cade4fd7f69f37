#include "pdf417scan/imaging/Image.h"

#include "pdf417scan/imaging/GeometryUtils.h"

#include <cstdint>
#include <cstring>

namespace pdf417 {

unsigned char Image::getPixel(int x, int y) const {
    return contains(x, y) ? at(static_cast<unsigned>(x), static_cast<unsigned>(y)) : 0;
}

unsigned char Image::setPixel(int x, int y, unsigned char value) {
    if (!contains(x, y)) {
        return 0;
    }
    unsigned char& pixel = at(static_cast<unsigned>(x), static_cast<unsigned>(y));
    const unsigned char previous = pixel;
    pixel = value;
    return previous;
}

bool Image::sampleRow(unsigned y, std::vector<unsigned char>& out) const {
    if (y >= height_) {
        return false;
    }
    out.resize(width_);
    if (width_ != 0) {
        std::memcpy(out.data(), &at(0, y), width_);
    }
    return true;
}

bool Image::sampleColumn(unsigned x, std::vector<unsigned char>& out) const {
    if (x >= width_) {
        return false;
    }
    out.resize(height_);
    // Locals, not members: a store through unsigned char* may alias anything,
    // so members would be reloaded for every pixel. Four independent loads
    // per step keep several cache lines in flight. Index arithmetic in
    // size_t: a pointer stepped by width would be formed past the end of the
    // buffer after the last row.
    const unsigned char* const pixels = data_;
    unsigned char* const column = out.data();
    const std::size_t stride = stride_;
    const unsigned rows = height_;
    std::size_t index = x;
    unsigned y = 0;
    for (; y + 4 <= rows; y += 4, index += 4 * stride) {
        const unsigned char a = pixels[index];
        const unsigned char b = pixels[index + stride];
        const unsigned char c = pixels[index + 2 * stride];
        const unsigned char d = pixels[index + 3 * stride];
        column[y] = a;
        column[y + 1] = b;
        column[y + 2] = c;
        column[y + 3] = d;
    }
    for (; y < rows; ++y, index += stride) {
        column[y] = pixels[index];
    }
    return true;
}

bool Image::sampleLine(unsigned x0, unsigned y0, unsigned x1, unsigned y1,
                       std::vector<unsigned char>& out) const {
    out.resize(0);
    if (x0 >= width_ || x1 >= width_ || y0 >= height_ || y1 >= height_) {
        return false;
    }
    // Bresenham; signed 64-bit so no difference of two coordinates overflows.
    const std::int64_t dx = x1 > x0 ? std::int64_t(x1) - x0 : std::int64_t(x0) - x1;
    const std::int64_t dy = y1 > y0 ? std::int64_t(y1) - y0 : std::int64_t(y0) - y1;
    const bool yMajor = dx <= dy; // ties go to y
    std::int64_t major = yMajor ? y0 : x0;
    std::int64_t minor = yMajor ? x0 : y0;
    const std::int64_t majorEnd = yMajor ? y1 : x1;
    const std::int64_t minorEnd = yMajor ? x1 : y1;
    const std::int64_t majorDelta = yMajor ? dy : dx;
    const std::int64_t minorDelta = yMajor ? dx : dy;
    const std::int64_t majorStep = majorEnd <= major ? -1 : 1;
    const std::int64_t minorStep = minorEnd < minor ? -1 : 1;

    out.resize(static_cast<std::size_t>(majorDelta) + 1);
    std::size_t i = 0;
    std::int64_t error = 0;
    for (; major != majorEnd; major += majorStep) {
        const auto x = static_cast<unsigned>(yMajor ? minor : major);
        const auto y = static_cast<unsigned>(yMajor ? major : minor);
        out[i++] = at(x, y);
        error += minorDelta;
        if (2 * error >= majorDelta) {
            minor += minorStep;
            error -= majorDelta;
        }
    }
    out[out.size() - 1] = at(x1, y1);
    return true;
}

bool Image::sampleLine(Point2D const& a, Point2D const& b, std::vector<unsigned char>& out) const {
    Point2D p = a;
    Point2D q = b;
    if (!GeometryUtils::boundLine(p, q, static_cast<float>(width_), static_cast<float>(height_))) {
        out.resize(0);
        return false;
    }
    // boundLine leaves finite coordinates in [0, width) × [0, height), so the
    // truncations below are in range.
    sampleLine(static_cast<unsigned>(p.x()), static_cast<unsigned>(p.y()),
               static_cast<unsigned>(q.x()), static_cast<unsigned>(q.y()), out);
    return true;
}

} // namespace pdf417
