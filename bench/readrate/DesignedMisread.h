#pragma once

#include "tests/support/ZintPdf417.h"

#include <string>
#include <vector>

namespace pdf417 {
namespace bench {

// The wrong reads Barcode2DScanner makes on purpose. Its decoder skips a
// byte shift (913) met outside text and reads the codeword after it as text,
// and it does not interpret Macro PDF417, ECI or reader initialisation
// codewords: each is skipped and what follows is read as text. libzint opens
// a message of one byte outside text followed by text with a byte shift, and
// writes ECI and Macro blocks where asked. A wrong read is put down to one of
// these rules only when the symbol libzint draws holds the codeword the rule
// is about and decoding its true codewords gives exactly the bytes read.
namespace DesignedMisread {

enum class Cause {
    None,      // not explained: a misread
    ByteShift, // the data opens with a byte shift
    MacroEci,  // Macro PDF417, ECI or reader initialisation codewords
};

// For the report, with its footnote mark; `name` for tables of data.
const char* describe(Cause cause);
const char* name(Cause cause);

// The data codewords (length descriptor first, error correction dropped)
// libzint draws for `input` with `options`; empty when libzint refuses.
std::vector<unsigned short> dataCodewords(const std::string& input,
                                          const test::ZintOptions& options);

// The rule a symbol's data codewords give the fast entry's decoder occasion to
// apply: MacroEci when any Macro, ECI or reader initialisation codeword is
// there, else ByteShift when the data opens with a byte shift, else None.
Cause feature(const std::vector<unsigned short>& words);

// Why `read`, which differs from `expected`, was read from a symbol with the
// data codewords `words`: the symbol's feature when decoding them gives
// exactly `read`, else None.
Cause explain(const std::vector<unsigned short>& words, const std::string& expected,
              const std::string& read);

} // namespace DesignedMisread

} // namespace bench
} // namespace pdf417
