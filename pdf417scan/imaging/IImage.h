#pragma once

#include "pdf417scan/imaging/Point2D.h"

#include <vector>

namespace pdf417 {

// An 8-bit grayscale picture addressed by column x (from the left) and row y
// (from the top). Single pixels outside the picture read as 0 and ignore
// writes; rows, columns and lines outside it are refused with false.
class IImage {
public:
    virtual ~IImage() = default;

    virtual unsigned width() const = 0;
    virtual unsigned height() const = 0;
    virtual unsigned char getPixel(int x, int y) const = 0;
    // Returns the previous value, or 0 (writing nothing) outside the picture.
    virtual unsigned char setPixel(int x, int y, unsigned char value) = 0;
    virtual bool isEmpty() const = 0;

    virtual bool sampleRow(unsigned y, std::vector<unsigned char>& out) const = 0;
    virtual bool sampleColumn(unsigned x, std::vector<unsigned char>& out) const = 0;
    // The max(dx, dy) + 1 pixels of the integer segment, both ends included.
    virtual bool sampleLine(unsigned x0, unsigned y0, unsigned x1, unsigned y1,
                            std::vector<unsigned char>& out) const = 0;
    // The real segment clipped to the picture, then sampled as integers.
    virtual bool sampleLine(Point2D const& a, Point2D const& b,
                            std::vector<unsigned char>& out) const = 0;

protected:
    IImage() = default;
    IImage(const IImage&) = default;
    IImage& operator=(const IImage&) = default;
};

} // namespace pdf417
