// The data codewords of a symbol decoded: by the specified Decoder (the
// three compaction modes) and by MessageDecoder (all of ISO/IEC 15438's data
// encoding, with EciTextConverter for the character sets). Messages encoded
// by libzint and read back from the symbol's bar patterns must come back as
// they were given; streams libzint cannot write are built by hand.
#include "pdf417scan/reader/MessageDecoder.h"
#include "pdf417scan/reader/Decoder.h"
#include "pdf417scan/reader/EciTextConverter.h"
#include "tests/support/DataCodewords.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/Utf8.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <iconv.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace pdf417 {
namespace {

using test::concat;
using test::MessageKind;
using test::ZintSegment;
using Words = std::vector<std::uint16_t>;

std::string decoded(const Words& words) {
    std::vector<unsigned char> out = {'x'};
    EXPECT_TRUE(Decoder::decode(words, out));
    return std::string(out.begin(), out.end());
}

// Text values paired into codewords, an odd one padded with 29 as encoders do.
Words text(std::vector<unsigned> values) {
    if (values.size() % 2 != 0) {
        values.push_back(29);
    }
    Words words;
    for (std::size_t i = 0; i < values.size(); i += 2) {
        words.push_back(static_cast<unsigned short>(30 * values[i] + values[i + 1]));
    }
    return words;
}

// What no encoder writes and the round trip cannot reach: the descriptor's
// bounds, the submodes' odd corners, byte groups cut short, codewords this
// decoder does not interpret.
TEST(Decoder, HandCases) {
    // The descriptor counts itself; 1 is "AB", 2 is "AC".
    const std::pair<Words, std::string> whole[] = {
        {{}, ""},        {{0}, ""},         {{0, 1, 2}, ""},       {{1}, ""},
        {{1, 5, 6}, ""}, {{2, 1, 2}, "AB"}, {{100, 1, 2}, "ABAC"}, {{65535, 1}, "AB"}};
    for (const auto& [words, expected] : whole) {
        EXPECT_EQ(decoded(words), expected) << testing::PrintToString(words);
    }
    const std::string group = "\x3b\xac\x5b\xca\xd6\xc5"; // 100, 2, 3, 4, 5 in base 900
    const std::pair<Words, std::string> data[] = {
        // Under AlphaShift, Alpha's own shift and latches apply.
        {text({27, 27, 29, 4, 2}), "[c"},
        {text({27, 27, 27, 2}), "c"},
        {text({27, 27, 28, 2, 28, 2}), "2C"},
        // 29 under PunctShift, or in Punct latched through Mixed, latches
        // Alpha instead of returning.
        {text({27, 29, 29, 0}), "A"},
        {text({28, 25, 0, 29, 1}), ";B"},
        // 900 inside text returns to Alpha; every entry into text starts there.
        {concat({text({27, 0}), {900}, text({0, 1})}), "aAB"},
        {concat({text({27, 0}), {902, 900}, text({0, 1})}), "aAB"},
        // Byte shift: the low 8 bits; under PunctShift it first returns.
        {{32, 913, 300}, "BC,"},
        {{1, 913, 65535, 1},
         "AB\xff"
         "AB"},
        {{1, 913}, "AB"},
        {concat({text({27, 29}), {913, 200}, text({0, 1})}), "\xc8"
                                                             "ab"},
        // A byte codeword keeps its low 8 bits; 924 takes whole groups only.
        {{901, 300}, ","},
        {{901}, ""},
        {{924, 100, 2, 3, 4, 5, 1, 2}, group},
        {{924, 1, 2, 3, 4}, ""},
        {{924, 100, 2, 3, 4, 5, 1, 2, 900, 1}, group + "AB"},
        // The top digit 0 is not the leading 1, so both digits stay.
        {{902, 1}, "01"},
        {{902}, ""},
        // Macro PDF417 fields and ECI parameters come out as text.
        {{928, 1, 2, 3}, "ABACAD"},
        {{927, 26, 901, 65}, "A A"},
        {{929, 930, 65535, 1}, "AB"},
    };
    for (const auto& [words, expected] : data) {
        Words all = words;
        all.insert(all.begin(), static_cast<unsigned short>(words.size() + 1));
        EXPECT_EQ(decoded(all), expected) << testing::PrintToString(words);
    }
    // Any other codeword of 900 and up is skipped, and text restarts in Alpha.
    for (unsigned short c = 903; c <= 928; ++c) {
        if (c != 913 && c != 924) {
            EXPECT_EQ(decoded(concat({{4}, text({27, 0}), {c}, text({0, 1})})), "aAB") << c;
        }
    }

    // Counts past a numeric group are held to its 15 codewords, and values
    // out of range convert without overflow: 15 x 65535 fits the 64 digits.
    std::array<unsigned short, 15> numbers{};
    numbers.fill(65535);
    std::vector<unsigned char> out, held;
    Decoder::base900toBase10(numbers, 0, out);
    EXPECT_TRUE(out.empty());
    Decoder::base900toBase10(numbers, 15, out);
    Decoder::base900toBase10(numbers, 1000, held);
    EXPECT_EQ(out.size(), 46u);
    EXPECT_EQ(out, held);
}

std::string bytesOf(const DecodedMessage& m, std::size_t begin = 0, std::size_t end = ~0ul) {
    return std::string(m.bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                       m.bytes.begin() +
                           static_cast<std::ptrdiff_t>(std::min(end, m.bytes.size())));
}

// Text of every submode, digit runs of every length around the 13 digits
// from which libzint uses numeric compaction and the 44 of a whole group,
// bytes of every length from 1 to 40, a byte before text (which libzint
// writes as a leading byte shift) and mixtures of all; every third message
// one symbol of a Macro PDF417 sequence, whose place and file ID come back
// apart from the message, now and then with reader initialisation.
TEST(MessageDecoder, CompactionModesAndMacroRoundTrip) {
    std::mt19937 rng(15438);
    const MessageKind kinds[] = {MessageKind::Text, MessageKind::Digits, MessageKind::Bytes};
    std::map<std::uint16_t, int> seen;
    MessageDecoder decoder;
    DecodedMessage m;
    for (int i = 0; i < 1000; ++i) {
        std::string message;
        const auto random = [&](MessageKind kind, std::size_t length) {
            message += test::randomMessage(kind, length, rng);
        };
        switch (i % 5) {
        case 0:
            random(MessageKind::Text, 1 + rng() % 150);
            break;
        case 1:
            random(MessageKind::Text, i % 3 == 0 ? 0 : 1 + rng() % 4);
            random(MessageKind::Digits, 1 + (i / 5) % 60);
            random(MessageKind::Text, i % 3 == 0 ? 0 : rng() % 4);
            break;
        case 2:
            random(MessageKind::Bytes, 1 + (i / 5) % 40);
            break;
        case 3:
            message = std::string(1, static_cast<char>(128 + rng() % 128));
            random(MessageKind::Text, 1 + rng() % 40);
            break;
        default:
            for (std::size_t part = 2 + rng() % 4; part > 0; --part) {
                random(kinds[rng() % 3], 1 + rng() % 40);
            }
            break;
        }
        test::ZintOptions options{0, static_cast<int>(rng() % 4)};
        if (i % 3 == 0) {
            options.structCount = i % 4 == 0 ? 99999 : static_cast<int>(2 + rng() % 20);
            options.structIndex = i % 2 == 0 ? options.structCount
                                             : 1 + static_cast<int>(rng() % options.structCount);
            for (std::size_t triplet = rng() % 6; triplet > 0; --triplet) {
                options.structId += std::to_string(1000 + rng() % 900).substr(1);
            }
            options.readerInit = i % 7 == 0;
        }
        const Words words = test::zintDataCodewords(message, options);
        ASSERT_FALSE(words.empty()) << i;
        ASSERT_TRUE(decoder.decode(words.data(), words.size(), m)) << i;
        EXPECT_EQ(bytesOf(m), message) << i;
        EXPECT_EQ(m.text, test::latin1ToUtf8(message)) << i;
        EXPECT_TRUE(m.textComplete && m.ecis.empty()) << i;
        EXPECT_EQ(m.readerInitialisation, options.readerInit) << i;
        ASSERT_EQ(m.macro.has_value(), options.structCount > 0) << i;
        if (m.macro) {
            EXPECT_EQ(m.macro->segmentIndex, options.structIndex - 1) << i;
            EXPECT_EQ(m.macro->segmentCount, options.structCount) << i;
            EXPECT_EQ(m.macro->fileId, options.structId) << i;
            EXPECT_EQ(m.macro->lastSegment, options.structIndex == options.structCount) << i;
            EXPECT_FALSE(m.macro->fileName || m.macro->timeStamp || m.macro->sender ||
                         m.macro->addressee || m.macro->fileSize || m.macro->checksum)
                << i;
        }
        // The specified Decoder reads the same codewords, a Macro PDF417
        // block aside. It reads 913 only inside text, so a leading byte shift
        // (libzint's for one byte text cannot carry, before text) is skipped
        // and the byte read as text; behind a text latch all must be right.
        if (!m.macro) {
            Words plain = words;
            if (plain[1] == 913) {
                EXPECT_NE(decoded(plain), message) << i;
                plain.insert(plain.begin() + 1, 900);
                ++plain[0];
            }
            EXPECT_EQ(decoded(plain), message) << i;
        }
        for (const std::uint16_t mode : {901, 902, 913, 924}) {
            seen[mode] += std::count(words.begin() + 1, words.end(), mode) > 0;
        }
        seen[0] += words[1] == 913;
    }
    // Each mode often, and the byte shift leading the data.
    for (const auto& [mode, least] :
         std::map<std::uint16_t, int>{{901, 100}, {902, 100}, {913, 100}, {924, 40}, {0, 120}}) {
        EXPECT_GE(seen[mode], least) << mode;
    }
}

// Random text in the ECI's character set as libzint sees it, from several
// scripts. Left out where libzint's table and the platform's disagree: the
// ETEN extensions of Big5 (kana, Cyrillic, circled numbers) and a few code
// points of libzint's own, and the backslash, which libzint writes in Shift
// JIS as 0x815F (to iconv a fullwidth reverse solidus).
std::string randomText(int eci, std::size_t length, std::mt19937& rng) {
    static std::map<int, std::vector<std::string>> pools;
    std::vector<std::string>& pool = pools[eci];
    const std::pair<char32_t, char32_t> ranges[] = {
        {0x20, 0x7E},     {0xA0, 0x17F},    {0x391, 0x3C9},   {0x401, 0x45F},
        {0x5D0, 0x5EA},   {0x621, 0x64A},   {0xE01, 0xE3A},   {0x2010, 0x2030},
        {0x20AC, 0x20AC}, {0x2500, 0x2520}, {0x3041, 0x3093}, {0x30A1, 0x30F6},
        {0x4E00, 0x4E40}, {0x6F22, 0x6F28}, {0xAC00, 0xAC30}, {0x1F600, 0x1F608}};
    const std::u32string big5Own = U"\u00A2\u00A3\u00A5\u2022\u203E\u223C\u2609\u2641\u3005";
    const bool fresh = pool.empty();
    for (const auto& [first, last] : ranges) {
        for (char32_t c = first; fresh && c <= last; ++c) {
            const bool eten = (c >= 0x400 && c <= 0x45F) || (c >= 0x2460 && c <= 0x247D) ||
                              (c >= 0x3041 && c <= 0x30FE) ||
                              big5Own.find(c) != std::u32string::npos;
            std::string character;
            test::appendUtf8(c, character);
            test::Pdf417Modules symbol;
            if (!(eci == 28 && eten) && !(eci == 20 && c == 0x5C) &&
                test::encodePdf417(character, {0, -1, 0, eci, true}, symbol)) {
                pool.push_back(character);
            }
        }
    }
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += pool[rng() % pool.size()];
    }
    return text;
}

