#pragma once

#include <cstdint>

namespace pdf417 {
namespace synth {

// splitmix64: the same corpus from the same seed on every platform and
// standard library, which the standard distributions do not promise.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    // A seed for item `index` of a run seeded with `seed`: items do not
    // depend on each other, so any subset can be remade alone.
    static std::uint64_t derive(std::uint64_t seed, std::uint64_t index);

    std::uint64_t next();
    // In [0, 1).
    double uniform();
    // In [low, high).
    double uniform(double low, double high) { return low + (high - low) * uniform(); }
    // In [0, count); 0 when count is 0.
    std::uint32_t below(std::uint32_t count);
    bool chance(double probability) { return uniform() < probability; }

private:
    std::uint64_t state_;
};

} // namespace synth
} // namespace pdf417
