// readrate: reads every frame of one or more corpora (tools/synth) through
// pdf417::read and, for comparison, through the specified entry
// Barcode2DScanner, and reports read rates by corpus and factor, wrong reads,
// frame times by chain and outcome, the specified chain's time per stage, and
// memory, as Markdown with gnuplot plots.
#include "bench/readrate/DesignedMisread.h"
#include "bench/readrate/ReadRateReport.h"
#include "bench/readrate/StagedReader.h"
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/api/Read.h"
#include "pdf417scan/imaging/Image.h"
#include "tests/support/CorpusIndex.h"
#include "tests/support/ExpectedRead.h"
#include "tests/support/ImageFiles.h"

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using pdf417::bench::Attempt;
using pdf417::bench::FrameResult;
using pdf417::bench::Outcome;
using pdf417::test::CorpusEntry;
using Clock = std::chrono::steady_clock;

const char* const USAGE =
    "usage: readrate --corpus DIR [--corpus DIR ...] --out DIR [--repeat N] [--no-plots]\n"
    "                [--fail-on-wrong]\n"
    "  Reads each DIR/index.tsv and its frames; writes report.md, frames.tsv and the\n"
    "  plots (gnuplot) into the output folder.\n"
    "  --repeat N       reads per frame and way, the median timed (default 3)\n"
    "  --no-plots       write the plot data and script but do not run gnuplot\n"
    "  --fail-on-wrong  exit with status 3 when pdf417::read reads a frame wrongly\n"
    "                   or finds something in a frame without a symbol\n";

bool readFile(const std::string& path, std::string& bytes) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return false;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

std::string firstLine(const std::string& path, const std::string& prefix) {
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind(prefix, 0) == 0) {
            const auto colon = line.find(':');
            if (colon != std::string::npos) {
                return line.substr(line.find_first_not_of(" \t", colon + 1));
            }
        }
    }
    return "unknown";
}

// The three load averages, to judge how busy the machine was.
std::string loadAverages() {
    std::ifstream in("/proc/loadavg");
    std::string one;
    std::string five;
    std::string fifteen;
    if (!(in >> one >> five >> fifteen)) {
        return std::string();
    }
    return one + " " + five + " " + fifteen;
}

std::string corpusComments(const std::string& path) {
    std::ifstream in(path);
    std::string text;
    for (std::string line; std::getline(in, line) && !line.empty() && line[0] == '#';) {
        text += (text.empty() ? "" : "; ") + line.substr(line.find_first_not_of("# "));
    }
    return text;
}

std::string today() {
    const std::time_t now = std::time(nullptr);
    char text[64];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
    return text;
}

// Up to 24 bytes of a message, printable ASCII as it is and the rest as \xNN.
std::string shown(const std::string& bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size() && i < 24; ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        if (b >= 32 && b < 127 && b != '|' && b != '`' && b != '\\') {
            text += static_cast<char>(b);
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", b);
            text += hex;
        }
    }
    return "`" + text + (bytes.size() > 24 ? "…" : "") + "` (" + std::to_string(bytes.size()) +
           " bytes)";
}

// What a read's result lacks against the expected one; empty when it is
// right.
std::string mismatchOf(const pdf417::ReadResult& result, const std::string& expected,
                       const std::optional<pdf417::test::ExpectedRead>& more) {
    const std::string got(result.bytes.begin(), result.bytes.end());
    if (got != expected) {
        return "bytes: expected " + shown(expected) + ", got " + shown(got);
    }
    if (!more) {
        return std::string();
    }
    if (more->text && result.text != *more->text) {
        return "text: expected " + shown(*more->text) + ", got " + shown(result.text);
    }
    const int eci = more->eci;
    const bool eciRight = eci == 0 ? result.ecis.empty()
                                   : result.ecis.size() == 1 && result.ecis[0].eci == eci &&
                                         result.ecis[0].begin == 0 &&
                                         result.ecis[0].end == result.bytes.size();
    if (!eciRight) {
        return "ECI: expected " + (eci == 0 ? std::string("none") : std::to_string(eci)) +
               " over the message, got " + std::to_string(result.ecis.size()) + " assignments";
    }
    if (more->isMacro() != result.macro.has_value()) {
        return more->isMacro() ? "Macro PDF417 block missing" : "a Macro block read";
    }
    if (result.macro) {
        const pdf417::MacroPdf417& m = *result.macro;
        if (m.segmentIndex != more->segmentIndex() || m.fileId != more->fileId() ||
            m.segmentCount != std::optional<std::int64_t>(more->macroCount) ||
            m.lastSegment != more->lastSegment()) {
            return "Macro fields: expected segment " + std::to_string(more->segmentIndex()) +
                   " of " + std::to_string(more->macroCount) + ", file ID " + more->fileId() +
                   ", got segment " + std::to_string(m.segmentIndex) + ", file ID " + m.fileId;
        }
    }
    return std::string();
}

