#include "pdf417scan/imaging/ImageRotate90.h"

#include "pdf417scan/imaging/RowUtils.h"

namespace pdf417 {

unsigned char ImageRotate90::getPixel(int x, int y) const {
    return image_.getPixel(y, static_cast<int>(flip(static_cast<unsigned>(x))));
}

unsigned char ImageRotate90::setPixel(int x, int y, unsigned char value) {
    return image_.setPixel(y, static_cast<int>(flip(static_cast<unsigned>(x))), value);
}

bool ImageRotate90::sampleRow(unsigned y, std::vector<unsigned char>& out) const {
    if (!image_.sampleColumn(y, out)) {
        return false;
    }
    RowUtils::reverse(out);
    return true;
}

bool ImageRotate90::sampleColumn(unsigned x, std::vector<unsigned char>& out) const {
    return image_.sampleRow(flip(x), out);
}

bool ImageRotate90::sampleLine(unsigned x0, unsigned y0, unsigned x1, unsigned y1,
                               std::vector<unsigned char>& out) const {
    return image_.sampleLine(y0, flip(x0), y1, flip(x1), out);
}

bool ImageRotate90::sampleLine(Point2D const& a, Point2D const& b,
                               std::vector<unsigned char>& out) const {
    const float last = static_cast<float>(image_.height() - 1u);
    return image_.sampleLine(Point2D(a.y(), last - a.x(), 1.0f), Point2D(b.y(), last - b.x(), 1.0f),
                             out);
}

} // namespace pdf417
