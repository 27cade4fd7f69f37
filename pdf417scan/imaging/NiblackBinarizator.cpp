#include "pdf417scan/imaging/NiblackBinarizator.h"

#include "pdf417scan/imaging/RowUtils.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace pdf417 {

namespace {

// The loops below work in fixed chunks on local copies: a constant trip
// count and no possible aliasing between input and output are what lets the
// compiler turn them into vector code at the usual optimisation level.

// (mean - sample)², rounded to float after the subtraction and after the
// product, as the serial variance sum adds them.
void squaresOf(const unsigned char* in, std::size_t n, float mean, float* out) {
    std::size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        unsigned char chunk[16];
        std::memcpy(chunk, in + i, sizeof chunk);
        for (std::size_t j = 0; j < 16; ++j) {
            const float d = mean - static_cast<float>(chunk[j]);
            out[i + j] = d * d;
        }
    }
    for (; i < n; ++i) {
        const float d = mean - static_cast<float>(in[i]);
        out[i] = d * d;
    }
}

// The variance sums of eight blocks of `length` squares, `stride` apart.
// Each block's sum still adds its squares one by one in sample order; only
// the eight independent chains run side by side instead of one after the
// other, so no rounding changes.
void sumEight(const float* squares, std::size_t stride, std::size_t length, float* sums) {
    float s0 = 0.0f, s1 = 0.0f, s2 = 0.0f, s3 = 0.0f, s4 = 0.0f, s5 = 0.0f, s6 = 0.0f, s7 = 0.0f;
    const float* p = squares;
    for (std::size_t j = 0; j < length; ++j, ++p) {
        s0 = s0 + p[0];
        s1 = s1 + p[stride];
        s2 = s2 + p[2 * stride];
        s3 = s3 + p[3 * stride];
        s4 = s4 + p[4 * stride];
        s5 = s5 + p[5 * stride];
        s6 = s6 + p[6 * stride];
        s7 = s7 + p[7 * stride];
    }
    const float all[8] = {s0, s1, s2, s3, s4, s5, s6, s7};
    std::copy(all, all + 8, sums);
}

void sumFour(const float* squares, std::size_t stride, std::size_t length, float* sums) {
    float s0 = 0.0f, s1 = 0.0f, s2 = 0.0f, s3 = 0.0f;
    const float* p = squares;
    for (std::size_t j = 0; j < length; ++j, ++p) {
        s0 = s0 + p[0];
        s1 = s1 + p[stride];
        s2 = s2 + p[2 * stride];
        s3 = s3 + p[3 * stride];
    }
    const float all[4] = {s0, s1, s2, s3};
    std::copy(all, all + 4, sums);
}

float sumOne(const float* squares, std::size_t length) {
    float sum = 0.0f;
    for (std::size_t j = 0; j < length; ++j) {
        sum = sum + squares[j];
    }
    return sum;
}

// A sample v is darker than the threshold t (t > float(v)) exactly when
// v < darkBelow(t): for an integer v, v < t means v < ceil(t). 0 when no gray
// level is darker (t NaN or not positive), 256 when all are.
unsigned darkBelow(float t) {
    if (!(t > 0.0f)) {
        return 0;
    }
    if (t > 255.0f) {
        return 256;
    }
    return static_cast<unsigned>(std::ceil(t)); // 1..255
}

// out[i] = 0 for samples below `below`, else 255.
void thresholdBytes(const unsigned char* in, std::size_t n, unsigned below, unsigned char* out) {
    if (below == 0 || below > 255) {
        std::memset(out, below == 0 ? 255 : 0, n);
        return;
    }
    const auto t = static_cast<unsigned char>(below);
    std::size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        unsigned char chunk[16];
        std::memcpy(chunk, in + i, sizeof chunk);
        for (unsigned char& v : chunk) {
            v = v < t ? 0 : 255;
        }
        std::memcpy(out + i, chunk, sizeof chunk);
    }
    for (; i < n; ++i) {
        out[i] = in[i] < t ? 0 : 255;
    }
}

} // namespace

void NiblackBinarizator::binarize(const std::vector<unsigned char>& in,
                                  std::vector<unsigned char>& out, unsigned int blockSize,
                                  float k) {
    measure(in, blockSize);
    apply(in, out, k);
}

void NiblackBinarizator::measure(const std::vector<unsigned char>& in, unsigned int blockSize) {
    const std::size_t size = in.size();
    measuredSize_ = size;
    blockSize_ = blockSize;
    if (size == 0) {
        block_ = 0;
        means_.clear();
        deviations_.clear();
        return;
    }
    std::size_t block = blockSize;
    if (block == 0 || size < block) {
        block = size;
    }
    block_ = block;
    const std::size_t blocks = size / block + (size % block != 0 ? 1 : 0);
    means_.resize(blocks);
    deviations_.resize(blocks);
    squares_.resize(size);

    const unsigned char* samples = in.data();
    float* squares = squares_.data();
    for (std::size_t b = 0; b < blocks; ++b) {
        const std::size_t start = b * block;
        const std::size_t n = std::min(block, size - start);
        const float mean =
            static_cast<float>(RowUtils::sumSamples(samples + start, n)) / static_cast<float>(n);
        means_[b] = mean;
        squaresOf(samples + start, n, mean, squares + start);
    }

    // Variance sums; deviations_ holds them until the last step.
    const std::size_t full = size / block;
    float* sums = deviations_.data();
    std::size_t b = 0;
    for (; b + 8 <= full; b += 8) {
        sumEight(squares + b * block, block, block, sums + b);
    }
    for (; b + 4 <= full; b += 4) {
        sumFour(squares + b * block, block, block, sums + b);
    }
    for (; b < blocks; ++b) {
        sums[b] = sumOne(squares + b * block, std::min(block, size - b * block));
    }
    for (b = 0; b < blocks; ++b) {
        const float n = static_cast<float>(std::min(block, size - b * block));
        deviations_[b] = std::sqrt(sums[b] / n);
    }
}

void NiblackBinarizator::apply(const std::vector<unsigned char>& in,
                               std::vector<unsigned char>& out, float k) {
    out.resize(in.size());
    if (in.empty()) {
        return;
    }
    if (in.size() != measuredSize_) {
        measure(in, blockSize_);
    }
    const std::size_t size = in.size();
    const std::size_t blocks = means_.size();
    thresholds_.resize(blocks);
    for (std::size_t b = 0; b < blocks; ++b) {
        thresholds_[b] = means_[b] + k * deviations_[b];
    }
    const std::size_t last = blocks - 1;
    for (std::size_t b = 0; b <= last; ++b) {
        const std::size_t lo = b == 0 ? 0 : b - 1;
        const std::size_t hi = b == last ? last : b + 1;
        const float threshold = ((thresholds_[b] + thresholds_[lo]) + thresholds_[hi]) / 3.0f;
        const std::size_t start = b * block_;
        thresholdBytes(in.data() + start, std::min(block_, size - start), darkBelow(threshold),
                       out.data() + start);
    }
}

} // namespace pdf417
