#pragma once

#include "pdf417scan/ecc/G929Value.h"
#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/imaging/IImage.h"
#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "pdf417scan/sampling/MultiTable.h"
#include "pdf417scan/sampling/Sampler.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace pdf417 {
namespace bench {

// Milliseconds spent in each stage of one scan, both attempts together.
struct StageTimes {
    double detect = 0.0;
    double cut = 0.0;
    double sample = 0.0;
    double correct = 0.0; // codeword extraction and error correction
    double decode = 0.0;  // the compaction modes

    double total() const { return detect + cut + sample + correct + decode; }
};

// How far a scan got, in pipeline order; a scan that reads ends at Read.
enum class Reached {
    NoSymbol,     // the detector located nothing
    NoColumns,    // the cutter laid no column lines
    NoSample,     // the sampler failed
    NoCodewords,  // the vote table gave no codeword sequence
    NoCorrection, // error correction (or data decoding) failed
    Read,         // decoded, possibly to no bytes
};

constexpr int REACHED_COUNT = 6;

const char* describe(Reached reached);

// The reading chain run stage by stage with a clock around each: the same
// steps as PDF417Reader::decode, and the same two attempts as
// Barcode2DScanner (upright, then turned 90 degrees clockwise when no bytes
// came out) on one fresh vote table per scan, so it must read exactly what
// the scanner reads.
class StagedReader {
public:
    // Reads `image` into out; returns the furthest stage either attempt got to.
    Reached scan(IImage& image, std::vector<unsigned char>& out, StageTimes& times);

private:
    Reached attempt(const IImage& image, std::vector<unsigned char>& out, StageTimes& times);

    static constexpr std::uint32_t MAX_FAILED_ATTEMPTS = 20;

    std::vector<std::pair<Point2D, Point2D>> columnLines_;
    Detector detector_;
    Cutter cutter_;
    Sampler sampler_;
    std::unique_ptr<MultiTable> table_;
    MultiTable::TableData tableData_;
    std::vector<unsigned short> dataWords_;
    RS929Decoder rsDecoder_;
    std::vector<unsigned long> erasures_;
    std::vector<G929Value> rsWords_;
    std::uint32_t failedAttempts_ = 0;
};

} // namespace bench
} // namespace pdf417
