#pragma once

#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/Point2D.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace pdf417 {

// Where one scan line crosses a start or a stop pattern.
struct PatternHit {
    enum Kind : std::uint8_t { Start, Stop };

    Kind kind = Start;
    std::uint8_t direction = 0; // the scan direction, PatternScanner::Direction
    // The pattern's outer edge (the start pattern's first bar, the stop
    // pattern's last) and its inner edge (where the row indicator begins or
    // ends), in frame pixels: pixel (x, y) covers [x, x + 1) x [y, y + 1).
    Point2D outer;
    Point2D inner;
    // The pattern's width along the scan line in modules' worth of pixels:
    // the module size, stretched by the scan's slant across the bars.
    float module = 0.0f;
    // Mean gray of the pattern's light elements minus its dark ones.
    float contrast = 0.0f;
};

// Looks for start and stop patterns on scan lines across the whole frame, in
// up to four directions (rows, columns and both diagonals, so that a symbol
// at any angle lies within about 22 degrees of one of them) and both ways
// along each. Patterns are matched by the ratios of their run lengths, which
// a slanted scan stretches alike, on a line binarised against its own local
// mean with some hysteresis, with run ends placed below the pixel.
//
// Scratch storage is kept between frames; one thread at a time.
class PatternScanner {
public:
    enum Direction : std::uint8_t { Rows, Columns, Diagonal, AntiDiagonal };

    struct Settings {
        int step = 6;                  // pixels between parallel scan lines
        int diagonalStep = 0;          // between diagonal ones; 0: `step`
        std::uint8_t directions = 0xF; // bit per Direction
        int maxHits = 4000;            // a frame full of patterns stops here
    };

    // Replaces the hits with those of `image`.
    void scan(const Image& image, const Settings& settings);

    // Replaces the hits with those on the given segments of the frame,
    // sampled a pixel apart with interpolation: a close look where a pattern
    // should be, along lines that cross it square. `frameNoise` is the
    // frame's noiseHysteresis(), measured once for all its close looks.
    void scanSegments(const Image& image, const std::vector<std::pair<Point2D, Point2D>>& segments,
                      int frameNoise);

    // How far past the local mean a sample of this frame must lie to be
    // more than noise, in gray levels.
    static int noiseHysteresis(const Image& image);
    // noiseHysteresis() of the frame the last scan() read.
    int lastNoiseHysteresis() const { return noiseHysteresis_; }

    const std::vector<PatternHit>& hits() const { return hits_; }

private:
    // Scans line_ (sample i at (x0 + i dx, y0 + i dy), pixel centres) for
    // patterns.
    void scanLine(float x0, float y0, float dx, float dy, Direction direction);
    // One pass over the frame's lines at the current hysteresis.
    void scanAll(const Image& image, const Settings& settings);
    void match(std::size_t first, std::size_t count, bool reversed, float x0, float y0, float dx,
               float dy, Direction direction);

    // The line being scanned: a frame row, or a gathered column or diagonal.
    const std::uint8_t* line_ = nullptr;
    int length_ = 0;
    std::vector<std::uint16_t> prefix_;
    std::vector<std::uint8_t> flags_;
    std::vector<std::uint8_t> gathered_;
    std::vector<std::uint8_t> padded_;
    // Runs of one line: where each starts, in samples below the pixel, and
    // whether it is dark; the last entry closes the line.
    std::vector<float> runStart_;
    std::vector<std::uint8_t> runDark_;
    std::vector<PatternHit> hits_;
    int maxHits_ = 0;
    // How far past the local mean a sample must lie to flip a run, in gray
    // levels: raised above the floor on noisy frames.
    int hysteresis_ = 0;
    int noiseHysteresis_ = 0;
    // How far a lone peak or dip must stand out to count as an element; 0
    // where only the local mean decides.
    int prominence_ = 0;
};

} // namespace pdf417