// Runs `read` `repeats` times; the median time goes into the attempt, the
// first result is kept; counts repeats that disagree.
template <typename Result>
Result timed(int repeats, Attempt& attempt, std::size_t& unstable,
             const std::function<Result()>& read,
             const std::function<bool(const Result&, const Result&)>& same) {
    std::vector<double> times(static_cast<std::size_t>(repeats));
    std::optional<Result> first;
    for (int k = 0; k < repeats; ++k) {
        const Clock::time_point start = Clock::now();
        Result result = read();
        times[static_cast<std::size_t>(k)] =
            std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        if (!first) {
            first = std::move(result);
        } else if (!same(*first, result)) {
            ++unstable;
        }
    }
    std::nth_element(times.begin(), times.begin() + repeats / 2, times.end());
    attempt.ms = times[static_cast<std::size_t>(repeats / 2)];
    return std::move(*first);
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> corpusDirs;
    std::string outDir;
    int repeats = 3;
    bool plots = true;
    bool failOnWrong = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--corpus" && hasValue) {
            corpusDirs.push_back(argv[++i]);
        } else if (arg == "--out" && hasValue) {
            outDir = argv[++i];
        } else if (arg == "--repeat" && hasValue) {
            char* end = nullptr;
            errno = 0;
            const long value = std::strtol(argv[++i], &end, 10);
            if (errno != 0 || *end != '\0' || value < 1 || value > 1000) {
                std::cerr << "readrate: --repeat takes 1 to 1000\n";
                return 2;
            }
            repeats = static_cast<int>(value);
        } else if (arg == "--no-plots") {
            plots = false;
        } else if (arg == "--fail-on-wrong") {
            failOnWrong = true;
        } else if (arg == "--help" || arg == "-h") {
            std::cout << USAGE;
            return 0;
        } else {
            std::cerr << "readrate: bad argument " << arg << "\n" << USAGE;
            return 2;
        }
    }
    if (corpusDirs.empty() || outDir.empty()) {
        std::cerr << USAGE;
        return 2;
    }

    pdf417::bench::RunInfo info;
    std::vector<CorpusEntry> entries;
    std::vector<std::string> dirs; // of each entry
    for (const std::string& dir : corpusDirs) {
        const std::string indexPath = dir + "/index.tsv";
        std::vector<CorpusEntry> read;
        std::string error;
        if (!pdf417::test::CorpusIndex::read(indexPath, read, error)) {
            std::cerr << "readrate: " << error << "\n";
            return 1;
        }
        const std::string name = read.empty() || read[0].corpus.empty()
                                     ? std::filesystem::path(dir).filename().string()
                                     : read[0].corpus;
        for (CorpusEntry& entry : read) {
            entry.corpus = entry.corpus.empty() ? name : entry.corpus;
            entries.push_back(entry);
            dirs.push_back(dir);
        }
        info.corpora.emplace_back(name, corpusComments(indexPath));
    }
    std::error_code ec;
    std::filesystem::create_directories(outDir, ec);
    if (ec) {
        std::cerr << "readrate: cannot create " << outDir << ": " << ec.message() << "\n";
        return 1;
    }

    const std::string loadBefore = loadAverages();
    const Clock::time_point runStart = Clock::now();
    const pdf417::Barcode2DScanner scanner;
    pdf417::ReadOptions fastOptions;
    fastOptions.effort = pdf417::Effort::Fast;
    pdf417::bench::StagedReader staged;
    std::vector<FrameResult> results;
    std::vector<std::uint8_t> pixels;
    std::vector<unsigned char> stagedBytes;
    using Cause = pdf417::bench::DesignedMisread::Cause;
    const auto sameRead = [](const pdf417::ReadResult& a, const pdf417::ReadResult& b) {
        return a.status == b.status && a.bytes == b.bytes;
    };
    const auto sameBytes = [](const std::string& a, const std::string& b) { return a == b; };
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const CorpusEntry& entry = entries[i];
        const std::string& dir = dirs[i];
        int width = 0;
        int height = 0;
        if (!pdf417::test::readGray(dir + "/" + entry.image, pixels, width, height) ||
            width != entry.width || height != entry.height) {
            std::cerr << "readrate: cannot read " << entry.image << " at its indexed size\n";
            return 1;
        }
        std::string expected;
        if (entry.hasSymbol() && !readFile(dir + "/" + entry.message, expected)) {
            std::cerr << "readrate: cannot read " << entry.message << "\n";
            return 1;
        }
        std::optional<pdf417::test::ExpectedRead> more;
        if (!entry.expect.empty()) {
            pdf417::test::ExpectedRead sidecar;
            std::string error;
            if (!pdf417::test::ExpectedRead::read(dir + "/" + entry.expect, sidecar, error)) {
                std::cerr << "readrate: " << error << "\n";
                return 1;
            }
            more = sidecar;
        }

        FrameResult result;
        result.entry = i;
        const pdf417::ImageView view(pixels.data(), pixels.size(), width, height);
        const pdf417::ReadResult read = timed<pdf417::ReadResult>(
            repeats, result.read, info.unstable, [&] { return pdf417::read(view); }, sameRead);
        const pdf417::ReadResult fast = timed<pdf417::ReadResult>(
            repeats, result.fast, info.unstable, [&] { return pdf417::read(view, fastOptions); },
            sameRead);
        const std::string specified = timed<std::string>(
            repeats, result.specified, info.unstable,
            [&] {
                return scanner.scanGrayscaleImage(reinterpret_cast<const char*>(pixels.data()),
                                                  width, height);
            },
            sameBytes);
        pdf417::Image image(pixels.data(), static_cast<unsigned>(width),
                            static_cast<unsigned>(height));
        result.reached = staged.scan(image, stagedBytes, result.stages);
        if (std::string(stagedBytes.begin(), stagedBytes.end()) != specified) {
            ++info.mirrorMismatches;
        }

        result.chain = read.ok() ? read.chain : pdf417::ReadChain::None;
        result.read.gotLength = read.bytes.size();
        result.fast.gotLength = fast.bytes.size();
        result.specified.gotLength = specified.size();
        if (entry.hasSymbol()) {
            const auto judge = [&](const pdf417::ReadResult& r, std::string& mismatch) {
                if (!r.ok()) {
                    return Outcome::Missed;
                }
                mismatch = mismatchOf(r, expected, more);
                return mismatch.empty() ? Outcome::Read : Outcome::Wrong;
            };
            std::string unused;
            result.read.outcome = judge(read, result.mismatch);
            result.fast.outcome = judge(fast, unused);
            result.specified.outcome = specified == expected ? Outcome::Read
                                       : specified.empty()   ? Outcome::Missed
                                                             : Outcome::Wrong;
            const std::string input = more && more->unicode ? more->input : expected;
            const pdf417::test::ZintOptions options =
                more ? more->zint(entry.columns, entry.level)
                     : pdf417::test::ExpectedRead().zint(entry.columns, entry.level);
            const std::vector<unsigned short> words =
                pdf417::bench::DesignedMisread::dataCodewords(input, options);
            result.feature = pdf417::bench::DesignedMisread::feature(words);
            result.cause = result.specified.outcome == Outcome::Wrong
                               ? pdf417::bench::DesignedMisread::explain(words, expected, specified)
                               : Cause::None;
        } else {
            result.read.outcome = read.ok() ? Outcome::FalseRead : Outcome::Empty;
            result.fast.outcome = fast.ok() ? Outcome::FalseRead : Outcome::Empty;
            result.specified.outcome = specified.empty() ? Outcome::Empty : Outcome::FalseRead;
            if (read.ok()) {
                result.mismatch = "a frame without a symbol read as " +
                                  shown(std::string(read.bytes.begin(), read.bytes.end()));
            }
        }
        results.push_back(result);
        if ((i + 1) % 200 == 0) {
            std::cerr << "readrate: " << (i + 1) << " of " << entries.size() << " frames\n";
        }
    }

    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    info.peakRssKiB = usage.ru_maxrss;
    info.repeats = repeats;
    info.build = std::string(PDF417SCAN_BUILD_TYPE) + ", " +
