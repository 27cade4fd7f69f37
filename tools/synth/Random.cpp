#include "tools/synth/Random.h"

namespace pdf417 {
namespace synth {

std::uint64_t Random::derive(std::uint64_t seed, std::uint64_t index) {
    Random mix(seed ^ (index * 0xD1B54A32D192ED03ull));
    mix.next();
    return mix.next();
}

std::uint64_t Random::next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

double Random::uniform() {
    return static_cast<double>(next() >> 11) * (1.0 / 9007199254740992.0);
}

std::uint32_t Random::below(std::uint32_t count) {
    return count == 0 ? 0 : static_cast<std::uint32_t>(next() % count);
}

} // namespace synth
} // namespace pdf417
