#include "tests/support/SymbolCase.h"

namespace pdf417 {
namespace test {

std::string SymbolCase::describe() const {
    return std::to_string(rows) + "x" + std::to_string(columns) + " at " + std::to_string(module) +
           " px, " + std::to_string(rotation) + " deg" +
           (camera ? ", camera" : (mild ? ", mild" : ""));
}

SymbolRenderer::Frame renderCase(const Pdf417Modules& symbol, const SymbolCase& c,
                                 std::uint64_t seed) {
    SymbolRenderer::Options options;
    options.moduleWidth = c.module;
    options.rotationDegrees = c.rotation;
    options.margin = 20;
    options.supersampling = 3;
    options.seed = seed;
    if (c.camera) {
        options.blurSigma = 0.4 + 0.1 * static_cast<double>(seed % 8);
        options.noiseSigma = 2.0 + static_cast<double>(seed % 5);
        options.lighting.gradientX = seed % 2 ? 0.2 : -0.2;
        options.lighting.vignette = 0.2;
        options.ink = 40;
        options.paper = 200;
    } else if (c.mild) {
        options.blurSigma = 0.3 + 0.1 * static_cast<double>(seed % 6);
        options.noiseSigma = 1.0 + static_cast<double>(seed % 3);
        options.lighting.gradientX = seed % 2 ? 0.1 : -0.1;
    }
    SymbolRenderer renderer;
    return renderer.render(ModuleGrid(symbol), options);
}

} // namespace test
} // namespace pdf417
