#pragma once

#include "tests/support/SymbolRenderer.h"
#include "tools/synth/CorpusFrame.h"

#include <cstdint>
#include <string>

namespace pdf417 {
namespace synth {

// Symbols the frame border touches or cuts: the top rows, the bottom rows,
// or the left or right side (start or stop pattern, row indicators, data
// columns). A quarter only lose their quiet zone to the border; the rest
// lose as much of the symbol as error correction can repair. The codewords
// the border cuts (any part of one outside the frame) are counted from the
// placement and kept within the check codewords, each cut codeword an
// erasure at best. Mild camera, a little tilt.
class EdgeGenerator {
public:
    explicit EdgeGenerator(std::uint64_t seed) : seed_(seed) {}

    bool make(std::uint64_t index, CorpusFrame& frame, std::string& error);

    static constexpr int WIDTH = 1280;
    static constexpr int HEIGHT = 720;

private:
    std::uint64_t seed_;
    test::SymbolRenderer renderer_;
};

} // namespace synth
} // namespace pdf417