// UTF-8 text given to libzint in one to four segments, each under an ECI of
// its own, in text, digits and bytes: one range per segment, in order and
// back to back, each holding its segment's bytes, and the text as given
// wherever this build reads every segment's character set. ECI numbers past
// the character sets keep their bytes, read as nothing.
TEST(MessageDecoder, EciRoundTrip) {
    const int ecis[] = {3,  4,  5,  6,  7,  8,  9,  10,  11,  12,   13,     15,     16,
                        17, 18, 20, 21, 22, 23, 24, 25,  26,  27,   28,     29,     30,
                        31, 32, 33, 34, 35, 26, 26, 170, 899, 1000, 810899, 811799, 900};
    std::mt19937 rng(927);
    int keptThroughEci = 0;
    MessageDecoder decoder;
    EciTextConverter converter;
    DecodedMessage m;
    for (int i = 0; i < 300; ++i) {
        std::vector<ZintSegment> segments(1 + i % 4);
        std::string expected;
        bool convertible = true;
        for (ZintSegment& segment : segments) {
            segment.eci = ecis[rng() % std::size(ecis)];
            // libzint takes every segment as UTF-8, binary ones too.
            const int charset = segment.eci >= 899 ? 26 : segment.eci;
            // Shift JIS reads a backslash as another, and ISO/IEC 646 lacks
            // some of ASCII. Text ends in a letter: libzint keeps the text
            // submode through an ECI, but forgets that the pad 29 after an
            // odd count latches Alpha when it comes in Punct.
            const unsigned kind = rng() % 3;
            segment.data = kind == 0 ? test::randomMessage(MessageKind::Digits, 1 + rng() % 30, rng)
                           : kind == 1 && charset != 20 && charset != 170
                               ? test::randomMessage(MessageKind::Text, 1 + rng() % 20, rng) + "Z"
                               : randomText(charset, 1 + rng() % 30, rng) + "Z";
            expected += segment.data;
            convertible = convertible && charset == segment.eci && converter.canConvert(charset);
        }
        test::ZintOptions options;
        options.utf8 = true;
        const Words words = test::zintDataCodewords(segments, options);
        ASSERT_FALSE(words.empty()) << i;
        ASSERT_TRUE(decoder.decode(words.data(), words.size(), m)) << i;
        ASSERT_EQ(m.ecis.size(), segments.size()) << i;
        std::size_t at = 0;
        for (std::size_t s = 0; s < segments.size(); ++s) {
            EXPECT_EQ(m.ecis[s].eci, segments[s].eci) << i;
            EXPECT_EQ(m.ecis[s].begin, at) << i;
            EXPECT_GT(m.ecis[s].end, m.ecis[s].begin) << i;
            if (segments[s].eci == 26 || segments[s].eci >= 899) {
                EXPECT_EQ(bytesOf(m, m.ecis[s].begin, m.ecis[s].end), segments[s].data) << i;
            }
            at = m.ecis[s].end;
        }
        EXPECT_EQ(at, m.bytes.size());
        EXPECT_EQ(m.textComplete, convertible) << i;
        EXPECT_TRUE(convertible ? m.text == expected : test::isWellFormedUtf8(m.text)) << i;
        // Data right behind an ECI number: the mode went on through it.
        for (std::size_t k = 2; k + 2 < words.size(); ++k) {
            keptThroughEci += words[k] == 927 && words[k + 2] < 900;
        }
    }
    EXPECT_GT(keptThroughEci, 30);
}

