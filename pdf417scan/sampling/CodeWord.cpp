#include "pdf417scan/sampling/CodeWord.h"

namespace pdf417 {

void CodeWord::set(unsigned short value, ECluster cluster) {
    if (cluster > Cluster6) {
        return;
    }
    const std::uint16_t code = value < 929 ? value : INVALID;
    word_ = static_cast<std::uint16_t>(code | (static_cast<std::uint16_t>(cluster) << 14));
}

CodeWord::ECluster CodeWord::cluster() const {
    // Bit pattern 3 never comes out of set(); read it as cluster 0.
    static constexpr ECluster CLUSTERS[4] = {Cluster0, Cluster3, Cluster6, Cluster0};
    return CLUSTERS[word_ >> 14];
}

unsigned long CodeWord::extractRowNumber() const {
    return 3ul * (code() / 30u) + static_cast<unsigned long>(cluster());
}

} // namespace pdf417
