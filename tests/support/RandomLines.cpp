#include "tests/support/RandomLines.h"

#include <algorithm>

namespace pdf417 {
namespace test {

namespace {

unsigned char byte(std::mt19937& rng) {
    return static_cast<unsigned char>(rng());
}

unsigned char clamped(int v) {
    return static_cast<unsigned char>(std::clamp(v, 0, 255));
}

} // namespace

std::vector<unsigned char> adversarialLine(std::mt19937& rng, std::size_t length,
                                           std::size_t period) {
    std::vector<unsigned char> line(length);
    switch (rng() % 8) {
    case 0:
        for (auto& v : line) {
            v = byte(rng);
        }
        break;
    case 1:
        std::fill(line.begin(), line.end(), byte(rng));
        break;
    case 2: { // bars: runs of two gray levels, as binarised lines or symbols
        const unsigned char dark = rng() % 2 ? byte(rng) : 0;
        const unsigned char light = rng() % 2 ? byte(rng) : 255;
        const unsigned char levels[2] = {dark, light};
        const unsigned longest = 1 + rng() % 40;
        for (std::size_t i = 0, colour = rng() % 2; i < length; colour ^= 1) {
            const std::size_t run = std::min<std::size_t>(1 + rng() % longest, length - i);
            std::fill_n(line.begin() + static_cast<std::ptrdiff_t>(i), run, levels[colour]);
            i += run;
        }
        break;
    }
    case 3: { // faint noise
        const int base = static_cast<int>(rng() % 256);
        for (auto& v : line) {
            v = clamped(base + static_cast<int>(rng() % 3) - 1);
        }
        break;
    }
    case 4: { // a gradient with noise
        const int from = static_cast<int>(rng() % 256);
        const int to = static_cast<int>(rng() % 256);
        const int noise = 1 + static_cast<int>(rng() % 30);
        for (std::size_t i = 0; i < length; ++i) {
            const int v = from + static_cast<int>((to - from) * static_cast<long>(i) /
                                                  static_cast<long>(length));
            line[i] = clamped(v + static_cast<int>(rng() % noise) - noise / 2);
        }
        break;
    }
    case 5: // every sample a new colour
        for (std::size_t i = 0; i < length; ++i) {
            line[i] = i % 2 == 0 ? 0 : 255;
        }
        break;
    case 6: { // runs far longer than a machine word
        for (std::size_t i = 0; i < length;) {
            const std::size_t run = std::min<std::size_t>(1 + rng() % 3000, length - i);
            std::fill_n(line.begin() + static_cast<std::ptrdiff_t>(i), run, byte(rng));
            i += run;
        }
        break;
    }
    default: { // chunks of `period` with the exact integer mean m, m included
        const int m = 1 + static_cast<int>(rng() % 254);
        const int d = 1 + static_cast<int>(rng() % std::min(m, 255 - m));
        const std::size_t chunk = period == 0 ? std::max<std::size_t>(length, 1) : period;
        for (std::size_t start = 0; start < length; start += chunk) {
            const std::size_t end = std::min(start + chunk, length);
            for (std::size_t i = start; i < end; ++i) {
                line[i] = clamped(m);
            }
            for (std::size_t i = start; i + 1 < end; i += 2) {
                if (rng() % 3 != 0) {
                    line[i] = clamped(m - d);
                    line[i + 1] = clamped(m + d);
                }
            }
            std::shuffle(line.begin() + static_cast<std::ptrdiff_t>(start),
                         line.begin() + static_cast<std::ptrdiff_t>(end), rng);
        }
        break;
    }
    }
    return line;
}

} // namespace test
} // namespace pdf417
