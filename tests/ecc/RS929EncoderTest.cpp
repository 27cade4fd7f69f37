#include "pdf417scan/ecc/RS929Encoder.h"
#include "pdf417scan/ecc/G929Polynomial.h"
#include "tests/support/RandomCodewords.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace pdf417 {
namespace {

using Poly = std::vector<G929Value>;
using test::gf;
using test::syndromesZero;

TEST(RS929Encoder, GeneratorTables) {
    EXPECT_EQ(_ecw0[0].value(), 917);
    EXPECT_EQ(_ecw0[1].value(), 27);
    const unsigned level1[] = {809, 723, 568, 522};
    for (int j = 0; j < 4; ++j) {
        EXPECT_EQ(_ecw1[j].value(), level1[j]);
    }
    const std::size_t sizes[] = {_ecw0.size(), _ecw1.size(), _ecw2.size(),
                                 _ecw3.size(), _ecw4.size(), _ecw5.size(),
                                 _ecw6.size(), _ecw7.size(), _ecw8.size()};
    // x^k + sum of the stored coefficients vanishes exactly at 3^1 .. 3^k.
    Poly g, roots;
    for (unsigned level = 0; level < 9; ++level) {
        const std::size_t k = static_cast<std::size_t>(_ecs[level]);
        ASSERT_EQ(k, std::size_t{2} << level);
        ASSERT_EQ(sizes[level], k);
        g.assign(1, gf(1));
        g.insert(g.end(), _ec[level], _ec[level] + k);
        ASSERT_TRUE(G929Polynomial::getRoots(g, roots));
        std::vector<unsigned> got, want;
        for (const G929Value& r : roots) {
            got.push_back(r.value());
        }
        for (std::size_t i = 1; i <= k; ++i) {
            want.push_back(gf(3).pow(i).value());
        }
        std::sort(want.begin(), want.end());
        EXPECT_EQ(got, want) << "level " << level;
    }
}

TEST(RS929Encoder, EncodedWordsHaveZeroSyndromes) {
    std::mt19937 rng(5);
    Poly data, out;
    for (unsigned level = 0; level < 9; ++level) {
        const std::size_t k = static_cast<std::size_t>(_ecs[level]);
        for (int trial = 0; trial < 6; ++trial) {
            data.clear();
            const std::size_t n = trial == 0 ? 0 : 1 + rng() % (928 - k);
            for (std::size_t i = 0; i < n; ++i) {
                data.push_back(gf(rng() % 929));
            }
            ASSERT_TRUE(RS929Encoder::encode(data, out, level));
            ASSERT_EQ(out.size(), n + k);
            EXPECT_TRUE(std::equal(data.begin(), data.end(), out.begin()));
            EXPECT_TRUE(syndromesZero(out, k)) << "level " << level << " n " << n;
        }
    }
    ASSERT_TRUE(RS929Encoder::encode({}, out, 0));
    EXPECT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].value(), 0);
    EXPECT_EQ(out[1].value(), 0);

    out.assign(3, gf(7));
    EXPECT_FALSE(RS929Encoder::encode(data, out, 9));
    EXPECT_EQ(out.size(), 3u);

    // An invalid data codeword spreads into the check codewords.
    ASSERT_TRUE(RS929Encoder::encode({gf(5), gf(929), gf(6)}, out, 1));
    EXPECT_FALSE(out[1].isValid());
    EXPECT_FALSE(out[3].isValid());
}

// Reads the codewords of a libzint symbol back from its modules through the
// bar-space pattern table, row by row, data columns only.
class ZintCodewords {
public:
    ZintCodewords() {
        const std::string here = __FILE__;
        const std::string root = here.substr(0, here.rfind("/tests/"));
        std::ifstream in(root + "/data/pdf417-codewords.tsv");
        std::string line;
        while (std::getline(in, line)) {
            if (line.empty() || line[0] == '#') {
                continue;
            }
            std::istringstream fields(line);
            int cluster = 0, value = 0;
            std::array<int, 8> widths{};
            fields >> cluster >> value;
            for (int& w : widths) {
                fields >> w;
            }
            patterns_[{cluster, widths}] = value;
        }
    }

    bool loaded() const { return patterns_.size() == 3 * 929; }

    bool read(const test::Pdf417Modules& symbol, std::vector<int>& codewords) const {
        codewords.clear();
        for (int row = 0; row < symbol.rows; ++row) {
            for (int col = 0; col < symbol.dataColumns; ++col) {
                const int start = 34 + 17 * col;
                std::array<int, 8> widths{};
                int e = 0;
                for (int m = start; m < start + 17; ++m) {
                    if (m > start && symbol.bar(row, m) != symbol.bar(row, m - 1)) {
                        ++e;
                    }
                    if (e > 7) {
                        return false;
                    }
                    ++widths[e];
                }
                const auto it = patterns_.find({3 * (row % 3), widths});
                if (it == patterns_.end()) {
                    return false;
                }
                codewords.push_back(it->second);
            }
        }
        return true;
    }

private:
    std::map<std::pair<int, std::array<int, 8>>, int> patterns_;
};

// libzint, an independent encoder, must agree with ours on every check
// codeword of its symbols.
TEST(RS929Encoder, AgreesWithLibzint) {
    const ZintCodewords reader;
    ASSERT_TRUE(reader.loaded());
    std::mt19937 rng(41);
    Poly data, out;
    std::vector<int> codewords;
    int compared = 0;
    for (int level = 0; level < 9; ++level) {
        for (int columns : {2, 9, 20}) {
            std::string message;
            const std::size_t length = 1 + rng() % 300;
            for (std::size_t i = 0; i < length; ++i) {
                message.push_back(static_cast<char>(rng() % 256));
            }
            test::Pdf417Modules symbol;
            std::string error;
            if (!test::encodePdf417(message, {columns, level, 0}, symbol, &error)) {
                continue; // too large for this shape
            }
            ASSERT_TRUE(reader.read(symbol, codewords)) << "level " << level;
            const std::size_t k = static_cast<std::size_t>(_ecs[level]);
            ASSERT_GT(codewords.size(), k);
            data.clear();
            for (std::size_t i = 0; i + k < codewords.size(); ++i) {
                data.push_back(gf(static_cast<unsigned>(codewords[i])));
            }
            ASSERT_TRUE(RS929Encoder::encode(data, out, static_cast<unsigned>(level)));
            for (std::size_t i = 0; i < codewords.size(); ++i) {
                ASSERT_EQ(out[i].value(), codewords[i]) << "level " << level << " codeword " << i;
            }
            ++compared;
        }
    }
    EXPECT_GE(compared, 20);
}

} // namespace
} // namespace pdf417
