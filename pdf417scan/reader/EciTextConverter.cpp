#include "pdf417scan/reader/EciTextConverter.h"

#ifndef PDF417SCAN_HAVE_ICONV
#define PDF417SCAN_HAVE_ICONV 0
#endif
#if PDF417SCAN_HAVE_ICONV
#include <iconv.h>

#include <cerrno>
#endif

namespace pdf417 {
namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;

// Code page 437, bytes 0x80-0xFF; below them it is ASCII.
constexpr char16_t CP437_HIGH[128] = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF,
    0x00EE, 0x00EC, 0x00C4, 0x00C5, 0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9,
    0x00FF, 0x00D6, 0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192, 0x00E1, 0x00ED, 0x00F3, 0x00FA,
    0x00F1, 0x00D1, 0x00AA, 0x00BA, 0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557,
    0x255D, 0x255C, 0x255B, 0x2510, 0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559,
    0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4, 0x03A6, 0x0398, 0x03A9, 0x03B4,
    0x221E, 0x03C6, 0x03B5, 0x2229, 0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248,
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0};

// The ECI numbers read through iconv, the names iconv knows them by and, for
// the double-byte sets, the lowest trail byte: an unreadable pair is skipped
// whole, so that its trail byte is not read as a character of its own.
struct PlatformCharset {
    int eci;
    const char* name;
    std::uint8_t trailFrom;
};
constexpr int GB18030_ECI = 32;
constexpr PlatformCharset PLATFORM_CHARSETS[] = {
    {4, "ISO-8859-2", 0},    {5, "ISO-8859-3", 0},    {6, "ISO-8859-4", 0},
    {7, "ISO-8859-5", 0},    {8, "ISO-8859-6", 0},    {9, "ISO-8859-7", 0},
    {10, "ISO-8859-8", 0},   {11, "ISO-8859-9", 0},   {12, "ISO-8859-10", 0},
    {13, "ISO-8859-11", 0},  {15, "ISO-8859-13", 0},  {16, "ISO-8859-14", 0},
    {17, "ISO-8859-15", 0},  {18, "ISO-8859-16", 0},  {20, "SHIFT_JIS", 0x40},
    {21, "WINDOWS-1250", 0}, {22, "WINDOWS-1251", 0}, {23, "WINDOWS-1252", 0},
    {24, "WINDOWS-1256", 0}, {28, "BIG5", 0x40},      {29, "GB2312", 0xA1},
    {30, "EUC-KR", 0xA1},    {31, "GBK", 0x40},       {GB18030_ECI, "GB18030", 0x40},
};
static_assert(sizeof PLATFORM_CHARSETS / sizeof PLATFORM_CHARSETS[0] == 24,
              "one handle per platform character set");

constexpr std::size_t NOT_PLATFORM = ~std::size_t{0};

std::size_t platformCharset(int eci) {
    for (std::size_t i = 0; i < sizeof PLATFORM_CHARSETS / sizeof PLATFORM_CHARSETS[0]; ++i) {
        if (PLATFORM_CHARSETS[i].eci == eci) {
            return i;
        }
    }
    return NOT_PLATFORM;
}

void appendCodePoint(char32_t c, std::string& out) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | c >> 12);
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | c >> 18);
        out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

bool isScalarValue(char32_t c) {
    return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
}

// Copies well-formed UTF-8; each maximal ill-formed part becomes one U+FFFD.
bool appendUtf8Checked(const std::uint8_t* bytes, std::size_t size, std::string& out) {
    bool complete = true;
    std::size_t i = 0;
    while (i < size) {
        const std::uint8_t lead = bytes[i];
        std::size_t length = 0;
        char32_t c = 0;
        if (lead < 0x80) {
            out += static_cast<char>(lead);
            ++i;
            continue;
        } else if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
            c = lead & 0x1Fu;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            c = lead & 0x0Fu;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            c = lead & 0x07u;
        }
        std::size_t used = 1;
        if (length > 0) {
            for (; used < length && i + used < size; ++used) {
                const std::uint8_t next = bytes[i + used];
                if ((next & 0xC0) != 0x80) {
                    break;
                }
                c = c << 6 | (next & 0x3Fu);
                // Overlong forms, surrogates and values past U+10FFFF are
                // refused at the second byte already.
                if (used == 1 && ((length == 3 && (c < 0x20 || (c >= 0x360 && c < 0x380))) ||
                                  (length == 4 && (c < 0x10 || c >= 0x110)))) {
                    break;
                }
            }
        }
        if (length > 0 && used == length) {
            out.append(reinterpret_cast<const char*>(bytes + i), length);
        } else {
            appendCodePoint(REPLACEMENT, out);
            complete = false;
            used = used > 1 ? used : 1;
        }
        i += used;
    }
    return complete;
}

