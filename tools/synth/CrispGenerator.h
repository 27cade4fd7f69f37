#pragma once

#include "tests/support/SymbolRenderer.h"
#include "tools/synth/CorpusFrame.h"

#include <cstdint>
#include <string>

namespace pdf417 {
namespace synth {

// Symbols as screens and encoders draw them: upright, 1 to 3 pixels per
// module, near-black on near-white. Half are pixel-aligned (whole pixels per
// module on whole pixel positions, no blur, no noise); the other half have
// fractional module sizes and positions and a little resampling blur. Two in
// five have no quiet zone: the symbol's edge meets a gray surround. 1 to 30
// data columns, 3 to 90 rows; the frame is 1280 x 720 unless the symbol
// needs more, and then as large as it needs.
class CrispGenerator {
public:
    explicit CrispGenerator(std::uint64_t seed) : seed_(seed) {}

    bool make(std::uint64_t index, CorpusFrame& frame, std::string& error);

private:
    std::uint64_t seed_;
    test::SymbolRenderer renderer_;
};

} // namespace synth
} // namespace pdf417
