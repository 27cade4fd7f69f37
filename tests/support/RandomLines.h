#pragma once

#include <cstddef>
#include <random>
#include <vector>

namespace pdf417 {
namespace test {

// Gray lines meant to trip up tuned line code: random bytes, constants,
// two-level bar codes, faint noise, gradients, single-sample alternation,
// very long runs, and lines whose every `period` samples average to an exact
// integer m while also holding m itself, so that with k = 0 samples sit
// exactly on their block's threshold.
std::vector<unsigned char> adversarialLine(std::mt19937& rng, std::size_t length,
                                           std::size_t period);

} // namespace test
} // namespace pdf417
