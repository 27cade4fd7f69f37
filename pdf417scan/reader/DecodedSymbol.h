#pragma once

#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/reader/DecodedMessage.h"

#include <array>

namespace pdf417 {

// One symbol read from a frame: its message, where it lies and what
// correction it took.
struct DecodedSymbol {
    DecodedMessage message;
    // Top-left, top-right, bottom-right, bottom-left in the symbol's own
    // reading direction, in the coordinates of the image the chain read.
    std::array<Point2D, 4> corners{};
    int rows = 0;
    int dataColumns = 0;
    int ecLevel = -1;
    int errors = 0;   // codewords found wrong and corrected
    int erasures = 0; // unread or doubtful codewords filled in
};

} // namespace pdf417
