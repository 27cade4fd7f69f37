#include "pdf417scan/reader/Decoder.h"

#include <algorithm>
#include <cstdint>

namespace pdf417 {
namespace {

constexpr unsigned short TEXT_LATCH = 900;
constexpr unsigned short BYTE_LATCH = 901;
constexpr unsigned short NUMERIC_LATCH = 902;
constexpr unsigned short BYTE_SHIFT = 913;
constexpr unsigned short BYTE6_LATCH = 924;
constexpr unsigned short LAST_DATA = 899;

// Mixed submode; indices 25, 27, 28 and 29 are latches and shifts, never
// looked up.
constexpr unsigned char MIXED_CHARS[30] = {'0', '1',  '2',  '3', '4', '5', '6', '7', '8', '9',
                                           '&', '\r', '\t', ',', ':', '#', '-', '.', '$', '/',
                                           '+', '%',  '*',  '=', '^', ' ', ' ', ' ', ' ', ' '};

// Punctuation submode; index 29 is the latch to Alpha, never looked up.
constexpr unsigned char PUNCT_CHARS[30] = {';', '<',  '>',  '@', '[', '\\', ']', '_', '`',  '~',
                                           '!', '\r', '\t', ',', ':', '\n', '-', '.', '$',  '/',
                                           '"', '|',  '*',  '(', ')', '?',  '{', '}', '\'', ' '};

enum class Submode { Alpha, Lower, Mixed, Punct, AlphaShift, PunctShift };

// Emits the six bytes of a five-codeword group, most significant first.
void emitSixBytes(std::uint64_t a, std::vector<unsigned char>& out) {
    for (int i = 0; i < 6; ++i) {
        out.push_back(static_cast<unsigned char>(a >> (40 - 8 * i)));
    }
}

// Emits the k base-900 digits of a, most significant first, one byte each.
void emitSingleBytes(std::uint64_t a, unsigned k, std::vector<unsigned char>& out) {
    unsigned char bytes[5];
    for (unsigned i = k; i > 0; --i) {
        bytes[i - 1] = static_cast<unsigned char>(a % 900);
        a /= 900;
    }
    out.insert(out.end(), bytes, bytes + k);
}

} // namespace

bool Decoder::decode(std::vector<unsigned short> const& words, std::vector<unsigned char>& out) {
    out.clear();
    if (words.empty() || words[0] == 0) {
        return true;
    }
    const std::size_t limit = std::min<std::size_t>(words[0], words.size());
    iterator it = words.begin() + 1;
    const iterator end = words.begin() + static_cast<std::ptrdiff_t>(limit);
    while (it < end) {
        const unsigned short c = *it;
        if (c <= LAST_DATA) {
            decodeTextCompaction(it, end, out);
            continue;
        }
        ++it;
        switch (c) {
        case BYTE_LATCH:
            decodeByteCompaction(it, end, out);
            break;
        case NUMERIC_LATCH:
            decodeNumericCompaction(it, end, out);
            break;
        case BYTE6_LATCH:
            decodeByteCompaction6(it, end, out);
            break;
        default:
            // 900, and every codeword this decoder does not interpret (Macro
            // PDF417, ECI, reader initialisation, a byte shift outside text):
            // what follows is read as text.
            decodeTextCompaction(it, end, out);
            break;
        }
    }
    return true;
}

void Decoder::decodeTextCompaction(iterator& it, iterator const& end,
                                   std::vector<unsigned char>& out) {
    out.reserve(out.size() + 2 * static_cast<std::size_t>(end - it));
    Submode mode = Submode::Alpha;
    Submode saved = Submode::Alpha;
    bool byteShift = false;

    // One text value (0-29) under the current submode.
    auto apply = [&](unsigned v) {
        if (mode == Submode::AlphaShift) {
            mode = saved;
            if (v < 26) {
                out.push_back(static_cast<unsigned char>('A' + v));
            } else if (v == 26) {
                out.push_back(' ');
            } else if (v == 27) {
                mode = Submode::Lower;
            } else if (v == 28) {
                mode = Submode::Mixed;
            } else {
                saved = mode;
                mode = Submode::PunctShift;
            }
            return;
        }
        if (mode == Submode::PunctShift) {
            // Back to the saved submode, then the value as punctuation; 29
            // then latches Alpha rather than returning anywhere.
            mode = saved;
            if (v < 29) {
                out.push_back(PUNCT_CHARS[v]);
            } else {
                mode = Submode::Alpha;
            }
            return;
        }
        switch (mode) {
        case Submode::Alpha:
        case Submode::Lower: {
            const char first = mode == Submode::Alpha ? 'A' : 'a';
            if (v < 26) {
                out.push_back(static_cast<unsigned char>(first + v));
            } else if (v == 26) {
                out.push_back(' ');
            } else if (v == 27) {
                if (mode == Submode::Alpha) {
                    mode = Submode::Lower;
                } else {
                    saved = mode;
                    mode = Submode::AlphaShift;
                }
            } else if (v == 28) {
                mode = Submode::Mixed;
            } else {
                saved = mode;
                mode = Submode::PunctShift;
            }
            break;
        }
        case Submode::Mixed:
            if (v == 25) {
                // Saves Mixed too, although nothing ever returns to it.
                saved = mode;
                mode = Submode::Punct;
            } else if (v == 27) {
                mode = Submode::Lower;
            } else if (v == 28) {
                mode = Submode::Alpha;
            } else if (v == 29) {
                saved = mode;
                mode = Submode::PunctShift;
            } else {
                out.push_back(MIXED_CHARS[v]);
            }
            break;
        case Submode::Punct:
            if (v < 29) {
                out.push_back(PUNCT_CHARS[v]);
            } else {
                mode = Submode::Alpha;
            }
            break;
        default:
            break;
        }
    };

    while (it != end) {
        const unsigned short c = *it;
        if (byteShift) {
            out.push_back(static_cast<unsigned char>(c & 0xFFu));
            byteShift = false;
        } else if (c <= LAST_DATA) {
            apply(c / 30u);
            apply(c % 30u);
        } else if (c == TEXT_LATCH) {
            mode = Submode::Alpha;
        } else if (c == BYTE_SHIFT) {
            if (mode == Submode::PunctShift) {
                mode = saved;
            }
            byteShift = true;
        } else {
            return;
        }
        ++it;
    }
}

void Decoder::decodeByteCompaction(iterator& it, iterator const& end,
                                   std::vector<unsigned char>& out) {
    std::uint64_t a = 0;
    unsigned k = 0;
    while (it != end && *it <= LAST_DATA) {
        // A group of five becomes six bytes only once a sixth codeword shows
        // that the group was not the final one.
        if (k == 5) {
            emitSixBytes(a, out);
            a = 0;
            k = 0;
        }
        a = 900 * a + *it;
        ++k;
        ++it;
    }
    emitSingleBytes(a, k, out);
}

void Decoder::decodeByteCompaction6(iterator& it, iterator const& end,
                                    std::vector<unsigned char>& out) {
    std::uint64_t a = 0;
    unsigned k = 0;
    while (it != end && *it <= LAST_DATA) {
        a = 900 * a + *it;
        ++it;
        if (++k == 5) {
            emitSixBytes(a, out);
            a = 0;
            k = 0;
        }
    }
    // An incomplete group is dropped: after 924 the data is whole groups.
}

void Decoder::decodeNumericCompaction(iterator& it, iterator const& end,
                                      std::vector<unsigned char>& out) {
    std::array<unsigned short, 15> group{};
    unsigned long n = 0;
    while (it != end && *it <= LAST_DATA) {
        group[n++] = *it;
        if (n == group.size()) {
            base900toBase10(group, n, out);
            n = 0;
        }
        ++it;
    }
    base900toBase10(group, n, out);
}

void Decoder::base900toBase10(std::array<unsigned short, 15> const& group, unsigned long count,
                              std::vector<unsigned char>& out) {
    count = std::min<unsigned long>(count, group.size());
    if (count == 0) {
        return;
    }
    // 900 = 9 × 100: each codeword adds two decimal digits, and the carry r
    // counts in units of 100^k, in which the next codeword weighs 9^k. Even
    // 15 codewords of 65535 keep r below 2^61 and the digits below 64.
    unsigned char digits[64] = {};
    std::size_t d = 0;
    std::uint64_t m = 1;
    std::uint64_t r = 0;
    for (unsigned long i = count; i > 0; --i) {
        r += group[i - 1] * m;
        digits[d++] = static_cast<unsigned char>(r % 10);
        r /= 10;
        digits[d++] = static_cast<unsigned char>(r % 10);
        r /= 10;
        m *= 9;
    }
    while (r != 0 && d < sizeof digits) {
        digits[d++] = static_cast<unsigned char>(r % 10);
        r /= 10;
    }
    // Every group carries a leading 1; only the top position is checked.
    if (d > 0 && digits[d - 1] == 1) {
        --d;
    }
    for (std::size_t i = d; i > 0; --i) {
        out.push_back(static_cast<unsigned char>('0' + digits[i - 1]));
    }
}

} // namespace pdf417
