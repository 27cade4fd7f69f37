#include "tests/support/LineReference.h"

#include <cmath>
#include <cstdint>

namespace pdf417 {
namespace test {
namespace LineReference {

void binarize(const std::vector<unsigned char>& in, std::vector<unsigned char>& out,
              unsigned blockSize, float k) {
    out.assign(in.size(), 77);
    if (in.empty()) {
        return;
    }
    const std::size_t n = in.size();
    const std::size_t block = blockSize == 0 || n < blockSize ? n : blockSize;
    std::vector<float> t;
    for (std::size_t start = 0; start < n; start += block) {
        const std::size_t end = start + block < n ? start + block : n;
        const float count = static_cast<float>(end - start);
        std::uint32_t sum = 0;
        for (std::size_t i = start; i < end; ++i) {
            sum += in[i];
        }
        const float mean = static_cast<float>(sum) / count;
        float variance = 0.0f;
        for (std::size_t i = start; i < end; ++i) {
            const float d = mean - static_cast<float>(in[i]);
            const float square = d * d;
            variance = variance + square;
        }
        variance = variance / count;
        const float sd = std::sqrt(variance);
        const float spread = k * sd;
        t.push_back(mean + spread);
    }
    for (std::size_t b = 0; b < t.size(); ++b) {
        const std::size_t lo = b == 0 ? 0 : b - 1;
        const std::size_t hi = b + 1 == t.size() ? b : b + 1;
        const float pair = t[b] + t[lo];
        const float T = (pair + t[hi]) / 3.0f;
        for (std::size_t i = b * block; i < n && i < b * block + block; ++i) {
            out[i] = T > static_cast<float>(in[i]) ? 0 : 255;
        }
    }
}

void squeeze(const std::vector<unsigned char>& row, std::vector<short>& runs,
             unsigned char threshold) {
    runs.clear();
    if (row.empty()) {
        return;
    }
    int s = row[0] < threshold ? -1 : 1;
    int c = s;
    for (const unsigned char sample : row) {
        const int colour = sample < threshold ? -1 : 1;
        if (colour != s) {
            runs.push_back(static_cast<short>(c));
            c = 0;
        }
        s = colour;
        if (c != 32767 && c != -32767) {
            c += s;
        }
    }
    runs.push_back(static_cast<short>(c));
}

float standardDeviation(const std::vector<unsigned char>& row) {
    if (row.empty()) {
        return 0.0f;
    }
    std::uint32_t sum = 0;
    for (const unsigned char v : row) {
        sum += v;
    }
    const float mean = static_cast<float>(sum) / static_cast<float>(row.size());
    float accumulator = 0.0f;
    for (const unsigned char v : row) {
        const float d = mean - static_cast<float>(v);
        const float square = d * d;
        accumulator = square + accumulator;
    }
    return std::sqrt(accumulator / static_cast<float>(row.size()));
}

CodeWord recognize(const std::vector<unsigned char>& samples, const CodeWordRecognizer& decoder) {
    if (standardDeviation(samples) < 10.0f) {
        return CodeWord();
    }
    const float weights[] = {0.0f,  -0.15f, 0.15f, -0.3f, 0.3f,  -0.45f, 0.45f,
                             -0.6f, 0.6f,   -0.8f, 0.8f,  -1.0f, 1.0f};
    std::vector<unsigned char> binary;
    std::vector<short> runs;
    for (const float k : weights) {
        binarize(samples, binary, 0, k);
        squeeze(binary, runs, 127);
        if (!runs.empty() && runs.front() > 0) {
            runs.erase(runs.begin());
        }
        if (runs.size() == 9) {
            runs.pop_back();
        }
        if (runs.size() == 7) {
            runs.push_back(static_cast<short>(samples.size() / 17 + 1));
        }
        const CodeWord cw = decoder.decode(runs, samples.size());
        if (cw.isValid()) {
            return cw;
        }
    }
    return CodeWord();
}

} // namespace LineReference
} // namespace test
} // namespace pdf417
