// Counts heap allocations made while locating, to show that the per-line
// work allocates nothing once the stages' buffers have grown. The global
// operator new of this test program is replaced for that purpose.
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "tests/locate/LocateTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>

// GCC takes free() after the replaced operator new for a mismatch; here the
// pair is malloc/free by construction.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

namespace {
bool gCounting = false;
long gAllocations = 0;
} // namespace

void* operator new(std::size_t size) {
    if (gCounting) {
        ++gAllocations;
    }
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace pdf417::test {
namespace {

long allocationsDuring(const std::function<void()>& work) {
    gAllocations = 0;
    gCounting = true;
    work();
    gCounting = false;
    return gAllocations;
}

TEST(LocateAllocation, NoneOnceBuffersHaveGrown) {
    Pdf417Modules symbol;
    ASSERT_TRUE(makeSymbol(24, 8, 5, symbol));
    SymbolRenderer::Options options;
    options.moduleWidth = 3.0;
    options.rotationDegrees = 2.0;
    options.noiseSigma = 3.0;
    options.frameWidth = 800;
    options.frameHeight = 400;
    SymbolRenderer renderer;
    auto frame = renderer.render(ModuleGrid(symbol), options);
    Image image = frame.image();
    std::vector<unsigned char> blank(800 * 400, 128);
    Image empty(blank.data(), 800, 400);

    Detector detector;
    Cutter cutter;
    std::array<Point2D, 6> corners;
    Cutter::Lines lines;
    const auto locate = [&] {
        ASSERT_TRUE(detector.detect(image, corners));
        ASSERT_TRUE(cutter.cut(image, corners, lines));
        EXPECT_FALSE(detector.detect(empty, corners));
    };
    // The first call grows the buffers (and shows the counter sees them).
    EXPECT_GT(allocationsDuring(locate), 0);
    EXPECT_EQ(allocationsDuring(locate), 0);
}

} // namespace
} // namespace pdf417::test
