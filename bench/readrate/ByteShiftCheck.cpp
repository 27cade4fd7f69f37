#include "bench/readrate/ByteShiftCheck.h"

#include "pdf417scan/reader/Decoder.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/ZintPdf417.h"

#include <vector>

namespace pdf417 {
namespace bench {

namespace {

// The data codewords libzint draws for the message, length descriptor first;
// empty when it refuses the layout.
std::vector<unsigned short> dataCodewords(const std::string& message, int columns, int level) {
    test::Pdf417Modules symbol;
    if (!test::encodePdf417(message, {columns, level, 0}, symbol)) {
        return {};
    }
    return test::symbolDataCodewords(symbol, level);
}

bool opensWithShift(const std::vector<unsigned short>& words) {
    return words.size() > 1 && words[1] == 913;
}

} // namespace

bool ByteShiftCheck::opensWithByteShift(const std::string& message, int columns, int level) {
    return opensWithShift(dataCodewords(message, columns, level));
}

bool ByteShiftCheck::explainsWrongRead(const std::string& message, const std::string& read,
                                       int columns, int level) {
    if (read == message) {
        return false;
    }
    const std::vector<unsigned short> words = dataCodewords(message, columns, level);
    if (!opensWithShift(words)) {
        return false;
    }
    std::vector<unsigned char> decoded;
    Decoder::decode(words, decoded);
    return std::string(decoded.begin(), decoded.end()) == read;
}

} // namespace bench
} // namespace pdf417
