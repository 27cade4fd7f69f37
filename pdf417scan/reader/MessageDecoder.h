#pragma once

#include "pdf417scan/reader/DecodedMessage.h"
#include "pdf417scan/reader/EciRange.h"
#include "pdf417scan/reader/EciTextConverter.h"
#include "pdf417scan/reader/MacroPdf417.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

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
    // Returns false, with `out` emptied, for a stream that no conforming
    // encoder writes and that a miscorrected word easily becomes: a
    // descriptor other than `count`, a value above 928, a reserved codeword
    // (903-912, 914-920), a Macro PDF417 field codeword (922, 923) outside a
    // control block, a numeric group without its leading 1, a byte-shifted
    // value above 255 or none at all, a Byte Compaction codeword that holds
    // no byte (a single above 255, a group of five above 2^48 - 1).
    //
    // Malformed ECI and Macro blocks (truncated, out-of-range designators,
    // repeated fields) are not refused: they decode to what could be read. An
    // ECI whose number is cut short still starts a range, with eci -1, so that
    // the bytes behind it are not read under the previous ECI. After 924, a
    // tail of fewer than five codewords that each hold a byte is read one byte
    // per codeword, as 901 would read it.
    bool decode(const std::uint16_t* words, std::size_t count, DecodedMessage& out);

private:
    EciTextConverter converter_;
    // A Macro PDF417 field, decoded before it becomes text or a number.
    std::vector<std::uint8_t> fieldBytes_;
    std::vector<EciRange> fieldEcis_;

    void readMacro(const std::uint16_t* words, std::size_t begin, std::size_t end,
                   MacroPdf417& macro);
    void readField(std::uint16_t designator, const std::uint16_t* words, std::size_t begin,
                   std::size_t end, MacroPdf417& macro);
    bool appendText(const std::vector<std::uint8_t>& bytes, const std::vector<EciRange>& ecis,
                    std::string& text);
};

} // namespace pdf417
