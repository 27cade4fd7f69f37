// The image over a caller's buffer and its quarter-turned view.
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/ImageRotate90.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace pdf417 {
namespace {

// The integer walk in closed form: after k major steps the minor coordinate
// has moved floor((2kd + M) / 2M) times (deltas M, d); ties go to y.
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
        EXPECT_EQ(image.getPixel(x, y) + image.setPixel(x, y, 99), 0);
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

// Segments against the closed form; an end outside gives false and nothing.
TEST(Image, IntegerLinesFollowTheWalk) {
    std::mt19937 rng(1);
    std::vector<unsigned char> out;
    for (int trial = 0; trial < 2000; ++trial) {
        const unsigned w = 1 + rng() % 60;
        const unsigned h = 1 + rng() % 60;
        std::vector<unsigned char> px(std::size_t{w} * h);
        std::generate(px.begin(), px.end(), [&] { return static_cast<unsigned char>(rng()); });
        Image img(px.data(), w, h);
        const unsigned x0 = rng() % w, y0 = rng() % h, x1 = rng() % w, y1 = rng() % h;
        ASSERT_TRUE(img.sampleLine(x0, y0, x1, y1, out));
        const auto walk = referenceWalk(x0, y0, x1, y1);
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
    EXPECT_TRUE(out.front() == 0 && out.back() == 50);
    // Both ends to the left: nothing to clip, and the vector is emptied.
    out.assign(3, 1);
    EXPECT_FALSE(image.sampleLine(Point2D(-10, 5, 1), Point2D(-1, 50, 1), out));
    EXPECT_TRUE(out.empty());
    // A clip lands on the last column, not one past it: never refused here.
    ASSERT_TRUE(image.sampleLine(Point2D(50, 50, 1), Point2D(150, 50, 1), out));
    EXPECT_EQ(out.size(), 50u);

    const float inf = std::numeric_limits<float>::infinity();
    const float bad[] = {std::numeric_limits<float>::quiet_NaN(), inf, -inf, 3e38f, -3e38f};
    for (int which = 0; which < 20; ++which) {
        float c[4] = {10, 20, 30, 40};
        c[which % 4] = bad[which / 4];
        out.assign(3, 1);
        const bool ok = image.sampleLine(Point2D(c[0], c[1], 1), Point2D(c[2], c[3], 1), out);
        EXPECT_TRUE(std::isfinite(bad[which / 4]) || (!ok && out.empty())) << which;
        EXPECT_LE(out.size(), 100u); // huge finite ends clip or fail
    }
}

// Index arithmetic past 2^32 pixels, and x past INT_MAX, on address space
// reserved but never backed: only touched pages cost memory.
TEST(Image, HugePicturesIndexWithoutOverflow) {
    const std::size_t bytes = std::size_t{70000} * 65536;
    void* mem = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mem == MAP_FAILED) {
        GTEST_SKIP() << "cannot reserve " << bytes << " bytes of address space";
    }
    auto* data = static_cast<unsigned char*>(mem);
    Image tall(data, 70000, 65536);
    std::vector<unsigned char> out;
    EXPECT_EQ(tall.setPixel(69999, 65535, 7), 0);
    EXPECT_TRUE(data[bytes - 1] == 7 && tall.getPixel(69999, 65535) == 7);
    ASSERT_TRUE(tall.sampleLine(69000, 65535, 69999, 65500, out));
    EXPECT_TRUE(out.size() == 1000u && out.back() == 0 && out.front() == 0);
    ASSERT_TRUE(tall.sampleColumn(69999, out));
    EXPECT_TRUE(out.size() == 65536u && out.back() == 7);
    // Wider than INT_MAX: a negative x must not wrap onto a real pixel.
    Image row(data, 3000000000u, 1);
    EXPECT_EQ(row.setPixel(INT_MAX, 0, 9), 0);
    EXPECT_TRUE(data[INT_MAX] == 9 && row.getPixel(INT_MAX, 0) == 9);
    data[std::size_t{1} << 31] = 11;
    EXPECT_EQ(row.getPixel(INT_MIN, 0) + row.setPixel(INT_MIN, 0, 1), 0);
    EXPECT_EQ(data[std::size_t{1} << 31], 11);
    munmap(mem, bytes);
}

// On random pictures: one turn is wrapped(y, H - 1 - x) everywhere, one pixel
// beyond each side included, and its rows, columns, lines and writes agree.
TEST(ImageRotate90, AgreesWithTheTurnEverywhere) {
    std::mt19937 rng(3);
    std::vector<unsigned char> a;
    std::vector<unsigned char> b;
    for (int trial = 0; trial < 200; ++trial) {
        const unsigned w = 1 + rng() % 30;
        const unsigned h = 1 + rng() % 30;
        std::vector<unsigned char> pixels(std::size_t{w} * h);
        std::generate(pixels.begin(), pixels.end(),
                      [&] { return static_cast<unsigned char>(rng()); });
        Image image(pixels.data(), w, h);
        ImageRotate90 r1(image);
        const unsigned W = r1.width();
        const unsigned H = r1.height();
        ASSERT_TRUE(W == h && H == w && !r1.isEmpty());
        for (int y = -1; y <= int(H); ++y) {
            for (int x = -1; x <= int(W); ++x) {
                const bool inside = x >= 0 && y >= 0 && x < int(W) && y < int(H);
                ASSERT_EQ(r1.getPixel(x, y), inside ? image.getPixel(y, int(h) - 1 - x) : 0);
            }
        }
        for (unsigned r = 0; r < H; ++r) {
            ASSERT_TRUE(r1.sampleRow(r, a) && a.size() == W);
            for (unsigned x = 0; x < W; ++x) {
                ASSERT_TRUE(a[x] == r1.getPixel(x, r) && r1.sampleColumn(x, b) && b.size() == H &&
                            b[r] == a[x]);
            }
        }
        ASSERT_FALSE(r1.sampleRow(H, a) || r1.sampleColumn(W, a));
        for (int line = 0; line < 10; ++line) {
            const unsigned x0 = rng() % W, y0 = rng() % H, x1 = rng() % W, y1 = rng() % H;
            ASSERT_TRUE(r1.sampleLine(x0, y0, x1, y1, a));
            ASSERT_TRUE(image.sampleLine(y0, h - 1 - x0, y1, h - 1 - x1, b));
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
        ASSERT_EQ(r1.setPixel(int(x), int(y), static_cast<unsigned char>(old ^ 0x5A)), old);
        ASSERT_EQ(image.getPixel(int(y), int(h - 1 - x)), old ^ 0x5A);
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
