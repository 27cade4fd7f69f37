#include "tests/support/ModuleLineRenderer.h"

#include <algorithm>
#include <cmath>

namespace pdf417 {
namespace test {
namespace {

// Fraction of [a, b) (module units) covered by bars.
double barCoverage(const std::vector<std::uint8_t>& modules, double a, double b) {
    double covered = 0.0;
    const long first = static_cast<long>(std::floor(a));
    const long last = static_cast<long>(std::ceil(b));
    for (long m = first; m < last; ++m) {
        if (m < 0 || m >= static_cast<long>(modules.size()) ||
            modules[static_cast<std::size_t>(m)] == 0) {
            continue;
        }
        const double lo = std::max(a, static_cast<double>(m));
        const double hi = std::min(b, static_cast<double>(m + 1));
        covered += std::max(0.0, hi - lo);
    }
    return covered / (b - a);
}

} // namespace

std::vector<unsigned char> renderModuleLine(const std::vector<std::uint8_t>& modules, double from,
                                            double to, const LineStyle& style, std::mt19937& rng) {
    const double span = (to - from) * style.pixelsPerModule;
    if (!std::isfinite(span) || !std::isfinite(from) || span > 1e6 ||
        !(style.pixelsPerModule > 0.0) || !(style.blurSigma >= 0.0 && style.blurSigma < 100.0)) {
        return {};
    }
    const double pixel = 1.0 / style.pixelsPerModule;
    const long count = std::max(0L, std::lround(span));
    const long margin = static_cast<long>(std::ceil(3.0 * style.blurSigma)) + 1;

    std::vector<double> grey(static_cast<std::size_t>(count + 2 * margin));
    for (long j = -margin; j < count + margin; ++j) {
        const double a = from + static_cast<double>(j) * pixel;
        const double coverage = barCoverage(modules, a, a + pixel);
        grey[static_cast<std::size_t>(j + margin)] =
            style.light - (style.light - style.dark) * coverage;
    }

    std::vector<double> kernel(static_cast<std::size_t>(2 * margin + 1), 0.0);
    if (style.blurSigma > 0.0) {
        double sum = 0.0;
        for (long i = -margin; i <= margin; ++i) {
            const double x = static_cast<double>(i) / style.blurSigma;
            sum += kernel[static_cast<std::size_t>(i + margin)] = std::exp(-0.5 * x * x);
        }
        for (double& k : kernel) {
            k /= sum;
        }
    } else {
        kernel[static_cast<std::size_t>(margin)] = 1.0;
    }

    std::normal_distribution<double> noise(0.0, style.noiseSigma > 0.0 ? style.noiseSigma : 1.0);
    std::vector<unsigned char> out(static_cast<std::size_t>(count));
    for (long j = 0; j < count; ++j) {
        double value = 0.0;
        for (long i = -margin; i <= margin; ++i) {
            const long at = std::clamp(j + margin + i, 0L, count + 2 * margin - 1);
            value +=
                kernel[static_cast<std::size_t>(i + margin)] * grey[static_cast<std::size_t>(at)];
        }
        if (style.noiseSigma > 0.0) {
            value += noise(rng);
        }
        out[static_cast<std::size_t>(j)] =
            static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, 255.0)));
    }
    return out;
}

} // namespace test
} // namespace pdf417
