#pragma once

#include "tests/support/ModuleGrid.h"
#include "tools/synth/Random.h"

#include <string>

namespace pdf417 {
namespace synth {

// Things a frame shows that are not PDF417 but have bars, edges or texture a
// locator could take for one.
class DecoyGrids {
public:
    // Random cells, like a printed texture.
    static test::ModuleGrid texture(Random& random);
    // Bars and spaces of one to four modules in one row.
    static test::ModuleGrid stripes(Random& random);
    // Lines of glyph-sized blobs in words, like printed text.
    static test::ModuleGrid text(Random& random);
    // A linear barcode drawn by libzint in one row, its symbology named in
    // `name` (code128, ean13, code39, itf14, upca, codabar); an empty grid
    // when libzint refuses.
    static test::ModuleGrid linearBarcode(Random& random, std::string& name);
};

} // namespace synth
} // namespace pdf417
