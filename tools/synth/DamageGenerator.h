#pragma once

#include "tests/support/SymbolRenderer.h"
#include "tools/synth/CorpusFrame.h"

#include <cstdint>
#include <string>

namespace pdf417 {
namespace synth {

// Symbols harmed in print or use, one harm each, in fifths: ink spread and
// ink shrink (every bar wider or narrower by 0.1 to 0.5 module), a marker
// stroke across the symbol, white stripes through the bars (along the rows
// or, thinner, across them, as a worn print head leaves them), and a blob of
// ink or white-out. The codewords a mark reaches are counted from its shape
// and kept within the symbol's repair: each counts as an error (it may read
// as another codeword), so twice their number stays within the check
// codewords. Spread and shrink move every edge alike and change no
// codeword's edge-to-edge widths; they count none. Mild camera.
class DamageGenerator {
public:
    explicit DamageGenerator(std::uint64_t seed) : seed_(seed) {}

    bool make(std::uint64_t index, CorpusFrame& frame, std::string& error);

    static constexpr int WIDTH = 1280;
    static constexpr int HEIGHT = 720;

private:
    std::uint64_t seed_;
    test::SymbolRenderer renderer_;
};

} // namespace synth
} // namespace pdf417
