#pragma once

#include "tests/support/ZintPdf417.h"

#include <optional>
#include <string>

namespace pdf417 {
namespace test {

// What a read of a corpus frame must give beyond its bytes, and how libzint
// drew the symbol, kept beside the frame as JSON. The Macro fields follow
// from the Structured Append settings: libzint numbers from 1, the symbol
// from 0; it writes the segment count and ends the last symbol's block.
struct ExpectedRead {
    std::string input;    // what libzint was given (UTF-8 text when unicode)
    int eci = 0;          // the symbol's ECI; 0: none
    bool unicode = false; // libzint converted the input from UTF-8 to the ECI's set
    int macroIndex = 0;   // 1-based place in a Structured Append sequence; 0: none
    int macroCount = 0;
    std::string macroId;             // digits, three per file ID codeword
    std::optional<std::string> text; // the message as UTF-8

    bool isMacro() const { return macroCount > 0; }
    int segmentIndex() const { return macroIndex - 1; }
    bool lastSegment() const { return macroIndex == macroCount; }
    // The file ID as the symbol carries it: three digits per codeword.
    const std::string& fileId() const { return macroId; }
    // The libzint options that draw the symbol in `columns` data columns at
    // error correction level `level`.
    ZintOptions zint(int columns, int level) const;

    bool write(const std::string& path) const;
    // False, with the reason in error, on a missing file or a malformed one.
    static bool read(const std::string& path, ExpectedRead& out, std::string& error);
};

} // namespace test
} // namespace pdf417
