#include "pdf417scan/sampling/Sampler.h"

#include "pdf417scan/imaging/GeometryUtils.h"
#include "pdf417scan/imaging/Line2D.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace pdf417 {

namespace {

float lineLength(const std::pair<Point2D, Point2D>& line) {
    return Point2D::distance(line.first, line.second);
}

// Column lines come from fitted geometry and may be degenerate (NaN, infinite
// or absurdly long); such a column has nothing to read and its length must
// never reach an integer conversion. A real column fits in the frame, so
// one longer than twice the frame's width plus height is refused.
bool columnScanCount(float length, const IImage& image, unsigned long& steps) {
    const float limit =
        2.0f * (static_cast<float>(image.width()) + static_cast<float>(image.height())) + 64.0f;
    if (!(length >= 0.0f && length <= limit)) {
        return false;
    }
    steps = static_cast<unsigned long>(std::trunc(length / 2.0f)) + 1;
    return true;
}

template <std::size_t N>
void vote(std::array<std::uint16_t, N>& histogram, std::size_t index) {
    if (histogram[index] < 0xFFFF) {
        ++histogram[index];
    }
}

// Lowest index with the strictly highest count; index 0 when nothing voted.
template <std::size_t N>
std::size_t winner(const std::array<std::uint16_t, N>& histogram) {
    std::size_t best = 0;
    for (std::size_t i = 1; i < N; ++i) {
        if (histogram[i] > histogram[best]) {
            best = i;
        }
    }
    return best;
}

} // namespace

bool Sampler::sample(const IImage& image, const ColumnLines& lines, MultiTable& table) {
    if (!sampleColumn(image, lines, 0, codeWords_)) {
        return false;
    }
    BarcodeParameters params;
    if (!decodeTableParameters(codeWords_, params)) {
        return false;
    }
    // Only a new geometry starts the table afresh: repeated reads of the same
    // symbol keep adding votes.
    if (params.rows != table.height() || params.columns != table.width() ||
        params.ecl != table.ecl()) {
        table.clear(params.columns, params.rows, params.ecl);
    }
    if (!sampleTableByRows(image, lines, table)) {
        return false;
    }
    for (auto& hook : tableHooks) {
        if (!hook(*this, table)) {
            return false;
        }
    }
    return true;
}

bool Sampler::sampleColumn(const IImage& image, const ColumnLines& lines, unsigned long column,
                           std::vector<CodeWord>& out) {
    out.clear();
    if (column >= lines.size() || lines.size() - column < 2) {
        return false;
    }
    const auto& leftLine = lines[column];
    const auto& rightLine = lines[column + 1];
    unsigned long steps = 0;
    if (!columnScanCount(std::max(lineLength(leftLine), lineLength(rightLine)), image, steps)) {
        return true; // nothing readable; the empty column fails the geometry vote
    }
    GeometryUtils::scanRegion(leftLine, rightLine, steps, [&](const Point2D& a, const Point2D& b) {
        CodeWord codeWord;
        if (image.sampleLine(a, b, samples_)) {
            codeWord = recognizer_.recognize(samples_);
        }
        out.push_back(codeWord);
        if (codeWord.isValid()) {
            notifyPoint(a);
            notifyPoint(b);
        }
        return true;
    });
    return true;
}

bool Sampler::decodeTableParameters(const std::vector<CodeWord>& indicators,
                                    BarcodeParameters& out) {
    std::array<std::uint16_t, 30> rowGroups{};
    std::array<std::uint16_t, 30> columnsMinusOne{};
    std::array<std::uint16_t, 9> eclVotes{};
    std::array<std::uint16_t, 3> rowsMod3{};

    for (const CodeWord& indicator : indicators) {
        if (!indicator.isValid()) {
            continue;
        }
        const std::size_t m = indicator.code() % 30;
        switch (indicator.cluster()) {
        case CodeWord::Cluster0: // (rows - 1) / 3
            vote(rowGroups, m);
            break;
        case CodeWord::Cluster3: // 3 * ecl + (rows - 1) mod 3
            if (m / 3 < eclVotes.size()) {
                vote(eclVotes, m / 3);
            }
            vote(rowsMod3, m % 3);
            break;
        case CodeWord::Cluster6: // data columns - 1
            vote(columnsMinusOne, m);
            break;
        }
    }

    const std::size_t rowGroup = winner(rowGroups);
    const std::size_t rowRemainder = winner(rowsMod3);
    if (rowGroups[rowGroup] < 2 || rowsMod3[rowRemainder] < 2) {
        return false;
    }
    const std::size_t rows = 3 * rowGroup + rowRemainder + 1;
    if (rows < 3 || rows > 90) {
        return false;
    }
    out.rows = static_cast<std::uint16_t>(rows);

    const std::size_t dataColumnsMinusOne = winner(columnsMinusOne);
    if (columnsMinusOne[dataColumnsMinusOne] < 2) {
        return false;
    }
    const std::size_t columns = dataColumnsMinusOne + 3;
    if (columns < 3 || columns > 30) {
        return false;
    }
    out.columns = static_cast<std::uint16_t>(columns);

    // A level seen fewer than twice defaults to 0 rather than failing.
    const std::size_t level = winner(eclVotes);
    out.ecl = static_cast<std::uint8_t>(eclVotes[level] >= 2 ? level : 0);
    return true;
}

