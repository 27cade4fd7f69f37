#pragma once

#include "tests/support/CorpusIndex.h"
#include "tests/support/Homography.h"
#include "tests/support/SymbolRenderer.h"
#include "tools/synth/Random.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace pdf417 {
namespace synth {

// One frame of the corpus: the picture, the message it should read as (empty
// when it shows no symbol) and the factors it was made with. The caller names
// the files.
struct CorpusFrame {
    test::CorpusEntry entry;
    std::vector<std::uint8_t> pixels;
    std::string message;
};

// Draws camera-like frames of libzint symbols, each from its own seed so that
// frame i is the same whatever else is generated. Every factor is drawn from
// its range and recorded: content, columns, error correction level, module
// size, row height, rotation, right-angle turn, perspective, blur, noise,
// lighting, ink contrast and JPEG quality. Frames that carry no symbol
// (textures, stripes, text-like blocks) come in one in twenty.
class CorpusGenerator {
public:
    explicit CorpusGenerator(std::uint64_t seed) : seed_(seed) {}

    // Frame `index` of the stream of frames of this size. False, with the
    // reason in error, when libzint refuses every layout of the message.
    bool make(std::uint64_t index, int width, int height, CorpusFrame& frame, std::string& error);

    static bool holdsNoSymbol(std::uint64_t index) { return index % 20 == 10; }

    // Pixels kept clear between the symbol's quiet zone and the frame border.
    static constexpr double MARGIN = 6.0;

    // Written into the corpus index; raised whenever the same seed would give
    // other frames, so that reports over two corpora say they differ.
    static constexpr int VERSION = 2;

private:
    // What the camera adds, drawn the same way for every frame.
    struct Camera {
        double blurModules = 0.0;
        double noise = 0.0;
        double ink = 0.0;
        double paper = 0.0;
        test::SymbolRenderer::Lighting lighting;
        int jpegQuality = 0;
    };

    static Camera drawCamera(Random& random);
    // The bounding box, in modules, of a grid of gridWidth x gridHeight
    // modules with its quiet zone, turned by `degrees`, with corners pushed
    // out by up to `perspective` of its size.
    static void placedBox(double gridWidth, double gridHeight, double quietZone, double degrees,
                          double perspective, double& boxWidth, double& boxHeight);
    // The largest module size at which that box fits inside the frame.
    static double fittingModule(double gridWidth, double gridHeight, double quietZone,
                                double degrees, double perspective, int width, int height);
    // Whether the quiet zone of a grid placed on `quad` lies inside the frame.
    static bool insideFrame(const std::array<test::Vec2, 4>& quad, double gridWidth,
                            double gridHeight, double quietZone, int width, int height);

    bool makeSymbol(Random& random, int width, int height, CorpusFrame& frame, std::string& error);
    void makeDecoy(Random& random, int width, int height, CorpusFrame& frame);
    // Renders, then compresses when the camera says so, and records the
    // camera's factors.
    void render(const test::ModuleGrid& grid, test::SymbolRenderer::Options options,
                const Camera& camera, std::uint64_t seed, CorpusFrame& frame);

    std::uint64_t seed_;
    test::SymbolRenderer renderer_;
};

} // namespace synth
} // namespace pdf417
