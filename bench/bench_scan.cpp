// Cost of one scanGrayscaleImage call on 1280x720 camera-like frames: a
// symbol upright, a symbol that only the rotated retry reads, and no symbol
// (both attempts made). Then the upright frame's cost split by stage, each
// stage called directly as the reader calls it; the data codewords decoded
// by Decoder and by MessageDecoder, and MessageDecoder on a symbol full of
// ECIs, Shift JIS text and a Macro PDF417 block.
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/ecc/G929Value.h"
#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/ImageRotate90.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "pdf417scan/reader/Decoder.h"
#include "pdf417scan/reader/MessageDecoder.h"
#include "pdf417scan/reader/PDF417Reader.h"
#include "pdf417scan/sampling/MultiTable.h"
#include "pdf417scan/sampling/Sampler.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

using pdf417::test::ModuleGrid;
using pdf417::test::SymbolRenderer;

constexpr int kWidth = 1280;
constexpr int kHeight = 720;

const std::string& message() {
    static const std::string text = "PDF417 SCAN BENCHMARK 2024-06-11, ROW 24 OF 24: "
                                    "THE QUICK BROWN FOX JUMPS OVER THE LAZY DOG 0123456789";
    return text;
}

// An 8-column, 24-row symbol at level 3, 3 pixels per module (615 x 216
// pixels, so it fits turned too), slightly tilted, blurred and noisy.
std::vector<std::uint8_t> symbolFrame(double rotation) {
    pdf417::test::Pdf417Modules symbol;
    if (!pdf417::test::encodePdf417(message(), {8, 3, 24}, symbol)) {
        std::abort();
    }
    SymbolRenderer::Options options;
    options.frameWidth = kWidth;
    options.frameHeight = kHeight;
    options.moduleWidth = 3.0;
    options.rotationDegrees = rotation;
    options.blurSigma = 0.7;
    options.noiseSigma = 3.0;
    options.lighting.gradientX = 0.1;
    SymbolRenderer renderer;
    return renderer.render(ModuleGrid(symbol), options).pixels;
}

std::vector<std::uint8_t> emptyFrame() {
    // Paper with soft shading and noise, nothing printed.
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(kWidth) * kHeight);
    std::uint32_t x = 12345;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        x = x * 1664525u + 1013904223u;
        pixels[i] = static_cast<std::uint8_t>(170 + (i % kWidth) / 40 + (x >> 29));
    }
    return pixels;
}

void scan(benchmark::State& state, const std::vector<std::uint8_t>& pixels,
          const std::string& expected) {
    const pdf417::Barcode2DScanner scanner;
    for (auto _ : state) {
        const std::string text = scanner.scanGrayscaleImage(
            reinterpret_cast<const char*>(pixels.data()), kWidth, kHeight);
        if (text != expected) {
            state.SkipWithError("unexpected scan result");
            break;
        }
        benchmark::DoNotOptimize(text.data());
    }
}

void BM_ScanUpright(benchmark::State& state) {
    scan(state, symbolFrame(0.7), message());
}
void BM_ScanRotatedRetry(benchmark::State& state) {
    std::vector<std::uint8_t> pixels = symbolFrame(270.7);
    // The frame must need the retry: the upright attempt alone reads nothing.
    auto reader = std::make_unique<pdf417::PDF417Reader>();
    std::vector<unsigned char> bytes;
    if (reader->decode(pdf417::Image(pixels.data(), kWidth, kHeight), bytes) ==
        pdf417::PDF417Reader::Success) {
        state.SkipWithError("the symbol reads upright");
        return;
    }
    scan(state, pixels, message());
}
void BM_ScanEmpty(benchmark::State& state) {
    scan(state, emptyFrame(), "");
}

// The stages of one reading of the upright frame, in the reader's order.
struct Stages {
    std::vector<std::uint8_t> pixels = symbolFrame(0.7);
    pdf417::Image image{pixels.data(), kWidth, kHeight};
    pdf417::Detector detector;
    pdf417::Cutter cutter;
    pdf417::Sampler sampler;
    std::unique_ptr<pdf417::MultiTable> table = std::make_unique<pdf417::MultiTable>();
    std::array<pdf417::Point2D, 6> corners;
    pdf417::Cutter::Lines lines;
    pdf417::MultiTable::TableData data;
    pdf417::RS929Decoder rsDecoder;
    std::vector<pdf417::G929Value> rsWords;
    std::vector<unsigned long> erasures;
    std::vector<unsigned short> dataWords;
    std::vector<unsigned char> bytes;

