#include "pdf417scan/sampling/GridSampler.h"

#include "pdf417scan/sampling/ProfileDecoder.h"

#include <algorithm>
#include <cmath>

namespace pdf417 {

namespace {

constexpr int MAX_LINES = 3;
// A codeword read this surely on a row's centre line needs no second look.
constexpr float SURE = 0.6f;

// What the row indicator in column `side` (0 left, 1 right) of row r holds.
int indicatorValue(int side, int row, int rows, int columns, int ecLevel) {
    const int k = row % 3;
    const int values[3] = {(rows - 1) / 3, ecLevel * 3 + (rows - 1) % 3, columns - 1};
    return 30 * (row / 3) + values[side == 0 ? k : (k + 2) % 3];
}

float distance(const Point2D& a, const Point2D& b) {
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

} // namespace

void GridSampler::sample(const LineSampler& sampler, const Homography& map, int rows, int columns,
                         int ecLevel) {
    const std::size_t cellCount =
        static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
    cells_.assign(cellCount, UNREAD);
    confidence_.assign(cellCount, 0.0f);
    foundFrom_.clear();
    foundAt_.clear();
    indicatorsRead_ = 0;
    indicatorsAgreeing_ = 0;
    const int codewords = columns + 2;
    readings_.assign(static_cast<std::size_t>(codewords) * MAX_LINES, Reading{UNREAD, 0.0f});

    // From the left indicator's first bar, less a margin, to past the right
    // indicator, on every line.
    const double u0 = 15.0;
    const double u1 = 17.0 * (columns + 3) + 2.0;
    for (int row = 0; row < rows; ++row) {
        const double mid = row + 0.5;
        const float module = distance(map(u0, mid), map(u1, mid)) / static_cast<float>(u1 - u0);
        const float height = distance(map(u0 + 10.0, row), map(u0 + 10.0, row + 1.0));
        // Samples a pixel or two apart, at least three per module.
        const float spm = std::max(3.0f, std::min(6.0f, std::ceil(module / 1.5f)));
        const int count = static_cast<int>(std::lround((u1 - u0) * spm)) + 1;
        // The row's centre line first; lines above and below it only when
        // that one left a codeword unread or in doubt, and the row is tall
        // enough to hold them apart.
        const int maxLines = height >= 3.0f ? MAX_LINES : 1;
        const double offsets[MAX_LINES] = {0.5, 0.28, 0.72};
        std::fill(readings_.begin(), readings_.end(), Reading{UNREAD, 0.0f});
        int lines = 0;
        for (int line = 0; line < maxLines; ++line) {
            if (line == 1) {
                bool sure = true;
                for (int j = 0; j < codewords && sure; ++j) {
                    sure = readings_[static_cast<std::size_t>(j) * MAX_LINES].confidence >= SURE;
                }
                if (sure) {
                    break;
                }
            }
            lines = line + 1;
            const double v = row + offsets[line];
            if (!sampler.sampleRow(map, u0, u1, v, count, profile_)) {
                continue;
            }
            const float step = static_cast<float>(count - 1) / static_cast<float>(u1 - u0);
            for (int j = 0; j < codewords; ++j) {
                // Window from 2 modules before the codeword to 2 after it.
                const int first = static_cast<int>(std::lround(17.0 * j * step));
                const int size =
                    std::min(count - first, static_cast<int>(std::lround(21.0f * step)) + 1);
                ProfileReading reading;
                if (!ProfileDecoder::decode(profile_.data() + first, size, step, 2.0f * step,
                                            row % 3, reading)) {
                    continue;
                }
                readings_[static_cast<std::size_t>(j) * MAX_LINES +
                          static_cast<std::size_t>(line)] = {
                    static_cast<std::uint16_t>(reading.value), reading.confidence};
                if (line == 0 && reading.confidence > 0.3f) {
                    // Where this codeword begins and ends, for a refit.
                    for (const auto& [at, u] :
                         {std::pair<float, double>{reading.start, 17.0 + 17.0 * j},
                          {reading.end, 34.0 + 17.0 * j}}) {
                        const double found = u0 + (first + at) / step;
                        const Point2D p = map(found, v);
                        foundFrom_.emplace_back(static_cast<float>(u), static_cast<float>(v), 1.0f);
                        foundAt_.emplace_back(p.x(), p.y(), reading.confidence);
                    }
                }
            }
        }
        // The lines of a row vote, cell by cell.
        for (int j = 0; j < codewords; ++j) {
            const Reading* r = &readings_[static_cast<std::size_t>(j) * MAX_LINES];
            int best = -1;
            for (int k = 0; k < lines; ++k) {
                if (r[k].value != UNREAD && (best < 0 || r[k].confidence > r[best].confidence)) {
                    best = k;
                }
            }
            if (best < 0) {
                continue;
            }
            int agree = 0;
            int disagree = 0;
            for (int k = 0; k < lines; ++k) {
                if (r[k].value == UNREAD) {
                    continue;
                }
                (r[k].value == r[best].value ? agree : disagree) += 1;
            }
            float confidence = r[best].confidence;
            if (agree >= 2) {
                confidence = std::min(1.0f, confidence + 0.25f * static_cast<float>(agree - 1));
            }
            confidence *= disagree > 0 ? 0.5f : agree == 1 && lines > 1 ? 0.8f : 1.0f;
            if (j == 0 || j == columns + 1) {
                ++indicatorsRead_;
                indicatorsAgreeing_ +=
                    r[best].value == indicatorValue(j == 0 ? 0 : 1, row, rows, columns, ecLevel)
                        ? 1
                        : 0;
                continue;
            }
            const std::size_t cell =
                static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                static_cast<std::size_t>(j - 1);
            cells_[cell] = r[best].value;
            confidence_[cell] = confidence;
        }
    }
}

} // namespace pdf417
