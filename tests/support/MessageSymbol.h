#pragma once

#include "tests/support/ZintPdf417.h"

#include <cstdint>
#include <random>
#include <string>

namespace pdf417 {
namespace test {

// What a generated message is made of, which decides the compaction modes
// libzint picks for it.
enum class MessageKind {
    Text,   // printable ASCII with the odd line break: text compaction
    Digits, // decimal digits: numeric compaction from 13 digits on
    Bytes,  // any byte 0-255: byte compaction
};

const char* kindName(MessageKind kind);

// `length` random characters of the kind.
std::string randomMessage(MessageKind kind, std::size_t length, std::mt19937& rng);

// Encodes a random message of the kind as a symbol of exactly rows x
// dataColumns at error correction level ecLevel, filled to about `fill` (0 to
// 1) of its data capacity. The message is shortened until libzint accepts it;
// false when even one character does not fit (or the geometry is refused).
bool encodeMessageSymbol(MessageKind kind, int rows, int dataColumns, int ecLevel, double fill,
                         std::mt19937& rng, std::string& message, Pdf417Modules& symbol);

// True when libzint opened the symbol's data with a byte shift (913), as it
// does for a message that starts with one byte outside text followed by text.
// The reader deliberately skips a byte shift met outside text and reads the
// next codeword as text, so such a message does not come back as it was.
bool opensWithByteShift(const Pdf417Modules& symbol, int ecLevel);

} // namespace test
} // namespace pdf417
