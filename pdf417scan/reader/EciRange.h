#pragma once

#include <cstddef>

namespace pdf417 {

// One Extended Channel Interpretation assignment of a message: the bytes
// [begin, end) of the message are to be read under ECI number `eci` (for
// example 26 for UTF-8, 20 for Shift JIS, 899 for binary data), or -1 when the
// assignment's number was cut short and the bytes' character set is unknown.
// Bytes before the first assignment are read under the default, ISO/IEC
// 8859-1 (ECI 3).
struct EciRange {
    int eci = 3;
    std::size_t begin = 0;
    std::size_t end = 0;
};

} // namespace pdf417
