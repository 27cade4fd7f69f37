#include "pdf417scan/ecc/RS929Decoder.h"

#include "pdf417scan/ecc/G929Polynomial.h"

#include <cstddef>
#include <utility>

namespace pdf417 {

namespace {

const G929Value ZERO;
const G929Value ONE(1);
const G929Value THREE(3);

} // namespace

void RS929Decoder::reserveFor(std::size_t k) {
    // The locator, B and the scratch terms never exceed k + 1 coefficients;
    // reserving up front means later decodes of the same level allocate
    // nothing, whichever way the swaps have left the buffers.
    const std::size_t size = k + 2;
    for (std::vector<G929Value>* v : {&syndromes_, &locator_, &erasureLocator_, &scratch1_,
                                      &scratch2_, &scratch3_, &correction_}) {
        v->reserve(size);
    }
}

bool RS929Decoder::decode(std::vector<G929Value>& codewords, std::vector<unsigned long>& positions,
                          unsigned int ecLevel) {
    if (ecLevel > 8) {
        return false;
    }
    const std::size_t k = static_cast<std::size_t>(ec_size[ecLevel]);
    const std::size_t n = codewords.size();
    if (n < k + 1) {
        return false;
    }
    // PDF417 keeps two codewords in reserve: with k = 2 no erasure at all.
    if (positions.size() > k - 2) {
        return false;
    }
    reserveFor(k);

    syndromes_.clear();
    bool allZero = true;
    for (std::size_t i = 0; i < k; ++i) {
        syndromes_.push_back(G929Polynomial::calc(codewords, THREE.pow(i + 1)));
        if (syndromes_.back() != ZERO) {
            allZero = false;
        }
    }
    if (positions.empty() && allZero) {
        return true;
    }

    // Gamma = product of (1 - 3^e x) over the erasures, highest power first.
    erasureLocator_.assign(1, ONE);
    for (unsigned long e : positions) {
        scratch2_.clear();
        scratch2_.push_back(ZERO - THREE.pow(e));
        scratch2_.push_back(ONE);
        G929Polynomial::mul(erasureLocator_, scratch2_, scratch3_);
        std::swap(erasureLocator_, scratch3_);
    }

    resolveBerlekampMessy(syndromes_, erasureLocator_, locator_);

    // Counts come from vector lengths, leading zeros included. Small error
    // counts keep one more codeword spare against miscorrection.
    const long erasures = static_cast<long>(erasureLocator_.size()) - 1;
    const long errors = static_cast<long>(locator_.size()) - 1 - erasures;
    const long limit = static_cast<long>(k) - (errors < 4 && k > 2 ? 3 : 2);
    if (2 * errors + erasures > limit) {
        return false;
    }

    positions.clear();
    G929Polynomial::getRoots(locator_, scratch1_);
    for (const G929Value& r : scratch1_) {
        positions.push_back((ONE / r).log3().value());
    }
    // A root naming a power of x beyond the word cannot be corrected there.
    for (unsigned long p : positions) {
        if (p >= n) {
            positions.clear();
            return false;
        }
    }

    // Omega[i] = Lambda[i] + sum over j > i of Lambda[j] * S[j - i]; the
    // capacity check keeps |Lambda| - 1 below k, so S[j - i] exists.
    const std::size_t m = locator_.size();
    scratch1_.resize(m);
    for (std::size_t i = 0; i < m; ++i) {
        G929Value omega = locator_[i];
        for (std::size_t j = i + 1; j < m; ++j) {
            omega += locator_[j] * syndromes_[j - i];
        }
        scratch1_[i] = omega;
    }

    // Forney: value = Omega(1/X) / (X * product of (1 - X_m / X)).
    scratch2_.clear();
    for (std::size_t a = 0; a < positions.size(); ++a) {
        const G929Value x = THREE.pow(positions[a]);
        const G929Value num = G929Polynomial::calc(scratch1_, ONE / x);
        G929Value den = ONE;
        for (std::size_t b = 0; b < positions.size(); ++b) {
            if (b != a) {
                den *= ONE - THREE.pow(positions[b]) / x;
            }
        }
        scratch2_.push_back(num / (x * den));
    }
    for (std::size_t a = 0; a < positions.size(); ++a) {
        codewords[n - positions[a] - 1] -= scratch2_[a];
    }

    for (std::size_t i = 0; i < k; ++i) {
        if (G929Polynomial::calc(codewords, THREE.pow(i + 1)) != ZERO) {
            return false;
        }
    }
    return true;
}

void RS929Decoder::resolveBerlekampMessy(const std::vector<G929Value>& syndromes,
                                         const std::vector<G929Value>& erasureLocator,
                                         std::vector<G929Value>& locator) {
    G929Polynomial::copy(erasureLocator, locator);
    G929Polynomial::copy(erasureLocator, correction_);
    if (erasureLocator.empty()) {
        return;
    }
    const std::size_t k = syndromes.size();
    const std::size_t e = erasureLocator.size() - 1;
    std::size_t length = e;
    G929Value b = ONE;
    for (std::size_t r = e; r < k; ++r) {
        // r >= length always holds (length starts at e and each update keeps
        // r - length >= 0 for the following steps); the checks only guard
        // against a locator shorter than its length.
        G929Value delta;
        for (std::size_t j = 0; j <= length && j < locator.size() && r + j >= length; ++j) {
            delta += locator[j] * syndromes[r - length + j];
        }
        if (delta == ZERO) {
            correction_.push_back(ZERO);
        } else if (2 * length > r + e) {
            correction_.push_back(ZERO);
            G929Polynomial::mul(correction_, delta / b, scratch1_);
            G929Polynomial::sub(locator, scratch1_, scratch2_);
            G929Polynomial::copy(scratch2_, locator);
        } else {
            G929Polynomial::copy(locator, scratch1_);
            correction_.push_back(ZERO);
            G929Polynomial::mul(correction_, delta / b);
            G929Polynomial::sub(locator, correction_, scratch2_);
            G929Polynomial::copy(scratch2_, locator);
            G929Polynomial::copy(scratch1_, correction_);
            length = r + e - length + 1;
            b = delta;
        }
    }
}

} // namespace pdf417