#if defined(__clang__)
                 "clang " __clang_version__;
#elif defined(__GNUC__)
                 "GCC " __VERSION__;
#else
                 "unknown compiler";
#endif
    info.machine = firstLine("/proc/cpuinfo", "model name") + ", " +
                   std::to_string(std::thread::hardware_concurrency()) +
                   " hardware threads (one used)";
    info.date = today();
    info.wallSeconds = std::chrono::duration<double>(Clock::now() - runStart).count();
    const std::string loadAfter = loadAverages();
    if (!loadBefore.empty() && !loadAfter.empty()) {
        info.load = loadBefore + " before, " + loadAfter + " after";
    }

    const pdf417::bench::ReadRateReport report(entries, std::move(results), info);
    std::string error;
    if (!report.writeMarkdown(outDir + "/report.md") ||
        !report.writeFrames(outDir + "/frames.tsv")) {
        std::cerr << "readrate: cannot write the report into " << outDir << "\n";
        return 1;
    }
    if (!report.writePlots(outDir, plots, error)) {
        std::cerr << "readrate: " << error << "\n";
        return 1;
    }
    std::cout << report.summary() << "report: " << outDir << "/report.md\n";
    if (info.mirrorMismatches != 0 || info.unstable != 0) {
        std::cerr << "readrate: " << info.mirrorMismatches
                  << " frames read differently stage by stage, " << info.unstable
                  << " differently between repeats\n";
    }
    const std::size_t misreads = report.count(Outcome::Wrong) + report.count(Outcome::FalseRead);
    return failOnWrong && misreads > 0 ? 3 : 0;
}
