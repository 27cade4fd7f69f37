#include "pdf417scan/reader/PDF417Reader.h"

#include "pdf417scan/reader/Decoder.h"

#include <array>
#include <cstddef>

namespace pdf417 {

int PDF417Reader::decode(const IImage& image, std::vector<unsigned char>& out) {
    out.clear();

    std::array<Point2D, 6> corners;
    if (!detector.detect(image, corners)) {
        return NoSymbol;
    }
    if (!cutter.cut(image, corners, columnLines)) {
        return NoColumns;
    }

    // Only here, before sampling, are votes dropped after repeated failures:
    // the reading after twenty counted failures starts from an empty table.
    if (failedAttempts >= kMaxFailedAttempts) {
        failedAttempts = 0;
        table.clear();
    }
    // A sampling failure is not counted: the frame may simply show too little.
    if (!sampler.sample(image, columnLines, table)) {
        return NoCodewords;
    }
    if (!table.getData(tableData)) {
        ++failedAttempts;
        return NoCodewords;
    }

    // Unreadable cells become erasures, counted as powers of x from the end.
    erasures.clear();
    rsWords.clear();
    const std::size_t n = tableData.codeWords.size();
    for (std::size_t i = 0; i < n; ++i) {
        const CodeWord& codeWord = tableData.codeWords[i].codeWord;
        if (codeWord.isValid()) {
            rsWords.emplace_back(codeWord.code());
        } else {
            rsWords.emplace_back(static_cast<unsigned short>(0));
            erasures.push_back(n - 1 - i);
        }
    }
    if (!rsDecoder.decode(rsWords, erasures, table.ecl())) {
        ++failedAttempts;
        return CorrectionFailed;
    }

    // The length descriptor and any padding stay: the data decoder bounds its
    // work by the descriptor.
    rsWords.resize(n - static_cast<std::size_t>(tableData.ecCount));
    dataWords.clear();
    for (const G929Value& word : rsWords) {
        dataWords.push_back(word.value());
    }
    if (!Decoder::decode(dataWords, out)) {
        ++failedAttempts;
        return CorrectionFailed;
    }

    failedAttempts = 0;
    table.clear();
    return Success;
}

} // namespace pdf417
