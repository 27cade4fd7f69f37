#pragma once

#include <vector>

namespace pdf417 {

// Niblack's local threshold on one gray line: per block mean + k·sd, each
// block's threshold smoothed with its neighbours'. Keeps its block thresholds
// as scratch, so one object reused line after line stops allocating once it
// has grown. One object serves one thread at a time.
class NiblackBinarizator {
public:
    // out gets in.size() samples of 0 (darker than the threshold) or 255.
    // blockSize 0, or larger than the line, makes the whole line one block.
    void binarize(const std::vector<unsigned char>& in, std::vector<unsigned char>& out,
                  unsigned int blockSize, float k);

private:
    std::vector<float> thresholds_;
};

} // namespace pdf417
