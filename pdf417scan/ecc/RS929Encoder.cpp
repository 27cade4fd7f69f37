#include "pdf417scan/ecc/RS929Encoder.h"

#include <cstddef>

namespace pdf417 {

const std::uint64_t _ecs[9] = {2, 4, 8, 16, 32, 64, 128, 256, 512};

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
