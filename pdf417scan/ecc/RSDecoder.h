#pragma once

#include <vector>

namespace pdf417 {

// A self-contained, table-driven Reed-Solomon error and erasure decoder over
// GF(929) on plain integers, for hosts; the reading chain uses RS929Decoder.
// Symbols are weighted from the end: data[n - j] by 3^(i*j) in syndrome i,
// j = 1..n, and a location l names data[n - l].
//
// It reports on standard output: "No errors", an inconsistent erasure
// locator, a root count that does not match the locator's degree, too many
// roots, a zero denominator. Its working state is local to each call, so one
// decoder may serve several threads.
class RSDecoder {
public:
    RSDecoder();

    // Corrects data[0..n-1] in place given k check symbols. On entry the
    // first erasureCount entries of erasures are erasure locations; on return
    // erasures holds the locations found in error (empty on failure).
    // Returns the number of corrected locations, 0 when every syndrome is
    // zero, or -1 when the input is refused or the decode fails.
    //
    // Any n, k, erasureCount and location takes the scheme's course: k of 0
    // or below (no syndrome) or n of 0 or below (no symbol) prints "No
    // errors" and returns 0; n may be below data.size(), the rest being no
    // part of the word; k may exceed n; a negative erasureCount skips the
    // erasure steps and starts the iteration below 1; a location of 0 or
    // past n, or more erasures than k, usually fail the erasure locator's
    // check.
    //
    // Refused silently with -1, where the scheme would read or write outside
    // data or its 1024-entry working arrays: n above data.size(), k above
    // 1023, a symbol below 0 (and, as the scheme has it, above 929; 929
    // itself passes); once the erasures are used, erasureCount above 1023 or
    // above erasures.size() and a negative location. A root at location 0 (or
    // -1), which names no symbol, fails the decode before any symbol changes.
    int eras_dec_rs(std::vector<int>& data, std::vector<int>& erasures, int erasureCount, int n,
                    int k);

    // x mod 928 with the platform's remainder: negative x gives a negative
    // result.
    static int modbase(int x);

private:
    // Steps up to the correction; fills loc[0..result-1].
    int decode(std::vector<int>& data, const std::vector<int>& erasures, int erasureCount, int n,
               int k, int* loc) const;

    static constexpr int NN = 928; // multiplicative order of 3
    static constexpr int A0 = 928; // index form of the element 0
    static constexpr int MAX_SIZE = 1024;
    // Diagnostic tracing, compiled in and always off.
    static constexpr bool trace = false;

    int Power_of[MAX_SIZE];
    int Index_of[MAX_SIZE];
};

} // namespace pdf417
