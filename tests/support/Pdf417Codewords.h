#pragma once

#include "tests/support/ZintPdf417.h"

#include <array>
#include <cstdint>
#include <vector>

namespace pdf417 {
namespace test {

// One line of the standard's codeword pattern table (data/pdf417-codewords.tsv).
struct CodewordPattern {
    int cluster = 0;             // 0, 3 or 6
    int value = 0;               // 0..928
    std::array<int, 8> widths{}; // bar, space, ... in modules, 17 in all
};

// The 2787 patterns of clusters 0, 3 and 6 in file order; empty when the file
// cannot be read or parsed.
const std::vector<CodewordPattern>& codewordPatterns();

// Expands element widths into module bits (1 = bar), bar first.
std::vector<std::uint8_t> patternModules(const std::array<int, 8>& widths);

// The codeword values of a symbol, looked up in the pattern table under the
// row's cluster: one vector per row over all symbol columns (0 the left row
// indicator, 1..dataColumns the data, dataColumns + 1 the right indicator),
// -1 where a pattern is not in the table.
std::vector<std::vector<int>> symbolCodewords(const Pdf417Modules& symbol);

// Redraws one codeword of the symbol (row, column as in symbolCodewords) as
// `value` in the row's cluster; a value outside 0..928 draws 17 spaces, which
// no recogniser can take for a codeword. False if the position is outside the
// symbol or the pattern table is missing.
bool drawCodeword(Pdf417Modules& symbol, int row, int column, int value);

// The data codewords (length descriptor first, error correction dropped) in
// reading order, for a symbol of error correction level ecLevel; empty if a
// pattern is unknown.
std::vector<unsigned short> symbolDataCodewords(const Pdf417Modules& symbol, int ecLevel);

} // namespace test
} // namespace pdf417
