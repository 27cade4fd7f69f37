#pragma once

#include "pdf417scan/ecc/RS929Corrector.h"
#include "pdf417scan/reader/DecodedSymbol.h"
#include "pdf417scan/reader/MessageDecoder.h"

#include <cstdint>
#include <vector>

namespace pdf417 {

// From the codewords a chain read off a symbol to its message: error
// correction to the code's capacity, with unread and then doubtful cells as
// erasures, and the full standard decoding of the data.
//
// A wrong message is worse than none, and beyond its capacity a Reed-Solomon
// decoder can land on another codeword. So a correction is taken only when a
// word of random codewords would pass it with odds below one in a billion
// (this refuses errors where the symbol has too few check codewords to
// confirm them: at level 0, for one), and the corrected word must then carry
// a length descriptor equal to its data length and decode as a conforming
// encoder writes.
//
// One thread at a time; scratch storage is kept between calls.
class SymbolDecoder {
public:
    // A cell that was not read.
    static constexpr std::uint16_t UNREAD = 0xFFFF;

    // `cells` are the rows x dataColumns codewords in reading order (values
    // 0..928, or UNREAD), `confidence` beside them (0..1: how sure the chain
    // is of each). On success fills the message, geometry and correction
    // counts of `out`; its corners are the caller's.
    bool decode(const std::vector<std::uint16_t>& cells, const std::vector<float>& confidence,
                int rows, int dataColumns, int ecLevel, DecodedSymbol& out);

private:
    bool tryCorrection(std::size_t ecCount, DecodedSymbol& out);

    RS929Corrector corrector_;
    MessageDecoder messageDecoder_;
    std::vector<std::uint16_t> word_;
    std::vector<std::uint32_t> erasures_;
    std::vector<std::uint32_t> byConfidence_;
};

} // namespace pdf417
