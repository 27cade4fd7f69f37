#include "pdf417scan/imaging/Image.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace pdf417 {
namespace {

std::vector<unsigned char> randomPixels(std::mt19937& rng, std::size_t n) {
    std::vector<unsigned char> pixels(n);
    for (auto& p : pixels) {
        p = static_cast<unsigned char>(rng());
    }
    return pixels;
}

// The pixels of the integer walk, from the closed form of its error term:
// after k major steps the minor coordinate has moved floor((2kd + M) / 2M)
// times, M and d being the major and minor deltas.
std::vector<std::pair<long, long>> referenceWalk(long x0, long y0, long x1, long y1) {
    const long dx = std::labs(x1 - x0);
    const long dy = std::labs(y1 - y0);
    const bool yMajor = dx <= dy;
    const long M = yMajor ? dy : dx;
    const long d = yMajor ? dx : dy;
    const long sx = x1 < x0 ? -1 : 1;
    const long sy = y1 < y0 ? -1 : 1;
    std::vector<std::pair<long, long>> walk;
    for (long k = 0; k < M; ++k) {
        const long minor = (2 * k * d + M) / (2 * M);
        walk.emplace_back(yMajor ? x0 + sx * minor : x0 + sx * k,
                          yMajor ? y0 + sy * k : y0 + sy * minor);
    }
    walk.emplace_back(x1, y1);
    return walk;
}

TEST(Image, PixelAccessIsBoundsChecked) {
    std::vector<unsigned char> pixels = {1, 2, 3, 4, 5, 6};
    Image image(pixels.data(), 3, 2);
    EXPECT_TRUE(image.width() == 3 && image.height() == 2 && !image.isEmpty());
    EXPECT_TRUE(Image(pixels.data(), 0, 2).isEmpty() && Image(pixels.data(), 3, 0).isEmpty());
    for (auto [x, y] : {std::pair{-1, 0}, {3, 0}, {0, -1}, {0, 2}, {INT_MIN, INT_MIN}}) {
        EXPECT_EQ(image.getPixel(x, y), 0);
        EXPECT_EQ(image.setPixel(x, y, 99), 0);
    }
    EXPECT_EQ(pixels, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(image.getPixel(2, 1), 6);
    EXPECT_EQ(image.setPixel(1, 1, 50), 5);
    EXPECT_EQ(pixels[4], 50);

    std::vector<unsigned char> out = {42};
    EXPECT_FALSE(image.sampleRow(2, out) || image.sampleColumn(3, out));
    EXPECT_EQ(out, std::vector<unsigned char>{42});
    EXPECT_TRUE(image.sampleRow(1, out));
    EXPECT_EQ(out, (std::vector<unsigned char>{4, 50, 6}));
    EXPECT_TRUE(image.sampleColumn(2, out));
    EXPECT_EQ(out, (std::vector<unsigned char>{3, 6}));
}

// Random segments on random pictures against the closed form of the walk;
// an end outside the picture is refused with an empty vector.
TEST(Image, IntegerLinesFollowTheWalk) {
    std::mt19937 rng(1);
    std::vector<unsigned char> out;
    for (int trial = 0; trial < 2000; ++trial) {
        const unsigned w = 1 + rng() % 60;
        const unsigned h = 1 + rng() % 60;
        std::vector<unsigned char> px = randomPixels(rng, std::size_t{w} * h);
        Image img(px.data(), w, h);
        const unsigned x0 = rng() % w, y0 = rng() % h, x1 = rng() % w, y1 = rng() % h;
        ASSERT_TRUE(img.sampleLine(x0, y0, x1, y1, out));
        const auto walk = referenceWalk(x0, y0, x1, y1);
        ASSERT_EQ(out.size(), std::max(std::labs(long(x1) - x0), std::labs(long(y1) - y0)) + 1);
        ASSERT_EQ(walk.size(), out.size());
        for (std::size_t i = 0; i < walk.size(); ++i) {
            ASSERT_EQ(out[i], img.getPixel(walk[i].first, walk[i].second))
                << x0 << "," << y0 << " -> " << x1 << "," << y1 << " sample " << i;
        }
        ASSERT_FALSE(img.sampleLine(x0, y0, x1, h + rng() % 3, out));
        ASSERT_TRUE(out.empty());
        ASSERT_FALSE(img.sampleLine(w + rng() % 3, y0, x1, y1, out));
    }
}

TEST(Image, RealLinesAreClippedThenTruncated) {
    std::vector<unsigned char> pixels(100 * 100);
    for (unsigned i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<unsigned char>(i % 100); // the column
    }
    Image image(pixels.data(), 100, 100);
    std::vector<unsigned char> out;
    ASSERT_TRUE(image.sampleLine(Point2D(-10.0f, 5.5f, 1.0f), Point2D(50.7f, 5.5f, 1.0f), out));
    ASSERT_EQ(out.size(), 51u);
    EXPECT_EQ(out.front(), 0);
    EXPECT_EQ(out.back(), 50);

    // Both ends to the left: nothing to clip, and the vector is emptied.
    out.assign(3, 1);
    EXPECT_FALSE(image.sampleLine(Point2D(-10, 5, 1), Point2D(-1, 50, 1), out));
    EXPECT_TRUE(out.empty());

    // A clip is never refused by the integer sampler here, since the clip
    // lands on the last row or column, not one past it.
    ASSERT_TRUE(image.sampleLine(Point2D(50, 50, 1), Point2D(150, 50, 1), out));
    EXPECT_EQ(out.size(), 50u);

    // The integer call goes through the virtual interface, and its refusal
    // still gives true, with an empty vector.
    struct Refusing : Image {
        using Image::Image;
        using Image::sampleLine;
        bool sampleLine(unsigned, unsigned, unsigned, unsigned,
                        std::vector<unsigned char>& o) const override {
            o.clear();
            return false;
        }
    };
    const Refusing refusing(pixels.data(), 100, 100);
    out.assign(3, 1);
    EXPECT_TRUE(refusing.sampleLine(Point2D(1, 1, 1), Point2D(5, 5, 1), out));
    EXPECT_TRUE(out.empty());

    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float bad[] = {nan, inf, -inf, 3e38f, -3e38f};
    for (float v : bad) {
        for (int which = 0; which < 4; ++which) {
            float c[4] = {10, 20, 30, 40};
            c[which] = v;
            out.assign(3, 1);
            const bool ok = image.sampleLine(Point2D(c[0], c[1], 1), Point2D(c[2], c[3], 1), out);
            if (std::isnan(v) || std::isinf(v)) {
                EXPECT_FALSE(ok) << v << " at " << which;
                EXPECT_TRUE(out.empty());
            }
            EXPECT_LE(out.size(), 100u); // huge finite ends clip or fail
        }
    }
}

// Index arithmetic on pictures of 2^31 and more pixels, and one wider than
// INT_MAX. The address space is reserved but never backed, so only touched
// pages cost memory.
TEST(Image, HugePicturesIndexWithoutOverflow) {
    const std::size_t bytes = std::size_t{70000} * 65536; // ~4.6e9 > 2^32
    void* mem = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mem == MAP_FAILED) {
        GTEST_SKIP() << "cannot reserve " << bytes << " bytes of address space";
    }
    auto* data = static_cast<unsigned char*>(mem);

    Image tall(data, 70000, 65536);
    EXPECT_EQ(tall.setPixel(69999, 65535, 7), 0);
    EXPECT_EQ(data[bytes - 1], 7);
    EXPECT_EQ(tall.getPixel(69999, 65535), 7);
    std::vector<unsigned char> out;
    ASSERT_TRUE(tall.sampleColumn(69999, out));
    EXPECT_EQ(out.size(), 65536u);
    EXPECT_EQ(out.back(), 7);
    ASSERT_TRUE(tall.sampleLine(69999, 0, 4464, 65535, out));
    EXPECT_EQ(out.size(), 65536u);
    EXPECT_EQ(out.back(), 0);
    ASSERT_TRUE(tall.sampleLine(Point2D(69999.5f, 1e9f, 1), Point2D(69999.5f, 65000, 1), out));
    EXPECT_EQ(out.front(), 7);

    // Wider than INT_MAX: negative x must not wrap onto a real pixel.
    const unsigned wide = 3000000000u;
    Image row(data, wide, 1);
    EXPECT_EQ(row.setPixel(INT_MAX, 0, 9), 0);
    EXPECT_EQ(data[INT_MAX], 9);
    EXPECT_EQ(row.getPixel(INT_MAX, 0), 9);
    data[std::size_t{1} << 31] = 11;
    EXPECT_EQ(row.getPixel(INT_MIN, 0), 0);
    EXPECT_EQ(row.setPixel(INT_MIN, 0, 1), 0);
    EXPECT_EQ(data[std::size_t{1} << 31], 11);
    ASSERT_TRUE(row.sampleLine(wide - 3, 0, wide - 1, 0, out));
    EXPECT_EQ(out.size(), 3u);

    munmap(mem, bytes);
}

} // namespace
} // namespace pdf417
