#include "pdf417scan/imaging/NiblackBinarizator.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace pdf417 {

void NiblackBinarizator::binarize(const std::vector<unsigned char>& in,
                                  std::vector<unsigned char>& out, unsigned int blockSize,
                                  float k) {
    out.resize(in.size());
    if (in.empty()) {
        return;
    }
    const std::size_t size = in.size();
    std::size_t block = blockSize;
    if (block == 0 || size < block) {
        block = size;
    }
    const std::size_t blocks = size / block + (size % block != 0 ? 1 : 0);
    thresholds_.clear();
    thresholds_.reserve(blocks);

    for (std::size_t start = 0; start < size; start += block) {
        const std::size_t end = std::min(start + block, size);
        const float n = static_cast<float>(end - start);
        std::uint32_t sum = 0;
        for (std::size_t i = start; i < end; ++i) {
            sum += in[i];
        }
        const float mean = static_cast<float>(sum) / n;
        float squares = 0.0f;
        for (std::size_t i = start; i < end; ++i) {
            const float d = mean - static_cast<float>(in[i]);
            squares += d * d;
        }
        thresholds_.push_back(mean + k * std::sqrt(squares / n));
    }

    const std::size_t last = thresholds_.size() - 1;
    for (std::size_t b = 0; b <= last; ++b) {
        const std::size_t lo = b == 0 ? 0 : b - 1;
        const std::size_t hi = b == last ? last : b + 1;
        const float threshold = ((thresholds_[b] + thresholds_[lo]) + thresholds_[hi]) / 3.0f;
        const std::size_t end = std::min(b * block + block, size);
        for (std::size_t i = b * block; i < end; ++i) {
            out[i] = threshold > static_cast<float>(in[i]) ? 0 : 255;
        }
    }
}

} // namespace pdf417
