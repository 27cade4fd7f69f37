#pragma once

#include "tests/support/ZintPdf417.h"

#include <string>

namespace pdf417 {
namespace test {

// What libzint adds to a symbol beyond its data: an ECI and the input's
// character set, and the Structured Append (Macro PDF417) block.
struct StandardFields {
    int eci = 0;          // 0: no ECI
    bool unicode = false; // the input is UTF-8 text that libzint converts to the ECI's set
    int macroIndex = 0;   // 1-based place in the sequence; 0: not a Macro symbol
    int macroCount = 0;
    std::string macroId; // digits, a multiple of three, each group at most 899

    bool isMacro() const { return macroCount > 0; }
};

// Encodes `input` as encodePdf417 does, with the ECI and the Macro block of
// `fields`. Returns false with libzint's message when it refuses.
bool encodeStandardPdf417(const std::string& input, const ZintOptions& options,
                          const StandardFields& fields, Pdf417Modules& out,
                          std::string* error = nullptr);

} // namespace test
} // namespace pdf417
