#pragma once

#include "pdf417scan/ecc/G929Value.h"

#include <array>
#include <cstdint>
#include <vector>

namespace pdf417 {

// Error-correction codewords per level 0..8: 2^(level + 1).
extern const std::uint64_t _ecs[9];

// Generator coefficients of each level: entry j of level L is the coefficient
// of x^(k-1-j) in g(x) = (x - 3)(x - 3^2)...(x - 3^k), k = 2^(L+1); the
// leading 1 is not stored. Level 0 is {917, 27}: g(x) = x^2 + 917x + 27.
extern const std::array<G929Value, 2> _ecw0;
extern const std::array<G929Value, 4> _ecw1;
extern const std::array<G929Value, 8> _ecw2;
extern const std::array<G929Value, 16> _ecw3;
extern const std::array<G929Value, 32> _ecw4;
extern const std::array<G929Value, 64> _ecw5;
extern const std::array<G929Value, 128> _ecw6;
extern const std::array<G929Value, 256> _ecw7;
extern const std::array<G929Value, 512> _ecw8;

// _ec[L] points at the first coefficient of level L.
extern const G929Value* const _ec[9];

class RS929Encoder {
public:
    // out = data followed by the k error-correction codewords of ecLevel, so
    // that out has zeros at 3^1 .. 3^k. False for a level above 8, with out
    // untouched. out must not be data.
    static bool encode(const std::vector<G929Value>& data, std::vector<G929Value>& out,
                       unsigned int ecLevel);
};

} // namespace pdf417
