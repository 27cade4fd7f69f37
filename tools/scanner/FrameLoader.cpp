#include "tools/scanner/FrameLoader.h"

#include <stb_image.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <limits>
#include <memory>

namespace pdf417 {
namespace cli {

namespace {

bool readAll(const std::string& path, std::vector<std::uint8_t>& bytes, std::string& error) {
    std::FILE* file = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        error = std::strerror(errno);
        return false;
    }
    bytes.clear();
    std::uint8_t buffer[1 << 16];
    std::size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) {
        bytes.insert(bytes.end(), buffer, buffer + got);
    }
    const bool failed = std::ferror(file) != 0;
    if (failed) {
        error = std::strerror(errno);
    }
    if (file != stdin) {
        std::fclose(file);
    }
    return !failed;
}

} // namespace

bool FrameLoader::loadImage(const std::string& path, std::vector<Frame>& frames,
                            std::string& error) {
    std::vector<std::uint8_t> bytes;
    if (!readAll(path, bytes, error)) {
        error = "cannot open: " + error;
        return false;
    }
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        error = "file too large";
        return false;
    }
    int width = 0;
    int height = 0;
    int channels = 0;
    // One requested channel: stb converts colour to luma itself.
    std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_memory(bytes.data(), static_cast<int>(bytes.size()), &width, &height,
                              &channels, 1),
        stbi_image_free);
    if (!pixels) {
        const char* reason = stbi_failure_reason();
        error = std::string("not a readable image: ") + (reason ? reason : "unknown format");
        return false;
    }
    if (width <= 0 || height <= 0) {
        error = "image has no pixels";
        return false;
    }
    Frame frame;
    frame.name = path;
    frame.width = width;
    frame.height = height;
    frame.pixels.assign(pixels.get(), pixels.get() + static_cast<std::size_t>(width) *
                                                         static_cast<std::size_t>(height));
    frames.push_back(std::move(frame));
    return true;
}

bool FrameLoader::loadRaw(const std::string& path, int width, int height,
                          std::vector<Frame>& frames, std::string& error) {
    std::vector<std::uint8_t> bytes;
    if (!readAll(path, bytes, error)) {
        error = "cannot open: " + error;
        return false;
    }
    const std::size_t frameSize =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    if (bytes.empty()) {
        error = "no data";
        return false;
    }
    if (bytes.size() % frameSize != 0) {
        error = "size " + std::to_string(bytes.size()) + " is not a multiple of " +
                std::to_string(width) + "x" + std::to_string(height);
        return false;
    }
    const std::size_t count = bytes.size() / frameSize;
    const std::string name = path == "-" ? std::string("<stdin>") : path;
    for (std::size_t i = 0; i < count; ++i) {
        Frame frame;
        frame.name = count == 1 ? name : name + "#" + std::to_string(i + 1);
        frame.width = width;
        frame.height = height;
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(i * frameSize);
        frame.pixels.assign(begin, begin + static_cast<std::ptrdiff_t>(frameSize));
        frames.push_back(std::move(frame));
    }
    return true;
}

bool FrameLoader::parseSize(const std::string& text, int& width, int& height) {
    const std::size_t x = text.find_first_of("xX");
    if (x == std::string::npos || x == 0 || x + 1 >= text.size()) {
        return false;
    }
    const std::string w = text.substr(0, x);
    const std::string h = text.substr(x + 1);
    if (w.find_first_not_of("0123456789") != std::string::npos ||
        h.find_first_not_of("0123456789") != std::string::npos || w.size() > 9 || h.size() > 9) {
        return false;
    }
    width = std::atoi(w.c_str());
    height = std::atoi(h.c_str());
    return width > 0 && height > 0;
}

} // namespace cli
} // namespace pdf417
