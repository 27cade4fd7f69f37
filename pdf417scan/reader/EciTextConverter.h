#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace pdf417 {

// Reads the bytes of one ECI range as text and appends it as UTF-8.
//
// Built in, whatever the platform: ISO/IEC 8859-1 (ECI 1, 3), code page 437
// (ECI 0, 2), UTF-8 (26), UTF-16BE/LE (25, 33), UTF-32BE/LE (34, 35), US-ASCII
// (27) and the invariant set of ISO/IEC 646 (170). The other character sets of
// the ECI register (ISO/IEC 8859-2 to -16, Shift JIS, the Windows code pages,
// Big5, GB 2312, EUC-KR, GBK, GB 18030) go through the platform's iconv when
// the library was built with it. Anything else, ECI 899 (binary) among it, is
// not text.
//
// Whatever cannot be read (an unknown or binary ECI, a character set the
// platform lacks, an invalid sequence) stands as U+FFFD, one per byte or
// invalid sequence, and the call returns false: the text never claims
// characters the bytes do not hold.
//
// One thread at a time. The iconv descriptors are opened on first use and
// kept; a copy opens its own.
class EciTextConverter {
public:
    EciTextConverter() = default;
    EciTextConverter(const EciTextConverter&) {}
    EciTextConverter& operator=(const EciTextConverter&) { return *this; }
    ~EciTextConverter();

    // Appends the text of `size` bytes under ECI `eci` to `out`; false when
    // anything stood as U+FFFD.
    bool appendUtf8(int eci, const std::uint8_t* bytes, std::size_t size, std::string& out);

    // Whether text under `eci` can be read at all by this build on this
    // platform.
    bool canConvert(int eci);

    // Whether the library was built with the platform's iconv.
    static bool hasPlatformCharsets();

private:
    // The character sets read through iconv, by their place in the ECI table.
    static constexpr std::size_t kPlatformCharsets = 24;
    // iconv_t is a pointer everywhere iconv exists; kept as void* so that the
    // header does not depend on <iconv.h>. Null until opened.
    std::array<void*, kPlatformCharsets> handles_{};
    std::array<bool, kPlatformCharsets> unavailable_{};

    void* platformHandle(std::size_t charset);
    bool appendPlatform(std::size_t charset, const std::uint8_t* bytes, std::size_t size,
                        std::string& out);
};

} // namespace pdf417
