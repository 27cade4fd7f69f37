#include "bench/readrate/ReadRateReport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace pdf417::bench {
namespace {

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

test::CorpusEntry entry(const std::string& name, double module, int turn, bool symbol) {
    test::CorpusEntry e;
    e.image = name + ".pgm";
    e.message = symbol ? name + ".msg" : "";
    e.content = symbol ? "digits" : "texture";
    e.width = 1280;
    e.height = 720;
    e.messageLength = symbol ? 12 : 0;
    e.columns = 4;
    e.level = 3;
    e.modulePx = module;
    e.rowHeight = 3.0;
    e.turn = turn;
    e.ink = 40.0;
    e.paper = 200.0;
    return e;
}

// Ten frames with known outcomes and times 1..10 ms: the counts, rates and
// nearest-rank percentiles must come out as worked by hand.
TEST(ReadRateReport, CountsRatesAndPercentilesAsWorkedByHand) {
    std::vector<test::CorpusEntry> entries;
    std::vector<FrameResult> results;
    const struct {
        double module;
        int turn;
        bool symbol;
        Outcome outcome;
    } frames[] = {
        {1.3, 0, true, Outcome::Missed}, {1.4, 90, true, Outcome::Missed},
        {3.5, 0, true, Outcome::Read},   {3.2, 180, true, Outcome::Read},
        {3.9, 0, true, Outcome::Read},   {3.0, 270, true, Outcome::Wrong},
        {6.0, 0, true, Outcome::Read},   {7.0, 90, true, Outcome::Read},
        {2.0, 0, false, Outcome::Empty}, {2.0, 0, false, Outcome::FalseRead},
    };
    for (std::size_t i = 0; i < std::size(frames); ++i) {
        entries.push_back(
            entry("f" + std::to_string(i), frames[i].module, frames[i].turn, frames[i].symbol));
        FrameResult r;
        r.entry = i;
        r.outcome = frames[i].outcome;
        r.scanMs = static_cast<double>(10 - i); // 10 .. 1
        r.stages.detect = 0.5;
        r.stages.sample = 1.5;
        r.reached = r.outcome == Outcome::Read ? Reached::Read : Reached::NoSymbol;
        r.gotLength = r.outcome == Outcome::Read ? 12 : (r.outcome == Outcome::Missed ? 0 : 5);
        // Two symbols open with a byte shift; the wrong read is that rule's.
        r.opensWithShift = i == 4 || i == 5;
        r.shiftRule = i == 5;
        results.push_back(r);
    }
    RunInfo info;
    info.corpus = "hand-made";
    const ReadRateReport report(entries, results, info);
    EXPECT_EQ(report.count(Outcome::Read), 5u);
    EXPECT_EQ(report.count(Outcome::Missed), 2u);
    EXPECT_EQ(report.count(Outcome::Wrong), 1u);
    EXPECT_EQ(report.count(Outcome::FalseRead), 1u);
    EXPECT_EQ(report.shiftRuleCount(), 1u);

    const std::string dir = ::testing::TempDir();
    ASSERT_TRUE(report.writeMarkdown(dir + "/readrate_test.md"));
    const std::string md = slurp(dir + "/readrate_test.md");
    for (const char* row : {
             "| Frames | 10 (8 with a symbol, 2 without) |",
             "| Read | 5 of 8 (62.5 %) |",
             "| Missed | 2 (25.0 %) |",
             "| Wrong reads (a message that differs) | 1 |",
             "| Frames without a symbol that read as something | 1 of 2 |",
             "| all | 10 | 5.00 | 9.00 | 10.0 |", // nearest rank: 5th and 9th of 10
             "| read | 5 | 6.00 | 8.00 | 8.00 |", // 3, 4, 6, 7 and 8 ms
             "| < 1.5 | 2 | 0 | 2 | 0 | 0.0 % |",
             "| ≥ 6.5 | 1 | 1 | 0 | 0 | 100.0 % |",
             "| of them by the deliberate byte-shift rule † | 1 (of 2 symbols whose data opens "
             "with a byte shift) |",
             "| 270° | 1 | 0 | 0 | 1 (1 †) | 0.0 % |",
             "| 3–4 | 4 | 3 | 0 | 1 (1 †) | 75.0 % |",
             "| detect (`Detector::detect`) | 0.50 | 0.50 | 0.50 | 0.50 | 25.0 % |",
             "| sample (`Sampler::sample`) | 1.50 | 1.50 | 1.50 | 1.50 | 75.0 % |",
             "| f5.pgm | 12 | 5 | byte-shift rule † |",
             "| f9.pgm | 0 | 5 | no symbol shown |",
         }) {
        EXPECT_NE(md.find(row), std::string::npos) << row;
    }
    EXPECT_EQ(md.find("f2.pgm | 12 | 12"), std::string::npos); // a good read is no wrong read

    ASSERT_TRUE(report.writeFrames(dir + "/readrate_test.tsv"));
    const std::string tsv = slurp(dir + "/readrate_test.tsv");
    EXPECT_EQ(std::count(tsv.begin(), tsv.end(), '\n'), 11);
    EXPECT_NE(tsv.find("f5.pgm\twrong\t"), std::string::npos);
    EXPECT_NE(tsv.find("\t12\t5\t1\t1\n"), std::string::npos) << tsv;  // f5: opens, rule
    EXPECT_NE(tsv.find("\t12\t12\t1\t0\n"), std::string::npos) << tsv; // f4: opens, read

    std::string error;
    ASSERT_TRUE(report.writePlots(dir, false, error)) << error;
    const std::string module = slurp(dir + "/readrate-module-size.dat");
    EXPECT_NE(module.find("\"3–4\"\t4\t75\n"), std::string::npos) << module;
    const std::string times = slurp(dir + "/frame-times.dat");
    EXPECT_FALSE(times.empty());
    for (const char* file :
         {"/readrate_test.md", "/readrate_test.tsv", "/plots.gp", "/readrate-module-size.dat",
          "/readrate-rotation.dat", "/readrate-blur.dat", "/frame-times.dat"}) {
        std::remove((dir + file).c_str());
    }
}

// Forty frames: twenty with small modules, two of them read, and twenty with
// comfortable ones, sixteen read. The small bucket would have read 80 % like
// the rest, so it loses 0.8 x 20 - 2 = 14 reads; the upright turn, holding
// the small frames, loses 16/21 x 19 - 2 = 12.5. Of the small frames not
// read, the one turned like the comfortable ones is the telling example.
TEST(ReadRateReport, RanksConditionsByTheReadsTheyLose) {
    std::vector<test::CorpusEntry> entries;
    std::vector<FrameResult> results;
    for (std::size_t i = 0; i < 40; ++i) {
        const bool small = i < 20;
        const int turn = small && i != 5 ? 0 : 90;
        entries.push_back(entry("g" + std::to_string(i), small ? 1.3 : 3.5, turn, true));
        FrameResult r;
        r.entry = i;
        r.outcome = (small ? i < 2 : i < 36) ? Outcome::Read : Outcome::Missed;
        r.scanMs = 1.0;
        results.push_back(r);
    }
    const ReadRateReport report(entries, results, RunInfo());
    const std::string path = ::testing::TempDir() + "/readrate_rank.md";
    ASSERT_TRUE(report.writeMarkdown(path));
    const std::string md = slurp(path);
    const std::size_t module =
        md.find("| Module size (pixels) | < 1.5 | 20 | 10.0 % | 80.0 % | 14.0 | `g5.pgm`: ");
    const std::size_t turn = md.find("| Right-angle turn (clockwise) | 0° | 19 | 10.5 % | 76.2 % "
                                     "| 12.5 | `g2.pgm`: ");
    ASSERT_NE(module, std::string::npos) << md;
    ASSERT_NE(turn, std::string::npos) << md;
    EXPECT_LT(module, turn);
    // Buckets that read better than the rest lose nothing and are not listed.
    EXPECT_EQ(md.find("| Module size (pixels) | 3–4 | 20 |"), std::string::npos);
    std::remove(path.c_str());
}

} // namespace
} // namespace pdf417::bench
