#pragma once

#include "bench/readrate/DesignedMisread.h"
#include "bench/readrate/StagedReader.h"
#include "pdf417scan/api/ReadResult.h"
#include "tests/support/CorpusIndex.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace pdf417 {
namespace bench {

enum class Outcome {
    Read,      // the expected message (and text, ECI and Macro fields where given)
    Missed,    // nothing came out of a frame with a symbol
    Wrong,     // something other than the expected message: the worst failure
    Empty,     // nothing came out of a frame without a symbol, as it should
    FalseRead, // something came out of a frame without a symbol
};

const char* outcomeName(Outcome outcome);

// One way of reading a frame: what came of it and how long it took.
struct Attempt {
    Outcome outcome = Outcome::Missed;
    double ms = 0.0; // median of the repeats
    std::size_t gotLength = 0;
};

struct FrameResult {
    std::size_t entry = 0; // index into the corpus entries
    // pdf417::read with the default options, and with Effort::Fast.
    Attempt read;
    Attempt fast;
    ReadChain chain = ReadChain::None; // which chain read it through read()
    std::string mismatch;              // for a wrong read: what differed from the expected
    // Barcode2DScanner::scanGrayscaleImage, the fast entry, and the same
    // chain run stage by stage.
    Attempt specified;
    StageTimes stages;
    Reached reached = Reached::NoSymbol;
    // The rule the fast entry's decoder has occasion to apply to the symbol,
    // and the one that explains a wrong read there (None: a misread).
    DesignedMisread::Cause feature = DesignedMisread::Cause::None;
    DesignedMisread::Cause cause = DesignedMisread::Cause::None;
};

// What the run was, for the report's header.
struct RunInfo {
    std::vector<std::pair<std::string, std::string>> corpora; // name, the index's comments
    int repeats = 1;
    std::string build;
    std::string machine;
    std::string load; // the machine's load averages before and after the run
    std::string date;
    long peakRssKiB = 0;
    std::size_t mirrorMismatches = 0; // staged run and Barcode2DScanner disagreed
    std::size_t unstable = 0;         // repeats of one frame disagreed
    double wallSeconds = 0.0;
};

// Read rates by corpus and factor, wrong reads by name and frame times by
// chain, through the reading API and, beside it, through the scanner
// entry, as a Markdown report, a per-frame table and gnuplot plots.
class ReadRateReport {
public:
    ReadRateReport(std::vector<test::CorpusEntry> entries, std::vector<FrameResult> results,
                   RunInfo info);

    // Frames whose read through pdf417::read ended so.
    std::size_t count(Outcome outcome) const;
    // A few lines for the terminal.
    std::string summary() const;

    bool writeMarkdown(const std::string& path) const;
    bool writeFrames(const std::string& path) const;
    // Data files and a gnuplot script in dir; runs gnuplot on it unless told
    // not to. The Markdown report refers to the PNGs the script makes.
    bool writePlots(const std::string& dir, bool runGnuplot, std::string& error) const;

    static constexpr const char* PLOT_TIMES = "frame-times.png";

private:
    std::vector<std::string> corpusNames() const;

    std::vector<test::CorpusEntry> entries_;
    std::vector<FrameResult> results_;
    RunInfo info_;
};

} // namespace bench
} // namespace pdf417
