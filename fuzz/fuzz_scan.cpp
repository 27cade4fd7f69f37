// The scanning entries on arbitrary frames: the first four bytes give the
// width and the height, the rest are the pixels, and the frame is cut to the
// pixels there are. Whatever the picture, a scan must return without reading
// outside it and report consistently.
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/api/Scan.h"

#include <cstddef>
#include <cstdint>
#include <string>

using pdf417::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pdf417::fuzz::FuzzInput in(data, size);
    unsigned width = in.u16();
    unsigned height = in.u16();
    const std::uint8_t* pixels = in.rest();
    const std::size_t available = in.remaining();
    pdf417::fuzz::fitFrame(width, height, available);

    if (width == 0 || height == 0) {
        // The checked entry refuses empty frames; the unchecked one must cope.
        const std::string bytes = pdf417::Barcode2DScanner().scanGrayscaleImage(
            reinterpret_cast<const char*>(pixels), static_cast<int>(width),
            static_cast<int>(height));
        check(bytes.empty(), "an empty frame read something");
        const pdf417::ScanResult refused =
            pdf417::scan(pixels, available, static_cast<int>(width), static_cast<int>(height));
        check(!refused.ok() && refused.bytes.empty(), "the checked entry read an empty frame");
        return 0;
    }

    const pdf417::ScanResult result =
        pdf417::scan(pixels, available, static_cast<int>(width), static_cast<int>(height));
    check(result.status == pdf417::ScanStatus::Read ||
              result.status == pdf417::ScanStatus::NothingRead,
          "a frame that fits its buffer was refused");
    check(result.ok() == !result.bytes.empty(), "status and bytes disagree");

    // A row more than the pixels hold must be refused before anything is read.
    if (static_cast<std::size_t>(width) * (height + 1) > available) {
        const pdf417::ScanResult tooSmall =
            pdf417::scan(pixels, available, static_cast<int>(width), static_cast<int>(height + 1));
        check(tooSmall.status == pdf417::ScanStatus::BufferTooSmall,
              "a buffer too small was not refused");
    }
    return 0;
}
