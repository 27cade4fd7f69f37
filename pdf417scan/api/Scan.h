#pragma once

#include <cstddef>
#include <string>

namespace pdf417 {

// Outcome of a checked scan. Only Read carries a message; the refusals name
// what was wrong with the call, not with the picture.
enum class ScanStatus {
    Read,           // a symbol was read; `bytes` holds its message
    NothingRead,    // the frame was valid but no symbol could be read
    NullBuffer,     // `pixels` was null
    BadDimensions,  // width or height was zero or negative
    BufferTooSmall, // `size` is less than width × height
};

struct ScanResult {
    ScanStatus status = ScanStatus::NothingRead;
    std::string bytes; // as from Barcode2DScanner::scanGrayscaleImage

    bool ok() const { return status == ScanStatus::Read; }
};

// A short English description of a status, for messages.
const char* describe(ScanStatus status);

// The checked entry: refuses a null buffer, non-positive sizes and a buffer
// of fewer than width × height bytes before anything is read, then reads the
// frame exactly as Barcode2DScanner::scanGrayscaleImage does (upright, then
// turned 90 degrees). Bytes beyond width × height are ignored. A symbol that
// decodes to no bytes reports NothingRead, as the unchecked entry cannot
// tell it apart either.
ScanResult scan(const unsigned char* pixels, std::size_t size, int width, int height);

} // namespace pdf417
