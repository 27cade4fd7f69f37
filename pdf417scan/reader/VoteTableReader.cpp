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
    // Modules from the start pattern's outer edge: to the stop pattern 17 for
    // the start, 17 per column with both indicators; its wide-bar centre 3.5
    // further; its end 18.
    const float toStop = 17.0f * static_cast<float>(dataColumns + 3);
    const float scale = (toStop + 18.0f) / (toStop + 3.5f);
    auto extend = [scale](const Point2D& from, const Point2D& through) {
        return Point2D(from.x() + (through.x() - from.x()) * scale,
                       from.y() + (through.y() - from.y()) * scale, 1.0f);
    };
    return {corners[0], extend(corners[0], corners[2]), extend(corners[3], corners[5]), corners[3]};
}

} // namespace pdf417
