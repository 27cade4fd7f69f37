#include "tests/support/RandomCodewords.h"

#include "pdf417scan/ecc/G929Polynomial.h"
#include "pdf417scan/ecc/RS929Encoder.h"

namespace pdf417 {
namespace test {

std::vector<G929Value> randomCodeword(std::mt19937& rng, unsigned ecLevel, std::size_t n) {
    std::vector<G929Value> data, word;
    for (std::size_t i = 0; i + static_cast<std::size_t>(_ecs[ecLevel]) < n; ++i) {
        data.push_back(gf(rng() % 929));
    }
    RS929Encoder::encode(data, word, ecLevel);
    return word;
}

bool syndromesZero(const std::vector<G929Value>& word, std::size_t k) {
    for (std::size_t i = 1; i <= k; ++i) {
        if (G929Polynomial::calc(word, gf(3).pow(i)) != gf(0)) {
            return false;
        }
    }
    return true;
}

} // namespace test
} // namespace pdf417
