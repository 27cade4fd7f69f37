// Counts every allocation of this test program, to show that recognising a
// codeword allocates nothing once the recogniser's buffers have grown.
#include "pdf417scan/sampling/CodeWordRecognizer.h"

#include "tests/support/ModuleLineRenderer.h"
#include "tests/support/Pdf417Codewords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> allocations{0};
} // namespace

// Kept out of line: GCC would otherwise see free() meet operator new's
// pointer and call it a mismatch.
#if defined(__GNUC__)
#define PDF417_TEST_NOINLINE __attribute__((noinline))
#else
#define PDF417_TEST_NOINLINE
#endif

PDF417_TEST_NOINLINE void* operator new(std::size_t size) {
    ++allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
PDF417_TEST_NOINLINE void operator delete(void* p) noexcept {
    std::free(p);
}
PDF417_TEST_NOINLINE void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace pdf417 {
namespace {

TEST(CodeWordRecognizer, AllocatesNothingOnceGrown) {
    std::mt19937 rng(12);
    test::LineStyle style;
    style.blurSigma = 0.5;
    style.noiseSigma = 6.0;
    std::vector<std::vector<unsigned char>> stretches;
    for (const test::CodewordPattern& p : test::codewordPatterns()) {
        style.pixelsPerModule = 1.5 + static_cast<double>(rng() % 46) / 10.0;
        stretches.push_back(
            test::renderModuleLine(test::patternModules(p.widths), -0.3, 17.2, style, rng));
    }
    // Flat, empty and odd stretches too: every path through recognize.
    stretches.push_back(std::vector<unsigned char>(40, 9));
    stretches.push_back({});
    stretches.push_back({0, 255, 0, 255, 0, 255, 0});
    ASSERT_GT(stretches.size(), 2787u);

    // Grow the buffers on the longest stretch first.
    CodeWordRecognizer recognizer;
    recognizer.recognize(
        *std::max_element(stretches.begin(), stretches.end(),
                          [](const auto& a, const auto& b) { return a.size() < b.size(); }));

    const long before = allocations.load();
    int valid = 0;
    for (const auto& stretch : stretches) {
        valid += recognizer.recognize(stretch).isValid() ? 1 : 0;
    }
    EXPECT_EQ(allocations.load() - before, 0);
    EXPECT_GT(valid, 2000);
}

} // namespace
} // namespace pdf417
