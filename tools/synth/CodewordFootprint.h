#pragma once

#include "tests/support/Homography.h"

#include <functional>

namespace pdf417 {
namespace synth {

// Where a symbol's codewords lie in its own coordinates (modules): the
// codeword of row r in data column j covers u in [34 + 17 j, 51 + 17 j) and
// v in [r h, (r + 1) h), h being the row height. Only the data columns hold
// the codewords error correction works on (data, padding and check words);
// the row indicators and the start and stop patterns are not among them.
class CodewordFootprint {
public:
    CodewordFootprint(int dataColumns, int rows, double rowHeight)
        : columns_(dataColumns), rows_(rows), rowHeight_(rowHeight) {}

    // Codewords that `hit` holds for anywhere, probed every `step` modules
    // across each codeword, its edges included. `near`, when given, tells
    // from a codeword's centre and half-diagonal whether `hit` may hold
    // anywhere within; codewords it rules out are not probed.
    int count(const std::function<bool(double u, double v)>& hit, double step = 0.1,
              const std::function<bool(double u, double v, double reach)>& near = {}) const;
    // Codewords not wholly inside a width x height frame when the symbol is
    // placed by `place` (symbol modules to frame pixels).
    int outside(const test::Homography& place, int width, int height) const;

    // Check codewords of error correction level `level`.
    static int checkCodewords(int level) { return 2 << level; }

private:
    int columns_;
    int rows_;
    double rowHeight_;
};

} // namespace synth
} // namespace pdf417
