#include "tools/synth/DecoyGrids.h"

#include <zint.h>

#include <memory>

namespace pdf417 {
namespace synth {

namespace {

std::string digits(Random& random, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += static_cast<char>('0' + random.below(10));
    }
    return text;
}

} // namespace

test::ModuleGrid DecoyGrids::texture(Random& random) {
    test::ModuleGrid grid(30 + static_cast<int>(random.below(50)),
                          20 + static_cast<int>(random.below(30)));
    for (int r = 0; r < grid.rows(); ++r) {
        for (int c = 0; c < grid.columns(); ++c) {
            grid.set(c, r, random.chance(0.5));
        }
    }
    return grid;
}

test::ModuleGrid DecoyGrids::stripes(Random& random) {
    const int length = 60 + static_cast<int>(random.below(150));
    test::ModuleGrid grid(length, 1);
    bool bar = true;
    for (int c = 0; c < length;) {
        const int run = 1 + static_cast<int>(random.below(4));
        for (int i = 0; i < run && c < length; ++i, ++c) {
            grid.set(c, 0, bar);
        }
        bar = !bar;
    }
    return grid;
}

test::ModuleGrid DecoyGrids::text(Random& random) {
    const int lines = 4 + static_cast<int>(random.below(10));
    const int glyphHeight = 7;
    const int lineHeight = glyphHeight + 4;
    test::ModuleGrid grid(100 + static_cast<int>(random.below(150)), lines * lineHeight);
    for (int line = 0; line < lines; ++line) {
        const int top = line * lineHeight + 2;
        int x = 1;
        while (x < grid.columns()) {
            const int glyphs = 2 + static_cast<int>(random.below(7));
            for (int g = 0; g < glyphs; ++g) {
                const int glyphWidth = 3 + static_cast<int>(random.below(3));
                for (int c = x; c < x + glyphWidth && c < grid.columns(); ++c) {
                    for (int r = top; r < top + glyphHeight; ++r) {
                        grid.set(c, r, random.chance(0.45));
                    }
                }
                x += glyphWidth + 1;
            }
            x += 3 + static_cast<int>(random.below(3));
        }
    }
    return grid;
}

test::ModuleGrid DecoyGrids::linearBarcode(Random& random, std::string& name) {
    struct Kind {
        int symbology;
        const char* name;
    };
    static const Kind KINDS[] = {{BARCODE_CODE128, "code128"}, {BARCODE_EANX, "ean13"},
                                 {BARCODE_CODE39, "code39"},   {BARCODE_ITF14, "itf14"},
                                 {BARCODE_UPCA, "upca"},       {BARCODE_CODABAR, "codabar"}};
    const Kind& kind = KINDS[random.below(6)];
    std::string data;
    switch (kind.symbology) {
    case BARCODE_CODE128:
        data = "SHIP-" + digits(random, 4 + static_cast<int>(random.below(12)));
        break;
    case BARCODE_EANX:
        data = digits(random, 12);
        break;
    case BARCODE_CODE39:
        data = "LOT" + digits(random, 3 + static_cast<int>(random.below(8)));
        break;
    case BARCODE_ITF14:
        data = digits(random, 13);
        break;
    case BARCODE_UPCA:
        data = digits(random, 11);
        break;
    default:
        data = "A" + digits(random, 4 + static_cast<int>(random.below(10))) + "B";
        break;
    }
    name = kind.name;
    std::unique_ptr<zint_symbol, void (*)(zint_symbol*)> symbol(ZBarcode_Create(), ZBarcode_Delete);
    if (!symbol) {
        return test::ModuleGrid();
    }
    symbol->symbology = kind.symbology;
    if (ZBarcode_Encode(symbol.get(), reinterpret_cast<const unsigned char*>(data.data()),
                        static_cast<int>(data.size())) >= ZINT_ERROR) {
        return test::ModuleGrid();
    }
    // The first row holds the bars; EAN and UPC guard bars are in it too.
    test::ModuleGrid grid(symbol->width, 1);
    for (int c = 0; c < symbol->width; ++c) {
        grid.set(c, 0, (symbol->encoded_data[0][c >> 3] >> (c & 7)) & 1);
    }
    return grid;
}

} // namespace synth
} // namespace pdf417
