#pragma once

#include "pdf417scan/imaging/IImage.h"

#include <cstddef>

namespace pdf417 {

// A view over a caller's row-major buffer of width × height bytes, rows
// packed or `stride` bytes apart (a camera plane pads its rows). The buffer is
// neither copied nor owned and must outlive the view.
class Image : public IImage {
public:
    Image(unsigned char* data, unsigned width, unsigned height)
        : data_(data), width_(width), height_(height), stride_(width) {}
    // `stride` is the distance in bytes from one row to the next, at least
    // `width`; the last row needs only `width` bytes.
    Image(unsigned char* data, unsigned width, unsigned height, std::size_t stride)
        : data_(data), width_(width), height_(height), stride_(stride) {}

    unsigned width() const override { return width_; }
    unsigned height() const override { return height_; }
    unsigned char getPixel(int x, int y) const override;
    unsigned char setPixel(int x, int y, unsigned char value) override;
    bool isEmpty() const override { return width_ == 0 || height_ == 0; }

    // Direct access for stages that read many pixels at once: row y starts at
    // data() + y * stride(), and the caller keeps inside width x height.
    const unsigned char* data() const { return data_; }
    std::size_t stride() const { return stride_; }

    bool sampleRow(unsigned y, std::vector<unsigned char>& out) const override;
    bool sampleColumn(unsigned x, std::vector<unsigned char>& out) const override;
    bool sampleLine(unsigned x0, unsigned y0, unsigned x1, unsigned y1,
                    std::vector<unsigned char>& out) const override;
    // True whenever the segment could be clipped, even if the integer call
    // then refused it and left `out` empty.
    bool sampleLine(Point2D const& a, Point2D const& b,
                    std::vector<unsigned char>& out) const override;

private:
    // Negative coordinates are refused before the unsigned comparison: on a
    // picture wider or taller than INT_MAX they would otherwise wrap inside it.
    bool contains(int x, int y) const {
        return x >= 0 && y >= 0 && static_cast<unsigned>(x) < width_ &&
               static_cast<unsigned>(y) < height_;
    }
    unsigned char& at(unsigned x, unsigned y) const {
        return data_[static_cast<std::size_t>(y) * stride_ + x];
    }

    unsigned char* data_;
    unsigned width_;
    unsigned height_;
    std::size_t stride_;
};

} // namespace pdf417
