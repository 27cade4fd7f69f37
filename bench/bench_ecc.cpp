// Reed-Solomon decoding of damaged PDF417 words, by RS929Decoder and by
// RS929Corrector on the same words. Each iteration copies the damaged word
// (and its erasure list) into the buffers the decoder works on, and that copy
// is part of the measured time: under a microsecond for 928 codewords, far
// below the decode itself.
#include "pdf417scan/ecc/RS929Corrector.h"
#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/ecc/RS929Encoder.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

using pdf417::G929Value;

struct DamagedWord {
    std::vector<G929Value> original;
    std::vector<G929Value> damaged;
    std::vector<unsigned long> erasures;
};

// A random codeword of n codewords at ecLevel with `errors` wrong codewords
// and `erasures` wrong codewords whose positions are given to the decoder.
DamagedWord makeWord(std::size_t n, unsigned ecLevel, int errors, int erasures) {
    std::mt19937 rng(12345 + ecLevel);
    const std::size_t k = static_cast<std::size_t>(pdf417::_ecs[ecLevel]);
    std::vector<G929Value> data;
    for (std::size_t i = 0; i + k < n; ++i) {
        data.push_back(G929Value(static_cast<unsigned short>(rng() % 929)));
    }
    DamagedWord w;
    pdf417::RS929Encoder::encode(data, w.original, ecLevel);
    w.damaged = w.original;
    std::vector<bool> hit(n, false);
    for (int d = 0; d < errors + erasures; ++d) {
        std::size_t p = rng() % n;
        while (hit[p]) {
            p = rng() % n;
        }
        hit[p] = true;
        G929Value& c = w.damaged[n - 1 - p];
        c = G929Value(static_cast<unsigned short>((c.value() + 1 + rng() % 928) % 929));
        if (d >= errors) {
            w.erasures.push_back(p);
        }
    }
    return w;
}

void runDecode(benchmark::State& state, std::size_t n, unsigned ecLevel, int errors, int erasures) {
    const DamagedWord w = makeWord(n, ecLevel, errors, erasures);
    pdf417::RS929Decoder decoder;
    std::vector<G929Value> codewords;
    std::vector<unsigned long> positions;
    codewords.reserve(n);
    positions.reserve(n);
    for (auto _ : state) {
        codewords.assign(w.damaged.begin(), w.damaged.end());
        positions.assign(w.erasures.begin(), w.erasures.end());
        const bool ok = decoder.decode(codewords, positions, ecLevel);
        benchmark::DoNotOptimize(ok);
        if (!ok || codewords.size() != w.original.size()) {
            state.SkipWithError("decode failed");
            break;
        }
    }
    state.counters["codewords"] = static_cast<double>(n);
}

void runCorrect(benchmark::State& state, std::size_t n, unsigned ecLevel, int errors,
                int erasures) {
    const DamagedWord w = makeWord(n, ecLevel, errors, erasures);
    std::vector<std::uint16_t> damaged, original;
    for (std::size_t i = 0; i < n; ++i) {
        damaged.push_back(w.damaged[i].value());
        original.push_back(w.original[i].value());
    }
    std::vector<std::uint32_t> indices;
    for (unsigned long p : w.erasures) {
        indices.push_back(static_cast<std::uint32_t>(n - 1 - p));
    }
    pdf417::RS929Corrector corrector;
    pdf417::RS929Corrector::Result result;
    std::vector<std::uint16_t> codewords;
    codewords.reserve(n);
    for (auto _ : state) {
        codewords.assign(damaged.begin(), damaged.end());
        const bool ok = corrector.correct(codewords, pdf417::_ecs[ecLevel], indices, result);
        benchmark::DoNotOptimize(ok);
        if (!ok || codewords != original) {
            state.SkipWithError("correction failed");
            break;
        }
    }
    state.counters["codewords"] = static_cast<double>(n);
}

void BM_RS929Decode_Level2_2Errors(benchmark::State& state) {
    runDecode(state, static_cast<std::size_t>(state.range(0)), 2, 2, 0);
}
BENCHMARK(BM_RS929Decode_Level2_2Errors)->Arg(100)->Arg(928)->Unit(benchmark::kMicrosecond);

void BM_RS929Decode_Level5_20Errors10Erasures(benchmark::State& state) {
    runDecode(state, static_cast<std::size_t>(state.range(0)), 5, 20, 10);
}
BENCHMARK(BM_RS929Decode_Level5_20Errors10Erasures)
    ->Arg(300)
    ->Arg(928)
    ->Unit(benchmark::kMicrosecond);

void BM_RS929Decode_Level8_100Errors(benchmark::State& state) {
    runDecode(state, 928, 8, 100, 0);
}
BENCHMARK(BM_RS929Decode_Level8_100Errors)->Unit(benchmark::kMillisecond);

void BM_RS929Correct_Level2_2Errors(benchmark::State& state) {
    runCorrect(state, static_cast<std::size_t>(state.range(0)), 2, 2, 0);
}
BENCHMARK(BM_RS929Correct_Level2_2Errors)->Arg(100)->Arg(928)->Unit(benchmark::kMicrosecond);

void BM_RS929Correct_Level5_20Errors10Erasures(benchmark::State& state) {
    runCorrect(state, static_cast<std::size_t>(state.range(0)), 5, 20, 10);
}
BENCHMARK(BM_RS929Correct_Level5_20Errors10Erasures)
    ->Arg(300)
    ->Arg(928)
    ->Unit(benchmark::kMicrosecond);

void BM_RS929Correct_Level8_100Errors(benchmark::State& state) {
    runCorrect(state, 928, 8, 100, 0);
}
BENCHMARK(BM_RS929Correct_Level8_100Errors)->Unit(benchmark::kMicrosecond);

} // namespace
