#pragma once

#include "tools/synth/Random.h"

#include <string>

namespace pdf417 {
namespace synth {

// What a corpus symbol carries; each kind exercises other compaction modes.
enum class ContentKind {
    ShortText, // a label or a code: 4-40 characters of words and digits
    LongText,  // prose, 100-600 characters, with punctuation
    Digits,    // 8-300 decimal digits (numeric compaction)
    Bytes,     // 6-150 arbitrary bytes (byte compaction), or one binary byte and words
    Licence,   // a driver's-licence-like record, 250-450 characters with line breaks
};

constexpr int CONTENT_KIND_COUNT = 5;

// The name written into the corpus index.
const char* contentName(ContentKind kind);

class MessageMaker {
public:
    static std::string make(ContentKind kind, Random& random);

private:
    static std::string shortText(Random& random);
    static std::string longText(Random& random);
    static std::string digits(Random& random);
    static std::string bytes(Random& random);
    static std::string licence(Random& random);
};

} // namespace synth
} // namespace pdf417
