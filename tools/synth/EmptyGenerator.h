#pragma once

#include "tests/support/SymbolRenderer.h"
#include "tools/synth/CorpusFrame.h"

#include <cstdint>
#include <string>

namespace pdf417 {
namespace synth {

// Camera frames that show no PDF417: a page with one to four things on it
// (printed text, linear barcodes from libzint, textures, bar-like stripes),
// or, one frame in seven, nothing but noise. The index names what each frame
// shows. A reader must find nothing in any of them.
class EmptyGenerator {
public:
    explicit EmptyGenerator(std::uint64_t seed) : seed_(seed) {}

    void make(std::uint64_t index, CorpusFrame& frame);

    static constexpr int WIDTH = 1280;
    static constexpr int HEIGHT = 720;

private:
    std::uint64_t seed_;
    test::SymbolRenderer renderer_;
};

} // namespace synth
} // namespace pdf417