// The data codewords libzint writes for `text`, without the descriptor and
// the padding: a Macro PDF417 field's contents.
Words fieldWords(const std::string& text) {
    Words words = test::zintDataCodewords(text);
    while (words.size() > 1 && words.back() == 900) {
        words.pop_back();
    }
    return Words(words.begin() + 1, words.end());
}

// A number in numeric compaction: 1 and the digits, in base 900.
Words numericWords(const std::string& digits) {
    std::uint64_t value = std::stoull("1" + digits);
    Words words;
    for (; value > 0; value /= 900) {
        words.insert(words.begin(), static_cast<std::uint16_t>(value % 900));
    }
    return words;
}

// Decodes `data` behind a descriptor that counts it.
bool decodeData(Words data, DecodedMessage& m) {
    data.insert(data.begin(), static_cast<std::uint16_t>(data.size() + 1));
    static MessageDecoder decoder;
    return decoder.decode(data.data(), data.size(), m);
}

// The optional fields libzint does not write, built as the standard lays
// them out: file name, sender and addressee in text compaction, the numbers
// in numeric compaction, with or without a latch; in any order, the
// terminator last, padding before or after the block.
TEST(MessageDecoder, MacroOptionalFields) {
    const Words fields[] = {
        concat({{923, 0}, fieldWords("r\xe9sum\xe9 2024.pdf")}),
        concat({{923, 1}, numericWords("00005")}),
        concat({{923, 2}, numericWords("1700000000")}),
        concat({{923, 3}, fieldWords("ACME Corp.; Dept. #42")}),
        concat({{923, 4}, fieldWords("J. Doe <jd@example.org>")}),
        concat({{923, 5, 902}, numericWords("123456789")}),
        concat({{923, 6}, numericWords("51966")}),
    };
    for (int variant = 0; variant < 3; ++variant) {
        // The message, then the header: index 2, file ID 017042.
        Words data = concat({fieldWords("Quarterly report"),
                             Words(variant == 1 ? 2 : 0, 900),
                             {928, 111, 102, 17, 42}});
        for (int f = 0; f < 7; ++f) {
            const Words& field = fields[variant == 1 ? 6 - f : f];
            data.insert(data.end(), field.begin(), field.end());
        }
        if (variant != 1) {
            data.insert(data.end(), {922, 900, 900});
            data.resize(data.size() - (variant == 0 ? 2 : 0));
        }
        DecodedMessage m;
        ASSERT_TRUE(decodeData(data, m)) << variant;
        EXPECT_EQ(bytesOf(m), "Quarterly report") << variant;
        ASSERT_TRUE(m.macro.has_value()) << variant;
        const MacroPdf417& macro = *m.macro;
        EXPECT_EQ(macro.segmentIndex, 2) << variant;
        EXPECT_EQ(macro.fileId, "017042") << variant;
        EXPECT_EQ(macro.lastSegment, variant != 1) << variant;
        EXPECT_EQ(macro.fileName, "r\xc3\xa9sum\xc3\xa9 2024.pdf") << variant;
        EXPECT_EQ(macro.segmentCount, 5) << variant;
        EXPECT_EQ(macro.timeStamp, 1700000000) << variant;
        EXPECT_EQ(macro.sender, "ACME Corp.; Dept. #42") << variant;
        EXPECT_EQ(macro.addressee, "J. Doe <jd@example.org>") << variant;
        EXPECT_EQ(macro.fileSize, 123456789) << variant;
        EXPECT_EQ(macro.checksum, 51966) << variant;
    }
}

