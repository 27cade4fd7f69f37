#include "tests/support/ZintPdf417.h"

#include <zint.h>

#include <memory>

namespace pdf417 {
namespace test {

bool encodePdf417(const std::string& data, const ZintOptions& options, Pdf417Modules& out,
                  std::string* error) {
    std::unique_ptr<zint_symbol, void (*)(zint_symbol*)> symbol(ZBarcode_Create(), ZBarcode_Delete);
    if (!symbol) {
        if (error) {
            *error = "libzint: out of memory";
        }
        return false;
    }
    symbol->symbology = BARCODE_PDF417;
    symbol->input_mode = DATA_MODE;
    symbol->option_1 = options.ecLevel;
    symbol->option_2 = options.dataColumns;
    symbol->option_3 = options.rows;
    symbol->warn_level = WARN_FAIL_ALL;
    const int rc =
        ZBarcode_Encode(symbol.get(), reinterpret_cast<const unsigned char*>(data.data()),
                        static_cast<int>(data.size()));
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
