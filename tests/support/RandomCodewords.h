#pragma once

#include "pdf417scan/ecc/G929Value.h"

#include <cstddef>
#include <random>
#include <vector>

namespace pdf417 {
namespace test {

inline G929Value gf(unsigned v) {
    return G929Value(static_cast<unsigned short>(v));
}

// A Reed-Solomon codeword of n codewords at ecLevel (n > k) with random data,
// made by RS929Encoder.
std::vector<G929Value> randomCodeword(std::mt19937& rng, unsigned ecLevel, std::size_t n);

// True when word vanishes at 3^1 .. 3^k, evaluated afresh.
bool syndromesZero(const std::vector<G929Value>& word, std::size_t k);

} // namespace test
} // namespace pdf417
