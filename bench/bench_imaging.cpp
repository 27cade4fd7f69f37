// Per-scan-line costs of the imaging primitives on a 1280 x 720 frame: the
// locator binarises and squeezes many such lines per frame.
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/ImageRotate90.h"
#include "pdf417scan/imaging/NiblackBinarizator.h"
#include "pdf417scan/imaging/RowUtils.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

constexpr unsigned kWidth = 1280;
constexpr unsigned kHeight = 720;

// Bars of random widths over a gray gradient with noise, roughly what a scan
// line across a symbol looks like.
std::vector<unsigned char> makeFrame() {
    std::mt19937 rng(1);
    std::vector<unsigned char> frame(std::size_t{kWidth} * kHeight);
    for (unsigned y = 0; y < kHeight; ++y) {
        bool dark = false;
        unsigned left = 0;
        for (unsigned x = 0; x < kWidth; ++x) {
            if (left == 0) {
                dark = !dark;
                left = 2 + rng() % 12;
            }
            --left;
            const int base = dark ? 40 : 180 + int(x / 20);
            frame[std::size_t{y} * kWidth + x] =
                static_cast<unsigned char>(std::min(255, base + int(rng() % 30)));
        }
    }
    return frame;
}

void BM_BinarizeAndSqueezeRow(benchmark::State& state) {
    std::vector<unsigned char> frame = makeFrame();
    pdf417::Image image(frame.data(), kWidth, kHeight);
    pdf417::NiblackBinarizator binarizator;
    std::vector<unsigned char> gray, binary;
    std::vector<short> runs;
    unsigned y = 0;
    for (auto _ : state) {
        image.sampleRow(y, gray);
        binarizator.binarize(gray, binary, kWidth / 8, -0.4f);
        pdf417::RowUtils::squeeze(binary, runs, 127);
        benchmark::DoNotOptimize(runs.data());
        y = (y + 7) % kHeight;
    }
}
BENCHMARK(BM_BinarizeAndSqueezeRow);

void BM_SampleSlantedLine(benchmark::State& state) {
    std::vector<unsigned char> frame = makeFrame();
    pdf417::Image image(frame.data(), kWidth, kHeight);
    std::vector<unsigned char> out;
    float y = 0;
    for (auto _ : state) {
        image.sampleLine(pdf417::Point2D(-20, y, 1), pdf417::Point2D(1300, y + 300, 1), out);
        benchmark::DoNotOptimize(out.data());
        y = y > 400 ? 0 : y + 3.5f;
    }
}
BENCHMARK(BM_SampleSlantedLine);

// A row of the rotated view is a column of the frame: strided reads.
void BM_RotatedRow(benchmark::State& state) {
    std::vector<unsigned char> frame = makeFrame();
    pdf417::Image image(frame.data(), kWidth, kHeight);
    pdf417::ImageRotate90 view(image);
    std::vector<unsigned char> out;
    unsigned r = 0;
    for (auto _ : state) {
        view.sampleRow(r, out);
        benchmark::DoNotOptimize(out.data());
        r = (r + 13) % view.height();
    }
}
BENCHMARK(BM_RotatedRow);

} // namespace
