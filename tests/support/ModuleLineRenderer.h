#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace pdf417 {
namespace test {

// How a line of modules looks to a camera.
struct LineStyle {
    double pixelsPerModule = 3.0;
    double blurSigma = 0.0;  // Gaussian blur, in pixels
    double noiseSigma = 0.0; // Gaussian noise, in grey levels
    double dark = 40.0;      // grey of a bar
    double light = 210.0;    // grey of a space
};

// Grey samples of the module bits (1 = bar) between the module positions
// `from` and `to` (fractional; positions outside the vector are light):
// round((to - from) × pixelsPerModule) pixels, each the mean grey of its
// footprint, then blurred, with noise added, rounded and clamped to 0..255.
// No samples for non-finite, negative or absurdly large arguments.
std::vector<unsigned char> renderModuleLine(const std::vector<std::uint8_t>& modules, double from,
                                            double to, const LineStyle& style, std::mt19937& rng);

} // namespace test
} // namespace pdf417
