#include "pdf417scan/api/Scan.h"

#include "pdf417scan/api/Barcode2DScanner.h"

#include <cstdint>

namespace pdf417 {

const char* describe(ScanStatus status) {
    switch (status) {
    case ScanStatus::Read:
        return "read";
    case ScanStatus::NothingRead:
        return "no symbol found";
    case ScanStatus::NullBuffer:
        return "null pixel buffer";
    case ScanStatus::BadDimensions:
        return "width and height must be positive";
    case ScanStatus::BufferTooSmall:
        return "pixel buffer smaller than width x height";
    }
    return "unknown status";
}

ScanResult scan(const unsigned char* pixels, std::size_t size, int width, int height) {
    ScanResult result;
    if (pixels == nullptr) {
        result.status = ScanStatus::NullBuffer;
        return result;
    }
    if (width <= 0 || height <= 0) {
        result.status = ScanStatus::BadDimensions;
        return result;
    }
    // Both factors are below 2^31, so the product fits in 64 bits.
    const std::uint64_t needed =
        static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    if (static_cast<std::uint64_t>(size) < needed) {
        result.status = ScanStatus::BufferTooSmall;
        return result;
    }
    result.bytes =
        Barcode2DScanner().scanGrayscaleImage(reinterpret_cast<const char*>(pixels), width, height);
    result.status = result.bytes.empty() ? ScanStatus::NothingRead : ScanStatus::Read;
    return result;
}

} // namespace pdf417