// Streams no conforming encoder writes. What a miscorrected word easily
// becomes is refused; a malformed ECI or Macro block decodes to what could
// be read, and never to more.
TEST(MessageDecoder, MalformedStreams) {
    const Words ab = {1}; // "AB"
    for (std::uint16_t c = 903; c <= 923; ++c) {
        if (c == 913 || c == 921) {
            continue;
        }
        DecodedMessage m;
        EXPECT_FALSE(decodeData(concat({ab, {c}, ab}), m)) << c;
        EXPECT_TRUE(m.bytes.empty() && m.text.empty()) << c;
    }
    const Words refused[] = {
        {929},
        {1, 65535},
        {902, 0},                                                 // no leading 1
        {902, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, // 2...: no leading 1
        {902, 899, 899, 899, 899, 899, 899, 899, 899, 899, 899, 899, 899, 899, 899, 899},
        {913, 256},
        {913},
        {913, 900, 1},
        {901, 1, 300},                   // a single that is no byte
        {901, 429, 11, 71, 222, 856, 1}, // a group of 2^48
        {921, 1, 903},                   // refused whatever came before
        {924, 1, 2, 3, 4, 5, 300},
    };
    for (const Words& data : refused) {
        DecodedMessage m;
        EXPECT_FALSE(decodeData(data, m)) << testing::PrintToString(data);
        EXPECT_TRUE(m.bytes.empty() && m.ecis.empty() && !m.readerInitialisation);
    }
    MessageDecoder decoder;
    DecodedMessage m;
    const std::uint16_t words[] = {3, 1, 2};
    EXPECT_FALSE(decoder.decode(words, 2, m)); // descriptor above the count
    EXPECT_FALSE(decoder.decode(words, 0, m));
    EXPECT_FALSE(decoder.decode(nullptr, 3, m));

    // Read, each to what it holds.
    const struct {
        Words data;
        std::string bytes;
        std::vector<int> ecis;
        bool textComplete;
    } read[] = {
        {{924, 65, 66}, "AB", {}, true}, // a tail after 924, read as 901 would
        {{902, 1}, "", {}, true},        // a group of the leading 1 alone
        {{901, 900, 1}, "AB", {}, true}, // an empty byte run
        {{924}, "", {}, true},
        {{927}, "", {-1}, true}, // an ECI cut short
        {{1, 926, 5, 900, 1}, "ABAB", {-1}, false},
        {{927, 26, 927, 900, 1}, "AB", {26, -1}, false},
        {{921, 1}, "AB", {}, true},
    };
    for (const auto& c : read) {
        ASSERT_TRUE(decodeData(c.data, m)) << testing::PrintToString(c.data);
        EXPECT_EQ(bytesOf(m), c.bytes);
        std::vector<int> ecis;
        for (const EciRange& range : m.ecis) {
            ecis.push_back(range.eci);
        }
        EXPECT_EQ(ecis, c.ecis);
        EXPECT_EQ(m.textComplete, c.textComplete);
        EXPECT_EQ(m.readerInitialisation, c.data[0] == 921);
    }

    // Macro blocks cut short or garbled: the message stays, the block gives
    // what it holds.
    const struct {
        Words block;
        int segmentIndex;
        std::string fileId;
        std::optional<std::int64_t> segmentCount;
        bool last;
    } blocks[] = {
        {{928}, -1, "", {}, false},
        {{928, 111}, -1, "", {}, false},
        {{928, 111, 100, 923}, 0, "", {}, false},
        {{928, 111, 100, 923, 922}, 0, "", {}, true},
        {{928, 5, 100, 7, 923, 1, 111, 103}, -1, "007", 3, false},          // index without its 1
        {{928, 111, 100, 923, 7, 1, 2, 923, 1, 111, 103}, 0, "", 3, false}, // designator 7
        {{928, 111, 100, 923, 1, 111, 103, 923, 1, 111, 105}, 0, "", 3, false}, // repeated
        {{928, 111, 100, 905, 1, 923, 1, 111, 103, 928}, 0, "", 3, false},      // unknown inside
        {{928, 111, 100, 923, 1, 0, 5, 922}, 0, "", {}, true}, // count without its 1
        {{928, 111, 100, 923, 1, 902}, 0, "", {}, false},
    };
    for (const auto& c : blocks) {
        ASSERT_TRUE(decodeData(concat({ab, c.block}), m)) << testing::PrintToString(c.block);
        EXPECT_EQ(bytesOf(m), "AB");
        ASSERT_TRUE(m.macro.has_value());
        EXPECT_EQ(m.macro->segmentIndex, c.segmentIndex) << testing::PrintToString(c.block);
        EXPECT_EQ(m.macro->fileId, c.fileId) << testing::PrintToString(c.block);
        EXPECT_EQ(m.macro->segmentCount, c.segmentCount) << testing::PrintToString(c.block);
        EXPECT_EQ(m.macro->lastSegment, c.last) << testing::PrintToString(c.block);
    }
}

const std::string FFFD = "\xEF\xBF\xBD";

struct Converted {
    std::string text;
    bool complete = false;
};

Converted convert(int eci, const std::string& bytes) {
    static EciTextConverter converter;
    Converted c;
    c.text = "<";
    c.complete = converter.appendUtf8(eci, reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                      bytes.size(), c.text);
    EXPECT_EQ(c.text.substr(0, 1), "<") << "appends";
    c.text.erase(0, 1);
    return c;
}

// The built-in table against the platform's own (glibc's iconv in the test
// environment, whether or not the library uses it).
TEST(EciTextConverter, CodePage437MatchesThePlatformTable) {
    const iconv_t cd = iconv_open("UTF-8", "IBM437");
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        GTEST_SKIP() << "no IBM437 in this iconv";
    }
    for (int b = 0; b < 256; ++b) {
        char in[1] = {static_cast<char>(b)};
        char out[8];
        char* inPtr = in;
        char* outPtr = out;
        std::size_t inLeft = 1;
        std::size_t outLeft = sizeof out;
        ASSERT_NE(iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft), static_cast<std::size_t>(-1));
        for (const int eci : {0, 2}) {
            const Converted c = convert(eci, std::string(1, static_cast<char>(b)));
            EXPECT_EQ(c.text, std::string(out, outPtr)) << "byte " << b;
            EXPECT_TRUE(c.complete);
        }
    }
    iconv_close(cd);
}

