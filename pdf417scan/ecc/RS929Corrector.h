#pragma once

#include "pdf417scan/ecc/G929Value.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pdf417 {

// Reed-Solomon error and erasure correction over GF(929) to the full capacity
// of the code: any 2 * errors + erasures <= k is corrected, k being the
// number of check codewords (generator roots 3^1 .. 3^k, as in PDF417).
//
// Codewords are addressed by their index in the word (0 = the first, the
// symbol length descriptor in a PDF417 symbol), not by powers of x.
//
// A word is accepted only when the combined locator has exactly as many
// distinct roots as its degree, all of them inside the word, and every
// syndrome of the corrected word is zero. Beyond capacity the decoder may
// still land on another codeword (no Reed-Solomon decoder can tell); callers
// that must not miscorrect check what they know of the content.
//
// One thread at a time: the working vectors are members, so after the first
// word of a size nothing is allocated.
class RS929Corrector {
public:
    struct Result {
        std::size_t errors = 0;   // codewords found wrong and changed
        std::size_t erasures = 0; // distinct erased codewords (filled in, possibly unchanged)
    };

    // Corrects `codewords` in place: the data codewords followed by the
    // `ecCount` check codewords. `erasures` lists indices of codewords known
    // to be unreadable; their values are ignored and duplicates count once.
    // Returns true with the counts in `result` when the word was corrected
    // (or needed nothing). Returns false, with `codewords` exactly as they
    // came in, when the damage is beyond capacity or the input is not a word:
    // ecCount of 0 or not below the codeword count, more than 928 codewords,
    // a value above 928, an erasure index outside the word.
    bool correct(std::vector<std::uint16_t>& codewords, std::size_t ecCount,
                 const std::vector<std::uint32_t>& erasures, Result& result);
};

} // namespace pdf417
