#pragma once

#include "tests/support/CorpusIndex.h"
#include "tests/support/ExpectedRead.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pdf417 {
namespace synth {

// One frame of a corpus: the picture, the message it should read as (empty
// when it shows no symbol), what else the read must give, and the factors it
// was made with. The caller names the files.
struct CorpusFrame {
    test::CorpusEntry entry;
    std::vector<std::uint8_t> pixels;
    std::string message;
    std::optional<test::ExpectedRead> expected;
};

} // namespace synth
} // namespace pdf417
