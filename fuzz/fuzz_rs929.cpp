// RS929Decoder::decode on arbitrary words, erasure lists and levels (odd first
// byte), and on real codewords damaged by chosen errors and erasures (even
// first byte), where the outcome can be judged against the original.
//
// Arbitrary input: level (byte), erasure count (byte), the erasure positions
// (32 bits each, any value), then the codewords (16 bits each, 929 and above
// being the invalid value).
// Damaged codeword: level (byte % 9), data length (16 bits, cut so that the
// word fits the 928 codewords of a symbol), the data codewords, the error
// count (byte) and the errors (index, value), the erasure count (byte) and
// the erased indices; an erased codeword is read as 0, as the reader does.
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "pdf417scan/ecc/G929Polynomial.h"
#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/ecc/RS929Encoder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

using pdf417::G929Value;
using pdf417::fuzz::check;

namespace {

constexpr std::size_t kMaxWords = 1100;

bool syndromesZero(const std::vector<G929Value>& word, std::size_t k) {
    for (std::size_t i = 1; i <= k; ++i) {
        if (pdf417::G929Polynomial::calc(word, G929Value(3).pow(i)) != G929Value(0)) {
            return false;
        }
    }
    return true;
}

void arbitraryWord(pdf417::fuzz::FuzzInput& in) {
    const unsigned level = in.u8();
    std::vector<unsigned long> positions(in.u8());
    for (unsigned long& p : positions) {
        p = in.u32();
    }
    std::vector<G929Value> word;
    while (!in.empty() && word.size() < kMaxWords) {
        word.emplace_back(in.u16());
    }
    const std::vector<G929Value> received = word;
    const std::vector<unsigned long> erasures = positions;

    pdf417::RS929Decoder decoder;
    const bool ok = decoder.decode(word, positions, level);
    check(word.size() == received.size(), "the word changed length");
    if (level > 8) {
        check(!ok && positions == erasures, "a level above 8 was not refused untouched");
        return;
    }
    const std::size_t k = pdf417::RS929Decoder::ec_size[level];
    if (ok) {
        check(syndromesZero(word, k), "a success left a non-zero syndrome");
        for (unsigned long p : positions) {
            check(p < word.size(), "a corrected position lies outside the word");
        }
        // Only the reported positions may differ from what was received.
        std::set<std::size_t> changed;
        for (unsigned long p : positions) {
            changed.insert(word.size() - 1 - p);
        }
        for (std::size_t i = 0; i < word.size(); ++i) {
            if (!changed.count(i)) {
                check(word[i].value() == received[i].value(), "an unreported codeword changed");
            }
        }
    }
    if (word.size() < k + 1 || erasures.size() > k - 2) {
        check(!ok && positions == erasures, "a refused input was touched");
    }
}

void damagedCodeword(pdf417::fuzz::FuzzInput& in) {
    const unsigned level = in.u8() % 9;
    const std::size_t k = pdf417::RS929Decoder::ec_size[level];
    const std::size_t dataLength = in.u16() % (929 - k);
    std::vector<G929Value> data;
    for (std::size_t i = 0; i < dataLength; ++i) {
        data.emplace_back(static_cast<unsigned short>(in.u16() % 929));
    }
    std::vector<G929Value> original;
    pdf417::RS929Encoder::encode(data, original, level);
    const std::size_t n = original.size();

    std::vector<G929Value> word = original;
    for (unsigned e = in.u8(); e > 0; --e) {
        const std::size_t index = in.u16() % n;
        word[index] = G929Value(static_cast<unsigned short>(in.u16() % 929));
    }
    std::set<std::size_t> erased;
    for (unsigned e = in.u8(); e > 0; --e) {
        erased.insert(in.u16() % n);
    }
    std::vector<unsigned long> positions;
    for (std::size_t index : erased) {
        word[index] = G929Value(0);
        positions.push_back(n - 1 - index);
    }
    long errors = 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (!erased.count(i) && word[i] != original[i]) {
            ++errors;
        }
    }
    const long erasures = static_cast<long>(erased.size());

    pdf417::RS929Decoder decoder;
    const bool ok = decoder.decode(word, positions, level);
    if (ok) {
        check(syndromesZero(word, k), "a success left a non-zero syndrome");
        // Within half the distance no other codeword is as close: a success
        // must be the original.
        if (2 * errors + erasures <= static_cast<long>(k)) {
            check(std::equal(word.begin(), word.end(), original.begin()),
                  "a correctable word was miscorrected");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pdf417::fuzz::FuzzInput in(data, size);
    if (in.u8() & 1u) {
        arbitraryWord(in);
    } else {
        damagedCodeword(in);
    }
    return 0;
}
