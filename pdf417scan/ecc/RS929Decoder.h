#pragma once

#include "pdf417scan/ecc/G929Value.h"

#include <array>
#include <cstdint>
#include <vector>

namespace pdf417 {

// Corrects errors and erasures in the codewords of one PDF417 symbol, the
// Reed-Solomon code over GF(929) with generator roots 3^1 .. 3^k.
//
// Positions count powers of x from the end of the codeword vector: position
// p is the codeword at index n - 1 - p, so position 0 is the last
// error-correction codeword.
//
// One thread at a time: the working vectors are members so that repeated
// decodes reuse their storage.
class RS929Decoder {
public:
    // Error-correction codewords per level 0..8: 2^(level + 1).
    static constexpr std::array<std::uint64_t, 9> ec_size = {2, 4, 8, 16, 32, 64, 128, 256, 512};

    RS929Decoder() = default;
    ~RS929Decoder() = default;

    // Corrects codewords in place. positions holds the erasure positions on
    // entry and, once the roots of the locator have been searched, the
    // positions that were corrected. True when every syndrome of the result
    // is zero. Refused (codewords and positions untouched): a level above 8,
    // fewer than k + 1 codewords, more than k - 2 erasures, more damage than
    // the capacity check allows. A located position outside the word fails
    // with codewords untouched and positions empty. A false result after
    // correction leaves the codewords altered: they must not be used.
    bool decode(std::vector<G929Value>& codewords, std::vector<unsigned long>& positions,
                unsigned int ecLevel);

    // Erasure-aware Berlekamp-Massey iteration: from the k syndromes (root 3
    // first) and the erasure locator, the combined error and erasure locator.
    // Its vector length, leading zeros included, is what the capacity check
    // reads.
    void resolveBerlekampMessy(const std::vector<G929Value>& syndromes,
                               const std::vector<G929Value>& erasureLocator,
                               std::vector<G929Value>& locator);

private:
    void reserveFor(std::size_t k);

    std::vector<G929Value> syndromes_;
    std::vector<G929Value> spare1_; // unused
    std::vector<G929Value> locator_;
    std::vector<G929Value> erasureLocator_;
    std::vector<G929Value> spare2_; // unused
    // Scratch 1: roots of the locator, then the error evaluator; inside the
    // iteration the scaled correction term or the saved locator.
    std::vector<G929Value> scratch1_;
    // Scratch 2: the factor of one erasure, the iteration's difference, then
    // the error values.
    std::vector<G929Value> scratch2_;
    // Scratch 3: the erasure locator grown by one factor.
    std::vector<G929Value> scratch3_;
    // The iteration's correction polynomial B.
    std::vector<G929Value> correction_;
};

} // namespace pdf417
