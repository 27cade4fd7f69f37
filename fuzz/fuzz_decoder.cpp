// Decoder on arbitrary codeword sequences, by the first byte % 4:
//   0: Decoder::decode on the rest as 16-bit codewords, any value;
//   1: one sub-decoder (next byte % 4: text, byte, byte6, numeric) from the
//      start of the rest as 16-bit codewords;
//   2: base900toBase10 with any count (64 bits) over 15 codewords;
//   3: a round trip: the rest as a message (at most 120 bytes) is encoded by
//      libzint at level byte % 5 and its data codewords decoded back.
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "pdf417scan/reader/Decoder.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/ZintPdf417.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
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

void roundTrip(pdf417::fuzz::FuzzInput& in) {
    const int level = in.u8() % 5;
    std::string message;
    while (!in.empty() && message.size() < 120) {
        message += static_cast<char>(in.u8());
    }
    pdf417::test::Pdf417Modules symbol;
    // A message that libzint opens with a byte shift does not come back: the
    // decoder reads a shift met outside text as text, on purpose.
    if (message.empty() || !pdf417::test::encodePdf417(message, {0, level, 0}, symbol) ||
        pdf417::test::opensWithByteShift(symbol, level)) {
        return;
    }
    const std::vector<unsigned short> words = pdf417::test::symbolDataCodewords(symbol, level);
    check(!words.empty(), "libzint drew a pattern that is not in the table");
    std::vector<unsigned char> out;
    Decoder::decode(words, out);
    check(std::string(out.begin(), out.end()) == message, "a libzint message came back changed");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pdf417::fuzz::FuzzInput in(data, size);
    switch (in.u8() % 4) {
    case 0:
        decodeWhole(in);
        break;
    case 1:
        decodePart(in);
        break;
    case 2:
        convertGroup(in);
        break;
    default:
        roundTrip(in);
        break;
    }
    return 0;
}
