#include "pdf417scan/reader/VoteTableReader.h"

#include <cstddef>

namespace pdf417 {

bool VoteTableReader::read(const IImage& image, SymbolDecoder& decoder, DecodedSymbol& out) {
    std::array<Point2D, 6> corners;
    if (!detector_.detect(image, corners) || !cutter_.cut(image, corners, columnLines_)) {
        return false;
    }
    // Votes are dropped only here, before sampling, after repeated failures.
    if (failedAttempts_ >= MAX_FAILED_ATTEMPTS) {
        reset();
    }
    // A sampling failure is not counted: the frame may simply show too little.
    if (!sampler_.sample(image, columnLines_, table_)) {
        return false;
    }

    const auto width = static_cast<std::size_t>(table_.width());
    const auto rows = static_cast<std::size_t>(table_.height());
    if (width < 3 || rows < 3) {
        ++failedAttempts_;
        return false;
    }
    // Every cell, not only as many as the length descriptor cell asks for:
    // a misread descriptor is one more codeword to correct.
    const std::size_t columns = width - 2;
    cells_.clear();
    confidence_.clear();
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 1; column <= columns; ++column) {
            const CodeWordInfo cell = table_.get(column, row);
            cells_.push_back(cell.codeWord.isValid() ? cell.codeWord.code()
                                                     : SymbolDecoder::UNREAD);
            confidence_.push_back(cell.codeWord.isValid() ? cell.score : 0.0f);
        }
    }
    if (!decoder.decode(cells_, confidence_, static_cast<int>(rows), static_cast<int>(columns),
                        table_.ecl(), out)) {
        ++failedAttempts_;
        return false;
    }
    out.corners = outline(corners, static_cast<int>(columns));
    reset();
    return true;
}

void VoteTableReader::reset() {
    failedAttempts_ = 0;
    table_.clear();
}

std::array<Point2D, 4> VoteTableReader::outline(const std::array<Point2D, 6>& corners,
                                                int dataColumns) {
    // The locator sets the start side's ends a few pixels beyond the start
    // bar's ends; taken back, they lie on the symbol's top and bottom edges
    // as the stop side's do.
    const auto pullIn = [](Point2D& top, Point2D& bottom) {
        const float length = Point2D::distance(top, bottom);
        if (length > 4.0f * START_BAR_MARGIN) {
            const float k = START_BAR_MARGIN / length;
            const float dx = (bottom.x() - top.x()) * k;
            const float dy = (bottom.y() - top.y()) * k;
            top.add(dx, dy);
            bottom.add(-dx, -dy);
        }
    };
    Point2D innerTop = corners[1];
    Point2D innerBottom = corners[4];
    pullIn(innerTop, innerBottom);
    // Both ends of each edge from the start pattern's inner edge (17 modules
    // in) and the stop pattern's wide-bar centre.
    const float inner = 17.0f;
    const float stopBar = 17.0f * static_cast<float>(dataColumns + 3) + 3.5f;
    const float width = 17.0f * static_cast<float>(dataColumns) + 69.0f;
    auto at = [&](const Point2D& a, const Point2D& b, float u) {
        const float k = (u - inner) / (stopBar - inner);
        return Point2D(a.x() + (b.x() - a.x()) * k, a.y() + (b.y() - a.y()) * k, 1.0f);
    };
    return {at(innerTop, corners[2], 0.0f), at(innerTop, corners[2], width),
            at(innerBottom, corners[5], width), at(innerBottom, corners[5], 0.0f)};
}

} // namespace pdf417
