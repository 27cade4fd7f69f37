#include "tests/support/ZintPdf417.h"

#include <zint.h>

#include <algorithm>
#include <memory>

namespace pdf417 {
namespace test {

bool encodePdf417(const std::string& data, const ZintOptions& options, Pdf417Modules& out,
                  std::string* error) {
    return encodePdf417Segments({{data, options.eci}}, options, out, error);
}

bool encodePdf417Segments(const std::vector<ZintSegment>& segments, const ZintOptions& options,
                          Pdf417Modules& out, std::string* error) {
    std::unique_ptr<zint_symbol, void (*)(zint_symbol*)> symbol(ZBarcode_Create(), ZBarcode_Delete);
    if (!symbol) {
        if (error) {
            *error = "libzint: out of memory";
        }
        return false;
    }
    symbol->symbology = BARCODE_PDF417;
    symbol->input_mode = options.utf8 ? UNICODE_MODE : DATA_MODE;
    symbol->option_1 = options.ecLevel;
    symbol->option_2 = options.dataColumns;
    symbol->option_3 = options.rows;
    symbol->warn_level = WARN_FAIL_ALL;
    if (options.readerInit) {
        symbol->output_options |= READER_INIT;
    }
    if (options.structCount > 0) {
        symbol->structapp.index = options.structIndex;
        symbol->structapp.count = options.structCount;
        const std::size_t idLength = std::min(options.structId.size(), sizeof symbol->structapp.id);
        std::copy_n(options.structId.begin(), idLength, symbol->structapp.id);
    }
    std::vector<zint_seg> segs;
    for (const ZintSegment& segment : segments) {
        segs.push_back({reinterpret_cast<unsigned char*>(const_cast<char*>(segment.data.data())),
                        static_cast<int>(segment.data.size()), segment.eci});
    }
    const int rc = ZBarcode_Encode_Segs(symbol.get(), segs.data(), static_cast<int>(segs.size()));
    if (rc >= ZINT_ERROR) {
        if (error) {
            *error = symbol->errtxt;
        }
        return false;
    }
    out.rows = symbol->rows;
    out.modules.assign(static_cast<std::size_t>(symbol->rows),
                       std::vector<std::uint8_t>(static_cast<std::size_t>(symbol->width)));
    for (int r = 0; r < symbol->rows; ++r) {
        for (int c = 0; c < symbol->width; ++c) {
            out.modules[r][c] = (symbol->encoded_data[r][c >> 3] >> (c & 7)) & 1;
        }
    }
    // Start (17) + left indicator (17) + data + right indicator (17) + stop (18).
    out.dataColumns = (symbol->width - 69) / 17;
    out.ecLevel = options.ecLevel;
    return true;
}

} // namespace test
} // namespace pdf417
