#pragma once

#include "tests/support/Homography.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"
#include "tools/synth/Random.h"

#include <array>
#include <functional>
#include <string>

namespace pdf417 {
namespace synth {

// Where a grid goes in a frame: how large it may be drawn, whether it stays
// inside, and the perspective pushed onto its corners. Sizes are in modules
// unless they say pixels.
class Placement {
public:
    // Pixels kept clear between the symbol's quiet zone and the frame border.
    static constexpr double MARGIN = 6.0;

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

    // Encodes the message at a column count; false with libzint's reason.
    using Encoder = std::function<bool(int columns, test::Pdf417Modules&, std::string&)>;
    // The drawn column count when the symbol fits at `module` pixels, else
    // the nearest count that fits; when none does, the layout that allows
    // the largest modules, with module lowered to that size.
    static bool chooseLayout(const Encoder& encode, int wantColumns, int maxColumns,
                             double rowHeight, double quietZone, double degrees, double perspective,
                             int width, int height, double& module, test::Pdf417Modules& chosen,
                             std::string& error);

    // Pushes each corner along the quad's own width and height directions by
    // up to `spread` of them; returns the largest push made, as a share.
    static double jitterCorners(std::array<test::Vec2, 4>& quad, double spread, Random& random);
    // Shortens side `side` (0 top, 1 right, 2 bottom, 3 left) about its
    // middle to 1 / ratio of its length, as a camera looking at the symbol
    // from beyond its other side sees it.
    static void keystone(std::array<test::Vec2, 4>& quad, int side, double ratio);
    // The longer over the shorter side of the quad's more unequal pair of
    // opposite sides.
    static double sideRatio(const std::array<test::Vec2, 4>& quad);

    // What placeAnywhere did.
    struct Placed {
        std::array<test::Vec2, 4> quad{};
        double perspective = 0.0; // the largest corner push, as a share
        bool fits = false;        // the quiet zone lies inside the frame
    };
    // Places the grid (gridWidth x gridHeight modules, turned by
    // options.rotationDegrees) anywhere its box fits in the frame, shortens
    // side keystoneSide (none when negative) to 1 / keystoneRatio, pushes
    // the corners by up to `spread`; should a corner still leave the frame,
    // shrinks module by 3 % and places again, 30 times at most. Sets the
    // options' module width, centre and quad.
    static Placed placeAnywhere(const test::ModuleGrid& grid, double gridWidth, double gridHeight,
                                double quietZone, double spread, int keystoneSide,
                                double keystoneRatio, int width, int height, Random& random,
                                test::SymbolRenderer::Options& options, double& module);
};

} // namespace synth
} // namespace pdf417
