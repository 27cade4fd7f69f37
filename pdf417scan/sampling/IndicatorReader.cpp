#include "pdf417scan/sampling/IndicatorReader.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace pdf417 {

namespace {

// Readings less sure than this take no part in the geometry.
constexpr float MIN_CONFIDENCE = 0.25f;
// Lines across the indicators per module of symbol height.
constexpr float LINES_PER_MODULE = 1.5f;

float distance(const Point2D& a, const Point2D& b) {
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

} // namespace

bool IndicatorReader::readAt(const LineSampler& sampler, const Homography& map, bool right,
                             int columns, float t, Sample& out) {
    const double centre = right ? rightCentre(columns) : leftCentre();
    const double u0 = centre - 8.5 - 2.0;
    const double u1 = centre + 8.5 + 2.0;
    const int count = static_cast<int>(std::lround(21.0f * samplesPerModule_)) + 1;
    if (!sampler.sampleRow(map, u0, u1, t, count, profile_)) {
        return false;
    }
    const float spm = static_cast<float>(count - 1) / 21.0f;
    ProfileReading reading;
    if (!ProfileDecoder::decode(profile_.data(), count, spm, 2.0f * spm, -1, reading)) {
        return false;
    }
    const int k = reading.clusterIndex;
    out.t = t;
    out.row = 3 * (reading.value / 30) + k;
    out.parameter = reading.value % 30;
    // Left: rows, level, columns by cluster; right: columns, rows, level.
    out.kind = right ? (k + 2) % 3 : k;
    out.right = right;
    out.confidence = reading.confidence;
    return true;
}

bool IndicatorReader::read(const LineSampler& sampler, const Homography& map,
                           const SymbolOutline& outline, int columns, IndicatorReading& out) {
    // Field by field, so that the boundaries keep their storage.
    out.rows = out.columns = out.indicatorsRead = 0;
    out.ecLevel = -1;
    out.upsideDown = false;
    out.boundaries.clear();
    samples_.clear();
    const EdgeLine& edge = outline.hasStart ? outline.start : outline.stop;
    const float module = std::max(0.5f, edge.module);
    const float length = outline.hasStart ? distance(outline.startTop, outline.startBottom)
                                          : distance(outline.stopTop, outline.stopBottom);
    if (!(length > 0.0f)) {
        return false;
    }
    // Several samples per module, at least a pixel apart.
    samplesPerModule_ = std::max(3.0f, std::min(8.0f, std::ceil(module)));
    const float dt = std::max(1.0f, module / LINES_PER_MODULE) / length;
    const float margin = 2.0f * module / length;
    for (const bool right : {false, true}) {
        if (right ? !outline.hasStop : !outline.hasStart) {
            continue;
        }
        for (float t = -margin; t <= 1.0f + margin; t += dt) {
            Sample s;
            if (readAt(sampler, map, right, columns, t, s) && s.confidence >= MIN_CONFIDENCE) {
                samples_.push_back(s);
            }
        }
    }
    if (samples_.size() < 3) {
        return false;
    }

    // Row against t is a straight line (nearly: perspective bends it a
    // little). Every pair of readings proposes one; the one most readings
    // agree with wins, and misread indicators fall away.
    float bestSlope = 0.0f;
    float bestOffset = 0.0f;
    int bestCount = 0;
    const std::size_t n = samples_.size();
    const std::size_t stride = std::max<std::size_t>(1, n / 24);
    for (std::size_t i = 0; i < n; i += stride) {
        for (std::size_t j = i + 1; j < n; j += stride) {
            const Sample& a = samples_[i];
            const Sample& b = samples_[j];
            if (a.row == b.row || a.t == b.t) {
                continue;
            }
            const float slope = static_cast<float>(b.row - a.row) / (b.t - a.t);
            const float offset = static_cast<float>(a.row) - slope * a.t;
            int count = 0;
            for (const Sample& s : samples_) {
                count +=
                    std::fabs(static_cast<float>(s.row) - (slope * s.t + offset)) <= 0.9f ? 1 : 0;
            }
            if (count > bestCount) {
                bestCount = count;
                bestSlope = slope;
                bestOffset = offset;
            }
        }
    }
    if (bestCount < 3 || bestSlope == 0.0f) {
        return false;
    }
    const auto agrees = [&](const Sample& s) {
        return std::fabs(static_cast<float>(s.row) - (bestSlope * s.t + bestOffset)) <= 0.9f;
    };

    // The geometry by vote among the agreeing readings.
    std::array<std::array<int, 30>, 3> votes{};
    for (const Sample& s : samples_) {
        if (agrees(s)) {
            ++votes[static_cast<std::size_t>(s.kind)][static_cast<std::size_t>(s.parameter)];
        }
    }
    int winner[3];
    for (std::size_t kind = 0; kind < 3; ++kind) {
        const auto it = std::max_element(votes[kind].begin(), votes[kind].end());
        winner[kind] = *it > 0 ? static_cast<int>(it - votes[kind].begin()) : -1;
    }
    if (winner[0] < 0 || winner[1] < 0) {
        return false;
    }
    out.rows = 3 * winner[0] + winner[1] % 3 + 1;
    out.ecLevel = winner[1] / 3;
    out.columns = winner[2] >= 0 ? winner[2] + 1 : columns;
    out.upsideDown = bestSlope < 0.0f;
    out.indicatorsRead = bestCount;
    if (out.rows < 3 || out.rows > 90 || out.columns < 1 || out.columns > 30 || out.ecLevel > 8 ||
        out.rows * out.columns > 928 || (2 << out.ecLevel) >= out.rows * out.columns) {
        return false;
    }

    // Row boundaries where consecutive agreeing readings step by one row,
    // narrowed by halving.
    for (const bool right : {false, true}) {
        const Sample* previous = nullptr;
        for (const Sample& s : samples_) {
            if (s.right != right || !agrees(s) || s.row < 0 || s.row >= out.rows) {
                continue;
            }
            if (previous != nullptr && std::abs(s.row - previous->row) == 1) {
                float a = previous->t;
                float b = s.t;
                for (int i = 0; i < 3; ++i) {
                    const float m = 0.5f * (a + b);
                    Sample probe;
                    if (!readAt(sampler, map, right, columns, m, probe)) {
                        break;
                    }
                    if (probe.row == previous->row) {
                        a = m;
                    } else if (probe.row == s.row) {
                        b = m;
                    } else {
                        break;
                    }
                }
                RowBoundary boundary;
                boundary.row = std::max(s.row, previous->row);
                boundary.right = right;
                boundary.at = map(right ? rightCentre(columns) : leftCentre(), 0.5 * (a + b));
                if (std::isfinite(boundary.at.x()) && std::isfinite(boundary.at.y())) {
                    out.boundaries.push_back(boundary);
                }
            }
            previous = &s;
        }
    }
    return true;
}

} // namespace pdf417
