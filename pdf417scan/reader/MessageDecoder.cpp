#include "pdf417scan/reader/MessageDecoder.h"

#include <array>

namespace pdf417 {
namespace {

constexpr std::uint16_t LAST_DATA = 899;
constexpr std::uint16_t TEXT_LATCH = 900;
constexpr std::uint16_t BYTE_LATCH = 901;
constexpr std::uint16_t NUMERIC_LATCH = 902;
constexpr std::uint16_t BYTE_SHIFT = 913;
constexpr std::uint16_t READER_INIT = 921;
constexpr std::uint16_t MACRO_TERMINATOR = 922;
constexpr std::uint16_t MACRO_FIELD = 923;
constexpr std::uint16_t BYTE6_LATCH = 924;
constexpr std::uint16_t ECI_USER = 925;
constexpr std::uint16_t ECI_GENERAL = 926;
constexpr std::uint16_t ECI_CHARSET = 927;
constexpr std::uint16_t MACRO_BLOCK = 928;
constexpr std::uint16_t LAST_CODEWORD = 928;

// Mixed submode, values 0-24; 25 and 27-29 are latches and shifts, 26 space.
constexpr char MIXED_CHARS[25] = {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', '&', '\r', '\t',
                                  ',', ':', '#', '-', '.', '$', '/', '+', '%', '*', '=', '^'};
// Punctuation submode, values 0-28; 29 latches Alpha.
constexpr char PUNCT_CHARS[29] = {';', '<',  '>',  '@', '[', '\\', ']', '_', '`', '~',
                                  '!', '\r', '\t', ',', ':', '\n', '-', '.', '$', '/',
                                  '"', '|',  '*',  '(', ')', '?',  '{', '}', '\''};

enum class Submode : std::uint8_t { Alpha, Lower, Mixed, Punct };
enum class Mode : std::uint8_t { Text, Byte, Byte6, Numeric };

// End of the run of data codewords (0..899) that starts at `from`.
std::size_t runEnd(const std::uint16_t* words, std::size_t from, std::size_t end) {
    while (from < end && words[from] <= LAST_DATA) {
        ++from;
    }
    return from;
}

// A run of text codewords under the latched submode. A shift still pending
// at the end of the run is the padding value of an odd count and is dropped.
void decodeText(const std::uint16_t* words, std::size_t from, std::size_t to, Submode& latched,
                std::vector<std::uint8_t>& out) {
    bool shifted = false;
    Submode shift = Submode::Alpha;
    for (std::size_t i = from; i < to; ++i) {
        const unsigned pair[2] = {words[i] / 30u, words[i] % 30u};
        for (const unsigned v : pair) {
            const Submode submode = shifted ? shift : latched;
            shifted = false;
            switch (submode) {
            case Submode::Alpha:
            case Submode::Lower:
                if (v < 26) {
                    out.push_back(static_cast<std::uint8_t>(
                        (submode == Submode::Alpha ? 'A' : 'a') + static_cast<char>(v)));
                } else if (v == 26) {
                    out.push_back(' ');
                } else if (v == 27) {
                    if (submode == Submode::Alpha) {
                        latched = Submode::Lower;
                    } else {
                        shifted = true;
                        shift = Submode::Alpha;
                    }
                } else if (v == 28) {
                    latched = Submode::Mixed;
                } else {
                    shifted = true;
                    shift = Submode::Punct;
                }
                break;
            case Submode::Mixed:
                if (v < 25) {
                    out.push_back(static_cast<std::uint8_t>(MIXED_CHARS[v]));
                } else if (v == 25) {
                    latched = Submode::Punct;
                } else if (v == 26) {
                    out.push_back(' ');
                } else if (v == 27) {
                    latched = Submode::Lower;
                } else if (v == 28) {
                    latched = Submode::Alpha;
                } else {
                    shifted = true;
                    shift = Submode::Punct;
                }
                break;
            case Submode::Punct:
                if (v < 29) {
                    out.push_back(static_cast<std::uint8_t>(PUNCT_CHARS[v]));
                } else {
                    latched = Submode::Alpha;
                }
                break;
            }
        }
    }
}

// A run of Byte Compaction codewords. After 901 a final group of up to five
// codewords (even exactly five) is one byte each; after 924 every five make
// six bytes and a shorter tail, which no conforming encoder writes, is read
// as 901 would read it.
bool decodeBytes(const std::uint16_t* words, std::size_t from, std::size_t to, bool sixByteMode,
                 std::vector<std::uint8_t>& out) {
    const std::size_t n = to - from;
    const std::size_t groups = sixByteMode ? n / 5 : (n == 0 ? 0 : (n - 1) / 5);
    std::size_t i = from;
    for (std::size_t g = 0; g < groups; ++g) {
        std::uint64_t value = 0;
        for (std::size_t k = 0; k < 5; ++k) {
            value = value * 900 + words[i++];
        }
        if (value >> 48 != 0) {
            return false;
        }
        for (int shift = 40; shift >= 0; shift -= 8) {
            out.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    }
    for (; i < to; ++i) {
        if (words[i] > 0xFF) {
            return false;
        }
        out.push_back(static_cast<std::uint8_t>(words[i]));
    }
    return true;
}

// One numeric group of 1 to 15 codewords: a base-900 number whose decimal
// form is 1 followed by the digits. 900^15 < 2^149, so five 32-bit limbs hold
// it exactly.
bool decodeNumericGroup(const std::uint16_t* group, std::size_t count,
                        std::vector<std::uint8_t>& out) {
    std::array<std::uint32_t, 5> limbs{}; // least significant first
    for (std::size_t i = 0; i < count; ++i) {
        std::uint64_t carry = group[i];
        for (std::uint32_t& limb : limbs) {
            const std::uint64_t t = std::uint64_t{limb} * 900 + carry;
            limb = static_cast<std::uint32_t>(t);
            carry = t >> 32;
        }
    }
    // Base 10^9 chunks, least significant first: at most 45 digits.
    std::array<std::uint32_t, 6> chunks{};
    std::size_t chunkCount = 0;
    for (bool zero = false; !zero;) {
        std::uint64_t remainder = 0;
        zero = true;
        for (std::size_t l = limbs.size(); l > 0; --l) {
            const std::uint64_t t = remainder << 32 | limbs[l - 1];
            limbs[l - 1] = static_cast<std::uint32_t>(t / 1000000000u);
            remainder = t % 1000000000u;
            zero = zero && limbs[l - 1] == 0;
        }
        chunks[chunkCount++] = static_cast<std::uint32_t>(remainder);
    }
    char digits[6 * 9];
    std::size_t d = 0;
    for (std::size_t c = chunkCount; c > 0; --c) {
        char chunk[9];
        std::uint32_t v = chunks[c - 1];
        for (int k = 8; k >= 0; --k) {
            chunk[k] = static_cast<char>('0' + v % 10);
            v /= 10;
        }
        std::size_t first = 0;
        if (c == chunkCount) {
            while (first < 8 && chunk[first] == '0') {
                ++first;
            }
        }
        for (std::size_t k = first; k < 9; ++k) {
            digits[d++] = chunk[k];
        }
    }
    if (digits[0] != '1') {
        return false;
    }
    out.insert(out.end(), digits + 1, digits + d);
    return true;
}

bool decodeNumeric(const std::uint16_t* words, std::size_t from, std::size_t to,
                   std::vector<std::uint8_t>& out) {
    for (std::size_t i = from; i < to; i += 15) {
        const std::size_t count = to - i < 15 ? to - i : 15;
        if (!decodeNumericGroup(words + i, count, out)) {
            return false;
        }
    }
    return true;
}

// The ECI number behind `kind` (925, 926 or 927), whose parameters start at
// `i`; moves `i` past those that are there. -1 when they are cut short.
int readEci(std::uint16_t kind, const std::uint16_t* words, std::size_t& i, std::size_t end) {
    const std::size_t needed = kind == ECI_GENERAL ? 2 : 1;
    int p[2] = {0, 0};
    std::size_t got = 0;
    while (got < needed && i < end && words[i] <= LAST_DATA) {
        p[got++] = words[i++];
    }
    if (got < needed) {
        return -1;
    }
    switch (kind) {
    case ECI_CHARSET:
        return p[0];
    case ECI_GENERAL:
        return 900 * (p[0] + 1) + p[1];
    default:
        return 810900 + p[0];
    }
}

// The data codewords [begin, end), outside any Macro PDF417 control block,
// into bytes and ECI ranges. False for what no conforming encoder writes.
bool decodeData(const std::uint16_t* words, std::size_t begin, std::size_t end,
                std::vector<std::uint8_t>& bytes, std::vector<EciRange>& ecis,
                bool& readerInitialisation) {
    Mode mode = Mode::Text;
    Submode submode = Submode::Alpha;
    std::size_t i = begin;
    while (i < end) {
        if (words[i] <= LAST_DATA) {
            const std::size_t to = runEnd(words, i, end);
            bool ok = true;
            switch (mode) {
            case Mode::Text:
                decodeText(words, i, to, submode, bytes);
                break;
            case Mode::Byte:
            case Mode::Byte6:
                ok = decodeBytes(words, i, to, mode == Mode::Byte6, bytes);
                break;
            case Mode::Numeric:
                ok = decodeNumeric(words, i, to, bytes);
                break;
            }
            if (!ok) {
                return false;
            }
            i = to;
            continue;
        }
        const std::uint16_t c = words[i++];
        switch (c) {
        case TEXT_LATCH:
            mode = Mode::Text;
            submode = Submode::Alpha;
            break;
        case BYTE_LATCH:
            mode = Mode::Byte;
            break;
        case BYTE6_LATCH:
            mode = Mode::Byte6;
            break;
        case NUMERIC_LATCH:
            mode = Mode::Numeric;
            break;
        case BYTE_SHIFT:
            // One byte, then on in the mode (and text submode) in effect.
            if (i >= end || words[i] > 0xFF) {
                return false;
            }
            bytes.push_back(static_cast<std::uint8_t>(words[i++]));
            break;
        case ECI_USER:
        case ECI_GENERAL:
        case ECI_CHARSET: {
            // Neither the mode nor the text submode changes.
            const int eci = readEci(c, words, i, end);
            if (!ecis.empty()) {
                ecis.back().end = bytes.size();
            }
            ecis.push_back({eci, bytes.size(), bytes.size()});
            break;
        }
        case READER_INIT:
            readerInitialisation = true;
            break;
        default:
            // Reserved codewords, and Macro PDF417 codewords outside a
            // control block.
            return false;
        }
    }
    if (!ecis.empty()) {
        ecis.back().end = bytes.size();
    }
    return true;
}

void appendThreeDigits(std::uint16_t value, std::string& out) {
    out += static_cast<char>('0' + value / 100);
    out += static_cast<char>('0' + value / 10 % 10);
    out += static_cast<char>('0' + value % 10);
}

} // namespace

bool MessageDecoder::decode(const std::uint16_t* words, std::size_t count, DecodedMessage& out) {
    out.bytes.clear();
    out.text.clear();
    out.textComplete = true;
    out.ecis.clear();
    out.macro.reset();
    out.readerInitialisation = false;
    if (words == nullptr || count == 0 || words[0] != count) {
        return false;
    }
    std::size_t macroAt = count;
    for (std::size_t i = 0; i < count; ++i) {
        if (words[i] > LAST_CODEWORD) {
            return false;
        }
        if (words[i] == MACRO_BLOCK && macroAt == count) {
            macroAt = i;
        }
    }
    // Room for the most any codeword yields (three digits of a numeric
    // group), so that a fresh output grows once, not codeword by codeword.
    out.bytes.reserve(3 * count);
    if (!decodeData(words, 1, macroAt, out.bytes, out.ecis, out.readerInitialisation)) {
        out.bytes.clear();
        out.ecis.clear();
        out.readerInitialisation = false;
        return false;
    }
    if (macroAt < count) {
        out.macro.emplace();
        readMacro(words, macroAt + 1, count, *out.macro);
    }
    // UTF-8 takes at most three bytes for one of any single-byte set.
    out.text.reserve(3 * out.bytes.size());
    out.textComplete = appendText(out.bytes, out.ecis, out.text);
    return true;
}

// The control block runs from behind 928 to the end of the data: the segment
// index, the file ID, then optional fields (923 and a designator) and the
// terminator (922) in any order. Padding may stand before the block or after
// it; codewords the block cannot use are passed over.
void MessageDecoder::readMacro(const std::uint16_t* words, std::size_t begin, std::size_t end,
                               MacroPdf417& macro) {
    std::size_t i = begin;
    // Two codewords of numeric compaction: 1 and five digits.
    std::uint32_t index = 0;
    std::size_t got = 0;
    while (got < 2 && i < end && words[i] <= LAST_DATA) {
        index = index * 900 + words[i++];
        ++got;
    }
    if (got == 2 && index >= 100000 && index <= 199998) {
        macro.segmentIndex = static_cast<int>(index - 100000);
    }
    for (; i < end && words[i] <= LAST_DATA; ++i) {
        appendThreeDigits(words[i], macro.fileId);
    }
    std::array<bool, 7> seen{};
    while (i < end) {
        const std::uint16_t c = words[i++];
        if (c == MACRO_TERMINATOR) {
            macro.lastSegment = true;
            continue;
        }
        if (c != MACRO_FIELD || i >= end || words[i] > LAST_DATA) {
            continue;
        }
        const std::uint16_t designator = words[i++];
        std::size_t fieldEnd = i;
        while (fieldEnd < end && words[fieldEnd] != MACRO_FIELD &&
               words[fieldEnd] != MACRO_TERMINATOR) {
            ++fieldEnd;
        }
        // The first of repeated fields counts; unknown designators are
        // passed over with their data.
        if (designator < seen.size() && !seen[designator]) {
            seen[designator] = true;
            readField(designator, words, i, fieldEnd, macro);
        }
        i = fieldEnd;
    }
}

void MessageDecoder::readField(std::uint16_t designator, const std::uint16_t* words,
                               std::size_t begin, std::size_t end, MacroPdf417& macro) {
    fieldBytes_.clear();
    fieldEcis_.clear();
    if (designator == 0 || designator == 3 || designator == 4) {
        // Text Compaction by default; any mode may follow.
        bool readerInitialisation = false;
        if (!decodeData(words, begin, end, fieldBytes_, fieldEcis_, readerInitialisation)) {
            return;
        }
        std::string text;
        appendText(fieldBytes_, fieldEcis_, text);
        (designator == 0   ? macro.fileName
         : designator == 3 ? macro.sender
                           : macro.addressee) = std::move(text);
        return;
    }
    // Numeric Compaction without its latch, though one is tolerated; what
    // follows the digits (padding) is passed over.
    if (begin < end && words[begin] == NUMERIC_LATCH) {
        ++begin;
    }
    const std::size_t to = runEnd(words, begin, end);
    if (to == begin || !decodeNumeric(words, begin, to, fieldBytes_) || fieldBytes_.empty() ||
        fieldBytes_.size() > 18) {
        return;
    }
    std::int64_t value = 0;
    for (const std::uint8_t digit : fieldBytes_) {
        value = value * 10 + (digit - '0');
    }
    switch (designator) {
    case 1:
        macro.segmentCount = value;
        break;
    case 2:
        macro.timeStamp = value;
        break;
    case 5:
        macro.fileSize = value;
        break;
    default:
        macro.checksum = value;
        break;
    }
}

bool MessageDecoder::appendText(const std::vector<std::uint8_t>& bytes,
                                const std::vector<EciRange>& ecis, std::string& text) {
    const std::size_t unassigned = ecis.empty() ? bytes.size() : ecis.front().begin;
    bool complete = converter_.appendUtf8(3, bytes.data(), unassigned, text);
    for (const EciRange& range : ecis) {
        if (range.end > range.begin) {
            complete = converter_.appendUtf8(range.eci, bytes.data() + range.begin,
                                             range.end - range.begin, text) &&
                       complete;
        }
    }
    return complete;
}

} // namespace pdf417
