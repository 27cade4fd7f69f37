// RS929Decoder::decode and RS929Corrector::correct on arbitrary words,
// erasure lists and levels (odd first byte), and on real codewords damaged by
// chosen errors and erasures (even first byte), where the outcome can be
// judged against the original.
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
#include "pdf417scan/ecc/RS929Corrector.h"
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

// What the corrector may do with any input: refuse what is not a word, and
// refuse with the word untouched or return a codeword that differs from the
// input in `errors` codewords not erased, 2 * errors + erasures within the
// check codewords. With the original at hand, damage within capacity must
// come back as the original (a codeword without data is not a word).
void checkCorrector(const std::vector<std::uint16_t>& received, std::size_t ecCount,
                    const std::vector<std::uint32_t>& erasures,
                    const std::vector<G929Value>* original, long errorsMade) {
    std::vector<std::uint16_t> word = received;
    pdf417::RS929Corrector corrector;
    pdf417::RS929Corrector::Result result;
    const bool ok = corrector.correct(word, ecCount, erasures, result);
    const std::size_t n = received.size();
    const std::set<std::uint32_t> erased(erasures.begin(), erasures.end());
    bool aWord = ecCount > 0 && ecCount < n && n <= 928;
    for (std::uint32_t e : erased) {
        aWord = aWord && e < n;
    }
    for (std::size_t i = 0; i < n; ++i) {
        aWord = aWord && (received[i] <= 928 || erased.count(static_cast<std::uint32_t>(i)));
    }
    check(aWord || !ok, "the corrector took what is not a word");
    if (!ok) {
        check(word == received && result.errors == 0 && result.erasures == 0,
              "a refusal touched the word");
        check(!aWord || !original ||
                  2 * errorsMade + static_cast<long>(erased.size()) > static_cast<long>(ecCount),
              "the corrector refused damage within capacity");
        return;
    }
    std::vector<G929Value> values;
    std::size_t changed = 0;
    for (std::size_t i = 0; i < n; ++i) {
        check(word[i] <= 928, "a corrected codeword left the field");
        values.emplace_back(word[i]);
        changed += !erased.count(static_cast<std::uint32_t>(i)) && word[i] != received[i];
    }
    check(syndromesZero(values, ecCount), "the corrector returned a word that is no codeword");
    check(result.errors == changed && result.erasures == erased.size(),
          "the corrector's counts are wrong");
    check(2 * changed + erased.size() <= ecCount, "the corrector went past capacity");
    if (original &&
        2 * errorsMade + static_cast<long>(erased.size()) <= static_cast<long>(ecCount)) {
        check(std::equal(values.begin(), values.end(), original->begin()),
              "the corrector miscorrected damage within capacity");
    }
}

void arbitraryWord(pdf417::fuzz::FuzzInput& in) {
    const unsigned level = in.u8();
    std::vector<unsigned long> positions(in.u8());
    for (unsigned long& p : positions) {
        p = in.u32();
    }
    std::vector<G929Value> word;
    std::vector<std::uint16_t> raw;
    while (!in.empty() && word.size() < kMaxWords) {
        raw.push_back(in.u16());
        word.emplace_back(raw.back());
    }
    const std::vector<std::uint32_t> indices(positions.begin(), positions.end());
    checkCorrector(raw, level <= 8 ? pdf417::RS929Decoder::ec_size[level] : level - 9, indices,
                   nullptr, 0);
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

    std::vector<std::uint16_t> raw;
    for (const G929Value& v : word) {
        raw.push_back(v.value());
    }
    const std::vector<std::uint32_t> indices(erased.begin(), erased.end());
    checkCorrector(raw, k, indices, &original, errors);

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
