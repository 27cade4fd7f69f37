#pragma once

#include "bench/readrate/StagedReader.h"
#include "tests/support/CorpusIndex.h"

#include <cstddef>
#include <string>
#include <vector>

namespace pdf417 {
namespace bench {

enum class Outcome {
    Read,      // the expected message, byte for byte
    Missed,    // nothing came out of a frame with a symbol
    Wrong,     // a message that differs from the expected one: the worst failure
    Empty,     // nothing came out of a frame without a symbol, as it should
    FalseRead, // something came out of a frame without a symbol
};

struct FrameResult {
    std::size_t entry = 0; // index into the corpus entries
    Outcome outcome = Outcome::Missed;
    double scanMs = 0.0; // Barcode2DScanner, median of the repeats
    StageTimes stages;   // the staged run
    Reached reached = Reached::NoSymbol;
    std::size_t gotLength = 0;
    // The symbol opens its data with a byte shift (913), which the decoder
    // skips on purpose (see ByteShiftCheck).
    bool opensWithShift = false;
    // A wrong read that is exactly that deliberate rule's doing; still a
    // wrong read, counted apart.
    bool shiftRule = false;
};

// What the run was, for the report's header.
struct RunInfo {
    std::string corpus; // the index's comment lines
    int repeats = 1;
    std::string build;
    std::string machine;
    std::string load; // the machine's load averages before and after the run
    std::string date;
    long peakRssKiB = 0;
    std::size_t readerSize = 0;
    std::size_t tableSize = 0;
    std::size_t mirrorMismatches = 0; // staged run and scanner disagreed
    std::size_t unstable = 0;         // repeats of one frame disagreed
    double wallSeconds = 0.0;
};

// Read rates by factor and frame times by outcome over one corpus run, as a
// Markdown report, a per-frame table and gnuplot plots.
class ReadRateReport {
public:
    ReadRateReport(std::vector<test::CorpusEntry> entries, std::vector<FrameResult> results,
                   RunInfo info);

    std::size_t count(Outcome outcome) const;
    // Wrong reads put down to the deliberate byte-shift rule.
    std::size_t shiftRuleCount() const;
    // A few lines for the terminal.
    std::string summary() const;

    bool writeMarkdown(const std::string& path) const;
    bool writeFrames(const std::string& path) const;
    // Data files and a gnuplot script in dir; runs gnuplot on it unless told
    // not to. The Markdown report refers to the PNGs by these names.
    bool writePlots(const std::string& dir, bool runGnuplot, std::string& error) const;

    static constexpr const char* PLOT_MODULE = "readrate-module-size.png";
    static constexpr const char* PLOT_ROTATION = "readrate-rotation.png";
    static constexpr const char* PLOT_BLUR = "readrate-blur.png";
    static constexpr const char* PLOT_TIMES = "frame-times.png";

private:
    std::vector<test::CorpusEntry> entries_;
    std::vector<FrameResult> results_;
    RunInfo info_;
};

} // namespace bench
} // namespace pdf417
