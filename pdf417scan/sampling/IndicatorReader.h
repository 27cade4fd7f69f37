#pragma once

#include "pdf417scan/imaging/Homography.h"
#include "pdf417scan/imaging/LineSampler.h"
#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/locate/OutlineFinder.h"
#include "pdf417scan/sampling/ProfileDecoder.h"

#include <vector>

namespace pdf417 {

// Where the row indicators show one row giving way to the next.
struct RowBoundary {
    int row = 0; // the row below the boundary (its top edge): v = row
    bool right = false;
    Point2D at; // on the indicator column's centre line, in the frame
};

// What the row indicators of a located symbol say.
struct IndicatorReading {
    int rows = 0;
    int columns = 0;
    int ecLevel = -1;
    // The outline's provisional top is the symbol's bottom: its rows count
    // down the start edge's direction (a turned or mirrored symbol).
    bool upsideDown = false;
    std::vector<RowBoundary> boundaries;
    int indicatorsRead = 0;
};

// Reads the left and right row-indicator columns of a located symbol along
// many lines across them, close enough that every row is crossed several
// times. Each indicator codeword names its row (its value and its cluster)
// and one of the symbol's rows, columns and error correction level, so the
// readings vote for the symbol's geometry, and where the row number steps,
// a row boundary lies: the rows are found from the symbol itself, even when
// its top or bottom is cut off.
//
// Scratch storage is kept between calls; one thread at a time.
class IndicatorReader {
public:
    // `map` is the outline's provisional map (u modules, t 0..1); `columns`
    // the data columns it was made for.
    bool read(const LineSampler& sampler, const Homography& map, const SymbolOutline& outline,
              int columns, IndicatorReading& out);

    // u of the indicator columns' centres, in modules from the start
    // pattern's outer edge.
    static float leftCentre() { return 25.5f; }
    static float rightCentre(int columns) { return 17.0f * static_cast<float>(columns + 2) + 8.5f; }

private:
    struct Sample {
        float t;
        int row;
        int parameter; // 0..29, what the codeword says besides its row
        int kind;      // 0 (rows - 1) / 3, 1 level and (rows - 1) mod 3, 2 columns - 1
        bool right;
        float confidence;
    };

    bool readAt(const LineSampler& sampler, const Homography& map, bool right, int columns, float t,
                Sample& out);

    std::vector<Sample> samples_;
    std::vector<float> profile_;
    float samplesPerModule_ = 3.0f;
};

} // namespace pdf417
