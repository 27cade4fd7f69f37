#include "pdf417scan/ecc/RS929Corrector.h"

#include <algorithm>
#include <array>

namespace pdf417 {

namespace {

constexpr std::uint32_t kPrime = 929;
constexpr std::uint32_t kOrder = 928; // multiplicative order of 3
// Evaluation lanes: few points go 8 abreast, many 32 abreast, enough
// independent chains to hide the multipliers' latency.
constexpr std::size_t kFewLanes = 8;
constexpr std::size_t kManyLanes = 32;
constexpr std::size_t kMaxPoints = (kOrder + kManyLanes - 1) / kManyLanes * kManyLanes;
// q^-1 mod 2^16 for Montgomery reduction, by Newton's iteration.
constexpr std::uint32_t inverseModulo2To16() {
    std::uint32_t x = 1;
    for (int i = 0; i < 5; ++i) {
        x *= 2u - kPrime * x;
    }
    return x & 0xffffu;
}
constexpr std::uint32_t kPrimeInverse = inverseModulo2To16();
static_assert((kPrimeInverse * kPrime & 0xffffu) == 1u, "Montgomery constant");

// Evaluation points span this many exponents, block padding included.
constexpr std::size_t kPointSpan = kMaxPoints + kManyLanes;

struct Tables {
    // Two periods of powers of 3, so a sum of two logarithms needs no reduction.
    std::array<std::uint16_t, 2 * kOrder> exp{};
    std::array<std::uint16_t, kPrime> log{}; // log[0] is never read
    // The evaluation kernel's points in Montgomery form (v * 2^16 mod 929),
    // each with its square: 3^e for the syndromes and 3^-e for the root
    // search, e = 0..kPointSpan-1, so that a block of points is contiguous.
    std::array<std::int16_t, kPointSpan> power{};
    std::array<std::int16_t, kPointSpan> powerSquared{};
    std::array<std::int16_t, kPointSpan> inversePower{};
    std::array<std::int16_t, kPointSpan> inversePowerSquared{};
};

constexpr std::int16_t montgomeryForm(std::uint32_t v) {
    return static_cast<std::int16_t>((v << 16) % kPrime);
}

constexpr Tables makeTables() {
    Tables t{};
    std::uint32_t p = 1;
    for (std::uint32_t i = 0; i < 2 * kOrder; ++i) {
        t.exp[i] = static_cast<std::uint16_t>(p);
        if (i < kOrder) {
            t.log[p] = static_cast<std::uint16_t>(i);
        }
        p = p * 3 % kPrime;
    }
    for (std::uint32_t e = 0; e < kPointSpan; ++e) {
        const std::uint32_t forward = e % kOrder;
        const std::uint32_t backward = (kOrder - forward) % kOrder;
        t.power[e] = montgomeryForm(t.exp[forward]);
        t.powerSquared[e] = montgomeryForm(t.exp[2 * forward]);
        t.inversePower[e] = montgomeryForm(t.exp[backward]);
        t.inversePowerSquared[e] = montgomeryForm(t.exp[2 * backward]);
    }
    return t;
}

constexpr Tables kTables = makeTables();
static_assert(kTables.exp[kOrder] == 1 && kTables.log[928] == 464, "powers of 3 modulo 929");

inline std::uint16_t mul(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::uint16_t>(a * b % kPrime);
}

inline std::uint16_t sub(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::uint16_t>(a >= b ? a - b : a + kPrime - b);
}

// a must not be 0.
inline std::uint16_t inverse(std::uint16_t a) {
    return kTables.exp[kOrder - kTables.log[a]];
}

// a * b * 2^-16 mod 929 within (-929, 929), for |a * b| < 929 * 2^15:
// Montgomery reduction on 16-bit lanes, which the vector units multiply
// natively. Narrowing is two's complement and >> on a negative number is
// arithmetic on every compiler the library supports.
inline std::int16_t montgomeryProduct(std::int16_t a, std::int16_t b) {
    const std::uint32_t low =
        static_cast<std::uint16_t>(a) * std::uint32_t{static_cast<std::uint16_t>(b)};
    const std::int32_t high = (std::int32_t{a} * b) >> 16;
    const auto t = static_cast<std::int16_t>(static_cast<std::uint16_t>(low * kPrimeInverse));
    const std::int32_t tHigh = (std::int32_t{t} * static_cast<std::int32_t>(kPrime)) >> 16;
    return static_cast<std::int16_t>(high - tHigh);
}

// values[l] = p(x[l]) for Lanes points, p given highest power first:
// Horner's rule two coefficients a step, acc = acc x^2 + (c0 x + c1), so that
// only one product per step is on the dependency chain. x and x2 (the
// squares) are in Montgomery form, so every product comes out in plain form.
// The accumulator stays within (-2 * 929, 3 * 929) and every product within
// the reduction's bounds without normalising until the end.
template <std::size_t Lanes>
void evaluateBlock(const std::uint16_t* coefficients, std::size_t length, const std::int16_t* x,
                   const std::int16_t* x2, std::uint16_t* values) {
    std::int16_t acc[Lanes] = {};
    std::size_t i = 0;
    if (length % 2 == 1) {
        std::fill(acc, acc + Lanes, static_cast<std::int16_t>(coefficients[0]));
        i = 1;
    }
    for (; i < length; i += 2) {
        const auto c0 = static_cast<std::int16_t>(coefficients[i]);
        const auto c1 = static_cast<std::int16_t>(coefficients[i + 1]);
        for (std::size_t l = 0; l < Lanes; ++l) {
            acc[l] = static_cast<std::int16_t>(montgomeryProduct(acc[l], x2[l]) +
                                               montgomeryProduct(c0, x[l]) + c1);
        }
    }
    for (std::size_t l = 0; l < Lanes; ++l) {
        const std::int32_t v = acc[l] % static_cast<std::int32_t>(kPrime);
        values[l] = static_cast<std::uint16_t>(v < 0 ? v + static_cast<std::int32_t>(kPrime) : v);
    }
}

} // namespace

bool RS929Corrector::correct(std::vector<std::uint16_t>& codewords, std::size_t ecCount,
                             const std::vector<std::uint32_t>& erasures, Result& result) {
    result = Result();
    const std::size_t n = codewords.size();
    const std::size_t k = ecCount;
    // Positions must name distinct powers of 3, hence at most 928 codewords.
    if (k == 0 || k >= n || n > kOrder) {
        return false;
    }
    // Reserving the largest sizes up front keeps later words of this size
    // free of allocation, whatever damage they carry.
    for (std::vector<std::uint16_t>* v :
         {&positions_, &syndromes_, &erasureLocator_, &modified_, &locator_, &previous_, &saved_,
          &combined_, &highFirst_, &errataValues_}) {
        v->reserve(k + 1);
    }
    accumulators_.resize(k);
    points_.reserve(kMaxPoints);
    squares_.reserve(kMaxPoints);
    values_.reserve(kMaxPoints);
    word_.reserve(n);
    if (!collectErasures(n, k, erasures)) {
        return false;
    }
    word_.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        if (erased_[i] != 0) {
            word_[i] = 0;
        } else if (codewords[i] >= kPrime) {
            return false;
        } else {
            word_[i] = codewords[i];
        }
    }
    const std::size_t erased = positions_.size();

