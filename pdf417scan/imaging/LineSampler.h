#pragma once

#include "pdf417scan/imaging/Homography.h"
#include "pdf417scan/imaging/Image.h"

#include <vector>

namespace pdf417 {

// Gray levels along straight lines of a symbol's own plane, read from a frame
// through a homography with bilinear interpolation, so that a profile can be
// measured below the pixel. Outside the frame the nearest border pixel
// stands in. Frame coordinates: pixel (x, y) covers [x, x + 1) x [y, y + 1),
// its value sits at its centre.
class LineSampler {
public:
    explicit LineSampler(const Image& image) : image_(image) {}

    // The gray level at frame point (x, y).
    float at(float x, float y) const;

    // `count` samples evenly from symbol point (u0, v) to (u1, v), both ends
    // included, into out. False, out emptied, where the map fails.
    bool sampleRow(const Homography& toFrame, double u0, double u1, double v, int count,
                   std::vector<float>& out) const;

    const Image& image() const { return image_; }

private:
    const Image& image_;
};

} // namespace pdf417
