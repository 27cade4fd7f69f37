#pragma once

#include "pdf417scan/imaging/IImage.h"
#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/sampling/CodeWord.h"
#include "pdf417scan/sampling/CodeWordRecognizer.h"
#include "pdf417scan/sampling/MultiTable.h"

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace pdf417 {

// Reads the codewords of a located symbol into the vote table: the left row
// indicators first, for the symbol's geometry, then many horizontal scan lines
// across the whole symbol, one vote per recognised codeword. Votes accumulate
// in the table for as long as the decoded geometry stays the same.
class Sampler {
public:
    using ColumnLines = std::vector<std::pair<Point2D, Point2D>>;

    // The geometry read from the left row-indicator column.
    struct BarcodeParameters {
        std::uint16_t rows = 0;    // 3..90
        std::uint16_t columns = 0; // 3..30, both indicator columns included
        std::uint8_t ecl = 0;      // 0..8
    };

    // Run after a successful sweep; any false makes sample() fail. Empty in the
    // library itself.
    std::vector<std::function<bool(Sampler&, MultiTable&)>> tableHooks;
    // Called with the end points of every segment that gave a valid codeword.
    std::vector<std::function<void(Sampler&, const Point2D&)>> pointHooks;

    // `lines` are the column boundaries left to right, each (top, bottom).
    bool sample(const IImage& image, const ColumnLines& lines, MultiTable& table);

    // Reads column `column` top to bottom, about one scan every two pixels;
    // every scan appends a codeword to `out`, valid or not.
    bool sampleColumn(const IImage& image, const ColumnLines& lines, unsigned long column,
                      std::vector<CodeWord>& out);

    // Votes the left row indicators into rows, columns and level.
    static bool decodeTableParameters(const std::vector<CodeWord>& indicators,
                                      BarcodeParameters& out);

    // Sweeps up to three scan lines per symbol row across the whole symbol.
    bool sampleTableByRows(const IImage& image, const ColumnLines& lines, MultiTable& table);

    // Reads the codewords along the scan line left-right, one per column
    // crossed: position k of `out` is codeword column k (0 the left indicator).
    bool sampleRow(const IImage& image, const ColumnLines& lines, const Point2D& left,
                   const Point2D& right, unsigned long width, std::vector<CodeWord>& out);

    // Drops a codeword whose cluster disagrees with two agreeing neighbours.
    static void filterRow(std::vector<CodeWord>& codeWords);

    // Casts one scan line's votes, following the row changes its clusters show.
    static void applyRow(unsigned long row, const std::vector<CodeWord>& codeWords,
                         MultiTable& table);

private:
    void notifyPoint(const Point2D& point);

    CodeWordRecognizer recognizer_;
    std::vector<CodeWord> codeWords_;
    std::vector<unsigned char> samples_;
};

} // namespace pdf417
