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
#include <utility>
#include <vector>

namespace pdf417 {

// Turns one grayscale image into the bytes of the PDF417 symbol it shows:
// locate, cut the columns, sample votes, extract, correct, decode.
//
// The vote table survives between decode() calls on the same reader, so
// successive frames of the same symbol pool their votes until a reading
// succeeds or twenty readings have failed at extraction or later. The reader
// is large (the table dominates it): create it once, on the heap, and reuse
// it; one thread at a time.
class PDF417Reader {
public:
    enum Result : int {
        Success = 0,
        NoSymbol = 1,         // no symbol located
        NoColumns = 2,        // no column lines found
        NoCodewords = 3,      // sampling or codeword extraction failed
        CorrectionFailed = 4, // error correction (or data decoding) failed
    };

    PDF417Reader() = default;

    // Clears `out` and reads `image` into it; returns one of Result. On
    // success `out` may still be empty (a symbol carrying no data).
    int decode(const IImage& image, std::vector<unsigned char>& out);

    // The votes gathered so far, and the failures counted towards their reset.
    const MultiTable& votes() const { return table; }
    std::uint32_t failureCount() const { return failedAttempts; }

private:
    // Readings failed at extraction or later before the votes are dropped.
    static constexpr std::uint32_t kMaxFailedAttempts = 20;

    std::vector<std::pair<Point2D, Point2D>> columnLines;
    Detector detector;
    Cutter cutter;
    Sampler sampler;
    MultiTable table;
    MultiTable::TableData tableData;
    std::vector<unsigned short> dataWords;
    RS929Decoder rsDecoder;
    std::vector<unsigned long> erasures;
    std::vector<G929Value> rsWords;
    std::uint32_t failedAttempts = 0;
};

} // namespace pdf417
