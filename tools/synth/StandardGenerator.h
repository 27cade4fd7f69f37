#pragma once

#include "tests/support/SymbolRenderer.h"
#include "tools/synth/CorpusFrame.h"

#include <cstdint>
#include <string>

namespace pdf417 {
namespace synth {

// Symbols that use the standard beyond plain data, under a mild camera:
// ECI (UTF-8 text that libzint converts to the ECI's character set: UTF-8,
// Latin-1, Latin-2, Cyrillic, Greek, Windows-1251, Shift JIS, Big5, GB 2312,
// KS X 1001), Macro PDF417 (one symbol of a Structured Append sequence with
// its index, count and file ID) and messages opening with one byte of 128 or
// more before text (libzint opens them with a byte shift). The expected
// bytes are the message in the symbol's character set; the text, ECI and
// Macro fields go beside them.
class StandardGenerator {
public:
    explicit StandardGenerator(std::uint64_t seed) : seed_(seed) {}

    bool make(std::uint64_t index, CorpusFrame& frame, std::string& error);

    static constexpr int WIDTH = 1280;
    static constexpr int HEIGHT = 720;

    // Converts UTF-8 text into `charset` (an iconv name); false when a
    // character has no place in it.
    static bool convert(const std::string& text, const char* charset, std::string& out);
    // Latin-1 bytes as UTF-8.
    static std::string latin1ToUtf8(const std::string& bytes);

private:
    std::uint64_t seed_;
    test::SymbolRenderer renderer_;
};

} // namespace synth
} // namespace pdf417
