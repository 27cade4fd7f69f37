#include "bench/readrate/ReadRateReport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace pdf417::bench {
namespace {

using Cause = DesignedMisread::Cause;

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

test::CorpusEntry entry(const std::string& corpus, const std::string& name, double module,
                        bool symbol) {
    test::CorpusEntry e;
    e.corpus = corpus;
    e.image = name + ".pgm";
    e.message = symbol ? name + ".msg" : "";
    e.content = symbol ? "digits" : "texture";
    e.messageLength = symbol ? 12 : 0;
    e.modulePx = module;
    return e;
}

// Ten camera frames and two empty ones with known outcomes and times: the
// counts, rates, nearest-rank percentiles, chains, targets and the naming of
// wrong reads must come out as worked by hand.
TEST(ReadRateReport, CountsRatesTimesAndNamesAsWorkedByHand) {
    std::vector<test::CorpusEntry> entries;
    std::vector<FrameResult> results;
    const struct {
        const char* corpus;
        double module;
        bool symbol;
        Outcome read;
        Outcome specified;
        Cause cause;
    } frames[] = {
        {"camera", 1.3, true, Outcome::Missed, Outcome::Missed, Cause::None},
        {"camera", 1.4, true, Outcome::Missed, Outcome::Missed, Cause::None},
        {"camera", 3.5, true, Outcome::Read, Outcome::Read, Cause::None},
        {"camera", 3.2, true, Outcome::Read, Outcome::Wrong, Cause::ByteShift},
        {"camera", 3.9, true, Outcome::Read, Outcome::Wrong, Cause::None},
        {"camera", 3.0, true, Outcome::Wrong, Outcome::Missed, Cause::None},
        {"camera", 6.0, true, Outcome::Read, Outcome::Read, Cause::None},
        {"camera", 7.0, true, Outcome::Read, Outcome::Wrong, Cause::MacroEci},
        {"camera", 2.0, false, Outcome::Empty, Outcome::Empty, Cause::None},
        {"camera", 2.0, false, Outcome::FalseRead, Outcome::Empty, Cause::None},
        {"empty", 2.0, false, Outcome::Empty, Outcome::FalseRead, Cause::None},
        {"empty", 2.0, false, Outcome::Empty, Outcome::Empty, Cause::None},
    };
    for (std::size_t i = 0; i < std::size(frames); ++i) {
        entries.push_back(
            entry(frames[i].corpus, "f" + std::to_string(i), frames[i].module, frames[i].symbol));
        FrameResult r;
        r.entry = i;
        r.read.outcome = frames[i].read;
        r.read.ms = static_cast<double>(10 - std::min<std::size_t>(i, 9)); // 10 .. 1, then 1
        r.fast.outcome = frames[i].read;
        r.specified.outcome = frames[i].specified;
        r.specified.ms = 2.0;
        r.chain = r.read.outcome == Outcome::Read ? ReadChain::Fast : ReadChain::None;
        r.mismatch = r.read.outcome == Outcome::Wrong ? "bytes: hand-made" : "";
        r.cause = frames[i].cause;
        r.feature = frames[i].cause;
        r.stages.detect = 0.5;
        r.stages.sample = 1.5;
        results.push_back(r);
    }
    const ReadRateReport report(entries, results, RunInfo());
    EXPECT_EQ(report.count(Outcome::Read), 5u);
    EXPECT_EQ(report.count(Outcome::Wrong), 1u);
    EXPECT_EQ(report.count(Outcome::FalseRead), 1u);

    const std::string dir = ::testing::TempDir() + "/readrate-report-test";
    std::filesystem::create_directories(dir);
    ASSERT_TRUE(report.writeMarkdown(dir + "/readrate_test.md"));
    const std::string md = slurp(dir + "/readrate_test.md");
    for (const char* row : {
             // 5 of 8 read; 1 wrong and 1 false read; times 10..1 ms: 5th and 9th of 10.
             "| camera | 10 | 62.5 % ✗ | 2 ✗ | 5.00 / 9.00 / 10.0 ✗ |",
             "| 25.0 %, 3 |",
             "| empty | 2 | 0 read ✓ | 0 ✓ | 1.00 / 1.00 / 1.00 ✓ |",
             "| camera | fast | 5 | 50.0 % | 6.00 / 8.00 / 8.00 |", // 3, 4, 6, 7 and 8 ms
             "| camera | none | 5 | 50.0 % |",
             "| camera | f5.pgm | none | bytes: hand-made |",
             "| camera | f9.pgm | none |",
             "| camera | 2 (25.0 %) | 3 | 3 | 1 of 1 | 1 of 1 | 1 | 0 of 2 |",
             "| empty | – | 0 | 0 | 0 of 0 | 0 of 0 | 0 | 1 of 2 |",
             "| camera | f4.pgm | 12 |",
             "| < 1.5 | 2 | 0 | 0 | 0.0 % | 0.0 % |",
             "| 3–4 | 4 | 3 | 1 | 75.0 % | 25.0 % |",
             "| detect (`Detector::detect`) | 0.50 | 0.50 | 0.50 | 0.50 | 25.0 % |",
             "| texture | 2 | 0 | 1 |",
         }) {
        EXPECT_NE(md.find(row), std::string::npos) << row;
    }
    // Only the misread is listed among the specified entry's misreads.
    EXPECT_EQ(md.find("| camera | f3.pgm |"), std::string::npos);
    EXPECT_EQ(md.find("| camera | f2.pgm"), std::string::npos);

    ASSERT_TRUE(report.writeFrames(dir + "/readrate_test.tsv"));
    const std::string tsv = slurp(dir + "/readrate_test.tsv");
    EXPECT_EQ(std::count(tsv.begin(), tsv.end(), '\n'), 13);
    EXPECT_NE(tsv.find("camera\tf5.pgm\twrong\tnone\t"), std::string::npos) << tsv;
    EXPECT_NE(tsv.find("\tbyte-shift\tbyte-shift\n"), std::string::npos) << tsv;

    std::string error;
    ASSERT_TRUE(report.writePlots(dir, false, error)) << error;
    const std::string module = slurp(dir + "/readrate-camera-module-size.dat");
    EXPECT_NE(module.find("\"3–4 (4)\"\t4\t75\t25\n"), std::string::npos) << module;
    EXPECT_FALSE(slurp(dir + "/frame-times.dat").empty());
    std::filesystem::remove_all(dir);
}

} // namespace
} // namespace pdf417::bench
