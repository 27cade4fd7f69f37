#include "tests/support/ZintStandardPdf417.h"

#include <zint.h>

#include <algorithm>
#include <memory>

namespace pdf417 {
namespace test {

bool encodeStandardPdf417(const std::string& input, const ZintOptions& options,
                          const StandardFields& fields, Pdf417Modules& out, std::string* error) {
    std::unique_ptr<zint_symbol, void (*)(zint_symbol*)> symbol(ZBarcode_Create(), ZBarcode_Delete);
    if (!symbol) {
        if (error) {
            *error = "libzint: out of memory";
        }
        return false;
    }
    symbol->symbology = BARCODE_PDF417;
    symbol->input_mode = fields.unicode ? UNICODE_MODE : DATA_MODE;
    symbol->eci = fields.eci;
    symbol->option_1 = options.ecLevel;
    symbol->option_2 = options.dataColumns;
    symbol->option_3 = options.rows;
    symbol->warn_level = WARN_FAIL_ALL;
    if (fields.isMacro()) {
        symbol->structapp.index = fields.macroIndex;
        symbol->structapp.count = fields.macroCount;
        const std::size_t n = std::min(fields.macroId.size(), sizeof(symbol->structapp.id) - 1);
        std::copy_n(fields.macroId.begin(), n, symbol->structapp.id);
        symbol->structapp.id[n] = '\0';
    }
    const int rc =
        ZBarcode_Encode(symbol.get(), reinterpret_cast<const unsigned char*>(input.data()),
                        static_cast<int>(input.size()));
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
    out.dataColumns = (symbol->width - 69) / 17;
    out.ecLevel = options.ecLevel;
    return true;
}

} // namespace test
} // namespace pdf417