// Whatever the bytes, UTF-8 comes out well-formed, and complete exactly when
// the bytes were.
TEST(EciTextConverter, Utf8IsCheckedNotTrusted) {
    std::mt19937 rng(26);
    for (int i = 0; i < 20000; ++i) {
        std::string bytes(rng() % 12, '\0');
        for (char& b : bytes) {
            b = static_cast<char>(rng() % 4 == 0 ? 0x80 | rng() % 0x80 : rng() % 256);
        }
        const Converted c = convert(26, bytes);
        ASSERT_TRUE(test::isWellFormedUtf8(c.text));
        ASSERT_EQ(c.complete, test::isWellFormedUtf8(bytes));
        ASSERT_EQ(c.complete, c.text == bytes);
    }
}

// Ill-formed input of every kind: one U+FFFD for each maximal ill-formed
// part, the rest kept.
TEST(EciTextConverter, WhatCannotBeReadSaysSo) {
    const std::string x2 = FFFD + FFFD, x3 = x2 + FFFD, x4 = x3 + FFFD;
    const struct {
        int eci;
        std::string bytes;
        std::string text;
    } cases[] = {
        // UTF-8: overlong forms, surrogates, past U+10FFFF, stray, cut short.
        {26, "\xC0\x80", x2},
        {26, "\xE0\x80\x80", x3},
        {26, "\xED\xA0\x80", x3},
        {26, "\xF4\x90\x80\x80", x4},
        {26, "\xF0\x80\x80\x80", x4},
        {26, "\x80\xBF", x2},
        {26, "\xF5\xFF", x2},
        {26, "a\xE2\x82", "a" + FFFD},
        {26, "a\xE2\x82z\xF0\x9F\x98", "a" + FFFD + "z" + FFFD},
        // The edges of well-formed UTF-8.
        {26, "\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80",
         "\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80"},
        {26, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        // UTF-16 and UTF-32: lone surrogates, an odd byte, past U+10FFFF.
        {25, std::string("\xD8\x00\x00\x41", 4), FFFD + "A"},
        {33, std::string("\x00\xDC", 2), FFFD},
        {25, std::string("\x00\x41\x00", 3), "A" + FFFD},
        {34, std::string("\x00\x11\x00\x00", 4), FFFD},
        {35, std::string("\x00\xD8\x00\x00", 4), FFFD},
        {34, std::string("\x00\x00\x00", 3), FFFD},
        // Binary data and ECIs that name no character set: one a byte.
        {899, "AB\xC3\xA9", x4},
        {14, "AB\xC3\xA9", x4},
        {19, "AB\xC3\xA9", x4},
        {36, "AB\xC3\xA9", x4},
        {1000, "AB\xC3\xA9", x4},
        {811799, "AB\xC3\xA9", x4},
        {-1, "AB\xC3\xA9", x4},
        // ASCII has no upper half; ISO/IEC 646's invariant set lacks the
        // twelve national positions.
        {27, "A~\xE9", "A~" + FFFD},
        {170, "A-#", "A-" + FFFD},
        {170, "AZaz09 !\"%&'()*+,-./:;<=>?_", "AZaz09 !\"%&'()*+,-./:;<=>?_"},
        {3, "\xE9\xFF", "\xC3\xA9\xC3\xBF"},
    };
    for (const auto& c : cases) {
        const Converted converted = convert(c.eci, c.bytes);
        EXPECT_EQ(converted.text, c.text) << c.eci << " " << testing::PrintToString(c.bytes);
        EXPECT_EQ(converted.complete, c.text.find(FFFD) == std::string::npos) << c.eci;
    }

    EciTextConverter converter;
    // A range ends where its ECI does: a high surrogate last in it is lone,
    // whatever the message's next bytes are.
    const std::uint8_t utf16[] = {0x00, 0x41, 0x00, 0x42, 0xD8, 0x00, 0xDC, 0x00};
    std::string cut;
    EXPECT_FALSE(converter.appendUtf8(25, utf16, 6, cut));
    EXPECT_EQ(cut, "AB" + FFFD);
    if (!EciTextConverter::hasPlatformCharsets()) {
        EXPECT_FALSE(converter.canConvert(20));
        EXPECT_EQ(convert(20, "AB").text, x2);
        return;
    }
    // An unreadable character is one U+FFFD, a pair whose trail could be
    // one skipped whole; a private-use character says nothing true.
    const struct {
        int eci;
        std::string bytes, text;
    } platform[] = {
        {20, "A\x93", "A" + FFFD}, // a Shift JIS lead byte cut short
        {20, "\x85@Z", FFFD + "Z"},
        {28, "\xFA@Z", FFFD + "Z"}, // Big5
        {28, "\xFA@", FFFD},
        {28, "A\xC6\xA5\xC6\xA5", "A" + x2}, // ETEN kana, private use to glibc
        {29, "\xAA\xA1Z", FFFD + "Z"},       // GB 2312
        {30, "\xAD\xA1Z", FFFD + "Z"},       // EUC-KR
        {32, "\x81\x30", FFFD},              // GB 18030's four bytes, cut short
        {32, "\x81\x30\x20\x30Z", FFFD + "Z"},
        {32, "\x85\x39\x81\x30Z", FFFD + "Z"},        // unassigned, second byte 0x39
        {32, "\xD8\x38\x97\x34\xDE\x30\x99\x30", x2}, // planes 15 and 16
    };
    for (const auto& c : platform) {
        const Converted converted = convert(c.eci, c.bytes);
        EXPECT_EQ(converted.text, c.text) << c.eci << " " << testing::PrintToString(c.bytes);
        EXPECT_FALSE(converted.complete) << c.eci;
    }
    // Single bytes a set leaves undefined.
    for (const auto& [eci, byte] : {std::pair{5, 0xA5},
                                    {8, 0xA1},
                                    {9, 0xAE},
                                    {10, 0xA1},
                                    {13, 0xDB},
                                    {21, 0x81},
                                    {22, 0x98},
                                    {23, 0x81}}) {
        EXPECT_EQ(convert(eci, {static_cast<char>(byte), 'Z'}).text, FFFD + "Z") << eci;
    }
    // Four bytes of GB 18030 past the BMP, U+30000, are a character like any.
    EXPECT_EQ(convert(32, "\x9A\x34\x84\x32").text, "\xF0\xB0\x80\x80");
}

} // namespace
} // namespace pdf417
