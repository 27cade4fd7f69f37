// Decoder and MessageDecoder on arbitrary codeword sequences, by the first
// byte % 6:
//   0: Decoder::decode on the rest as 16-bit codewords, any value;
//   1: one sub-decoder (next byte % 4: text, byte, byte6, numeric) from the
//      start of the rest as 16-bit codewords;
//   2: base900toBase10 with any count (64 bits) over 15 codewords;
//   3: a round trip: the rest as a message (at most 120 bytes) is encoded by
//      libzint at level byte % 5 and its data codewords decoded back by both;
//   4: MessageDecoder on the rest as codewords (each 16-bit value % 931, so
//      that values past 928 still occur), behind a descriptor that counts
//      them when the next byte is even;
//   5: a MessageDecoder round trip with an ECI and Macro PDF417: option
//      bytes, then the message as in 3.
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "pdf417scan/reader/Decoder.h"
#include "pdf417scan/reader/MessageDecoder.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/Utf8.h"
#include "tests/support/ZintPdf417.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

using pdf417::Decoder;
using pdf417::fuzz::check;

namespace {

constexpr std::size_t kMaxWords = 2000;

std::vector<unsigned short> readWords(pdf417::fuzz::FuzzInput& in) {
    std::vector<unsigned short> words;
    while (!in.empty() && words.size() < kMaxWords) {
        words.push_back(in.u16());
    }
    return words;
}

void decodeWhole(pdf417::fuzz::FuzzInput& in) {
    std::vector<unsigned short> words = readWords(in);
    std::vector<unsigned char> out(5, 0xAA);
    check(Decoder::decode(words, out), "decode reported failure");
    const std::size_t limit = words.empty() ? 0 : std::min<std::size_t>(words[0], words.size());
    // Two characters per text codeword, six bytes per five byte codewords,
    // three digits per numeric codeword at the most.
    check(out.size() <= 3 * limit, "more bytes than the codewords can carry");

    // Only byte compaction and the byte shift write bytes above 127.
    const bool anyBytes =
        limit > 1 && std::any_of(words.begin() + 1, words.begin() + limit,
                                 [](unsigned short c) { return c == 901 || c == 913 || c == 924; });
    if (!anyBytes) {
        check(std::all_of(out.begin(), out.end(), [](unsigned char b) { return b < 128; }),
              "text or numeric compaction wrote a byte above 127");
    }

    // Codewords past the length descriptor's count are not read.
    if (limit >= 1 && limit < words.size()) {
        std::vector<unsigned char> again;
        std::reverse(words.begin() + limit, words.end());
        for (std::size_t i = limit; i < words.size(); ++i) {
            words[i] ^= 0x5A5A;
        }
        Decoder::decode(words, again);
        check(again == out, "codewords past the descriptor changed the output");
    }
}

void decodePart(pdf417::fuzz::FuzzInput& in) {
    const unsigned which = in.u8() % 4;
    const std::vector<unsigned short> words = readWords(in);
    Decoder::iterator it = words.begin();
    const Decoder::iterator end = words.end();
    std::vector<unsigned char> out;
    switch (which) {
    case 0:
        Decoder::decodeTextCompaction(it, end, out);
        // Text stops only at a codeword it does not handle.
        check(it == end || (*it > 900 && *it != 913), "text stopped on a text codeword");
        break;
    case 1:
        Decoder::decodeByteCompaction(it, end, out);
        check(it == end || *it > 899, "byte compaction stopped on a data codeword");
        break;
    case 2:
        Decoder::decodeByteCompaction6(it, end, out);
        check(it == end || *it > 899, "byte compaction stopped on a data codeword");
        check(out.size() % 6 == 0, "byte compaction after 924 wrote a partial group");
        break;
    default:
        Decoder::decodeNumericCompaction(it, end, out);
        check(it == end || *it > 899, "numeric compaction stopped on a data codeword");
        check(std::all_of(out.begin(), out.end(),
                          [](unsigned char b) { return b >= '0' && b <= '9'; }),
              "numeric compaction wrote a non-digit");
        break;
    }
    check(it >= words.begin() && it <= end, "a sub-decoder left its range");
    check(out.size() <= 3 * static_cast<std::size_t>(it - words.begin()) + 1,
          "more bytes than the consumed codewords can carry");
}

void convertGroup(pdf417::fuzz::FuzzInput& in) {
    const std::uint64_t count = in.u64();
    std::array<unsigned short, 15> group{};
    for (unsigned short& c : group) {
        c = in.u16();
    }
    std::vector<unsigned char> out;
    Decoder::base900toBase10(group, static_cast<unsigned long>(count), out);
    check(out.size() <= 64, "more digits than the buffer holds");
    check(count != 0 || out.empty(), "an empty group gave digits");
    check(std::all_of(out.begin(), out.end(), [](unsigned char b) { return b >= '0' && b <= '9'; }),
          "a group gave a non-digit");
}

std::string readMessage(pdf417::fuzz::FuzzInput& in) {
    std::string message;
    while (!in.empty() && message.size() < 120) {
        message += static_cast<char>(in.u8());
    }
    return message;
}

bool same(const pdf417::DecodedMessage& a, const pdf417::DecodedMessage& b) {
    const auto macroFields = [](const pdf417::MacroPdf417& m) {
        return std::tie(m.segmentIndex, m.fileId, m.lastSegment, m.fileName, m.segmentCount,
                        m.timeStamp, m.sender, m.addressee, m.fileSize, m.checksum);
    };
    if (a.ecis.size() != b.ecis.size() || a.macro.has_value() != b.macro.has_value() ||
        (a.macro && macroFields(*a.macro) != macroFields(*b.macro))) {
        return false;
    }
    for (std::size_t i = 0; i < a.ecis.size(); ++i) {
        if (a.ecis[i].eci != b.ecis[i].eci || a.ecis[i].begin != b.ecis[i].begin ||
            a.ecis[i].end != b.ecis[i].end) {
            return false;
        }
    }
    return a.bytes == b.bytes && a.text == b.text && a.textComplete == b.textComplete &&
           a.readerInitialisation == b.readerInitialisation;
}

// What every decoded message must satisfy, whatever the codewords.
void checkMessage(bool ok, const pdf417::DecodedMessage& m, std::size_t count) {
    using pdf417::test::isWellFormedUtf8;
    if (!ok) {
        check(m.bytes.empty() && m.text.empty() && m.ecis.empty() && !m.macro &&
                  !m.readerInitialisation,
              "a refused stream left a message behind");
        return;
    }
    // Two text characters, three digits or 6/5 of a byte per codeword.
    check(m.bytes.size() <= 3 * count, "more bytes than the codewords can carry");
    std::size_t at = m.ecis.empty() ? m.bytes.size() : m.ecis.front().begin;
    for (const pdf417::EciRange& range : m.ecis) {
        check(range.begin == at && range.begin <= range.end && range.end <= m.bytes.size(),
              "ECI ranges out of order, overlapping or past the bytes");
        at = range.end;
    }
    check(at == m.bytes.size(), "the last ECI range does not reach the end");
    check(isWellFormedUtf8(m.text), "the text is not UTF-8");
    check(m.textComplete || m.text.find("\xEF\xBF\xBD") != std::string::npos,
          "incomplete text without a replacement character");
    if (m.ecis.empty()) {
        check(m.textComplete, "bytes under the default ECI not all read");
    }
    if (m.macro) {
        const pdf417::MacroPdf417& macro = *m.macro;
        check(macro.segmentIndex >= -1 && macro.segmentIndex <= 99998, "segment index range");
        check(macro.fileId.size() % 3 == 0 &&
                  std::all_of(macro.fileId.begin(), macro.fileId.end(),
                              [](char c) { return c >= '0' && c <= '9'; }),
              "file ID not in three-digit groups");
        for (const auto* field : {&macro.fileName, &macro.sender, &macro.addressee}) {
            check(!*field || isWellFormedUtf8(**field), "a Macro text field is not UTF-8");
        }
        for (const auto* field :
             {&macro.segmentCount, &macro.timeStamp, &macro.fileSize, &macro.checksum}) {
            check(!*field || **field >= 0, "a negative Macro number");
        }
    }
}

void decodeMessage(pdf417::fuzz::FuzzInput& in) {
    const bool countDescriptor = in.u8() % 2 == 0;
    std::vector<std::uint16_t> words;
    while (!in.empty() && words.size() < 1000) {
        words.push_back(static_cast<std::uint16_t>(in.u16() % 931));
    }
    if (countDescriptor && !words.empty()) {
        words[0] = static_cast<std::uint16_t>(words.size());
    }
    static pdf417::MessageDecoder reused;
    pdf417::MessageDecoder fresh;
    pdf417::DecodedMessage first;
    pdf417::DecodedMessage second;
    first.bytes.assign(3, 0xAA);
    first.ecis.push_back({});
    const bool ok = reused.decode(words.data(), words.size(), first);
    checkMessage(ok, first, words.size());
    check(fresh.decode(words.data(), words.size(), second) == ok && same(first, second),
          "decoding twice gave two messages");
}

// libzint's symbol for `message` under `options`, decoded by both decoders.
void roundTripBoth(const std::string& message, pdf417::test::ZintOptions options) {
    pdf417::test::Pdf417Modules symbol;
    if (message.empty() || !pdf417::test::encodePdf417(message, options, symbol)) {
        return;
    }
    const std::vector<unsigned short> words =
        pdf417::test::symbolDataCodewords(symbol, options.ecLevel);
    check(!words.empty(), "libzint drew a pattern that is not in the table");

    static pdf417::MessageDecoder decoder;
    pdf417::DecodedMessage m;
    const bool ok = decoder.decode(words.data(), words.size(), m);
    checkMessage(ok, m, words.size());
    check(ok && std::string(m.bytes.begin(), m.bytes.end()) == message,
          "MessageDecoder read a libzint message changed");
    check(m.readerInitialisation == options.readerInit, "reader initialisation lost");
    check(m.ecis.size() == (options.eci != 0 ? 1u : 0u) &&
              (m.ecis.empty() || (m.ecis[0].eci == options.eci && m.ecis[0].begin == 0)),
          "the ECI did not come back");
    check(m.macro.has_value() == (options.structCount > 0), "the Macro block did not come back");
    if (m.macro) {
        check(m.macro->segmentIndex == options.structIndex - 1 &&
                  m.macro->segmentCount == options.structCount &&
                  m.macro->fileId == options.structId &&
                  m.macro->lastSegment == (options.structIndex == options.structCount),
              "the Macro fields came back changed");
    }

    // A message that libzint opens with a byte shift does not come back from
    // Decoder: it reads a shift met outside text as text, on purpose. Nor
    // does it read ECIs or Macro blocks.
    if (options.eci != 0 || options.structCount > 0 || options.readerInit ||
        pdf417::test::opensWithByteShift(symbol, options.ecLevel)) {
        return;
    }
    std::vector<unsigned char> out;
    Decoder::decode(words, out);
    check(std::string(out.begin(), out.end()) == message, "a libzint message came back changed");
}

void roundTrip(pdf417::fuzz::FuzzInput& in) {
    pdf417::test::ZintOptions options;
    options.ecLevel = in.u8() % 5;
    roundTripBoth(readMessage(in), options);
}

void roundTripWithOptions(pdf417::fuzz::FuzzInput& in) {
    static const int ecis[] = {0, 3, 7, 20, 26, 899, 1000, 811799};
    pdf417::test::ZintOptions options;
    options.ecLevel = in.u8() % 5;
    options.eci = ecis[in.u8() % std::size(ecis)];
    const unsigned flags = in.u8();
    options.readerInit = flags % 2 != 0;
    if (flags & 2) {
        options.structCount = 2 + in.u16() % 99998;
        options.structIndex = 1 + static_cast<int>(in.u16()) % options.structCount;
        for (unsigned triplets = in.u8() % 4; triplets > 0; --triplets) {
            const unsigned id = in.u16() % 900;
            options.structId +=
                std::to_string(id / 100) + std::to_string(id / 10 % 10) + std::to_string(id % 10);
        }
    }
    roundTripBoth(readMessage(in), options);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pdf417::fuzz::FuzzInput in(data, size);
    switch (in.u8() % 6) {
    case 0:
        decodeWhole(in);
        break;
    case 1:
        decodePart(in);
        break;
    case 2:
        convertGroup(in);
        break;
    case 3:
        roundTrip(in);
        break;
    case 4:
        decodeMessage(in);
        break;
    default:
        roundTripWithOptions(in);
        break;
    }
    return 0;
}
