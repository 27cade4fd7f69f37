#include "pdf417scan/sampling/ProfileDecoder.h"

#include "pdf417scan/sampling/PatternTable.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace pdf417 {

namespace {

// Thresholds tried, as a share of the profile's range above its darkest.
constexpr float LEVELS[] = {0.5f, 0.4f, 0.6f, 0.32f, 0.68f};
// A profile flatter than this holds no codeword.
constexpr float MIN_RANGE = 12.0f;
// Crossings a threshold can make across a codeword and its margins.
constexpr int MAX_CROSSINGS = 40;
// A codeword is 17 modules wide; one measuring off by more than this took a
// wrong crossing for one of its edges.
constexpr float MAX_WIDTH_ERROR = 1.5f;

std::uint32_t keyOf(const int e[6]) {
    std::uint32_t key = 0;
    for (int i = 0; i < 6; ++i) {
        key = key << 4 | static_cast<std::uint32_t>(e[i]);
    }
    return key;
}

// The codeword of the distances `d` (in modules, unrounded) in the cluster,
// or in whichever cluster they round into when clusterIndex is -1. When the
// plain rounding names nothing there, the one or two least certain
// distances are rounded the other way. Confidence falls with the largest
// rounding residual.
bool lookUp(const float d[6], int clusterIndex, ProfileReading& out) {
    int e[6];
    float residual[6];
    for (int i = 0; i < 6; ++i) {
        if (!(d[i] >= 1.5f && d[i] < 9.5f)) {
            return false;
        }
        e[i] = static_cast<int>(std::lround(d[i]));
        residual[i] = std::fabs(d[i] - static_cast<float>(e[i]));
    }
    const auto tryKey = [&](const int* distances, float worst) {
        const std::uint32_t key = keyOf(distances);
        int index = clusterIndex;
        if (index < 0) {
            const int cluster = PatternTable::clusterOf(key);
            if (cluster % 3 != 0) {
                return false;
            }
            index = cluster / 3;
        }
        const int value = PatternTable::find(index, key);
        if (value < 0) {
            return false;
        }
        out.value = value;
        out.clusterIndex = index;
        out.confidence = std::max(0.0f, 1.0f - 2.0f * worst);
        return true;
    };
    const float worst = *std::max_element(residual, residual + 6);
    if (tryKey(e, worst)) {
        return true;
    }
    // The two least certain distances, rounded the other way alone and
    // together; the confidence then reflects the flipped distance.
    int order[6] = {0, 1, 2, 3, 4, 5};
    std::sort(order, order + 6, [&](int a, int b) { return residual[a] > residual[b]; });
    const auto flipped = [&](int i) {
        return d[i] > static_cast<float>(e[i]) ? e[i] + 1 : e[i] - 1;
    };
    for (const int mask : {1, 2, 3}) {
        int alt[6];
        std::copy(e, e + 6, alt);
        float altWorst = 0.0f;
        for (int k = 0; k < 2; ++k) {
            if (mask & (1 << k)) {
                alt[order[k]] = flipped(order[k]);
                altWorst = std::max(altWorst, 1.0f - residual[order[k]]);
            }
        }
        for (int i = 0; i < 6; ++i) {
            if (alt[i] < 2 || alt[i] > 9) {
                altWorst = 2.0f;
            }
        }
        if (altWorst <= 1.0f && tryKey(alt, std::max(altWorst, residual[order[2]]))) {
            return true;
        }
    }
    return false;
}

} // namespace

bool ProfileDecoder::decode(const float* profile, int count, float samplesPerModule,
                            float expectedStart, int clusterIndex, ProfileReading& out) {
    out = ProfileReading();
    if (count < 2 || !(samplesPerModule > 0.0f)) {
        return false;
    }
    const int lo = std::max(0, static_cast<int>(expectedStart - 2.0f * samplesPerModule));
    const int hi = std::min(count - 1, static_cast<int>(expectedStart + 19.5f * samplesPerModule));
    if (hi - lo < 8) {
        return false;
    }
    const auto [minIt, maxIt] = std::minmax_element(profile + lo, profile + hi + 1);
    const float low = *minIt;
    const float range = *maxIt - low;
    if (range < MIN_RANGE) {
        return false;
    }

    ProfileReading best;
    float x[MAX_CROSSINGS];
    bool falling[MAX_CROSSINGS];
    for (const float level : LEVELS) {
        const float t = low + level * range;
        int crossings = 0;
        for (int i = lo; i < hi && crossings < MAX_CROSSINGS; ++i) {
            const bool above = profile[i] >= t;
            if (above != (profile[i + 1] >= t)) {
                x[crossings] =
                    static_cast<float>(i) + (profile[i] - t) / (profile[i] - profile[i + 1]);
                falling[crossings] = above;
                ++crossings;
            }
        }
        // The codeword's first bar: the falling crossing nearest where it is
        // expected, then eight more crossings to the next codeword's bar.
        int first = -1;
        float nearest = 1.5f * samplesPerModule;
        for (int c = 0; c < crossings; ++c) {
            const float off = std::fabs(x[c] - expectedStart);
            if (falling[c] && off <= nearest) {
                nearest = off;
                first = c;
            }
        }
        if (first < 0 || first + 7 >= crossings) {
            continue;
        }
        // Where the next codeword's first bar is lost (glare, a stain, the
        // frame's edge), the codeword's width is taken from the grid: the
        // six distances need only its own eight edges.
        const bool measured = first + 8 < crossings && falling[first + 8];
        const float width = measured ? x[first + 8] - x[first] : 17.0f * samplesPerModule;
        if (std::fabs(width / samplesPerModule - 17.0f) > MAX_WIDTH_ERROR ||
            x[first + 7] - x[first] >= width) {
            continue;
        }
        float d[6];
        for (int i = 1; i <= 6; ++i) {
            d[i - 1] = (x[first + i + 1] - x[first + i - 1]) * 17.0f / width;
        }
        ProfileReading reading;
        if (!lookUp(d, clusterIndex, reading)) {
            continue;
        }
        reading.start = x[first];
        reading.end = x[first] + width;
        if (!measured) {
            reading.confidence *= 0.7f;
        }
        if (reading.confidence > best.confidence || best.value < 0) {
            best = reading;
        }
        if (best.confidence >= 0.5f) {
            break;
        }
    }
    if (best.value < 0) {
        return false;
    }
    out = best;
    return true;
}

} // namespace pdf417
