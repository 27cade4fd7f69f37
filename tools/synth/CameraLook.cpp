#include "tools/synth/CameraLook.h"

#include "tests/support/ImageFiles.h"

namespace pdf417 {
namespace synth {

CameraLook CameraLook::camera(Random& random) {
    CameraLook look;
    look.blurModules = random.uniform(0.0, 0.5);
    look.noise = random.uniform(0.0, 12.0);
    look.ink = random.uniform(5.0, 100.0);
    look.paper = random.uniform(150.0, 250.0);
    if (random.chance(0.7)) {
        look.lighting.gradientX = random.uniform(-0.25, 0.25);
        look.lighting.gradientY = random.uniform(-0.25, 0.25);
        look.lighting.vignette = random.uniform(0.0, 0.35);
    }
    const double jpeg = random.uniform();
    look.jpegQuality = jpeg < 0.5 ? 0 : (jpeg < 0.75 ? 90 : 70);
    return look;
}

CameraLook CameraLook::mild(Random& random) {
    CameraLook look;
    look.blurModules = random.uniform(0.0, 0.3);
    look.noise = random.uniform(0.0, 4.0);
    look.ink = random.uniform(10.0, 60.0);
    look.paper = random.uniform(180.0, 245.0);
    if (random.chance(0.5)) {
        look.lighting.gradientX = random.uniform(-0.1, 0.1);
        look.lighting.gradientY = random.uniform(-0.1, 0.1);
        look.lighting.vignette = random.uniform(0.0, 0.15);
    }
    return look;
}

void CameraLook::render(test::SymbolRenderer& renderer, const test::ModuleGrid& grid,
                        test::SymbolRenderer::Options options, std::uint64_t seed,
                        CorpusFrame& frame) const {
    options.ink = ink;
    options.paper = paper;
    options.blurSigma = blurModules * options.moduleWidth;
    options.noiseSigma = noise;
    options.lighting = lighting;
    options.seed = seed;
    test::SymbolRenderer::Frame rendered = renderer.render(grid, options);
    frame.pixels.swap(rendered.pixels);
    test::CorpusEntry& entry = frame.entry;
    entry.width = rendered.width;
    entry.height = rendered.height;
    entry.blurPx = options.blurSigma;
    entry.blurModules = blurModules;
    entry.noise = noise;
    entry.ink = ink;
    entry.paper = paper;
    entry.background = options.background;
    entry.gradientX = lighting.gradientX;
    entry.gradientY = lighting.gradientY;
    entry.vignette = lighting.vignette;
    entry.jpegQuality = 0;
    if (jpegQuality > 0 &&
        test::jpegRoundTrip(frame.pixels, entry.width, entry.height, jpegQuality)) {
        entry.jpegQuality = jpegQuality;
    }
}

} // namespace synth
} // namespace pdf417
