#pragma once

#include "pdf417scan/reader/DecodedMessage.h"

#include <cstddef>
#include <cstdint>

namespace pdf417 {

// Turns the corrected data codewords of a symbol into its message, following
// the whole of ISO/IEC 15438's data encoding: Text Compaction with every
// submode latch and shift, Byte Compaction (901 and 924), Numeric Compaction
// (902), the byte shift (913) wherever it stands, ECI assignments (925, 926,
// 927) with the text converted to UTF-8, the Macro PDF417 control block (928,
// 923, 922) parsed into its fields and kept out of the message, and reader
// initialisation (921).
//
// One thread at a time; scratch storage is kept between calls.
class MessageDecoder {
public:
    // `words` are the symbol's data codewords, the symbol length descriptor
    // first and the padding included, each 0..928; the descriptor must equal
    // `count`. Replaces `out`.
    //
    // Returns false for a stream that no conforming encoder writes and that a
    // miscorrected word easily becomes: a descriptor other than `count`, a
    // value above 928, a reserved codeword (903-912, 914-920), a numeric group
    // without its leading 1, a byte-shifted value above 255. Malformed ECI and
    // Macro blocks (truncated, out-of-range designators, repeated fields) are
    // not refused: they decode to what could be read.
    bool decode(const std::uint16_t* words, std::size_t count, DecodedMessage& out);
};

} // namespace pdf417
