#pragma once

#include "pdf417scan/ecc/G929Value.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pdf417 {

// Error-correction codewords per level 0..8: 2^(level + 1).
extern const std::uint64_t _ecs[9];

namespace detail {

// Coefficients of g(x) = (x - 3)(x - 3^2)...(x - 3^K), K a power of two,
// highest power first without the leading 1. The product doubles its length
// each round: the next K factors are 3^(K K) g(x / 3^K), whose coefficient
// i is g_i 3^(K i). Plain integers keep the compile-time evaluation short.
template <std::size_t K>
constexpr std::array<G929Value, K> generatorCoefficients() {
    std::uint32_t g[K + 1] = {1, 929 - 3}; // x - 3
    std::uint32_t shifted[K + 1] = {};
    std::uint32_t product[K + 1] = {};
    for (std::size_t half = 1; half < K; half *= 2) {
        std::uint32_t step = 1; // 3^half
        for (std::size_t i = 0; i < half; ++i) {
            step = step * 3 % 929;
        }
        std::uint32_t scale = 1;
        for (std::size_t i = 0; i <= half; ++i) {
            shifted[i] = g[i] * scale % 929;
            scale = scale * step % 929;
            product[i] = product[i + half] = 0;
        }
        for (std::size_t i = 0; i <= half; ++i) {
            for (std::size_t j = 0; j <= half; ++j) {
                product[i + j] = (product[i + j] + g[i] * shifted[j]) % 929;
            }
        }
        for (std::size_t i = 0; i <= 2 * half; ++i) {
            g[i] = product[i];
        }
    }
    std::array<G929Value, K> coefficients{};
    for (std::size_t j = 0; j < K; ++j) {
        coefficients[j] = G929Value(static_cast<unsigned short>(g[j + 1]));
    }
    return coefficients;
}

} // namespace detail

// Generator coefficients of each level: entry j of level L is the coefficient
// of x^(k-1-j) in g(x) = (x - 3)(x - 3^2)...(x - 3^k), k = 2^(L+1); the
// leading 1 is not stored. Level 0 is {917, 27}: g(x) = x^2 + 917x + 27.
// Computed by the compiler: constants from the start, so a static
// initialiser anywhere sees them filled.
inline constexpr std::array<G929Value, 2> _ecw0 = detail::generatorCoefficients<2>();
inline constexpr std::array<G929Value, 4> _ecw1 = detail::generatorCoefficients<4>();
inline constexpr std::array<G929Value, 8> _ecw2 = detail::generatorCoefficients<8>();
inline constexpr std::array<G929Value, 16> _ecw3 = detail::generatorCoefficients<16>();
inline constexpr std::array<G929Value, 32> _ecw4 = detail::generatorCoefficients<32>();
inline constexpr std::array<G929Value, 64> _ecw5 = detail::generatorCoefficients<64>();
inline constexpr std::array<G929Value, 128> _ecw6 = detail::generatorCoefficients<128>();
inline constexpr std::array<G929Value, 256> _ecw7 = detail::generatorCoefficients<256>();
inline constexpr std::array<G929Value, 512> _ecw8 = detail::generatorCoefficients<512>();

// _ec[L] points at the first coefficient of level L.
inline constexpr const G929Value* _ec[9] = {_ecw0.data(), _ecw1.data(), _ecw2.data(),
                                            _ecw3.data(), _ecw4.data(), _ecw5.data(),
                                            _ecw6.data(), _ecw7.data(), _ecw8.data()};

class RS929Encoder {
public:
    // out = data followed by the k error-correction codewords of ecLevel, so
    // that out has zeros at 3^1 .. 3^k. False for a level above 8, with out
    // untouched. out must not be data.
    static bool encode(const std::vector<G929Value>& data, std::vector<G929Value>& out,
                       unsigned int ecLevel);
};

} // namespace pdf417
