#pragma once

#include <string>

namespace pdf417 {
namespace bench {

// The one wrong read the reader makes on purpose. libzint opens the data of a
// message that starts with one byte outside text, followed by text, with a
// byte shift (913); the decoder skips a byte shift met outside text and reads
// the codeword after it as text, so such a message comes back altered. A
// wrong read is put down to that rule only when the symbol libzint draws for
// the message opens with the shift and decoding its true codewords gives
// exactly the bytes that were read.
namespace ByteShiftCheck {

// Whether libzint opens the symbol of `message`, laid out in `columns` data
// columns at error correction level `level` as the corpus drew it, with a
// byte shift. False also when libzint refuses the layout.
bool opensWithByteShift(const std::string& message, int columns, int level);

// Whether `read`, which differs from `message`, is what the decoder makes of
// the true codewords of a symbol that opens with a byte shift.
bool explainsWrongRead(const std::string& message, const std::string& read, int columns, int level);

} // namespace ByteShiftCheck

} // namespace bench
} // namespace pdf417
