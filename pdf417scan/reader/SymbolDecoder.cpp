#include "pdf417scan/reader/SymbolDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace pdf417 {

namespace {

// A correction is taken only when a word of random codewords would pass it
// with odds below 10^-9.
constexpr double MAX_FALSE_ACCEPT_LOG10 = -9.0;
// Cells this sure of themselves are never erased on a retry.
constexpr float DOUBTFUL = 0.7f;
// Retries erase this many of the least sure cells, on top of the unread ones.
constexpr std::size_t RETRY_ERASURES[] = {2, 4, 8, 16};

// log10 of the odds that a random word lies within `errors` errors and
// `erasures` erasures of some codeword: C(n - f, e) 928^e / 929^(k - f).
double falseAcceptLog10(std::size_t n, std::size_t k, std::size_t errors, std::size_t erasures) {
    // lgamma would be shorter but writes a global (signgam): not for a
    // library that serves several threads.
    double log10Binomial = 0.0;
    for (std::size_t i = 0; i < errors; ++i) {
        log10Binomial +=
            std::log10(static_cast<double>(n - erasures - i) / static_cast<double>(i + 1));
    }
    return log10Binomial + static_cast<double>(errors) * std::log10(928.0) -
           static_cast<double>(k - erasures) * std::log10(929.0);
}

} // namespace

bool SymbolDecoder::decode(const std::vector<std::uint16_t>& cells,
                           const std::vector<float>& confidence, int rows, int dataColumns,
                           int ecLevel, DecodedSymbol& out) {
    if (rows < 3 || rows > 90 || dataColumns < 1 || dataColumns > 30 || ecLevel < 0 ||
        ecLevel > 8) {
        return false;
    }
    const std::size_t n = static_cast<std::size_t>(rows) * static_cast<std::size_t>(dataColumns);
    const std::size_t k = std::size_t{2} << ecLevel;
    if (cells.size() != n || n > 928 || k >= n || (!confidence.empty() && confidence.size() != n)) {
        return false;
    }
    out.rows = rows;
    out.dataColumns = dataColumns;
    out.ecLevel = ecLevel;

    erasures_.clear();
    byConfidence_.clear();
    for (std::size_t i = 0; i < n; ++i) {
        if (cells[i] > 928) {
            erasures_.push_back(static_cast<std::uint32_t>(i));
        } else if (!confidence.empty() && confidence[i] < DOUBTFUL) {
            byConfidence_.push_back(static_cast<std::uint32_t>(i));
        }
    }
    const std::size_t unread = erasures_.size();
    auto attempt = [&]() {
        word_.assign(cells.begin(), cells.end());
        for (const std::uint32_t i : erasures_) {
            word_[i] = 0;
        }
        return tryCorrection(k, out);
    };
    if (attempt()) {
        return true;
    }

    // Misread cells are mostly among the least sure: erasing them costs half
    // what an error does.
    // Ties go to the earlier cell; std::sort, unlike stable_sort, needs no
    // buffer of its own.
    std::sort(byConfidence_.begin(), byConfidence_.end(), [&](std::uint32_t a, std::uint32_t b) {
        return confidence[a] < confidence[b] || (confidence[a] == confidence[b] && a < b);
    });
    std::size_t erased = 0;
    for (const std::size_t count : RETRY_ERASURES) {
        const std::size_t target = std::min(count, byConfidence_.size());
        if (target <= erased || unread + target + 4 > k) {
            break;
        }
        erasures_.insert(erasures_.end(),
                         byConfidence_.begin() + static_cast<std::ptrdiff_t>(erased),
                         byConfidence_.begin() + static_cast<std::ptrdiff_t>(target));
        erased = target;
        if (attempt()) {
            return true;
        }
    }
    return false;
}

bool SymbolDecoder::tryCorrection(std::size_t ecCount, DecodedSymbol& out) {
    RS929Corrector::Result corrected;
    if (!corrector_.correct(word_, ecCount, erasures_, corrected)) {
        return false;
    }
    const bool anyCorrection = corrected.errors + corrected.erasures > 0;
    if (anyCorrection && falseAcceptLog10(word_.size(), ecCount, corrected.errors,
                                          corrected.erasures) > MAX_FALSE_ACCEPT_LOG10) {
        return false;
    }
    if (!messageDecoder_.decode(word_.data(), word_.size() - ecCount, out.message)) {
        return false;
    }
    out.errors = static_cast<int>(corrected.errors);
    out.erasures = static_cast<int>(corrected.erasures);
    return true;
}

} // namespace pdf417
