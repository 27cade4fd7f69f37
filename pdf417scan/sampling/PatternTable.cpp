#include "pdf417scan/sampling/PatternTable.h"

#include <cstddef>
#include <iterator>

namespace pdf417 {

namespace {
#include "pdf417scan/sampling/CodeWordPatterns.inc"
} // namespace

int PatternTable::clusterOf(std::uint32_t key) {
    const int e1 = static_cast<int>(key >> 20 & 0xFu);
    const int e2 = static_cast<int>(key >> 16 & 0xFu);
    const int e5 = static_cast<int>(key >> 4 & 0xFu);
    const int e6 = static_cast<int>(key & 0xFu);
    return ((e1 - e2 + e5 - e6) % 9 + 9) % 9;
}

int PatternTable::find(int clusterIndex, std::uint32_t key) {
    const std::uint32_t* keys = nullptr;
    const std::uint16_t* codes = nullptr;
    switch (clusterIndex) {
    case 0:
        keys = cluster_1_keys;
        codes = cluster_1_codes;
        break;
    case 1:
        keys = cluster_2_keys;
        codes = cluster_2_codes;
        break;
    case 2:
        keys = cluster_3_keys;
        codes = cluster_3_codes;
        break;
    default:
        return -1;
    }
    // Lower bound without branches: the comparisons of a key search are
    // unpredictable.
    std::size_t first = 0;
    for (std::size_t length = std::size(cluster_1_keys); length > 1;) {
        const std::size_t half = length / 2;
        first = keys[first + half - 1] < key ? first + half : first;
        length -= half;
    }
    return keys[first] == key ? codes[first] : -1;
}

} // namespace pdf417
