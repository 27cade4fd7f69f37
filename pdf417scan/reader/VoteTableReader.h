#pragma once

#include "pdf417scan/imaging/IImage.h"
#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "pdf417scan/reader/DecodedSymbol.h"
#include "pdf417scan/reader/SymbolDecoder.h"
#include "pdf417scan/sampling/MultiTable.h"
#include "pdf417scan/sampling/Sampler.h"

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace pdf417 {

// The fast chain: the row-scanning locator, the column cutter and the
// sampler cast codeword votes into a vote table, as PDF417Reader does; the
// table's best candidates are then corrected to the code's full capacity and
// decoded to the whole standard by a SymbolDecoder.
//
// Votes persist across read() calls, so consecutive frames of one symbol pool
// their evidence, until a reading succeeds or twenty readings have failed
// after sampling. The table makes the object large (about 80 KB): keep it on
// the heap. One thread at a time.
class VoteTableReader {
public:
    bool read(const IImage& image, SymbolDecoder& decoder, DecodedSymbol& out);
    // Forgets every vote.
    void reset();

private:
    static constexpr std::uint32_t MAX_FAILED_ATTEMPTS = 20;
    // Pixels the locator leaves beyond each end of the start bar.
    static constexpr float START_BAR_MARGIN = 5.0f;

    // The outline from the locator's six corners.
    static std::array<Point2D, 4> outline(const std::array<Point2D, 6>& corners, int dataColumns);

    std::vector<std::pair<Point2D, Point2D>> columnLines_;
    Detector detector_;
    Cutter cutter_;
    Sampler sampler_;
    MultiTable table_;
    std::vector<std::uint16_t> cells_;
    std::vector<float> confidence_;
    std::uint32_t failedAttempts_ = 0;
};

} // namespace pdf417
