#pragma once

#include "pdf417scan/imaging/Homography.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/locate/EdgeLineFinder.h"
#include "pdf417scan/locate/GridFitter.h"
#include "pdf417scan/locate/OutlineFinder.h"
#include "pdf417scan/locate/PatternScanner.h"
#include "pdf417scan/reader/DecodedSymbol.h"
#include "pdf417scan/reader/SymbolDecoder.h"
#include "pdf417scan/sampling/CellVotes.h"
#include "pdf417scan/sampling/GridSampler.h"
#include "pdf417scan/sampling/IndicatorReader.h"

#include <vector>

namespace pdf417 {

// The precise chain, for what the fast one cannot read: symbols at any
// angle, under perspective, small, short, cut by the frame or with a pattern
// damaged. Start and stop patterns are found on scan lines in four
// directions and grouped into edges; the row indicators, read across those
// edges, give the symbol's rows, columns and level and the row boundaries;
// a homography fitted to them lays the grid, and every codeword is measured
// below the pixel with a confidence. When correction fails, the grid is
// refitted to the codewords found and read once more.
//
// Scratch storage is kept between frames; one thread at a time.
class PreciseReader {
public:
    struct Settings {
        int scanStep = 6; // pixels between scan lines
        // Between diagonal ones (only short symbols turned 20 to 70 degrees
        // from the rows and columns need them); 0: scanStep.
        int diagonalStep = 0;
        int maxOutlines = 3; // candidate symbols tried per frame
    };

    // Reads one frame. What a frame shows of a symbol it could not read is
    // pooled with the next frames' readings of the same geometry, until a
    // reading succeeds or twenty frames in a row have failed.
    bool read(const Image& image, const Settings& settings, SymbolDecoder& decoder,
              DecodedSymbol& out);
    // Forgets the pooled readings.
    void reset();

    // What the last read found, for pictures that show why a frame did not
    // read.
    const std::vector<PatternHit>& hits() const { return scanner_.hits(); }
    const std::vector<EdgeLine>& edges() const { return edges_; }
    const std::vector<SymbolOutline>& outlines() const { return outlines_; }
    // The last grid laid (its rows and columns; 0 when none) and its cells.
    const Homography& grid() const { return grid_; }
    int gridRows() const { return gridRows_; }
    int gridColumns() const { return gridColumns_; }
    const std::vector<std::uint16_t>& gridCells() const { return sampler_.cells(); }

private:
    static constexpr int MAX_REFITS = 3;
    static constexpr int MAX_FAILED_FRAMES = 20;
    // Lines searched across a lone outline's rows for its other pattern.
    static constexpr int COMPLETION_LINES = 9;
    // Lone hits looked at again along lines packed beside them.
    static constexpr std::size_t MAX_SEEDS = 12;

    bool readOutline(const LineSampler& sampler, const SymbolOutline& outline,
                     SymbolDecoder& decoder, DecodedSymbol& out);
    // Scans closely beside the hits no supported edge took, into
    // closeLook_; true when that found any.
    bool densify(const Image& image);
    // Finds the pattern missing from a lone outline where the rows say it
    // should be; `out` then holds both.
    bool completeOutline(const LineSampler& sampler, const SymbolOutline& lone,
                         const Homography& map, int columns, SymbolOutline& out);
    bool decodeGrid(const LineSampler& sampler, const Homography& map,
                    const IndicatorReading& reading, SymbolDecoder& decoder, DecodedSymbol& out);
    // Adds the last grid read to the pool and decodes what the pool holds.
    bool decodePooled(const IndicatorReading& reading, SymbolDecoder& decoder, DecodedSymbol& out);
    void setCorners(const Homography& map, const IndicatorReading& reading, DecodedSymbol& out);

    PatternScanner scanner_;
    EdgeLineFinder edgeFinder_;
    OutlineFinder outlineFinder_;
    IndicatorReader indicators_;
    GridFitter fitter_;
    GridSampler sampler_;
    CellVotes votes_;
    std::vector<std::uint16_t> pooledCells_;
    std::vector<float> pooledConfidence_;
    int failedFrames_ = 0;
    bool pooledThisFrame_ = false;
    std::vector<EdgeLine> edges_;
    std::vector<SymbolOutline> outlines_;
    IndicatorReading readings_[2];
    PatternScanner closeLook_;
    std::vector<std::pair<Point2D, Point2D>> segments_;
    std::vector<EdgeLine> foundEdges_;
    std::vector<EdgeLine> pairEdges_;
    std::vector<SymbolOutline> completions_;
    std::vector<std::uint32_t> seeds_;
    std::vector<PatternHit> hits_;
    Homography grid_;
    int gridRows_ = 0;
    int gridColumns_ = 0;
};

} // namespace pdf417
