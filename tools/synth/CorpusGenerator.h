#pragma once

#include "tests/support/SymbolRenderer.h"
#include "tools/synth/CorpusFrame.h"
#include "tools/synth/Random.h"

#include <cstdint>
#include <string>

namespace pdf417 {
namespace synth {

// Draws camera-like frames of libzint symbols, each from its own seed so that
// frame i is the same whatever else is generated. Every factor is drawn from
// its range and recorded: content, columns, error correction level, module
// size, row height, angle (a right-angle turn and a small tilt, or any angle
// at all), perspective (corner jitter, and now and then one side shortened
// to as little as half the other), mirroring, blur, noise, lighting, ink
// contrast and JPEG quality. Frames that carry no symbol (textures, stripes,
// text-like blocks) come in one in twenty.
class CorpusGenerator {
public:
    explicit CorpusGenerator(std::uint64_t seed) : seed_(seed) {}

    // Frame `index` of the stream of frames of this size. False, with the
    // reason in error, when libzint refuses every layout of the message.
    bool make(std::uint64_t index, int width, int height, CorpusFrame& frame, std::string& error);

    static bool holdsNoSymbol(std::uint64_t index) { return index % 20 == 10; }

    // Written into the corpus index; raised whenever the same seed would give
    // other frames, so that reports over two corpora say they differ.
    static constexpr int VERSION = 3;

private:
    bool makeSymbol(Random& random, int width, int height, CorpusFrame& frame, std::string& error);
    void makeDecoy(Random& random, int width, int height, CorpusFrame& frame);

    std::uint64_t seed_;
    test::SymbolRenderer renderer_;
};

} // namespace synth
} // namespace pdf417