// UTF-16 in either byte order; a lone surrogate or an odd last byte is one
// U+FFFD.
bool appendUtf16(const std::uint8_t* bytes, std::size_t size, bool bigEndian, std::string& out) {
    auto unit = [&](std::size_t i) -> char32_t {
        return bigEndian ? (bytes[i] << 8 | bytes[i + 1]) : (bytes[i + 1] << 8 | bytes[i]);
    };
    bool complete = true;
    std::size_t i = 0;
    for (; i + 1 < size; i += 2) {
        const char32_t c = unit(i);
        if (c >= 0xD800 && c <= 0xDBFF && i + 3 < size) {
            const char32_t low = unit(i + 2);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                appendCodePoint(0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00), out);
                i += 2;
                continue;
            }
        }
        if (c >= 0xD800 && c <= 0xDFFF) {
            appendCodePoint(REPLACEMENT, out);
            complete = false;
        } else {
            appendCodePoint(c, out);
        }
    }
    if (i < size) {
        appendCodePoint(REPLACEMENT, out);
        complete = false;
    }
    return complete;
}

bool appendUtf32(const std::uint8_t* bytes, std::size_t size, bool bigEndian, std::string& out) {
    bool complete = true;
    std::size_t i = 0;
    for (; i + 3 < size; i += 4) {
        char32_t c = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            c = c << 8 | bytes[bigEndian ? i + k : i + 3 - k];
        }
        if (isScalarValue(c)) {
            appendCodePoint(c, out);
        } else {
            appendCodePoint(REPLACEMENT, out);
            complete = false;
        }
    }
    if (i < size) {
        appendCodePoint(REPLACEMENT, out);
        complete = false;
    }
    return complete;
}

// Single-byte sets: `accept` says which bytes the set has, `map` what they
// read as.
template <typename Accept, typename Map>
bool appendSingleByte(const std::uint8_t* bytes, std::size_t size, Accept accept, Map map,
                      std::string& out) {
    bool complete = true;
    for (std::size_t i = 0; i < size; ++i) {
        if (accept(bytes[i])) {
            appendCodePoint(map(bytes[i]), out);
        } else {
            appendCodePoint(REPLACEMENT, out);
            complete = false;
        }
    }
    return complete;
}

#if PDF417SCAN_HAVE_ICONV
// How many bytes an unreadable character at `in` spans: a lead byte and its
// trail in a double-byte set (four bytes for GB 18030's four-byte form), else
// one.
std::size_t unreadableLength(const PlatformCharset& charset, const char* in, std::size_t left) {
    const auto lead = static_cast<std::uint8_t>(in[0]);
    if (charset.trailFrom == 0 || lead < 0x81 || lead == 0xFF || left < 2) {
        return 1;
    }
    const auto trail = static_cast<std::uint8_t>(in[1]);
    if (charset.eci == GB18030_ECI && trail >= 0x30 && trail <= 0x39) {
        return left < 4 ? left : 4;
    }
    return trail >= charset.trailFrom && trail != 0x7F && trail != 0xFF ? 2 : 1;
}

// A character set's table gives a private-use character for a code it does
// not know as any real character (Big5's and Shift JIS's user-defined areas,
// extensions another table assigns). It says nothing true: it becomes U+FFFD.
bool replacePrivateUse(std::string& out, std::size_t from) {
    bool complete = true;
    for (std::size_t i = from; i < out.size();) {
        const auto lead = static_cast<std::uint8_t>(out[i]);
        const std::size_t length = lead < 0x80 ? 1 : (lead < 0xE0 ? 2 : (lead < 0xF0 ? 3 : 4));
        if (i + length > out.size()) {
            break;
        }
        const auto second = length > 1 ? static_cast<std::uint8_t>(out[i + 1]) : std::uint8_t{0};
        // U+E000-U+F8FF (EE 80 80 to EF A3 BF) and planes 15 and 16 (F3 B0
        // 80 80 to F4 8F BF BF).
        const bool privateUse =
            (length == 3 && (lead == 0xEE || (lead == 0xEF && second <= 0xA3))) ||
            (length == 4 && (lead == 0xF4 || (lead == 0xF3 && second >= 0xB0)));
        if (privateUse) {
            out.replace(i, length, "\xEF\xBF\xBD");
            complete = false;
            i += 3;
        } else {
            i += length;
        }
    }
    return complete;
}

#endif

bool appendUnreadable(std::size_t size, std::string& out) {
    for (std::size_t i = 0; i < size; ++i) {
        appendCodePoint(REPLACEMENT, out);
    }
    return size == 0;
}

// ISO/IEC 646 leaves these twelve positions to national variants.
bool isIso646Invariant(std::uint8_t b) {
    switch (b) {
    case '#':
    case '$':
    case '@':
    case '[':
    case '\\':
    case ']':
    case '^':
    case '`':
    case '{':
    case '|':
    case '}':
    case '~':
        return false;
    default:
        return b < 0x80;
    }
}

} // namespace

