#include "pdf417scan/imaging/RowUtils.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace pdf417 {
namespace RowUtils {

void squeeze(const std::vector<unsigned char>& row, std::vector<short>& runs,
             unsigned char threshold) {
    runs.resize(0);
    if (row.empty()) {
        return;
    }
    runs.reserve(row.size());
    constexpr int kLongest = 32767;
    int sign = row[0] < threshold ? -1 : 1;
    // Starting the count at the sign and then counting row[0] again makes the
    // first run one sample long; kept on purpose, see the header.
    int count = sign;
    for (const unsigned char sample : row) {
        if (sample < threshold) {
            if (sign > 0) {
                runs.push_back(static_cast<short>(count));
                count = 0;
            }
            sign = -1;
        } else {
            if (sign < 0) {
                runs.push_back(static_cast<short>(count));
                count = 0;
            }
            sign = 1;
        }
        if (std::abs(count) < kLongest) {
            count += sign;
        }
    }
    runs.push_back(static_cast<short>(count));
}

void filter(std::vector<short>& runs, unsigned long maxLength) {
    if (runs.size() < 2 || maxLength == 0) {
        return;
    }
    for (std::size_t i = 1; i < runs.size(); ++i) {
        const unsigned long length = static_cast<unsigned long>(std::abs(runs[i]));
        const bool disagrees =
            (runs[i - 1] < 0 && runs[i] >= 1) || (runs[i - 1] >= 0 && runs[i] < 0);
        if (length <= maxLength && disagrees) {
            // -32768 has no positive counterpart in 16 bits; it would stay
            // dark. squeeze never makes it, but callers may.
            runs[i] = runs[i] == -32768 ? short{32767} : static_cast<short>(-runs[i]);
        }
    }
    std::size_t j = 0;
    for (std::size_t i = 1; i < runs.size(); ++i) {
        if ((runs[j] < 0) == (runs[i] < 0)) {
            // Same colour: merge, saturating like squeeze does.
            const int merged = runs[j] + runs[i];
            runs[j] =
                static_cast<short>(merged > 32767 ? 32767 : (merged < -32767 ? -32767 : merged));
        } else {
            runs[++j] = runs[i];
        }
    }
    runs.resize(j + 1);
}

namespace {

// The count runs in size_t so that it cannot wrap round on a row longer than
// unsigned int can count; such a count is reported as the largest value.
unsigned int clampCount(std::size_t count) {
    return count > std::numeric_limits<unsigned int>::max()
               ? std::numeric_limits<unsigned int>::max()
               : static_cast<unsigned int>(count);
}

} // namespace

unsigned int findWhite(const std::vector<unsigned char>& row, unsigned char threshold) {
    std::size_t count = 0;
    while (count < row.size() && row[count] <= threshold) {
        ++count;
    }
    return clampCount(count);
}

unsigned int findBlack(const std::vector<unsigned char>& row, unsigned char threshold) {
    std::size_t count = 0;
    while (count < row.size() && row[count] >= threshold) {
        ++count;
    }
    return clampCount(count);
}

float calculateMean(const std::vector<unsigned char>& row) {
    if (row.empty()) {
        return 0.0f;
    }
    std::uint32_t sum = 0;
    for (const unsigned char sample : row) {
        sum += sample;
    }
    return static_cast<float>(sum) / static_cast<float>(row.size());
}

float calculateDeviation(const std::vector<unsigned char>& row, float mean) {
    if (row.empty()) {
        return 0.0f;
    }
    float accumulator = 0.0f;
    for (const unsigned char sample : row) {
        const float d = mean - static_cast<float>(sample);
        accumulator = d * d + accumulator;
    }
    return std::sqrt(accumulator / static_cast<float>(row.size()));
}

float calculateStandardDeviation(const std::vector<unsigned char>& row) {
    return calculateDeviation(row, calculateMean(row));
}

} // namespace RowUtils
} // namespace pdf417
