#include "pdf417scan/ecc/RS929Encoder.h"

#include <cstddef>

namespace pdf417 {

namespace {

// Expands (x - 3)(x - 3^2)...(x - 3^K) and drops the leading 1.
template <std::size_t K>
std::array<G929Value, K> generatorCoefficients() {
    // g[0..d] holds the product so far, highest power first.
    std::array<G929Value, K + 1> g{};
    g[0] = G929Value(1);
    const G929Value three(3);
    for (std::size_t d = 1; d <= K; ++d) {
        const G929Value root = three.pow(d);
        for (std::size_t i = d; i > 0; --i) {
            g[i] -= g[i - 1] * root;
        }
    }
    std::array<G929Value, K> coefficients{};
    for (std::size_t j = 0; j < K; ++j) {
        coefficients[j] = g[j + 1];
    }
    return coefficients;
}

} // namespace

const std::uint64_t _ecs[9] = {2, 4, 8, 16, 32, 64, 128, 256, 512};

// Filled when the library loads, in level order.
const std::array<G929Value, 2> _ecw0 = generatorCoefficients<2>();
const std::array<G929Value, 4> _ecw1 = generatorCoefficients<4>();
const std::array<G929Value, 8> _ecw2 = generatorCoefficients<8>();
const std::array<G929Value, 16> _ecw3 = generatorCoefficients<16>();
const std::array<G929Value, 32> _ecw4 = generatorCoefficients<32>();
const std::array<G929Value, 64> _ecw5 = generatorCoefficients<64>();
const std::array<G929Value, 128> _ecw6 = generatorCoefficients<128>();
const std::array<G929Value, 256> _ecw7 = generatorCoefficients<256>();
const std::array<G929Value, 512> _ecw8 = generatorCoefficients<512>();

const G929Value* const _ec[9] = {_ecw0.data(), _ecw1.data(), _ecw2.data(),
                                 _ecw3.data(), _ecw4.data(), _ecw5.data(),
                                 _ecw6.data(), _ecw7.data(), _ecw8.data()};

bool RS929Encoder::encode(const std::vector<G929Value>& data, std::vector<G929Value>& out,
                          unsigned int ecLevel) {
    if (ecLevel >= 9) {
        return false;
    }
    const std::size_t k = static_cast<std::size_t>(_ecs[ecLevel]);
    const G929Value* g = _ec[ecLevel];
    out.clear();
    out.insert(out.end(), data.begin(), data.end());
    out.insert(out.end(), k, G929Value());
    // Long division of data * x^k by the monic generator, in place. The test
    // is on the raw value, so an invalid codeword (929) counts as non-zero
    // and spreads into every codeword it reaches.
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (out[i].value() != 0) {
            const G929Value c = out[i];
            for (std::size_t j = 0; j < k; ++j) {
                out[i + j + 1] = out[i + j + 1] - c * g[j];
            }
        }
    }
    for (std::size_t i = 0; i < data.size(); ++i) {
        out[i] = data[i];
    }
    // PDF417 transmits the negated remainder.
    for (std::size_t i = data.size(); i < data.size() + k; ++i) {
        out[i] = G929Value() - out[i];
    }
    return true;
}

} // namespace pdf417
