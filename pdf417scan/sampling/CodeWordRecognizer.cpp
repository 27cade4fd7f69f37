#include "pdf417scan/sampling/CodeWordRecognizer.h"

#include "pdf417scan/imaging/RowUtils.h"
#include "pdf417scan/sampling/PatternTable.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace pdf417 {
namespace {

// Niblack weights in the order tried: the plain mean first, then thresholds
// further and further below and above it.
constexpr float WEIGHTS[] = {0.0f,  -0.15f, 0.15f, -0.3f, 0.3f,  -0.45f, 0.45f,
                             -0.6f, 0.6f,   -0.8f, 0.8f,  -1.0f, 1.0f};

// A stretch this flat holds no codeword.
constexpr float MIN_DEVIATION = 10.0f;

constexpr std::size_t RUNS = 8;

} // namespace

CodeWord CodeWordRecognizer::recognize(const std::vector<unsigned char>& samples) {
    if (samples.empty()) {
        return CodeWord(); // no deviation at all
    }
    // The stretch is one block for every weight, so its mean and deviation
    // are measured once. That deviation is the stretch's standard deviation,
    // computed the same way as RowUtils::calculateStandardDeviation.
    binarizator_.measure(samples, 0);
    if (binarizator_.deviation(0) < MIN_DEVIATION) {
        return CodeWord();
    }
    // Stands in for a closing space that ran out of the stretch.
    const short closing = static_cast<short>(std::min<std::size_t>(samples.size() / 17 + 1, 32767));
    for (const float k : WEIGHTS) {
        binarizator_.apply(samples, binary_, k);
        RowUtils::squeeze(binary_, runs_, 127);
        // A codeword begins with a bar.
        if (!runs_.empty() && runs_.front() > 0) {
            runs_.erase(runs_.begin());
        }
        if (runs_.size() == RUNS + 1) {
            runs_.pop_back();
        }
        if (runs_.size() == RUNS - 1) {
            runs_.push_back(closing);
        }
        const CodeWord result = decode(runs_, samples.size());
        if (result.isValid()) {
            return result;
        }
    }
    return CodeWord();
}

CodeWord CodeWordRecognizer::decode(const std::vector<short>& runs, unsigned long width) const {
    if (runs.size() != RUNS) {
        return CodeWord();
    }
    // Module boundaries at 1.5, 2.5, ... 8.5 modules, and the upper limit 9.5.
    const float w = static_cast<float>(width);
    float limits[9];
    for (int j = 0; j < 8; ++j) {
        limits[j] = w * (static_cast<float>(j) + 1.5f) / 17.0f;
    }
    limits[8] = 9.5f * w / 17.0f;

    int e[6];
    for (int i = 0; i < 6; ++i) {
        const float x = static_cast<float>(std::abs(runs[i]) + std::abs(runs[i + 1]));
        if (x < limits[0] || x >= limits[8]) {
            return CodeWord();
        }
        // The smallest j + 1 with x < T(j), counted without branches.
        int modules = 2;
        for (int j = 1; j < 8; ++j) {
            modules += x >= limits[j] ? 1 : 0;
        }
        e[i] = modules;
    }
    // Signed remainder on purpose: a negative sum matches no cluster.
    const int cluster = (e[0] - e[1] + e[4] - e[5] + 9) % 9;
    std::uint32_t key = 0;
    for (const int distance : e) {
        key = key << 4 | (static_cast<std::uint32_t>(distance) & 0xFu);
    }

    CodeWord::ECluster index = CodeWord::Cluster0;
    switch (cluster) {
    case 0:
        index = CodeWord::Cluster0;
        break;
    case 3:
        index = CodeWord::Cluster3;
        break;
    case 6:
        index = CodeWord::Cluster6;
        break;
    default:
        return CodeWord();
    }
    const int code = PatternTable::find(static_cast<int>(index), key);
    return code < 0 ? CodeWord() : CodeWord(static_cast<unsigned short>(code), index);
}

} // namespace pdf417
