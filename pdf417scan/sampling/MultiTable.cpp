#include "pdf417scan/sampling/MultiTable.h"

#include <algorithm>

namespace pdf417 {

void MultiTable::clear(unsigned long width, unsigned long height, unsigned char ecl) {
    width_ = std::min<std::uint64_t>(width, MAX_WIDTH);
    height_ = std::min<std::uint64_t>(height, MAX_HEIGHT);
    ecl_ = std::min<std::uint8_t>(ecl, MAX_ECL);
    clear();
}

void MultiTable::clear() {
    if (width_ < 2 || height_ == 0) {
        return;
    }
    const std::size_t used = static_cast<std::size_t>(height_ * (width_ - 2));
    for (std::size_t i = 0; i < used; ++i) {
        cells_[i].reset();
    }
}

bool MultiTable::add(unsigned long column, unsigned long row, unsigned short value) {
    // Compared against width - 2 rather than column + 1 against width, so that
    // the largest column cannot wrap around into the table.
    if (width_ < 3 || column < 1 || column > width_ - 2 || row >= height_) {
        return false;
    }
    const auto cluster = static_cast<CodeWord::ECluster>(row % 3);
    cells_[index(column, row)].add(CodeWord(value, cluster));
    return true;
}

CodeWordInfo MultiTable::get(unsigned long column, unsigned long row) const {
    if (column >= width_ || row >= height_) {
        return CodeWordInfo();
    }
    if (column > 0 && column + 1 < width_) {
        return cells_[index(column, row)].getBest();
    }
    // Row indicators follow from the geometry. The column term is width - 1
    // with both indicator columns counted, one more than the standard's data
    // columns - 1; the sampler and the reader agree on it.
    const std::uint64_t cluster = row % 3;
    const std::uint64_t base = 30 * (row / 3);
    const std::uint64_t rowsTerm = (height_ - 1) / 3;
    const std::uint64_t levelTerm = 3 * std::uint64_t{ecl_} + (height_ - 1) % 3;
    const std::uint64_t columnsTerm = width_ - 1;
    std::uint64_t value = 0;
    if (column == 0) {
        value = cluster == 0 ? rowsTerm : (cluster == 1 ? levelTerm : columnsTerm);
    } else {
        value = cluster == 0 ? columnsTerm : (cluster == 1 ? rowsTerm : levelTerm);
    }
    return CodeWordInfo(CodeWord(static_cast<unsigned short>(base + value),
                                 static_cast<CodeWord::ECluster>(cluster)),
                        1.0f);
}

bool MultiTable::getData(TableData& data) const {
    data.codeWords.clear();
    data.ecCount = 0;
    if (width_ < 3 || height_ < 3) {
        return false;
    }
    const std::uint64_t capacity = height_ * (width_ - 2);
    const std::uint64_t ecCount = std::uint64_t{1} << (ecl_ + 1);
    const CodeWordInfo descriptor = get(1, 0);
    const std::uint64_t total =
        descriptor.codeWord.isValid() ? descriptor.codeWord.code() + ecCount : capacity;
    if (total > capacity || total <= ecCount) {
        return false;
    }
    data.codeWords.resize(static_cast<std::size_t>(total));
    data.ecCount = ecCount;
    std::size_t written = 0;
    for (std::uint64_t row = 0; row < height_ && written < total; ++row) {
        for (std::uint64_t column = 1; column + 1 < width_ && written < total; ++column) {
            const CodeWordInfo best = cells_[index(column, row)].getBest();
            data.codeWords[written++] = best.codeWord.isValid() ? best : CodeWordInfo();
        }
    }
    return true;
}

} // namespace pdf417
