#pragma once

#include "tests/support/SymbolRenderer.h"

namespace pdf417 {
namespace test {

// Washes out data columns [first, last] of a rendered symbol as glare on the
// paper would: every pixel whose symbol coordinates fall in the band, from
// above the first row to below the last, becomes nearly white. The row
// indicators and the start and stop patterns stay intact.
void addGlare(SymbolRenderer::Frame& frame, int first, int last);

} // namespace test
} // namespace pdf417
