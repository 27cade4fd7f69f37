#include "pdf417scan/imaging/ImageRotate90.h"

#include "pdf417scan/imaging/Image.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

// On random pictures: one turn is wrapped(y, H - 1 - x) everywhere, one pixel
// beyond each side included, and its rows, columns and lines agree with its
// own getPixel; two turns are a half turn; four give the picture back.
TEST(ImageRotate90, AgreesWithGetPixelAndFourTurnsAreIdentity) {
    std::mt19937 rng(3);
    std::vector<unsigned char> a;
    std::vector<unsigned char> b;
    for (int trial = 0; trial < 200; ++trial) {
        const unsigned w = 1 + rng() % 30;
        const unsigned h = 1 + rng() % 30;
        std::vector<unsigned char> pixels(std::size_t{w} * h);
        for (auto& p : pixels) {
            p = static_cast<unsigned char>(rng());
        }
        Image image(pixels.data(), w, h);
        ImageRotate90 r1(image);
        ImageRotate90 r2(r1);
        ImageRotate90 r3(r2);
        ImageRotate90 r4(r3);
        const unsigned W = r1.width();
        const unsigned H = r1.height();
        ASSERT_TRUE(W == h && H == w && r4.width() == w && r4.height() == h);
        for (int y = -1; y <= int(h); ++y) {
            for (int x = -1; x <= int(w); ++x) {
                ASSERT_EQ(r4.getPixel(x, y), image.getPixel(x, y));
                ASSERT_EQ(r2.getPixel(x, y), image.getPixel(int(w) - 1 - x, int(h) - 1 - y));
            }
        }
        for (int y = -1; y <= int(H); ++y) {
            for (int x = -1; x <= int(W); ++x) {
                const bool inside = x >= 0 && y >= 0 && x < int(W) && y < int(H);
                ASSERT_EQ(r1.getPixel(x, y), inside ? image.getPixel(y, int(h) - 1 - x) : 0);
            }
        }
        for (unsigned y = 0; y < h; ++y) {
            ASSERT_TRUE(r4.sampleRow(y, a) && image.sampleRow(y, b));
            ASSERT_EQ(a, b);
        }
        for (unsigned x = 0; x < w; ++x) {
            ASSERT_TRUE(r4.sampleColumn(x, a) && image.sampleColumn(x, b));
            ASSERT_EQ(a, b);
        }
        for (unsigned r = 0; r < H; ++r) {
            ASSERT_TRUE(r1.sampleRow(r, a));
            ASSERT_EQ(a.size(), W);
            for (unsigned x = 0; x < W; ++x) {
                ASSERT_EQ(a[x], r1.getPixel(x, r));
            }
        }
        for (unsigned c = 0; c < W; ++c) {
            ASSERT_TRUE(r1.sampleColumn(c, a));
            ASSERT_EQ(a.size(), H);
            for (unsigned y = 0; y < H; ++y) {
                ASSERT_EQ(a[y], r1.getPixel(c, y));
            }
        }
        ASSERT_FALSE(r1.sampleRow(H, a) || r1.sampleColumn(W, a));
        for (int line = 0; line < 10; ++line) {
            const unsigned x0 = rng() % W, y0 = rng() % H, x1 = rng() % W, y1 = rng() % H;
            ASSERT_TRUE(r1.sampleLine(x0, y0, x1, y1, a));
            const auto n = std::max(std::labs(long(x1) - x0), std::labs(long(y1) - y0)) + 1;
            ASSERT_EQ(a.size(), std::size_t(n));
            ASSERT_EQ(a.front(), r1.getPixel(x0, y0));
            ASSERT_EQ(a.back(), r1.getPixel(x1, y1));
            // The walk is made on the wrapped picture; four turns bring it back.
            ASSERT_TRUE(r4.sampleLine(x0 % w, y0 % h, x1 % w, y1 % h, a));
            ASSERT_TRUE(image.sampleLine(x0 % w, y0 % h, x1 % w, y1 % h, b));
            ASSERT_EQ(a, b);
            const Point2D p(float(x0) + 0.5f, float(y0) + 0.25f, 3);
            const Point2D q(float(x1) + 0.75f, float(y1), 3);
            const bool ok = r1.sampleLine(p, q, a);
            ASSERT_EQ(ok, image.sampleLine(Point2D(p.y(), float(h - 1) - p.x(), 1),
                                           Point2D(q.y(), float(h - 1) - q.x(), 1), b));
            ASSERT_EQ(a, b);
        }
        ASSERT_FALSE(r1.sampleLine(0, 0, W, 0, a));
        ASSERT_TRUE(a.empty());

        // Writes go through to the wrapped pixel and return the old value;
        // outside the view nothing is written.
        const unsigned x = rng() % W, y = rng() % H;
        const auto old = image.getPixel(int(y), int(h - 1 - x));
        const auto value = static_cast<unsigned char>(old ^ 0x5A);
        ASSERT_EQ(r1.setPixel(int(x), int(y), value), old);
        ASSERT_EQ(image.getPixel(int(y), int(h - 1 - x)), value);
        const std::vector<unsigned char> before = pixels;
        ASSERT_EQ(r1.setPixel(int(W), 0, 9) + r1.setPixel(-1, 0, 9), 0);
        ASSERT_EQ(pixels, before);
    }
    std::vector<unsigned char> some(4);
    Image empty(some.data(), 0, 4);
    EXPECT_TRUE(ImageRotate90(empty).isEmpty());
    EXPECT_FALSE(ImageRotate90(empty).sampleLine(Point2D(0, 0, 1), Point2D(3, 3, 1), a));
}

} // namespace
} // namespace pdf417
