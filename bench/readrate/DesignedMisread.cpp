#include "bench/readrate/DesignedMisread.h"

#include "pdf417scan/reader/Decoder.h"
#include "tests/support/Pdf417Codewords.h"

#include <algorithm>

namespace pdf417 {
namespace bench {

const char* DesignedMisread::describe(Cause cause) {
    switch (cause) {
    case Cause::None:
        return "misread";
    case Cause::ByteShift:
        return "byte-shift rule †";
    case Cause::MacroEci:
        return "Macro/ECI read as text ‡";
    }
    return "unknown";
}

const char* DesignedMisread::name(Cause cause) {
    switch (cause) {
    case Cause::None:
        return "none";
    case Cause::ByteShift:
        return "byte-shift";
    case Cause::MacroEci:
        return "macro-eci";
    }
    return "unknown";
}

std::vector<unsigned short> DesignedMisread::dataCodewords(const std::string& input,
                                                           const test::ZintOptions& options) {
    test::Pdf417Modules symbol;
    if (!test::encodePdf417(input, options, symbol)) {
        return {};
    }
    return test::symbolDataCodewords(symbol, options.ecLevel);
}

DesignedMisread::Cause DesignedMisread::feature(const std::vector<unsigned short>& words) {
    // 921 reader initialisation, 922 and 923 inside a Macro block, 925-927
    // ECI, 928 the Macro block's start; the length descriptor is no codeword
    // of the message.
    const bool controls =
        words.size() > 1 && std::any_of(words.begin() + 1, words.end(), [](unsigned short w) {
            return w == 921 || w == 922 || w == 923 || (w >= 925 && w <= 928);
        });
    if (controls) {
        return Cause::MacroEci;
    }
    return words.size() > 1 && words[1] == 913 ? Cause::ByteShift : Cause::None;
}

DesignedMisread::Cause DesignedMisread::explain(const std::vector<unsigned short>& words,
                                                const std::string& expected,
                                                const std::string& read) {
    const Cause cause = feature(words);
    if (read == expected || cause == Cause::None) {
        return Cause::None;
    }
    std::vector<unsigned char> decoded;
    Decoder::decode(words, decoded);
    return std::string(decoded.begin(), decoded.end()) == read ? cause : Cause::None;
}

} // namespace bench
} // namespace pdf417