    // All work happens on word_: the caller's codewords change only on success.
    if (!syndromesVanish(word_, k)) {
        const std::size_t errors = findErrorLocator(k);
        if (2 * errors + erased > k || !searchErrors(n, errors) || !computeValues(errors)) {
            return false;
        }
        for (std::size_t l = 0; l < positions_.size(); ++l) {
            std::uint16_t& c = word_[n - 1 - positions_[l]];
            c = sub(c, errataValues_[l]);
        }
        if (!correctionVerified(k)) {
            return false;
        }
        result.errors = errors;
    }
    std::copy(word_.begin(), word_.end(), codewords.begin());
    result.erasures = erased;
    return true;
}

bool RS929Corrector::collectErasures(std::size_t n, std::size_t k,
                                     const std::vector<std::uint32_t>& erasures) {
    erased_.assign(n, 0);
    positions_.clear();
    for (const std::uint32_t index : erasures) {
        if (index >= n) {
            return false;
        }
        if (erased_[index] == 0) {
            if (positions_.size() == k) {
                return false; // more erasures than check codewords
            }
            erased_[index] = 1;
            positions_.push_back(static_cast<std::uint16_t>(n - 1 - index));
        }
    }
    return true;
}

// values_[l] = polynomial(x[l]) for l < count. x and x2 must hold count
// points rounded up to whole blocks of kManyLanes.
void RS929Corrector::evaluate(const std::vector<std::uint16_t>& polynomial, const std::int16_t* x,
                              const std::int16_t* x2, std::size_t count) {
    const std::size_t lanes = count <= kFewLanes ? kFewLanes : kManyLanes;
    const std::size_t padded = (count + lanes - 1) / lanes * lanes;
    values_.resize(padded);
    for (std::size_t block = 0; block < padded; block += lanes) {
        if (lanes == kFewLanes) {
            evaluateBlock<kFewLanes>(polynomial.data(), polynomial.size(), x + block, x2 + block,
                                     values_.data() + block);
        } else {
            evaluateBlock<kManyLanes>(polynomial.data(), polynomial.size(), x + block, x2 + block,
                                      values_.data() + block);
        }
    }
}

