#pragma once

#include <cstddef>
#include <cstdint>

namespace pdf417 {

// How the bytes of one pixel are laid out.
enum class PixelFormat : std::uint8_t {
    Luminance, // one byte of gray (the Y plane of a camera's YUV frame)
    RGB,
    BGR,
    RGBA,
    BGRA,
};

// Bytes per pixel of a format, 0 for a value outside the enumeration.
constexpr int bytesPerPixel(PixelFormat format) {
    switch (format) {
    case PixelFormat::Luminance:
        return 1;
    case PixelFormat::RGB:
    case PixelFormat::BGR:
        return 3;
    case PixelFormat::RGBA:
    case PixelFormat::BGRA:
        return 4;
    }
    return 0;
}

// A caller's frame as the reader sees it: nothing is copied or owned, and
// the buffer must stay unchanged while a read runs. Rows run top to bottom,
// pixels left to right; `rowStride` bytes separate the starts of two rows
// (more than a row's bytes when the camera pads its rows). `size` is how many
// bytes the buffer holds, so that a frame that claims more is refused rather
// than read past its end.
struct ImageView {
    const std::uint8_t* pixels = nullptr;
    std::size_t size = 0;
    int width = 0;
    int height = 0;
    std::ptrdiff_t rowStride = 0;
    PixelFormat format = PixelFormat::Luminance;

    ImageView() = default;
    // Packed rows: the stride is the width times the pixel's bytes.
    ImageView(const std::uint8_t* data, std::size_t bytes, int w, int h,
              PixelFormat layout = PixelFormat::Luminance)
        : pixels(data), size(bytes), width(w), height(h),
          rowStride(static_cast<std::ptrdiff_t>(w) * bytesPerPixel(layout)), format(layout) {}
    ImageView(const std::uint8_t* data, std::size_t bytes, int w, int h, std::ptrdiff_t stride,
              PixelFormat layout = PixelFormat::Luminance)
        : pixels(data), size(bytes), width(w), height(h), rowStride(stride), format(layout) {}
};

} // namespace pdf417
