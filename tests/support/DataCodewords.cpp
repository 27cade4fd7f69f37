#include "tests/support/DataCodewords.h"

#include "tests/support/Pdf417Codewords.h"

namespace pdf417 {
namespace test {

DataCodewords zintDataCodewords(const std::vector<ZintSegment>& segments, ZintOptions options) {
    if (options.ecLevel < 0) {
        options.ecLevel = 2;
    }
    Pdf417Modules symbol;
    for (const int columns : {options.dataColumns > 0 ? options.dataColumns : 6, 16, 30}) {
        options.dataColumns = columns;
        if (encodePdf417Segments(segments, options, symbol)) {
            return symbolDataCodewords(symbol, options.ecLevel);
        }
    }
    return {};
}

DataCodewords zintDataCodewords(const std::string& data, ZintOptions options) {
    return zintDataCodewords({{data, options.eci}}, options);
}

DataCodewords concat(std::initializer_list<DataCodewords> parts) {
    DataCodewords all;
    for (const DataCodewords& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

} // namespace test
} // namespace pdf417