bool RS929Corrector::syndromesVanish(const std::vector<std::uint16_t>& word, std::size_t k) {
    evaluate(word, &kTables.power[1], &kTables.powerSquared[1], k);
    syndromes_.assign(values_.begin(), values_.begin() + static_cast<std::ptrdiff_t>(k));
    return std::all_of(syndromes_.begin(), syndromes_.end(),
                       [](std::uint16_t s) { return s == 0; });
}

// Every syndrome of the corrected word must be zero. They are S_j minus the
// sum of v X^j over the errata: with few errata, far fewer terms than
// evaluating the whole word again, which is the way for many.
bool RS929Corrector::correctionVerified(std::size_t k) {
    if (positions_.size() * 6 >= word_.size()) {
        return syndromesVanish(word_, k);
    }
    std::uint32_t* const acc = accumulators_.data();
    std::fill(acc, acc + k, 0u);
    for (std::size_t l = 0; l < positions_.size(); ++l) {
        if (errataValues_[l] == 0) {
            continue; // an erased codeword that read 0 and was 0
        }
        // v X^j = 3^(log v + j p), stepped by p; no sum reaches 2^32.
        std::uint32_t exponent = kTables.log[errataValues_[l]];
        const std::uint32_t step = positions_[l];
        for (std::size_t j = 0; j < k; ++j) {
            exponent += step;
            exponent = exponent >= kOrder ? exponent - kOrder : exponent;
            acc[j] += kTables.exp[exponent];
        }
    }
    for (std::size_t j = 0; j < k; ++j) {
        if (acc[j] % kPrime != syndromes_[j]) {
            return false;
        }
    }
    return true;
}

// Divides the erasures out of the syndromes and runs Berlekamp-Massey on what
// is left; returns the length of the error locator (its degree if the word is
// within capacity).
std::size_t RS929Corrector::findErrorLocator(std::size_t k) {
    const std::size_t f = positions_.size();
    erasureLocator_.assign(f + 1, 0);
    erasureLocator_[0] = 1;
    for (std::size_t e = 0; e < f; ++e) {
        const std::uint32_t x = kTables.exp[positions_[e]];
        for (std::size_t d = e + 1; d > 0; --d) {
            erasureLocator_[d] = sub(erasureLocator_[d], mul(x, erasureLocator_[d - 1]));
        }
    }

    // T_m = sum_i gamma_i S_(f+m+1-i): the erasures' terms vanish, and what
    // remains is a syndrome sequence of the errors alone, k - f long.
    const std::size_t length = k - f;
    modified_.resize(length);
    for (std::size_t m = 0; m < length; ++m) {
        std::uint32_t acc = 0; // at most 513 products below 929^2: no overflow
        for (std::size_t i = 0; i <= f; ++i) {
            acc += static_cast<std::uint32_t>(erasureLocator_[i]) * syndromes_[f + m - i];
        }
        modified_[m] = static_cast<std::uint16_t>(acc % kPrime);
    }

    // Massey's shortest linear recurrence. Its connection polynomial never
    // exceeds its length L, and L never exceeds the sequence length.
    locator_.assign(length + 1, 0);
    previous_.assign(length + 1, 0);
    locator_[0] = 1;
    previous_[0] = 1;
    std::size_t L = 0;
    std::size_t previousL = 0;
    std::size_t shift = 1;
    std::uint16_t lastDiscrepancy = 1;
    for (std::size_t r = 0; r < length; ++r) {
        std::uint32_t d = modified_[r];
        for (std::size_t i = 1; i <= L; ++i) {
            d += static_cast<std::uint32_t>(locator_[i]) * modified_[r - i];
        }
        d %= kPrime;
        if (d == 0) {
            ++shift;
            continue;
        }
        const std::uint32_t scale = mul(d, inverse(lastDiscrepancy));
        const bool grow = 2 * L <= r;
        if (grow) {
            saved_ = locator_;
        }
        for (std::size_t i = 0; i <= previousL && i + shift <= length; ++i) {
            locator_[i + shift] = sub(locator_[i + shift], mul(scale, previous_[i]));
        }
        if (grow) {
            previousL = L;
            L = r + 1 - L;
            previous_.swap(saved_);
            lastDiscrepancy = static_cast<std::uint16_t>(d);
            shift = 1;
        } else {
            ++shift;
        }
    }
    locator_.resize(L + 1);
    return L;
}

