#pragma once

#include <cstdint>

namespace pdf417 {

// How hard a read tries. Every effort first runs the fast chain (the
// row-scanning locator and the vote table), which reads clear, upright or
// quarter-turned symbols in well under a millisecond.
enum class Effort : std::uint8_t {
    Fast,     // the fast chain alone
    Normal,   // then, if it read nothing, the precise chain (the default)
    Thorough, // the precise chain with denser scan lines and more candidates
};

struct ReadOptions {
    Effort effort = Effort::Normal;
    // Also read the frame turned a quarter, for symbols whose rows run
    // vertically.
    bool tryQuarterTurn = true;
};

} // namespace pdf417
