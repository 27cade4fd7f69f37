#pragma once

#include "tests/support/ZintPdf417.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace pdf417 {
namespace test {

using DataCodewords = std::vector<unsigned short>;

// libzint's data codewords for the segments, read back from the symbol's bar
// patterns: the length descriptor first, the padding kept, the error
// correction dropped. The symbol has the options' data columns, else the
// first of 6, 16 and 30 that holds the data, and level 2 unless the options
// say; empty when libzint refuses the data at every width.
DataCodewords zintDataCodewords(const std::vector<ZintSegment>& segments, ZintOptions options);
DataCodewords zintDataCodewords(const std::string& data, ZintOptions options = {});

// The parts one after the other.
DataCodewords concat(std::initializer_list<DataCodewords> parts);

} // namespace test
} // namespace pdf417
