#pragma once

#include <cstddef>
#include <vector>

namespace pdf417 {

// Niblack's local threshold on one gray line: per block mean + k·sd, each
// block's threshold smoothed with its neighbours'. Keeps its block statistics
// and per-sample scratch, so one object reused line after line stops
// allocating once it has grown. One object serves one thread at a time.
class NiblackBinarizator {
public:
    // out gets in.size() samples of 0 (darker than the threshold) or 255.
    // blockSize 0, or larger than the line, makes the whole line one block.
    // The same as measure(in, blockSize) followed by apply(in, out, k).
    void binarize(const std::vector<unsigned char>& in, std::vector<unsigned char>& out,
                  unsigned int blockSize, float k);

    // The block statistics of a line, for binarising it with several weights
    // while measuring it only once.
    void measure(const std::vector<unsigned char>& in, unsigned int blockSize);
    // Binarises the line last measured with weight k; `in` must hold the same
    // samples. A line of another length is measured afresh first.
    void apply(const std::vector<unsigned char>& in, std::vector<unsigned char>& out, float k);
    // The population standard deviation of block b of the line last
    // measured, exactly as RowUtils::calculateDeviation computes it over the
    // block; 0 past the last block.
    float deviation(std::size_t b) const { return b < deviations_.size() ? deviations_[b] : 0.0f; }

private:
    std::size_t measuredSize_ = 0;
    unsigned int blockSize_ = 0; // as asked for, before the whole-line rule
    std::size_t block_ = 0;      // as used
    std::vector<float> means_;
    std::vector<float> deviations_;
    std::vector<float> thresholds_;
    std::vector<float> squares_; // (mean - sample)² per sample
};

} // namespace pdf417
