// Recognising one codeword from its grey samples, as the sampler does for
// every codeword of every scan line.
#include "pdf417scan/sampling/CodeWordRecognizer.h"

#include "tests/support/ModuleLineRenderer.h"
#include "tests/support/Pdf417Codewords.h"

#include <benchmark/benchmark.h>

#include <random>

namespace {

using pdf417::CodeWordRecognizer;

// Every pattern of the three clusters at 3 to 6 pixels per module, clean or
// blurred and noisy, each cut with a sub-pixel error at both ends.
std::vector<std::vector<unsigned char>> stretches(double blur, double noise) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> scale(3.0, 6.0);
    std::vector<std::vector<unsigned char>> all;
    for (const pdf417::test::CodewordPattern& p : pdf417::test::codewordPatterns()) {
        std::vector<std::uint8_t> line(2, 0);
        const auto modules = pdf417::test::patternModules(p.widths);
        line.insert(line.end(), modules.begin(), modules.end());
        line.insert(line.end(), {1, 1, 0});
        pdf417::test::LineStyle style;
        style.pixelsPerModule = scale(rng);
        style.blurSigma = blur;
        style.noiseSigma = noise;
        std::uniform_real_distribution<double> cut(-0.5 / style.pixelsPerModule,
                                                   0.5 / style.pixelsPerModule);
        all.push_back(
            pdf417::test::renderModuleLine(line, 2.0 + cut(rng), 19.0 + cut(rng), style, rng));
    }
    return all;
}

void recognize(benchmark::State& state, double blur, double noise) {
    const auto samples = stretches(blur, noise);
    CodeWordRecognizer recognizer;
    std::size_t i = 0;
    long valid = 0;
    for (auto _ : state) {
        const pdf417::CodeWord cw = recognizer.recognize(samples[i]);
        benchmark::DoNotOptimize(cw);
        valid += cw.isValid() ? 1 : 0;
        i = i + 1 == samples.size() ? 0 : i + 1;
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["valid"] =
        benchmark::Counter(static_cast<double>(valid) / static_cast<double>(state.iterations()));
}

void BM_RecognizeClean(benchmark::State& state) {
    recognize(state, 0.0, 0.0);
}
void BM_RecognizeNoisy(benchmark::State& state) {
    recognize(state, 0.6, 8.0);
}

// Distances to codeword alone, from exact run lengths.
void BM_DecodeRuns(benchmark::State& state) {
    std::vector<std::vector<short>> runs;
    for (const pdf417::test::CodewordPattern& p : pdf417::test::codewordPatterns()) {
        std::vector<short> r;
        for (std::size_t e = 0; e < 8; ++e) {
            const int length = 3 * p.widths[e];
            r.push_back(static_cast<short>(e % 2 == 0 ? -length : length));
        }
        runs.push_back(r);
    }
    const CodeWordRecognizer recognizer;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(recognizer.decode(runs[i], 51));
        i = i + 1 == runs.size() ? 0 : i + 1;
    }
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(BM_RecognizeClean);
BENCHMARK(BM_RecognizeNoisy);
BENCHMARK(BM_DecodeRuns);
