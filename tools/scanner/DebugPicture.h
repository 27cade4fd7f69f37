#pragma once

#include "pdf417scan/api/ReadTrace.h"

#include <cstdint>
#include <string>
#include <vector>

namespace pdf417 {
namespace cli {

// Draws what a read found over the frame it read, as a PNG a user can look
// at: the frame dimmed in gray, the start edges blue and the stop edges
// magenta, the grid green, its cells that gave no codeword red, and the
// symbol's outline yellow when it read (orange when it did not).
class DebugPicture {
public:
    static bool write(const std::string& path, const std::vector<std::uint8_t>& gray, int width,
                      int height, const ReadTrace& trace, bool read, std::string& error);
};

} // namespace cli
} // namespace pdf417
