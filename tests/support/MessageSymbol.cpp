#include "tests/support/MessageSymbol.h"

#include "tests/support/Pdf417Codewords.h"

#include <algorithm>

namespace pdf417 {
namespace test {

const char* kindName(MessageKind kind) {
    switch (kind) {
    case MessageKind::Text:
        return "text";
    case MessageKind::Digits:
        return "digits";
    case MessageKind::Bytes:
        return "bytes";
    }
    return "?";
}

std::string randomMessage(MessageKind kind, std::size_t length, std::mt19937& rng) {
    std::string message(length, ' ');
    for (char& c : message) {
        switch (kind) {
        case MessageKind::Text:
            // Mostly printable, now and then a line break or a tab, which text
            // compaction also carries.
            c = rng() % 40 == 0 ? "\r\n\t"[rng() % 3] : static_cast<char>(32 + rng() % 95);
            break;
        case MessageKind::Digits:
            c = static_cast<char>('0' + rng() % 10);
            break;
        case MessageKind::Bytes:
            c = static_cast<char>(static_cast<unsigned char>(rng() % 256));
            break;
        }
    }
    return message;
}

bool encodeMessageSymbol(MessageKind kind, int rows, int dataColumns, int ecLevel, double fill,
                         std::mt19937& rng, std::string& message, Pdf417Modules& symbol) {
    // Data codewords left after the length descriptor and error correction,
    // and roughly how many characters of the kind one codeword carries.
    const int capacity = rows * dataColumns - 1 - (2 << ecLevel);
    if (capacity < 1) {
        return false;
    }
    const double perCodeword =
        kind == MessageKind::Digits ? 2.9 : (kind == MessageKind::Text ? 1.6 : 1.2);
    const double target = std::clamp(fill, 0.0, 1.0) * capacity * perCodeword;
    std::size_t length = std::max<std::size_t>(1, static_cast<std::size_t>(target));
    const ZintOptions options{dataColumns, ecLevel, rows};
    for (;;) {
        message = randomMessage(kind, length, rng);
        if (encodePdf417(message, options, symbol) && symbol.rows == rows &&
            symbol.dataColumns == dataColumns) {
            return true;
        }
        if (length == 1) {
            return false;
        }
        length = length * 7 / 8;
    }
}

bool opensWithByteShift(const Pdf417Modules& symbol, int ecLevel) {
    const std::vector<unsigned short> words = symbolDataCodewords(symbol, ecLevel);
    return words.size() > 1 && words[1] == 913;
}

} // namespace test
} // namespace pdf417
