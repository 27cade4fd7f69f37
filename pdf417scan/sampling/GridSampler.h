#pragma once

#include "pdf417scan/imaging/Homography.h"
#include "pdf417scan/imaging/LineSampler.h"
#include "pdf417scan/imaging/Point2D.h"

#include <cstdint>
#include <vector>

namespace pdf417 {

// Reads every codeword of a symbol whose grid is known: along up to three
// lines through each row, through the homography with interpolation, each
// codeword measured below the pixel in the row's cluster. The lines of a
// row vote; every cell gets a confidence, and where a codeword was found
// is kept so that the grid can be refitted to it.
//
// Scratch storage is kept between calls; one thread at a time.
class GridSampler {
public:
    static constexpr std::uint16_t UNREAD = 0xFFFF;

    // `map` takes (u modules, v rows) to the frame.
    void sample(const LineSampler& sampler, const Homography& map, int rows, int columns,
                int ecLevel);

    // Data cells in reading order, UNREAD where no line read one.
    const std::vector<std::uint16_t>& cells() const { return cells_; }
    const std::vector<float>& confidence() const { return confidence_; }
    // Row indicators read and how many of them say what the geometry says.
    int indicatorsRead() const { return indicatorsRead_; }
    int indicatorsAgreeing() const { return indicatorsAgreeing_; }
    // Codeword boundaries as found: symbol points and where they were seen
    // (weighted by confidence).
    const std::vector<Point2D>& foundFrom() const { return foundFrom_; }
    const std::vector<Point2D>& foundAt() const { return foundAt_; }

private:
    struct Reading {
        std::uint16_t value;
        float confidence;
    };

    std::vector<std::uint16_t> cells_;
    std::vector<float> confidence_;
    std::vector<Reading> readings_;
    std::vector<float> profile_;
    std::vector<Point2D> foundFrom_;
    std::vector<Point2D> foundAt_;
    int indicatorsRead_ = 0;
    int indicatorsAgreeing_ = 0;
};

} // namespace pdf417