bool Sampler::sampleTableByRows(const IImage& image, const ColumnLines& lines, MultiTable& table) {
    if (lines.size() < 4) {
        return false;
    }
    const std::size_t last =
        static_cast<std::size_t>(std::min<unsigned long>(table.width(), lines.size() - 1));
    const float halfLength = std::max(lineLength(lines[last]), lineLength(lines[0])) / 2.0f;
    if (std::isnan(halfLength)) {
        return false;
    }
    // Three scan lines per symbol row, fewer when rows are under two pixels.
    const unsigned long perRows = 3ul * table.height();
    const unsigned long steps = halfLength >= static_cast<float>(perRows)
                                    ? perRows
                                    : static_cast<unsigned long>(std::trunc(halfLength));

    const unsigned long width = table.width();
    unsigned long row = 0;
    GeometryUtils::scanRegion(lines[0], lines[last], steps,
                              [&](const Point2D& left, const Point2D& right) {
                                  if (!sampleRow(image, lines, left, right, width, codeWords_)) {
                                      return true;
                                  }
                                  filterRow(codeWords_);
                                  // An unreadable left indicator keeps the row
                                  // of the previous scan line.
                                  if (codeWords_.front().isValid()) {
                                      row = codeWords_.front().extractRowNumber();
                                  }
                                  applyRow(row, codeWords_, table);
                                  return true;
                              });
    return true;
}

bool Sampler::sampleRow(const IImage& image, const ColumnLines& lines, const Point2D& left,
                        const Point2D& right, unsigned long width, std::vector<CodeWord>& out) {
    out.clear();
    if (lines.size() < 2) {
        return false;
    }
    const std::size_t n =
        static_cast<std::size_t>(std::min<unsigned long>(lines.size() - 1, width));
    const Line2D scanLine(left, right);
    Point2D start = left;
    for (std::size_t k = 0; k < n; ++k) {
        const Line2D boundary(lines[k + 1].first, lines[k + 1].second);
        Point2D crossing;
        if (!Line2D::intersect(scanLine, boundary, crossing)) {
            return false;
        }
        CodeWord codeWord;
        if (image.sampleLine(start, crossing, samples_)) {
            codeWord = recognizer_.recognize(samples_);
        }
        out.push_back(codeWord);
        if (codeWord.isValid()) {
            notifyPoint(start);
            notifyPoint(crossing);
        }
        start = crossing;
    }
    return !out.empty();
}

void Sampler::filterRow(std::vector<CodeWord>& codeWords) {
    if (codeWords.size() < 2 || codeWords.size() > 30) {
        return;
    }
    for (std::size_t i = 1; i + 1 < codeWords.size(); ++i) {
        const CodeWord& before = codeWords[i - 1];
        const CodeWord& after = codeWords[i + 1];
        if (before.isValid() && codeWords[i].isValid() && after.isValid() &&
            before.cluster() == after.cluster() && codeWords[i].cluster() != before.cluster()) {
            codeWords[i] = CodeWord();
        }
    }
}

void Sampler::applyRow(unsigned long row, const std::vector<CodeWord>& codeWords,
                       MultiTable& table) {
    if (codeWords.empty()) {
        return;
    }
    unsigned long r = codeWords.front().isValid() ? codeWords.front().extractRowNumber() : row;
    unsigned cluster = static_cast<unsigned>(r % 3);
    for (std::size_t i = 0; i < codeWords.size(); ++i) {
        const CodeWord& codeWord = codeWords[i];
        if (!codeWord.isValid()) {
            continue;
        }
        const unsigned k = static_cast<unsigned>(codeWord.cluster());
        if (k == (cluster + 1) % 3) {
            ++r; // crossed down into the next row
        } else if (k != cluster) {
            if (r == 0) {
                continue; // would lie above the first row
            }
            --r; // crossed up into the previous row
        }
        cluster = k;
        table.add(i, r, codeWord.code());
    }
}

void Sampler::notifyPoint(const Point2D& point) {
    for (auto& hook : pointHooks) {
        hook(*this, point);
    }
}

} // namespace pdf417
