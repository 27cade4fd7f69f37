// The reading entries on arbitrary frames. Input: width and height (16 bits
// each), the pixel format (a byte; values past the last format test the
// refusal), the row padding in bytes, the options (bits 0-1 the effort, bit 2
// the quarter turn), then the pixels; the frame is cut to the pixels there
// are. Whatever the picture, a read must stay inside the buffer it was given
// and report consistently; the unchecked entry gets the packed gray frames.
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/api/Read.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

using pdf417::fuzz::check;

namespace {

void checkResult(const pdf417::ReadResult& r) {
    check(r.status == pdf417::ReadStatus::Read || r.status == pdf417::ReadStatus::NothingFound,
          "a frame that fits its buffer was refused");
    if (!r.ok()) {
        check(r.bytes.empty() && r.text.empty() && r.chain == pdf417::ReadChain::None,
              "a failed read carries a message");
        return;
    }
    check(r.chain != pdf417::ReadChain::None, "a read names no chain");
    check(r.rows >= 3 && r.rows <= 90 && r.dataColumns >= 1 && r.dataColumns <= 30 &&
              r.ecLevel >= 0 && r.ecLevel <= 8,
          "a read symbol has an impossible geometry");
    std::size_t end = 0;
    for (const pdf417::EciRange& eci : r.ecis) {
        check(eci.begin >= end && eci.begin <= eci.end && eci.end <= r.bytes.size(),
              "ECI ranges out of order or outside the message");
        end = eci.end;
    }
    for (const pdf417::Point2D& corner : r.corners) {
        check(std::isfinite(corner.x()) && std::isfinite(corner.y()), "a corner is not finite");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pdf417::fuzz::FuzzInput in(data, size);
    const int width = in.u16();
    int height = in.u16();
    const auto format = static_cast<pdf417::PixelFormat>(in.u8() % 7u);
    const std::size_t padding = in.u8();
    const std::uint8_t flags = in.u8();
    pdf417::ReadOptions options;
    options.effort = static_cast<pdf417::Effort>((flags & 3u) % 3u);
    options.tryQuarterTurn = (flags & 4u) == 0;
    const std::uint8_t* pixels = in.rest();
    const std::size_t available = in.remaining();

    const int pixelBytes = pdf417::bytesPerPixel(format);
    if (pixelBytes == 0) {
        const pdf417::ReadResult r =
            pdf417::read(pdf417::ImageView(pixels, available, width, height, 0, format));
        check(r.status == pdf417::ReadStatus::NullBuffer ||
                  r.status == pdf417::ReadStatus::UnknownFormat,
              "an unknown format was not refused");
        return 0;
    }
    const std::size_t rowBytes =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(pixelBytes);
    const std::size_t stride = rowBytes + padding;
    // As many rows as the bytes hold; the last one needs no padding.
    if (available < rowBytes || width == 0) {
        height = 0;
    } else if (height > 0) {
        const std::size_t fit = 1 + (available - rowBytes) / stride;
        height = static_cast<int>(fit < static_cast<std::size_t>(height) ? fit : height);
    }
    const pdf417::ImageView frame(pixels, available, width, height,
                                  static_cast<std::ptrdiff_t>(stride), format);

    if (width == 0 || height == 0 || pixels == nullptr) {
        const pdf417::ReadResult refused = pdf417::read(frame, options);
        check(!refused.ok() && refused.bytes.empty(), "an empty frame was read");
        if (format == pdf417::PixelFormat::Luminance && padding == 0) {
            const std::string bytes = pdf417::Barcode2DScanner().scanGrayscaleImage(
                reinterpret_cast<const char*>(pixels), width, height);
            check(bytes.empty(), "an empty frame read something");
        }
        return 0;
    }

    checkResult(pdf417::read(frame, options));
    if (format == pdf417::PixelFormat::Luminance && padding == 0) {
        pdf417::Barcode2DScanner().scanGrayscaleImage(reinterpret_cast<const char*>(pixels), width,
                                                      height);
    }

    // One byte short of the frame, or a stride short of a row: refused
    // before anything is read.
    const std::size_t needed = (static_cast<std::size_t>(height) - 1) * stride + rowBytes;
    pdf417::ImageView shortFrame = frame;
    shortFrame.size = needed - 1;
    check(pdf417::read(shortFrame).status == pdf417::ReadStatus::BufferTooSmall,
          "a buffer too small was not refused");
    pdf417::ImageView narrow = frame;
    narrow.rowStride = static_cast<std::ptrdiff_t>(rowBytes) - 1;
    check(pdf417::read(narrow).status == pdf417::ReadStatus::StrideTooSmall,
          "a stride smaller than a row was not refused");
    return 0;
}
