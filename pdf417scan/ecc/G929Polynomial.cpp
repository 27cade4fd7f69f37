#include "pdf417scan/ecc/G929Polynomial.h"

#include <cstddef>

namespace pdf417 {
namespace G929Polynomial {

namespace {

const G929Value ZERO;

} // namespace

void add(const std::vector<G929Value>& p, const std::vector<G929Value>& q,
         std::vector<G929Value>& out) {
    out.clear();
    std::size_t i = 0;
    std::size_t j = 0;
    for (; i + q.size() < p.size(); ++i) {
        out.push_back(p[i]);
    }
    for (; j + p.size() < q.size(); ++j) {
        out.push_back(q[j]);
    }
    for (; i < p.size(); ++i, ++j) {
        out.push_back(p[i] + q[j]);
    }
}

void sub(const std::vector<G929Value>& p, const std::vector<G929Value>& q,
         std::vector<G929Value>& out) {
    out.clear();
    std::size_t i = 0;
    std::size_t j = 0;
    for (; i + q.size() < p.size(); ++i) {
        out.push_back(p[i]);
    }
    for (; j + p.size() < q.size(); ++j) {
        out.push_back(ZERO - q[j]);
    }
    for (; i < p.size(); ++i, ++j) {
        out.push_back(p[i] - q[j]);
    }
}

void mul(const std::vector<G929Value>& p, const std::vector<G929Value>& q,
         std::vector<G929Value>& out) {
    out.clear();
    if (p.empty() || q.empty()) {
        return;
    }
    out.assign(p.size() + q.size() - 1, ZERO);
    // Inequality with 0 lets invalid coefficients through, so they poison
    // their products instead of being skipped.
    for (std::size_t i = 0; i < p.size(); ++i) {
        if (p[i] != ZERO) {
            for (std::size_t j = 0; j < q.size(); ++j) {
                if (q[j] != ZERO) {
                    out[i + j] += p[i] * q[j];
                }
            }
        }
    }
}

void mul(std::vector<G929Value>& p, G929Value s) {
    for (G929Value& c : p) {
        c *= s;
    }
}

void mul(const std::vector<G929Value>& p, G929Value s, std::vector<G929Value>& out) {
    out.clear();
    for (const G929Value& c : p) {
        out.push_back(c * s);
    }
}

bool div(const std::vector<G929Value>& a, const std::vector<G929Value>& b,
         std::vector<G929Value>& quotient, std::vector<G929Value>& remainder) {
    quotient.clear();
    remainder.clear();
    std::size_t i = 0;
    while (i < a.size() && a[i] == ZERO) {
        ++i;
    }
    if (i == a.size()) {
        return true;
    }
    std::size_t j = 0;
    while (j < b.size() && b[j] == ZERO) {
        ++j;
    }
    if (j == b.size()) {
        return false;
    }
    remainder.assign(a.begin() + static_cast<std::ptrdiff_t>(i), a.end());
    const std::size_t divisorLength = b.size() - j;
    // Bounded by the remainder (the dividend without its leading zeros), so
    // a dividend with leading zeros cannot run the loop past its end.
    for (std::size_t k = 0; remainder.size() - k >= divisorLength; ++k) {
        const G929Value f = remainder[k] / b[j];
        quotient.push_back(f);
        remainder[k] = ZERO;
        for (std::size_t m = 1; j + m < b.size(); ++m) {
            remainder[k + m] -= f * b[j + m];
        }
    }
    std::size_t lead = 0;
    while (lead < remainder.size() && remainder[lead] == ZERO) {
        ++lead;
    }
    remainder.erase(remainder.begin(), remainder.begin() + static_cast<std::ptrdiff_t>(lead));
    for (G929Value& c : remainder) {
        c = ZERO - c;
    }
    return true;
}

bool equal(const std::vector<G929Value>& p, const std::vector<G929Value>& q) {
    std::size_t i = 0;
    while (i < p.size() && p[i] == ZERO) {
        ++i;
    }
    std::size_t j = 0;
    while (j < q.size() && q[j] == ZERO) {
        ++j;
    }
    if (p.size() - i != q.size() - j) {
        return false;
    }
    for (; i < p.size(); ++i, ++j) {
        if (!(p[i] == q[j])) {
            return false;
        }
    }
    return true;
}

G929Value calc(const std::vector<G929Value>& p, G929Value x) {
    if (p.empty()) {
        return G929Value(G929Value::INVALID);
    }
    G929Value sum;
    const std::size_t n = p.size();
    for (std::size_t i = 0; i < n; ++i) {
        sum += p[i] * x.pow(n - 1 - i);
    }
    return sum;
}

bool getRoots(const std::vector<G929Value>& p, std::vector<G929Value>& roots) {
    roots.clear();
    if (p.empty()) {
        return false;
    }
    for (unsigned short x = 0; x < 929; ++x) {
        if (calc(p, G929Value(x)) == ZERO) {
            roots.push_back(G929Value(x));
        }
    }
    return true;
}

void copy(const std::vector<G929Value>& p, std::vector<G929Value>& out) {
    out.resize(p.size());
    for (std::size_t i = 0; i < p.size(); ++i) {
        out[i] = p[i];
    }
}

} // namespace G929Polynomial
} // namespace pdf417
