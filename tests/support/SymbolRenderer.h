#pragma once

#include "pdf417scan/imaging/Image.h"
#include "tests/support/Homography.h"
#include "tests/support/ModuleGrid.h"

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace pdf417 {
namespace test {

// Draws a module grid (a libzint PDF417 symbol or any other) into an 8-bit
// grayscale frame the way a camera would see it: every pixel is the area
// average of what covers it (supersampled), then optionally blurred, lit
// unevenly and made noisy, deterministically from a seed. Returns the ground
// truth with the frame.
//
// Coordinates: the symbol's own are (u, v) in modules, u from the start
// pattern's outer edge to the right end of the grid, v from the first row's
// top edge down (one symbol row is rowHeight modules high). In the frame,
// pixel (c, r) is the unit square [c, c + 1) x [r, r + 1), so an edge lying
// at x = 10 makes pixel 10 the first one beyond it.
//
// The renderer keeps its scratch buffers; one object serves one thread.
class SymbolRenderer {
public:
    struct Lighting {
        // Relative gain change from the frame's centre to its right (bottom)
        // border: 0.3 makes the right border 30 % brighter, the left 30 %
        // darker.
        double gradientX = 0.0;
        double gradientY = 0.0;
        // Relative darkening at the frame's corners, falling off with the
        // square of the distance from the centre.
        double vignette = 0.0;
    };

    struct Options {
        // Placement by a similarity (used unless quad is set).
        double moduleWidth = 3.0;     // pixels per module; fractional allowed
        double rotationDegrees = 0.0; // about the symbol's centre; positive turns clockwise
        double centerX = std::numeric_limits<double>::quiet_NaN(); // NaN: frame centre
        double centerY = std::numeric_limits<double>::quiet_NaN();
        // A general perspective placement: where the grid's corners go, in
        // the order (0, 0), (columns, 0), (columns, height), (0, height) of
        // the symbol's own coordinates. Overrides the similarity above.
        std::optional<std::array<Vec2, 4>> quad;

        double rowHeight = 3.0; // modules per symbol row
        double quietZone = 2.0; // modules of paper around the grid

        // Frame size; 0 sizes the frame to the placed symbol, its quiet zone
        // and margin pixels on every side.
        int frameWidth = 0;
        int frameHeight = 0;
        int margin = 16;

        double ink = 30.0;
        double paper = 220.0;
        double background = -1.0; // outside the quiet zone; negative: paper

        // Printing faults. Every bar is wider by inkSpread modules, half on
        // each side (negative: narrower; at most one module either way).
        double inkSpread = 0.0;
        // Marks over the symbol and its quiet zone, in symbol coordinates:
        // 1 for ink, 0 for paper, -1 where the print shows through; none lie
        // outside marksBounds (u0, v0, u1, v1).
        std::function<int(double u, double v)> marks;
        std::array<double, 4> marksBounds{-1e9, -1e9, 1e9, 1e9};

        int supersampling = 4;   // per axis
        double blurSigma = 0.0;  // pixels
        double noiseSigma = 0.0; // gray levels
        Lighting lighting;
        std::uint64_t seed = 1;
    };

    struct Frame {
        int width = 0;
        int height = 0;
        std::vector<std::uint8_t> pixels; // row-major, no padding

        // Symbol coordinates (modules) to frame pixels.
        Homography symbolToFrame;
        int widthModules = 0;       // grid width
        double heightModules = 0.0; // grid height: rows x rowHeight
        double modulePixels = 0.0;  // nominal module width (the similarity's scale)
        // Where the detector's six corners belong: the start pattern's outer
        // edge (u = 0), its inner edge (u = 17) and the stop pattern's
        // wide-bar centre (u = columns - 14.5), on the first row's top edge
        // (0, 1, 2) and the last row's bottom edge (3, 4, 5).
        std::array<Vec2, 6> corners;

        Vec2 toFrame(double u, double v) const { return symbolToFrame(u, v); }
        // The frame as a library image; it refers to pixels, which must
        // outlive it.
        Image image() {
            return Image(pixels.data(), static_cast<unsigned>(width),
                         static_cast<unsigned>(height));
        }
        std::uint8_t at(int x, int y) const {
            return pixels[static_cast<std::size_t>(y) * width + x];
        }
        // Binary PGM, for looking at a frame by eye.
        bool writePgm(const std::string& path) const;
    };

    // Where the similarity placement of options puts the grid's four corners,
    // in Options::quad order, for a frame of the given size; a base for
    // perspective and corner jitter.
    static std::array<Vec2, 4> placeQuad(const ModuleGrid& grid, const Options& options,
                                         int frameWidth, int frameHeight);
    // The frame size that options would choose for the grid.
    static void frameSize(const ModuleGrid& grid, const Options& options, int& width, int& height);

    Frame render(const ModuleGrid& grid, const Options& options);

private:
    void blur(std::vector<float>& img, int width, int height, int x0, int y0, int x1, int y1,
              double sigma);

    std::vector<float> buffer_;
    std::vector<float> scratch_;
    std::vector<float> kernel_;
};

} // namespace test
} // namespace pdf417
