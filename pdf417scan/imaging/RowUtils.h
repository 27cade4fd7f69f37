#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace pdf417 {
namespace RowUtils {

// Signed run lengths of a line: dark runs (samples below threshold) negative,
// light runs positive, alternating in sign. The first run comes out one sample
// longer than it is, so the magnitudes add up to row.size() + 1; the pattern
// matchers are tuned to that. A run that would not fit in 16 bits saturates at
// ±32767 instead of wrapping round to the other colour.
void squeeze(const std::vector<unsigned char>& row, std::vector<short>& runs,
             unsigned char threshold);

// Merges runs no longer than maxLength into the colour of the run before them.
// Merged runs saturate at ±32767 like squeeze's.
void filter(std::vector<short>& runs, unsigned long maxLength);

// Number of leading samples at or below threshold (the row's size if all are).
unsigned int findWhite(const std::vector<unsigned char>& row, unsigned char threshold);

// Number of leading samples at or above threshold (the row's size if all are).
unsigned int findBlack(const std::vector<unsigned char>& row, unsigned char threshold);

// The sum of count samples in unsigned 32 bits, wrapping as such a sum does.
std::uint32_t sumSamples(const unsigned char* samples, std::size_t count);

float calculateMean(const std::vector<unsigned char>& row);

// Root-mean-square distance from mean (population form); 0 for an empty row.
float calculateDeviation(const std::vector<unsigned char>& row, float mean);

float calculateStandardDeviation(const std::vector<unsigned char>& row);

// Reverses in place; does nothing on an empty vector.
template <typename T>
void reverse(std::vector<T>& v) {
    if (v.empty()) {
        return;
    }
    for (std::size_t i = 0, j = v.size() - 1; i < j; ++i, --j) {
        std::swap(v[i], v[j]);
    }
}

// Gray lines are reversed eight samples at a time; the result is the same.
template <>
void reverse<unsigned char>(std::vector<unsigned char>& v);

} // namespace RowUtils
} // namespace pdf417
