#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pdf417 {
namespace cli {

// One gray frame to read, with the name it is reported under.
struct Frame {
    std::string name;
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels; // width × height, row-major
};

// Loads the scanner's inputs: image files through stb_image (PNG, JPEG, BMP,
// GIF, PGM/PPM, TGA; colour turned to gray with the usual luma weights), or
// raw 8-bit gray frames of a fixed size, several back to back.
class FrameLoader {
public:
    // Appends the frame(s) of `path` to `frames`; on failure leaves `frames`
    // as it was and puts the cause into `error`.
    static bool loadImage(const std::string& path, std::vector<Frame>& frames, std::string& error);

    // `path` "-" reads standard input. Every width × height bytes make one
    // frame, named path#1, path#2, ... when there are several; a trailing
    // partial frame is an error.
    static bool loadRaw(const std::string& path, int width, int height, std::vector<Frame>& frames,
                        std::string& error);

    // Parses "WIDTHxHEIGHT" with both sides positive.
    static bool parseSize(const std::string& text, int& width, int& height);
};

} // namespace cli
} // namespace pdf417
