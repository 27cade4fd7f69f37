#pragma once

#include "pdf417scan/imaging/IImage.h"

namespace pdf417 {

// Presents another image turned 90 degrees clockwise without copying pixels:
// rotated(x, y) = wrapped(y, H - 1 - x), H being the wrapped height. The
// wrapped image must outlive the view; views can be stacked.
class ImageRotate90 : public IImage {
public:
    explicit ImageRotate90(IImage& image) : image_(image) {}
    // Built from another view, a view wraps it (one more quarter turn). The
    // implicit copy would win overload resolution over the IImage& form and
    // silently give a view turned only once.
    explicit ImageRotate90(ImageRotate90& view) : image_(view) {}
    ImageRotate90(const ImageRotate90&) = delete;
    ImageRotate90& operator=(const ImageRotate90&) = delete;

    unsigned width() const override { return image_.height(); }
    unsigned height() const override { return image_.width(); }
    unsigned char getPixel(int x, int y) const override;
    unsigned char setPixel(int x, int y, unsigned char value) override;
    bool isEmpty() const override { return image_.isEmpty(); }

    // Row r is wrapped column r read from bottom to top.
    bool sampleRow(unsigned y, std::vector<unsigned char>& out) const override;
    bool sampleColumn(unsigned x, std::vector<unsigned char>& out) const override;
    bool sampleLine(unsigned x0, unsigned y0, unsigned x1, unsigned y1,
                    std::vector<unsigned char>& out) const override;
    bool sampleLine(Point2D const& a, Point2D const& b,
                    std::vector<unsigned char>& out) const override;

private:
    // H - 1 - x in unsigned arithmetic: anything left of the view wraps to a
    // coordinate the wrapped image refuses.
    unsigned flip(unsigned x) const { return image_.height() - 1u - x; }

    IImage& image_;
};

} // namespace pdf417
