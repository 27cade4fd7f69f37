#include "tests/support/CorpusIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>

namespace pdf417::test {
namespace {

const auto kInts = {
    &CorpusEntry::width,          &CorpusEntry::height,      &CorpusEntry::messageLength,
    &CorpusEntry::columns,        &CorpusEntry::rows,        &CorpusEntry::level,
    &CorpusEntry::turn,           &CorpusEntry::jpegQuality, &CorpusEntry::hitCodewords,
    &CorpusEntry::checkCodewords, &CorpusEntry::eci};
const auto kReals = {&CorpusEntry::modulePx,     &CorpusEntry::rowHeight, &CorpusEntry::rotation,
                     &CorpusEntry::perspective,  &CorpusEntry::blurPx,    &CorpusEntry::blurModules,
                     &CorpusEntry::noise,        &CorpusEntry::ink,       &CorpusEntry::paper,
                     &CorpusEntry::gradientX,    &CorpusEntry::gradientY, &CorpusEntry::vignette,
                     &CorpusEntry::sideRatio,    &CorpusEntry::quietZone, &CorpusEntry::background,
                     &CorpusEntry::damageAmount, &CorpusEntry::cutModules};
const auto kTexts = {&CorpusEntry::image,  &CorpusEntry::message, &CorpusEntry::expect,
                     &CorpusEntry::corpus, &CorpusEntry::content, &CorpusEntry::damage,
                     &CorpusEntry::cutSide};
const auto kFlags = {&CorpusEntry::fits, &CorpusEntry::mirrored, &CorpusEntry::pixelAligned,
                     &CorpusEntry::macro};

CorpusEntry randomEntry(std::mt19937& rng) {
    CorpusEntry e;
    for (auto m : kTexts) {
        e.*m = rng() % 4 == 0 ? "" : "text " + std::to_string(rng() % 10000);
    }
    for (auto m : kInts) {
        e.*m = std::uniform_int_distribution<int>(-100000, 100000)(rng);
    }
    for (auto m : kReals) {
        e.*m = std::uniform_real_distribution<double>(-500.0, 500.0)(rng);
    }
    for (auto m : kFlags) {
        e.*m = rng() % 2 == 0;
    }
    return e;
}

// Numbers keep four decimals; everything else comes back exactly.
void expectSame(const CorpusEntry& a, const CorpusEntry& b) {
    for (auto m : kTexts) {
        EXPECT_EQ(a.*m, b.*m);
    }
    for (auto m : kFlags) {
        EXPECT_EQ(a.*m, b.*m);
    }
    for (auto m : kInts) {
        EXPECT_EQ(a.*m, b.*m);
    }
    for (auto m : kReals) {
        EXPECT_NEAR(a.*m, b.*m, 5.1e-5);
    }
}

TEST(CorpusIndex, RowsAndFilesRoundTrip) {
    std::mt19937 rng(5);
    std::vector<CorpusEntry> entries;
    for (int i = 0; i < 300; ++i) {
        entries.push_back(randomEntry(rng));
        CorpusEntry back;
        ASSERT_TRUE(CorpusIndex::parseRow(CorpusIndex::formatRow(entries.back()), back));
        expectSame(entries.back(), back);
    }
    const std::string path = ::testing::TempDir() + "/corpus_index_test.tsv";
    ASSERT_TRUE(CorpusIndex::write(path, entries, "made by a test\nseed 5"));
    std::vector<CorpusEntry> read;
    std::string error;
    ASSERT_TRUE(CorpusIndex::read(path, read, error)) << error;
    ASSERT_EQ(read.size(), entries.size());
    for (std::size_t i = 0; i < read.size(); ++i) {
        expectSame(entries[i], read[i]);
    }
    std::remove(path.c_str());
}

TEST(CorpusIndex, RefusesMalformedRowsAndFiles) {
    std::mt19937 rng(9);
    const std::string good = CorpusIndex::formatRow(randomEntry(rng));
    CorpusEntry entry;
    ASSERT_TRUE(CorpusIndex::parseRow(good, entry));
    const CorpusEntry before = entry;
    // Every numeric field's text replaced in turn by something it must refuse.
    int numericFields = 0;
    for (std::size_t field = 0, start = 0; start <= good.size(); ++field) {
        const std::size_t end = std::min(good.find('\t', start), good.size());
        if (field >= kTexts.size()) { // the text fields come first and take any text
            ++numericFields;
            for (const char* bad : {"", "x1", "nan", "inf", "1e999", "2.5.1", "1 "}) {
                EXPECT_FALSE(
                    CorpusIndex::parseRow(good.substr(0, start) + bad + good.substr(end), entry))
                    << "field " << field << " took '" << bad << "'";
            }
        }
        start = end + 1;
    }
    EXPECT_EQ(numericFields, 32);
    for (const std::string& bad :
         {good + "\textra", good.substr(0, good.rfind('\t')), good + "\r", std::string()}) {
        EXPECT_FALSE(CorpusIndex::parseRow(bad, entry));
    }
    expectSame(before, entry); // a refused row leaves the entry alone

    const std::string path = ::testing::TempDir() + "/corpus_index_bad.tsv";
    std::vector<CorpusEntry> entries(1);
    std::string error;
    for (const std::string& content :
         {std::string("# only a comment\n"), "image\tmessage\n" + good + "\n",
          CorpusIndex::header() + "\n" + good + "\n" + good + "\tmore\n"}) {
        std::ofstream(path, std::ios::binary) << content;
        EXPECT_FALSE(CorpusIndex::read(path, entries, error));
        EXPECT_FALSE(error.empty());
        EXPECT_EQ(entries.size(), 1u);
    }
    std::remove(path.c_str());
    EXPECT_FALSE(CorpusIndex::read(path, entries, error));
}

} // namespace
} // namespace pdf417::test
