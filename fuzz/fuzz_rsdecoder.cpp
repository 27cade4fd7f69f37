// RSDecoder::eras_dec_rs on arbitrary arguments (odd first byte) and on
// damaged RS929Encoder codewords (even first byte). Its diagnostics go to
// standard output, which is sent to /dev/null.
//
// Arbitrary arguments: n and k (signed 16 bits each), the erasure count
// (signed byte), the number of erasure entries (byte) and the entries (signed
// 16 bits each), then the symbols (signed 16 bits each).
// Damaged codeword: level (byte % 9), data length (16 bits, cut to fit 928
// symbols), the data, the error count (byte) and the errors (index, value),
// the erasure count (byte) and the erasure locations (16 bits each, reduced
// to 1..n).
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "pdf417scan/ecc/RSDecoder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <set>
#include <vector>

using pdf417::fuzz::check;

namespace {

constexpr std::size_t kMaxSymbols = 1100;

// What a decode may leave: on success as many locations as the result and no
// symbol changed but those they name; on failure no locations.
void checkOutcome(int result, int n, const std::vector<int>& received, const std::vector<int>& data,
                  const std::vector<int>& locations) {
    check(data.size() == received.size(), "the data changed length");
    if (result < 0) {
        check(result == -1 && locations.empty(), "a failure left locations");
        return;
    }
    check(locations.size() == static_cast<std::size_t>(result), "result and locations disagree");
    // A root may lie beyond the word (location above n): it is reported but
    // corrects nothing. Location 0 would address one past the end.
    std::set<std::size_t> reported;
    for (int loc : locations) {
        check(loc >= 1 && loc < 928, "a location outside the field's powers");
        if (loc <= n) {
            reported.insert(static_cast<std::size_t>(n - loc));
        }
    }
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (!reported.count(i)) {
            check(data[i] == received[i], "an unreported symbol changed");
        } else {
            check(data[i] >= 0 && data[i] <= 928, "a corrected symbol left the field");
        }
    }
}

void arbitraryArguments(pdf417::fuzz::FuzzInput& in) {
    const int n = static_cast<std::int16_t>(in.u16());
    const int k = static_cast<std::int16_t>(in.u16());
    const int erasureCount = static_cast<std::int8_t>(in.u8());
    std::vector<int> erasures(in.u8());
    for (int& e : erasures) {
        e = static_cast<std::int16_t>(in.u16());
    }
    std::vector<int> data;
    while (!in.empty() && data.size() < kMaxSymbols) {
        data.push_back(static_cast<std::int16_t>(in.u16()));
    }
    const std::vector<int> received = data;
    pdf417::RSDecoder decoder;
    const int result = decoder.eras_dec_rs(data, erasures, erasureCount, n, k);
    // Only sizes that would reach outside data or the working arrays are
    // refused; with no syndrome (k or n of 0 or below) there is no error.
    if (n > static_cast<int>(received.size()) || k > 1023) {
        check(result == -1 && data == received, "bad sizes were not refused untouched");
    } else if (k <= 0 || n <= 0) {
        check(result <= 0 && data == received, "a word without syndromes was changed");
    }
    if (result >= 0) {
        check(result <= std::max(k, 0), "more locations than check symbols");
    }
    checkOutcome(result, n, received, data, erasures);
}

void damagedCodeword(pdf417::fuzz::FuzzInput& in) {
    const unsigned level = in.u8() % 9;
    const std::size_t k = static_cast<std::size_t>(pdf417::_ecs[level]);
    const std::size_t dataLength = 1 + in.u16() % (928 - k);
    std::vector<pdf417::G929Value> message;
    for (std::size_t i = 0; i < dataLength; ++i) {
        message.emplace_back(static_cast<unsigned short>(in.u16() % 929));
    }
    std::vector<pdf417::G929Value> encoded;
    pdf417::RS929Encoder::encode(message, encoded, level);
    const int n = static_cast<int>(encoded.size());
    std::vector<int> data;
    for (const pdf417::G929Value& v : encoded) {
        data.push_back(v.value());
    }
    for (unsigned e = in.u8(); e > 0; --e) {
        const std::size_t index = in.u16() % data.size();
        data[index] = in.u16() % 929;
    }
    std::vector<int> erasures;
    for (unsigned e = in.u8() % (k + 1); e > 0; --e) {
        erasures.push_back(1 + in.u16() % n);
    }
    const int erasureCount = static_cast<int>(erasures.size());
    const std::vector<int> received = data;
    pdf417::RSDecoder decoder;
    const int result = decoder.eras_dec_rs(data, erasures, erasureCount, n, static_cast<int>(k));
    checkOutcome(result, n, received, data, erasures);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    if (!std::freopen("/dev/null", "w", stdout)) {
        return 0; // the diagnostics then clutter the log, nothing worse
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pdf417::fuzz::FuzzInput in(data, size);
    if (in.u8() & 1u) {
        arbitraryArguments(in);
    } else {
        damagedCodeword(in);
    }
    return 0;
}
