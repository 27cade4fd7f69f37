#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace pdf417 {

namespace detail {

// Powers of the primitive element 3 modulo 929. Entry 928 repeats entry 0 so
// that a quotient of equal logarithms can index it directly.
constexpr std::array<std::uint16_t, 929> makeExp3() {
    std::array<std::uint16_t, 929> table{};
    std::uint32_t p = 1;
    for (std::size_t k = 0; k < table.size(); ++k) {
        table[k] = static_cast<std::uint16_t>(p);
        p = p * 3u % 929u;
    }
    return table;
}

// Discrete logarithms base 3; zero has none and holds the invalid marker 929.
constexpr std::array<std::uint16_t, 929> makeLog3() {
    std::array<std::uint16_t, 929> table{};
    table[0] = 929;
    std::uint32_t p = 1;
    for (std::uint16_t k = 0; k < 928; ++k) {
        table[p] = k;
        p = p * 3u % 929u;
    }
    return table;
}

} // namespace detail

// An element of GF(929), or the invalid value 929 that stands for "no value"
// (an unreadable codeword, a division by zero, the logarithm of zero). The
// invalid value absorbs every operation it takes part in and compares unequal
// to everything, itself included.
class G929Value {
public:
    static constexpr std::uint16_t INVALID = 929;

    constexpr G929Value() = default;
    // Every number from 929 up becomes the invalid value.
    constexpr explicit G929Value(unsigned short v) : v_(v < INVALID ? v : INVALID) {}

    constexpr bool isValid() const { return v_ != INVALID; }
    constexpr std::uint16_t value() const { return v_; }

    constexpr G929Value operator+(G929Value b) const {
        if (!isValid() || !b.isValid()) {
            return invalid();
        }
        const unsigned sum = v_ + b.v_;
        return raw(sum >= 929u ? sum - 929u : sum);
    }

    // Picks a - b or 929 - b + a so the arithmetic never goes negative.
    constexpr G929Value operator-(G929Value b) const {
        if (!isValid() || !b.isValid()) {
            return invalid();
        }
        return raw(b.v_ <= v_ ? v_ - b.v_ : 929u - b.v_ + v_);
    }

    constexpr G929Value operator*(G929Value b) const {
        if (!isValid() || !b.isValid()) {
            return invalid();
        }
        if (v_ == 0 || b.v_ == 0) {
            return G929Value();
        }
        const unsigned log = LOG3_TBL[v_] + LOG3_TBL[b.v_];
        return raw(EXP3_TBL[log >= 928u ? log - 928u : log]);
    }

    // 0 / 0 is 0: the dividend is tested before the divisor on purpose.
    constexpr G929Value operator/(G929Value b) const {
        if (!isValid() || !b.isValid()) {
            return invalid();
        }
        if (v_ == 0) {
            return G929Value();
        }
        if (b.v_ == 0) {
            return invalid();
        }
        const unsigned la = LOG3_TBL[v_];
        const unsigned lb = LOG3_TBL[b.v_];
        // Equal logarithms give index 928, whose entry is 1.
        return raw(EXP3_TBL[la > lb ? la - lb : 928u - lb + la]);
    }

    constexpr G929Value& operator+=(G929Value b) { return *this = *this + b; }
    constexpr G929Value& operator-=(G929Value b) { return *this = *this - b; }
    constexpr G929Value& operator*=(G929Value b) { return *this = *this * b; }
    constexpr G929Value& operator/=(G929Value b) { return *this = *this / b; }

    constexpr bool operator==(G929Value b) const { return isValid() && b.isValid() && v_ == b.v_; }
    constexpr bool operator!=(G929Value b) const {
        return !isValid() || !b.isValid() || v_ != b.v_;
    }

    // 0^0 has no value; x^0 is 1 for every other x.
    constexpr G929Value pow(unsigned long n) const {
        if (!isValid()) {
            return invalid();
        }
        if (v_ == 0) {
            return n > 0 ? G929Value() : invalid();
        }
        const std::uint64_t e = static_cast<std::uint64_t>(n) * LOG3_TBL[v_] % 928u;
        return raw(EXP3_TBL[e]);
    }

    // The exponent 0..927 with 3^k = this; invalid for 0 and for invalid.
    constexpr G929Value log3() const {
        if (!isValid()) {
            return invalid();
        }
        return raw(LOG3_TBL[v_]);
    }

private:
    static constexpr std::array<std::uint16_t, 929> LOG3_TBL = detail::makeLog3();
    static constexpr std::array<std::uint16_t, 929> EXP3_TBL = detail::makeExp3();

    static constexpr G929Value invalid() { return raw(INVALID); }
    static constexpr G929Value raw(unsigned v) {
        G929Value r;
        r.v_ = static_cast<std::uint16_t>(v);
        return r;
    }

    std::uint16_t v_ = 0;
};

} // namespace pdf417