EciTextConverter::~EciTextConverter() {
#if PDF417SCAN_HAVE_ICONV
    for (void* handle : handles_) {
        if (handle != nullptr) {
            iconv_close(static_cast<iconv_t>(handle));
        }
    }
#endif
}

bool EciTextConverter::hasPlatformCharsets() {
    return PDF417SCAN_HAVE_ICONV != 0;
}

bool EciTextConverter::canConvert(int eci) {
    switch (eci) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 25:
    case 26:
    case 27:
    case 33:
    case 34:
    case 35:
    case 170:
        return true;
    default: {
        const std::size_t charset = platformCharset(eci);
        return charset != NOT_PLATFORM && platformHandle(charset) != nullptr;
    }
    }
}

bool EciTextConverter::appendUtf8(int eci, const std::uint8_t* bytes, std::size_t size,
                                  std::string& out) {
    if (size == 0) {
        return true;
    }
    const auto any = [](std::uint8_t) { return true; };
    const auto ascii = [](std::uint8_t b) { return b < 0x80; };
    const auto same = [](std::uint8_t b) { return static_cast<char32_t>(b); };
    switch (eci) {
    case 0:
    case 2:
        return appendSingleByte(
            bytes, size, any,
            [](std::uint8_t b) {
                return b < 0x80 ? static_cast<char32_t>(b) : char32_t{CP437_HIGH[b - 0x80]};
            },
            out);
    case 1:
    case 3:
        return appendSingleByte(bytes, size, any, same, out);
    case 25:
    case 33:
        return appendUtf16(bytes, size, eci == 25, out);
    case 26:
        return appendUtf8Checked(bytes, size, out);
    case 27:
        return appendSingleByte(bytes, size, ascii, same, out);
    case 34:
    case 35:
        return appendUtf32(bytes, size, eci == 34, out);
    case 170:
        return appendSingleByte(bytes, size, isIso646Invariant, same, out);
    default: {
        const std::size_t charset = platformCharset(eci);
        if (charset == NOT_PLATFORM) {
            return appendUnreadable(size, out);
        }
        return appendPlatform(charset, bytes, size, out);
    }
    }
}

void* EciTextConverter::platformHandle(std::size_t charset) {
#if PDF417SCAN_HAVE_ICONV
    if (handles_[charset] == nullptr && !unavailable_[charset]) {
        const iconv_t handle = iconv_open("UTF-8", PLATFORM_CHARSETS[charset].name);
        if (handle == reinterpret_cast<iconv_t>(-1)) {
            unavailable_[charset] = true;
        } else {
            handles_[charset] = handle;
        }
    }
    return handles_[charset];
#else
    (void)charset;
    return nullptr;
#endif
}

bool EciTextConverter::appendPlatform(std::size_t charset, const std::uint8_t* bytes,
                                      std::size_t size, std::string& out) {
    void* const handle = platformHandle(charset);
    if (handle == nullptr) {
        return appendUnreadable(size, out);
    }
#if PDF417SCAN_HAVE_ICONV
    const iconv_t cd = static_cast<iconv_t>(handle);
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    bool complete = true;
    // iconv's input parameter is not const on every platform; it only reads.
    char* in = reinterpret_cast<char*>(const_cast<std::uint8_t*>(bytes));
    std::size_t inLeft = size;
    while (inLeft > 0) {
        // Every character set here needs at most four UTF-8 bytes for each
        // byte it reads; a shortfall only makes another round.
        const std::size_t start = out.size();
        out.resize(start + 4 * inLeft + 4);
        char* outPtr = &out[start];
        std::size_t outLeft = out.size() - start;
        const std::size_t rc = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
        const int error = rc == static_cast<std::size_t>(-1) ? errno : 0;
        out.resize(out.size() - outLeft);
        complete = replacePrivateUse(out, start) && complete;
        if (error == EILSEQ || error == EINVAL) {
            // One U+FFFD for an unreadable character, or for one cut short
            // by the range's end, then on behind it.
            appendCodePoint(REPLACEMENT, out);
            complete = false;
            const std::size_t skip =
                error == EINVAL ? inLeft : unreadableLength(PLATFORM_CHARSETS[charset], in, inLeft);
            in += skip;
            inLeft -= skip;
            iconv(cd, nullptr, nullptr, nullptr, nullptr);
        } else if (error != 0 && error != E2BIG) {
            complete = appendUnreadable(inLeft, out) && complete;
            break;
        }
    }
    return complete;
#else
    (void)bytes; // no handle is ever open without iconv
    return appendUnreadable(size, out);
#endif
}

} // namespace pdf417