    bool detect() { return detector.detect(image, corners); }
    bool cut() { return cutter.cut(image, corners, lines); }
    // The table starts empty each time, as after a success.
    bool sample() {
        table->clear();
        return sampler.sample(image, lines, *table);
    }
    // Extraction and correction, as the reader does them.
    bool correct() {
        if (!table->getData(data)) {
            return false;
        }
        rsWords.clear();
        erasures.clear();
        const std::size_t n = data.codeWords.size();
        for (std::size_t i = 0; i < n; ++i) {
            const pdf417::CodeWord& w = data.codeWords[i].codeWord;
            rsWords.emplace_back(w.isValid() ? w.code() : static_cast<unsigned short>(0));
            if (!w.isValid()) {
                erasures.push_back(n - 1 - i);
            }
        }
        if (!rsDecoder.decode(rsWords, erasures, table->ecl())) {
            return false;
        }
        dataWords.clear();
        for (std::size_t i = 0; i + data.ecCount < n; ++i) {
            dataWords.push_back(rsWords[i].value());
        }
        return true;
    }
    bool decodeData() { return pdf417::Decoder::decode(dataWords, bytes); }
    pdf417::MessageDecoder messageDecoder;
    pdf417::DecodedMessage decoded;
    bool decodeMessage() {
        return messageDecoder.decode(dataWords.data(), dataWords.size(), decoded) &&
               decoded.text == message();
    }

    // Runs the chain once so that every stage has its input.
    bool prepare() { return detect() && cut() && sample() && correct() && decodeData(); }
};

template <bool (Stages::*stage)()>
void BM_Stage(benchmark::State& state) {
    Stages s;
    if (!s.prepare() || std::string(s.bytes.begin(), s.bytes.end()) != message()) {
        state.SkipWithError("the frame does not read");
        return;
    }
    for (auto _ : state) {
        if (!(s.*stage)()) {
            state.SkipWithError("stage failed");
            break;
        }
        benchmark::ClobberMemory();
    }
}

// Detection on the empty frame, upright and turned: the whole cost of a
// frame without a symbol, when nothing is found.
void BM_StageDetectEmptyBothViews(benchmark::State& state) {
    std::vector<std::uint8_t> pixels = emptyFrame();
    pdf417::Image image(pixels.data(), kWidth, kHeight);
    pdf417::ImageRotate90 rotated(image);
    pdf417::Detector detector;
    std::array<pdf417::Point2D, 6> corners;
    for (auto _ : state) {
        const bool found = detector.detect(image, corners) || detector.detect(rotated, corners);
        if (found) {
            state.SkipWithError("a symbol in the empty frame");
            break;
        }
    }
}

// A symbol's worth of segments under four ECIs, one of them read through
// iconv, in all three compaction modes, with a Macro PDF417 block.
void BM_MessageDecoderEciMacro(benchmark::State& state) {
    pdf417::test::ZintOptions options;
    options.ecLevel = 3;
    options.dataColumns = 12;
    options.utf8 = true;
    options.structIndex = 3;
    options.structCount = 7;
    options.structId = "017042123";
    const std::vector<pdf417::test::ZintSegment> segments = {
        {"Invoice 2024-06-11, total 1234567890123 EUR; ", 3},
        {"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE3\x83\x86\xE3\x82\xAD"
         "\xE3\x82\xB9\xE3\x83\x88 ",
         20},
        {"\xC3\xBC\xC3\xB1\xC3\xAE\xC3\xA7\xC3\xB8"
         "d\xC3\xA9 \xE2\x82\xAC 42 ",
         26},
        {"\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82 000111222333444555", 7}};
    pdf417::test::Pdf417Modules symbol;
    if (!pdf417::test::encodePdf417Segments(segments, options, symbol)) {
        state.SkipWithError("libzint refused the segments");
        return;
    }
    const std::vector<unsigned short> words = pdf417::test::symbolDataCodewords(symbol, 3);
    pdf417::MessageDecoder decoder;
    pdf417::DecodedMessage decoded;
    for (auto _ : state) {
        if (!decoder.decode(words.data(), words.size(), decoded) || decoded.ecis.size() != 4 ||
            !decoded.textComplete) {
            state.SkipWithError("the symbol does not decode");
            break;
        }
    }
    state.counters["codewords"] = static_cast<double>(words.size());
}

} // namespace

BENCHMARK(BM_ScanUpright)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScanRotatedRetry)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScanEmpty)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Stage, &Stages::detect)
    ->Name("BM_StageDetect")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Stage, &Stages::cut)->Name("BM_StageCut")->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Stage, &Stages::sample)
    ->Name("BM_StageSample")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Stage, &Stages::correct)
    ->Name("BM_StageExtractCorrect")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Stage, &Stages::decodeData)
    ->Name("BM_StageDecode")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Stage, &Stages::decodeMessage)
    ->Name("BM_StageDecodeMessage")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MessageDecoderEciMacro)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StageDetectEmptyBothViews)->Unit(benchmark::kMicrosecond);
