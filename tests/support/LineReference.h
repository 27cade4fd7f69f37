#pragma once

#include "pdf417scan/sampling/CodeWord.h"
#include "pdf417scan/sampling/CodeWordRecognizer.h"

#include <vector>

namespace pdf417 {
namespace test {

// Plain, unoptimised versions of the per-line operations, written the way
// the algorithms read: one sample at a time, one block after the other. The
// library's tuned versions must give exactly the same bytes, runs and floats.
namespace LineReference {

// Niblack by blocks: mean from an integer sum, variance as a float sum in
// sample order, thresholds smoothed over three blocks, dark below.
void binarize(const std::vector<unsigned char>& in, std::vector<unsigned char>& out,
              unsigned blockSize, float k);

// Signed run lengths, the first one sample too long, saturated at ±32767.
void squeeze(const std::vector<unsigned char>& row, std::vector<short>& runs,
             unsigned char threshold);

// Population standard deviation: float mean of an integer sum, float sum of
// squared distances in sample order.
float standardDeviation(const std::vector<unsigned char>& row);

// The recogniser's loop over its thirteen weights, on the reference
// binarisation and run lengths; `decoder` only measures the eight runs.
CodeWord recognize(const std::vector<unsigned char>& samples, const CodeWordRecognizer& decoder);

} // namespace LineReference
} // namespace test
} // namespace pdf417
