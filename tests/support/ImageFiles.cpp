#include "tests/support/ImageFiles.h"

#include <stb_image.h>
#include <stb_image_write.h>

#include <cstddef>
#include <limits>
#include <memory>

namespace pdf417 {
namespace test {

namespace {

using StbPixels = std::unique_ptr<stbi_uc, void (*)(void*)>;

void appendBytes(void* context, void* data, int size) {
    auto* out = static_cast<std::vector<std::uint8_t>*>(context);
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    out->insert(out->end(), bytes, bytes + size);
}

bool plausible(const std::vector<std::uint8_t>& pixels, int width, int height) {
    return width > 0 && height > 0 &&
           static_cast<std::size_t>(width) <=
               static_cast<std::size_t>(std::numeric_limits<int>::max()) /
                   static_cast<std::size_t>(height) &&
           pixels.size() == static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

} // namespace

bool jpegRoundTrip(std::vector<std::uint8_t>& pixels, int width, int height, int quality) {
    if (!plausible(pixels, width, height) || quality < 1 || quality > 100) {
        return false;
    }
    std::vector<std::uint8_t> jpeg;
    if (stbi_write_jpg_to_func(appendBytes, &jpeg, width, height, 1, pixels.data(), quality) == 0 ||
        jpeg.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return false;
    }
    int w = 0;
    int h = 0;
    int channels = 0;
    StbPixels decoded(
        stbi_load_from_memory(jpeg.data(), static_cast<int>(jpeg.size()), &w, &h, &channels, 1),
        stbi_image_free);
    if (!decoded || w != width || h != height) {
        return false;
    }
    pixels.assign(decoded.get(), decoded.get() + pixels.size());
    return true;
}

bool writeGrayPng(const std::string& path, const std::vector<std::uint8_t>& pixels, int width,
                  int height) {
    return plausible(pixels, width, height) &&
           stbi_write_png(path.c_str(), width, height, 1, pixels.data(), width) != 0;
}

bool readGray(const std::string& path, std::vector<std::uint8_t>& pixels, int& width, int& height) {
    int w = 0;
    int h = 0;
    int channels = 0;
    StbPixels decoded(stbi_load(path.c_str(), &w, &h, &channels, 1), stbi_image_free);
    if (!decoded || w <= 0 || h <= 0) {
        return false;
    }
    pixels.assign(decoded.get(),
                  decoded.get() + static_cast<std::size_t>(w) * static_cast<std::size_t>(h));
    width = w;
    height = h;
    return true;
}

} // namespace test
} // namespace pdf417