// The error locator's roots 3^-p, searched at p = 0..n-1 only: a root outside
// the word, or on an erased codeword, means more damage than the locator
// describes. Appends the error positions to positions_.
bool RS929Corrector::searchErrors(std::size_t n, std::size_t errors) {
    if (errors == 0) {
        return true;
    }
    if (locator_[errors] == 0) {
        return false; // degree below the length: it cannot have that many roots
    }
    highFirst_.assign(locator_.rbegin(), locator_.rend());
    evaluate(highFirst_, kTables.inversePower.data(), kTables.inversePowerSquared.data(), n);
    std::size_t found = 0;
    for (std::size_t p = 0; p < n; ++p) {
        if (values_[p] == 0) {
            if (erased_[n - 1 - p] != 0) {
                return false;
            }
            positions_.push_back(static_cast<std::uint16_t>(p));
            ++found;
        }
    }
    // A polynomial has no more roots than its degree; fewer means the rest
    // lie outside the word or outside the field.
    return found == errors;
}

// Forney's formula with the first root 3^1: the value at position p is
// -Omega(X^-1) / Psi'(X^-1), X = 3^p, where Psi is the combined locator and
// Omega = Psi * S mod x^(deg Psi).
bool RS929Corrector::computeValues(std::size_t errors) {
    const std::size_t errata = positions_.size();
    const std::size_t erased = errata - errors;
    combined_.assign(errata + 1, 0);
    for (std::size_t i = 0; i <= errors; ++i) {
        for (std::size_t j = 0; j <= erased; ++j) {
            combined_[i + j] = static_cast<std::uint16_t>(
                (combined_[i + j] + static_cast<std::uint32_t>(locator_[i]) * erasureLocator_[j]) %
                kPrime);
        }
    }
    // The errata's points 3^-p, padded with anything to whole blocks.
    const std::size_t padded = (errata + kManyLanes - 1) / kManyLanes * kManyLanes;
    points_.assign(padded, 0);
    squares_.assign(padded, 0);
    for (std::size_t l = 0; l < errata; ++l) {
        points_[l] = kTables.inversePower[positions_[l]];
        squares_[l] = kTables.inversePowerSquared[positions_[l]];
    }

    highFirst_.resize(errata);
    for (std::size_t i = 0; i < errata; ++i) {
        std::uint32_t acc = 0; // at most 513 products below 929^2
        for (std::size_t j = 0; j <= i; ++j) {
            acc += static_cast<std::uint32_t>(combined_[j]) * syndromes_[i - j];
        }
        highFirst_[errata - 1 - i] = static_cast<std::uint16_t>(acc % kPrime);
    }
    evaluate(highFirst_, points_.data(), squares_.data(), errata);
    errataValues_.assign(values_.begin(), values_.begin() + static_cast<std::ptrdiff_t>(errata));

    for (std::size_t i = 0; i < errata; ++i) {
        highFirst_[errata - 1 - i] = mul(static_cast<std::uint32_t>(i + 1), combined_[i + 1]);
    }
    evaluate(highFirst_, points_.data(), squares_.data(), errata);
    for (std::size_t l = 0; l < errata; ++l) {
        const std::uint16_t den = values_[l];
        if (den == 0) {
            return false; // a repeated root
        }
        errataValues_[l] = sub(0, mul(errataValues_[l], inverse(den)));
        // An error whose value is 0 would mean fewer errors explain the
        // syndromes, which the shortest recurrence rules out: a guard only.
        if (l >= erased && errataValues_[l] == 0) {
            return false;
        }
    }
    return true;
}

} // namespace pdf417
