#pragma once

#include <array>
#include <vector>

namespace pdf417 {

// Turns the data codewords of a symbol (symbol length descriptor first) into
// the bytes they carry: Text Compaction with its submodes and the byte shift,
// Byte Compaction after 901 and 924, Numeric Compaction after 902. Macro
// PDF417, ECI and reader initialisation codewords are not interpreted: each is
// skipped and what follows it is read as text. Any sequence of any 16-bit
// values is safe to decode.
class Decoder {
public:
    using iterator = std::vector<unsigned short>::const_iterator;

    // Replaces out with the decoded bytes. Codewords past the length
    // descriptor's count are ignored. Always returns true.
    static bool decode(std::vector<unsigned short> const& words, std::vector<unsigned char>& out);

    // Each sub-decoder appends to out and stops, leaving `it` there, at `end`
    // or at the first codeword of 900 or more that it does not handle itself.
    static void decodeTextCompaction(iterator& it, iterator const& end,
                                     std::vector<unsigned char>& out);
    // After 901: groups of five codewords become six bytes; a final group of
    // up to five (even exactly five) gives one byte per codeword.
    static void decodeByteCompaction(iterator& it, iterator const& end,
                                     std::vector<unsigned char>& out);
    // After 924: only whole groups of five codewords count; a shorter tail is
    // dropped, since the data is a whole number of six-byte groups.
    static void decodeByteCompaction6(iterator& it, iterator const& end,
                                      std::vector<unsigned char>& out);
    // After 902: groups of up to 15 codewords, each a decimal number behind a
    // leading 1.
    static void decodeNumericCompaction(iterator& it, iterator const& end,
                                        std::vector<unsigned char>& out);

    // Appends the decimal digits of the first `count` codewords of a numeric
    // group (at most its 15), without the group's leading 1 when that is the
    // top digit.
    static void base900toBase10(std::array<unsigned short, 15> const& group, unsigned long count,
                                std::vector<unsigned char>& out);
};

} // namespace pdf417
