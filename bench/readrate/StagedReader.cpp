#include "bench/readrate/StagedReader.h"

#include "pdf417scan/imaging/ImageRotate90.h"
#include "pdf417scan/reader/Decoder.h"

#include <array>
#include <chrono>
#include <cstddef>

namespace pdf417 {
namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

} // namespace

const char* describe(Reached reached) {
    switch (reached) {
    case Reached::NoSymbol:
        return "no symbol located";
    case Reached::NoColumns:
        return "no column lines";
    case Reached::NoSample:
        return "sampling failed";
    case Reached::NoCodewords:
        return "no codeword sequence";
    case Reached::NoCorrection:
        return "error correction failed";
    case Reached::Read:
        return "decoded";
    }
    return "unknown";
}

Reached StagedReader::scan(IImage& image, std::vector<unsigned char>& out, StageTimes& times) {
    times = StageTimes();
    // A fresh table per scan, as the scanner's fresh reader has; made before
    // the clock runs since the scanner's allocation is not a stage.
    table_ = std::make_unique<MultiTable>();
    failedAttempts_ = 0;
    Reached reached = attempt(image, out, times);
    if (out.empty()) {
        ImageRotate90 rotated(image);
        const Reached second = attempt(rotated, out, times);
        reached = static_cast<int>(second) > static_cast<int>(reached) ? second : reached;
    }
    return reached;
}

Reached StagedReader::attempt(const IImage& image, std::vector<unsigned char>& out,
                              StageTimes& times) {
    out.clear();
    Clock::time_point start = Clock::now();
    std::array<Point2D, 6> corners;
    const bool detected = detector_.detect(image, corners);
    times.detect += millisecondsSince(start);
    if (!detected) {
        return Reached::NoSymbol;
    }

    start = Clock::now();
    const bool cut = cutter_.cut(image, corners, columnLines_);
    times.cut += millisecondsSince(start);
    if (!cut) {
        return Reached::NoColumns;
    }

    start = Clock::now();
    if (failedAttempts_ >= MAX_FAILED_ATTEMPTS) {
        failedAttempts_ = 0;
        table_->clear();
    }
    const bool sampled = sampler_.sample(image, columnLines_, *table_);
    times.sample += millisecondsSince(start);
    if (!sampled) {
        return Reached::NoSample;
    }

    start = Clock::now();
    if (!table_->getData(tableData_)) {
        times.correct += millisecondsSince(start);
        ++failedAttempts_;
        return Reached::NoCodewords;
    }
    erasures_.clear();
    rsWords_.clear();
    const std::size_t n = tableData_.codeWords.size();
    for (std::size_t i = 0; i < n; ++i) {
        const CodeWord& codeWord = tableData_.codeWords[i].codeWord;
        if (codeWord.isValid()) {
            rsWords_.emplace_back(codeWord.code());
        } else {
            rsWords_.emplace_back(static_cast<unsigned short>(0));
            erasures_.push_back(n - 1 - i);
        }
    }
    const bool corrected = rsDecoder_.decode(rsWords_, erasures_, table_->ecl());
    times.correct += millisecondsSince(start);
    if (!corrected) {
        ++failedAttempts_;
        return Reached::NoCorrection;
    }

    start = Clock::now();
    rsWords_.resize(n - static_cast<std::size_t>(tableData_.ecCount));
    dataWords_.clear();
    for (const G929Value& word : rsWords_) {
        dataWords_.push_back(word.value());
    }
    const bool decoded = Decoder::decode(dataWords_, out);
    times.decode += millisecondsSince(start);
    if (!decoded) {
        ++failedAttempts_;
        return Reached::NoCorrection;
    }
    failedAttempts_ = 0;
    table_->clear();
    return Reached::Read;
}

} // namespace bench
} // namespace pdf417
