#pragma once

#include <cstdint>

namespace pdf417 {

// The standard's codeword patterns, looked up by their six edge-to-similar-
// edge distances E1..E6 in modules (each 2..9), packed one per hex digit with
// E1 highest. Those distances alone name a pattern, and they survive ink
// spread and blur that change every single bar width.
class PatternTable {
public:
    // The cluster, 0, 3 or 6, that a pattern with these distances belongs
    // to: (E1 - E2 + E5 - E6 + 9) mod 9, which is some other number for a
    // misread.
    static int clusterOf(std::uint32_t key);
    // The codeword 0..928 with this key in cluster index 0, 1 or 2 (PDF417
    // clusters 0, 3, 6), or -1 when the cluster has no such pattern.
    static int find(int clusterIndex, std::uint32_t key);
};

} // namespace pdf417
