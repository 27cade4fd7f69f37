#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pdf417 {
namespace test {

// Image files for the corpus tools, through stb (Debian libstb-dev).

// Compresses a gray frame as a baseline JPEG at `quality` (1..100) and
// decodes it back in place, so the frame carries the block artefacts a
// phone's camera pipeline leaves. False, with pixels untouched, when the
// arguments are unusable or the codec fails.
bool jpegRoundTrip(std::vector<std::uint8_t>& pixels, int width, int height, int quality);

// Writes a gray frame as PNG; false when the file cannot be written.
bool writeGrayPng(const std::string& path, const std::vector<std::uint8_t>& pixels, int width,
                  int height);

// Reads any image stb knows (PGM, PNG, JPEG, ...) as 8-bit gray. False, with
// the outputs untouched, when the file is missing or unreadable.
bool readGray(const std::string& path, std::vector<std::uint8_t>& pixels, int& width, int& height);

} // namespace test
} // namespace pdf417
