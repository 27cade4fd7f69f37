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
// that must not miscorrect check what they know of the content. Whatever it
// returns is a codeword that differs from the input in e non-erased
// codewords with 2e + erasures <= k.
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
    // to be unreadable; their values are ignored (any number, 929 and up
    // included) and duplicates count once.
    // Returns true with the counts in `result` when the word was corrected
    // (or needed nothing). Returns false, with `codewords` exactly as they
    // came in and `result` zero, when the damage is beyond capacity or the
    // input is not a word: ecCount of 0 or not below the codeword count, more
    // than 928 codewords, a value above 928 at a codeword not erased, an
    // erasure index outside the word.
    bool correct(std::vector<std::uint16_t>& codewords, std::size_t ecCount,
                 const std::vector<std::uint32_t>& erasures, Result& result);

private:
    bool collectErasures(std::size_t n, std::size_t k, const std::vector<std::uint32_t>& erasures);
    bool syndromesVanish(const std::vector<std::uint16_t>& word, std::size_t k);
    std::size_t findErrorLocator(std::size_t k);
    bool searchErrors(std::size_t n, std::size_t errors);
    bool computeValues(std::size_t errors);
    bool correctionVerified(std::size_t k);
    void evaluate(const std::vector<std::uint16_t>& polynomial, const std::int16_t* x,
                  const std::int16_t* x2, std::size_t count);

    // Per index: 1 when the caller named it as erased.
    std::vector<std::uint8_t> erased_;
    // The word with erased codewords read as 0, then corrected.
    std::vector<std::uint16_t> word_;
    // Errata as powers of x (position p is index n - 1 - p): the erasures in
    // the order given, then the errors in increasing position.
    std::vector<std::uint16_t> positions_;
    std::vector<std::uint16_t> syndromes_;    // S_1 .. S_k
    std::vector<std::uint32_t> accumulators_; // sums per syndrome when checking
    // The errata's points in the evaluation kernel's form, with their
    // squares, and the values of the last evaluation; padded to whole blocks.
    std::vector<std::int16_t> points_;
    std::vector<std::int16_t> squares_;
    std::vector<std::uint16_t> values_;
    // Polynomials are stored lowest power first, except highFirst_, the
    // reversed copy that evaluation takes.
    std::vector<std::uint16_t> erasureLocator_; // product of (1 - 3^p x) over erasures
    std::vector<std::uint16_t> modified_;       // syndromes with the erasures divided out
    std::vector<std::uint16_t> locator_;        // errors only, from Berlekamp-Massey
    std::vector<std::uint16_t> previous_;       // its correction polynomial
    std::vector<std::uint16_t> saved_;          // the locator before a length change
    std::vector<std::uint16_t> combined_;       // errors and erasures
    std::vector<std::uint16_t> highFirst_;
    std::vector<std::uint16_t> errataValues_; // per entry of positions_
};

} // namespace pdf417
