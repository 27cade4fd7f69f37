#pragma once

#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"
#include "tools/synth/CorpusFrame.h"
#include "tools/synth/Random.h"

#include <cstdint>

namespace pdf417 {
namespace synth {

// What the camera (or the screen) adds to a drawn grid: blur, noise, ink and
// paper levels, uneven light and JPEG compression. Each look is drawn from
// its own ranges and recorded with the frame.
class CameraLook {
public:
    double blurModules = 0.0;
    double noise = 0.0;
    double ink = 0.0;
    double paper = 0.0;
    test::SymbolRenderer::Lighting lighting;
    int jpegQuality = 0; // 0: not compressed

    // A phone camera: blur up to half a module, noise up to 12 levels, weak
    // to strong contrast, uneven light, JPEG now and then.
    static CameraLook camera(Random& random);
    // A good camera close up: a little blur and noise, mild light, no JPEG.
    static CameraLook mild(Random& random);

    // Renders the grid, compresses when the look says so, and records the
    // look's factors in the frame's entry.
    void render(test::SymbolRenderer& renderer, const test::ModuleGrid& grid,
                test::SymbolRenderer::Options options, std::uint64_t seed,
                CorpusFrame& frame) const;
};

} // namespace synth
} // namespace pdf417
