// Localisation cost per frame: Detector::detect plus Cutter::cut on 1280x720
// frames, with a symbol and without one.
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using pdf417::test::ModuleGrid;
using pdf417::test::SymbolRenderer;

constexpr int kWidth = 1280;
constexpr int kHeight = 720;

// A camera-like frame: a 12-column, 24-row symbol at 3 pixels per module,
// slightly turned, blurred and noisy.
std::vector<std::uint8_t> symbolFrame(double rotation) {
    pdf417::test::Pdf417Modules symbol;
    if (!pdf417::test::encodePdf417(std::string(120, 'B'), {12, 3, 24}, symbol)) {
        std::abort();
    }
    SymbolRenderer::Options options;
    options.frameWidth = kWidth;
    options.frameHeight = kHeight;
    options.moduleWidth = 3.0;
    options.rotationDegrees = rotation;
    options.blurSigma = 0.8;
    options.noiseSigma = 4.0;
    options.lighting.gradientX = 0.15;
    SymbolRenderer renderer;
    return renderer.render(ModuleGrid(symbol), options).pixels;
}

void locate(benchmark::State& state, std::vector<std::uint8_t> pixels, bool expectFound) {
    pdf417::Image image(pixels.data(), kWidth, kHeight);
    pdf417::Detector detector;
    pdf417::Cutter cutter;
    std::array<pdf417::Point2D, 6> corners;
    pdf417::Cutter::Lines lines;
    for (auto _ : state) {
        const bool found = detector.detect(image, corners) && cutter.cut(image, corners, lines);
        if (found != expectFound) {
            state.SkipWithError("unexpected localisation result");
            break;
        }
        benchmark::DoNotOptimize(lines.data());
    }
}

void BM_LocateSymbol(benchmark::State& state) {
    locate(state, symbolFrame(0.0), true);
}
void BM_LocateTurnedSymbol(benchmark::State& state) {
    locate(state, symbolFrame(184.0), true);
}

void BM_LocateEmptyUniform(benchmark::State& state) {
    locate(state, std::vector<std::uint8_t>(kWidth * kHeight, 128), false);
}

void BM_LocateEmptyNoise(benchmark::State& state) {
    std::vector<std::uint8_t> pixels(kWidth * kHeight);
    std::uint32_t x = 12345;
    for (auto& p : pixels) {
        x = x * 1664525u + 1013904223u;
        p = static_cast<std::uint8_t>(x >> 24);
    }
    locate(state, std::move(pixels), false);
}

// Lines of "text": short dark strokes of varying width on paper.
void BM_LocateEmptyText(benchmark::State& state) {
    std::vector<std::uint8_t> pixels(kWidth * kHeight, 220);
    std::uint32_t x = 777;
    for (int line = 40; line + 20 < kHeight; line += 32) {
        for (int col = 30; col < kWidth - 30;) {
            x = x * 1664525u + 1013904223u;
            const int stroke = 1 + static_cast<int>((x >> 28) % 4);
            const int gap = 2 + static_cast<int>((x >> 24) % 7);
            for (int y = line; y < line + 18; ++y) {
                for (int i = 0; i < stroke; ++i) {
                    pixels[static_cast<std::size_t>(y) * kWidth + col + i] = 40;
                }
            }
            col += stroke + gap;
        }
    }
    locate(state, std::move(pixels), false);
}

void BM_RenderFrame1080p(benchmark::State& state) {
    pdf417::test::Pdf417Modules symbol;
    if (!pdf417::test::encodePdf417(std::string(400, 'R'), {20, 4, 40}, symbol)) {
        std::abort();
    }
    const ModuleGrid grid(symbol);
    SymbolRenderer::Options options;
    options.frameWidth = 1920;
    options.frameHeight = 1080;
    options.moduleWidth = 3.5;
    options.rotationDegrees = 7.0;
    options.blurSigma = 1.0;
    options.noiseSigma = 5.0;
    options.lighting.vignette = 0.3;
    SymbolRenderer renderer;
    for (auto _ : state) {
        const auto frame = renderer.render(grid, options);
        benchmark::DoNotOptimize(frame.pixels.data());
    }
}

} // namespace

BENCHMARK(BM_LocateSymbol)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LocateTurnedSymbol)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LocateEmptyUniform)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LocateEmptyNoise)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LocateEmptyText)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RenderFrame1080p)->Unit(benchmark::kMillisecond);
