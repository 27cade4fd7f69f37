#pragma once

#include "pdf417scan/reader/EciRange.h"
#include "pdf417scan/reader/MacroPdf417.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pdf417 {

// What the data codewords of a symbol say, fully interpreted.
struct DecodedMessage {
    // The message exactly as encoded: text, byte and numeric compaction output
    // in order, without the Macro PDF417 control block.
    std::vector<std::uint8_t> bytes;
    // The same message as UTF-8, each byte range read under its ECI. Bytes no
    // converter could read stand as U+FFFD and clear textComplete.
    std::string text;
    bool textComplete = true;
    // The explicit ECI assignments in message order, ranges covering `bytes`
    // without overlap.
    std::vector<EciRange> ecis;
    std::optional<MacroPdf417> macro;
    bool readerInitialisation = false; // the symbol carried 921
};

} // namespace pdf417
