#include "pdf417scan/api/Barcode2DScanner.h"

#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/ImageRotate90.h"
#include "pdf417scan/reader/PDF417Reader.h"

#include <memory>
#include <vector>

namespace pdf417 {

std::string Barcode2DScanner::scanGrayscaleImage(const char* pixels, int width, int height) const {
    // A fresh reader per call: no votes leak from one frame to the next, but
    // the rotated attempt below does use the upright attempt's votes.
    auto reader = std::make_unique<PDF417Reader>();
    std::vector<unsigned char> bytes;

    // The reader never writes pixels; Image is writable only for other users.
    Image image(reinterpret_cast<unsigned char*>(const_cast<char*>(pixels)),
                static_cast<unsigned>(width), static_cast<unsigned>(height));
    reader->decode(image, bytes);
    if (bytes.empty()) {
        ImageRotate90 rotated(image);
        reader->decode(rotated, bytes);
    }
    reader.reset();
    return std::string(bytes.begin(), bytes.end());
}

} // namespace pdf417
