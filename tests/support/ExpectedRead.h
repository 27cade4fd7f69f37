#pragma once

#include "tests/support/ZintStandardPdf417.h"

#include <optional>
#include <string>

namespace pdf417 {
namespace test {

// What a read of a corpus frame must give beyond its bytes, and how libzint
// drew the symbol, kept beside the frame as JSON. The Macro fields follow
// from the Structured Append settings: libzint numbers from 1, the symbol
// from 0; it writes the segment count and ends the last symbol's block.
struct ExpectedRead {
    std::string input;               // what libzint was given (UTF-8 text when unicode)
    StandardFields symbol;           // its ECI and Macro settings
    std::optional<std::string> text; // the message as UTF-8

    int segmentIndex() const { return symbol.macroIndex - 1; }
    bool lastSegment() const { return symbol.macroIndex == symbol.macroCount; }
    // The file ID as the symbol carries it: three digits per codeword.
    const std::string& fileId() const { return symbol.macroId; }

    bool write(const std::string& path) const;
    // False, with the reason in error, on a missing file or a malformed one.
    static bool read(const std::string& path, ExpectedRead& out, std::string& error);
};

} // namespace test
} // namespace pdf417
