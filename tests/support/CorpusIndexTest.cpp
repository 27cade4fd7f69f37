#include "tests/support/CorpusIndex.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <random>

namespace pdf417::test {
namespace {

CorpusEntry randomEntry(std::mt19937& rng) {
    std::uniform_real_distribution<double> real(-500.0, 500.0);
    std::uniform_int_distribution<int> integer(-100000, 100000);
    CorpusEntry e;
    e.image = "frame_" + std::to_string(rng() % 10000) + ".pgm";
    e.message = rng() % 4 == 0 ? "" : "frame_" + std::to_string(rng() % 10000) + ".msg";
    e.content = rng() % 2 ? "licence" : "short text with spaces";
    e.width = integer(rng);
    e.height = integer(rng);
    e.messageLength = integer(rng);
    e.columns = integer(rng);
    e.rows = integer(rng);
    e.level = integer(rng);
    e.modulePx = real(rng);
    e.rowHeight = real(rng);
    e.rotation = real(rng);
    e.turn = integer(rng);
    e.perspective = real(rng);
    e.blurPx = real(rng);
    e.blurModules = real(rng);
    e.noise = real(rng);
    e.ink = real(rng);
    e.paper = real(rng);
    e.gradientX = real(rng);
    e.gradientY = real(rng);
    e.vignette = real(rng);
    e.jpegQuality = integer(rng);
    e.fits = rng() % 2 == 0;
    return e;
}

// Numbers keep four decimals; everything else comes back exactly.
void expectSame(const CorpusEntry& a, const CorpusEntry& b) {
    EXPECT_EQ(a.image, b.image);
    EXPECT_EQ(a.message, b.message);
    EXPECT_EQ(a.content, b.content);
    EXPECT_EQ(a.hasSymbol(), b.hasSymbol());
    for (auto m : {&CorpusEntry::width, &CorpusEntry::height, &CorpusEntry::messageLength,
                   &CorpusEntry::columns, &CorpusEntry::rows, &CorpusEntry::level,
                   &CorpusEntry::turn, &CorpusEntry::jpegQuality}) {
        EXPECT_EQ(a.*m, b.*m);
    }
    for (auto m : {&CorpusEntry::modulePx, &CorpusEntry::rowHeight, &CorpusEntry::rotation,
                   &CorpusEntry::perspective, &CorpusEntry::blurPx, &CorpusEntry::blurModules,
                   &CorpusEntry::noise, &CorpusEntry::ink, &CorpusEntry::paper,
                   &CorpusEntry::gradientX, &CorpusEntry::gradientY, &CorpusEntry::vignette}) {
        EXPECT_NEAR(a.*m, b.*m, 5.1e-5);
    }
    EXPECT_EQ(a.fits, b.fits);
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
    std::size_t start = 0;
    int numericFields = 0;
    for (std::size_t field = 0; start <= good.size(); ++field) {
        std::size_t end = good.find('\t', start);
        if (end == std::string::npos) {
            end = good.size();
        }
        if (field >= 3) { // image, message and content take any text
            ++numericFields;
            for (const char* bad : {"", "x1", "nan", "inf", "1e999", "2.5.1", "1 "}) {
                EXPECT_FALSE(
                    CorpusIndex::parseRow(good.substr(0, start) + bad + good.substr(end), entry))
                    << "field " << field << " took '" << bad << "'";
            }
        }
        start = end + 1;
    }
    EXPECT_EQ(numericFields, 21);
    EXPECT_FALSE(CorpusIndex::parseRow(good + "\textra", entry));
    EXPECT_FALSE(CorpusIndex::parseRow(good.substr(0, good.rfind('\t')), entry));
    EXPECT_FALSE(CorpusIndex::parseRow(good + "\r", entry));
    EXPECT_FALSE(CorpusIndex::parseRow("", entry));
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
