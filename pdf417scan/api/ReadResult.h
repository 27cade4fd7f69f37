#pragma once

#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/reader/EciRange.h"
#include "pdf417scan/reader/MacroPdf417.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pdf417 {

// Outcome of a read. Only Read carries a message; the refusals name what was
// wrong with the call, not with the picture, and come before any pixel is
// touched.
enum class ReadStatus : std::uint8_t {
    Read,           // a symbol was read
    NothingFound,   // the frame was valid but held no readable symbol
    NullBuffer,     // the pixel pointer was null
    BadSize,        // width or height zero or negative
    StrideTooSmall, // the row stride is smaller than a row's bytes
    BufferTooSmall, // the buffer holds fewer bytes than the frame claims
    UnknownFormat,  // the pixel format is not one of PixelFormat's
};

// A short English description of a status, for messages.
const char* describe(ReadStatus status);

// Which chain read the symbol.
enum class ReadChain : std::uint8_t {
    None,    // nothing was read
    Fast,    // the row-scanning locator and the vote table
    Precise, // patterns at any angle, a fitted grid, codewords below the pixel
};

struct ReadResult {
    ReadStatus status = ReadStatus::NothingFound;

    // The message exactly as encoded, without the Macro PDF417 control block.
    std::vector<std::uint8_t> bytes;
    // The message as UTF-8, each part read in its character set (ISO/IEC
    // 8859-1 unless an ECI says otherwise). Bytes no character set could
    // convert stand as U+FFFD and clear textComplete.
    std::string text;
    bool textComplete = true;
    // The explicit ECI assignments and the message bytes each covers.
    std::vector<EciRange> ecis;
    // The Macro PDF417 fields, when the symbol is one of a multi-symbol message.
    std::optional<MacroPdf417> macro;
    bool readerInitialisation = false;

    // The symbol's corners in frame pixels: top-left, top-right, bottom-right,
    // bottom-left in the symbol's own reading direction (start pattern on the
    // left, first row on top), wherever that lies in the frame.
    std::array<Point2D, 4> corners{};
    int rows = 0;
    int dataColumns = 0;
    int ecLevel = -1;
    int errorsCorrected = 0;
    int erasuresCorrected = 0;
    ReadChain chain = ReadChain::None;

    bool ok() const { return status == ReadStatus::Read; }
};

} // namespace pdf417
