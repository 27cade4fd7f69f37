#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace pdf417 {
namespace fuzz {

// A broken property is a finding like a crash: report it and abort, so that
// libFuzzer keeps the input.
inline void check(bool ok, const char* what) {
    if (!ok) {
        std::fprintf(stderr, "property broken: %s\n", what);
        std::abort();
    }
}

// Frame inputs start with the width and the height; the pixels that follow
// may be fewer. The frame is cut to fit them: no wider than there are pixels,
// then only as many whole rows as there are.
inline void fitFrame(unsigned& width, unsigned& height, std::size_t available) {
    if (width > available) {
        width = static_cast<unsigned>(available);
    }
    if (width > 0 && static_cast<std::size_t>(width) * height > available) {
        height = static_cast<unsigned>(available / width);
    }
}

} // namespace fuzz
} // namespace pdf417
