#include "pdf417scan/locate/PatternScanner.h"

#include "pdf417scan/imaging/LineSampler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace pdf417 {

namespace {

// Element widths in modules, in reading order.
constexpr float START[8] = {8, 1, 1, 1, 1, 1, 1, 3};
constexpr float STOP[9] = {7, 1, 1, 3, 1, 1, 1, 2, 1};

// Half the window of the local mean a line is binarised against, in samples:
// a few modules of the finest symbols, while the hysteresis below keeps the
// state inside the wide bars of coarse ones.
constexpr int MEAN_RADIUS = 10;
// How far past the local mean a sample must go to flip the state.
constexpr int HYSTERESIS = 6;
// On a noisy frame the hysteresis grows to this many noise deviations, so
// that the noise inside a wide bar does not split it into runs.
constexpr float NOISE_DEVIATIONS = 3.0f;
constexpr int MAX_HYSTERESIS = 40;
// In a close look, a peak or dip this far above or below its neighbours on
// both sides is an element of its own, whatever the local mean says (at
// least this far; more on a noisy frame).
constexpr int MIN_PROMINENCE = 12;
// A pattern fainter than this is paper texture.
constexpr float MIN_CONTRAST = 18.0f;
// How far back from a flip its crossing of the mean is looked for.
constexpr int MAX_LOOK_BACK = 4;
// Paper samples added beyond either end of a line.
constexpr int PADDING = MEAN_RADIUS + 2;
// Shorter lines cannot hold a pattern.
constexpr int MIN_LINE = 20;
// Modules below this many samples cannot be told apart on a scan line.
constexpr float MIN_MODULE = 0.55f;

} // namespace

int PatternScanner::noiseHysteresis(const Image& image) {
    // Differences of neighbouring pixels on a sparse set of rows. Most of a
    // frame is flat, so their lower quartile measures the noise alone: for
    // Gaussian noise of deviation s it is 0.45 s. Edges only add to the
    // upper part of the histogram.
    const int width = static_cast<int>(image.width());
    const int height = static_cast<int>(image.height());
    std::array<std::uint32_t, 256> histogram{};
    std::uint32_t total = 0;
    const int rowStep = std::max(1, height / 24);
    for (int y = rowStep / 2; y < height; y += rowStep) {
        const unsigned char* row = image.data() + static_cast<std::size_t>(y) * image.stride();
        for (int x = 0; x + 1 < width; x += 2) {
            ++histogram[static_cast<std::size_t>(std::abs(row[x + 1] - row[x]))];
            ++total;
        }
    }
    std::uint32_t seen = 0;
    int quartile = 0;
    while (quartile < 255 && (seen += histogram[static_cast<std::size_t>(quartile)]) * 4 < total) {
        ++quartile;
    }
    const float deviation = static_cast<float>(quartile) / 0.45f;
    return std::min(MAX_HYSTERESIS,
                    std::max(HYSTERESIS, static_cast<int>(NOISE_DEVIATIONS * deviation)));
}

void PatternScanner::scan(const Image& image, const Settings& settings) {
    hits_.clear();
    maxHits_ = settings.maxHits;
    const int width = static_cast<int>(image.width());
    const int height = static_cast<int>(image.height());
    noiseHysteresis_ = noiseHysteresis(image);
    if (width < 17 && height < 17) {
        return;
    }
    // A noisy frame is scanned twice: at the floor's hysteresis for fine,
    // faint patterns, and at the noise's for wide bars that noise would
    // split. Wide bars belong to large symbols, so the second pass's lines
    // lie twice as far apart. Both passes' hits go to the edge finder.
    prominence_ = 0;
    hysteresis_ = HYSTERESIS;
    scanAll(image, settings);
    if (noiseHysteresis_ > HYSTERESIS) {
        hysteresis_ = noiseHysteresis_;
        Settings sparse = settings;
        sparse.step = 2 * std::max(1, settings.step);
        sparse.diagonalStep = 2 * settings.diagonalStep; // 0 still follows `step`
        scanAll(image, sparse);
    }
}

void PatternScanner::scanAll(const Image& image, const Settings& settings) {
    const int width = static_cast<int>(image.width());
    const int height = static_cast<int>(image.height());
    const int step = std::max(1, settings.step);
    const unsigned char* const data = image.data();
    const std::size_t stride = image.stride();

    if (settings.directions & (1u << Rows)) {
        for (int y = step / 2; y < height; y += step) {
            line_ = data + static_cast<std::size_t>(y) * stride;
            length_ = width;
            scanLine(0.5f, static_cast<float>(y) + 0.5f, 1.0f, 0.0f, Rows);
        }
    }

    // Columns and diagonals are gathered into lines by one sweep over the
    // frame in memory order, rather than by reading a pixel per cache line.
    const std::size_t span = static_cast<std::size_t>(height);
    if (settings.directions & (1u << Columns)) {
        const int lines = (width - step / 2 + step - 1) / step;
        gathered_.resize(static_cast<std::size_t>(std::max(lines, 0)) * span);
        for (int y = 0; y < height; ++y) {
            const unsigned char* row = data + static_cast<std::size_t>(y) * stride + step / 2;
            std::uint8_t* out = gathered_.data() + y;
            for (int k = 0; k < lines; ++k, row += step, out += span) {
                *out = *row;
            }
        }
        for (int k = 0; k < lines; ++k) {
            line_ = gathered_.data() + static_cast<std::size_t>(k) * span;
            length_ = height;
            scanLine(static_cast<float>(step / 2 + k * step) + 0.5f, 0.5f, 0.0f, 1.0f, Columns);
        }
    }
    for (const int dx : {1, -1}) {
        const Direction direction = dx > 0 ? Diagonal : AntiDiagonal;
        if (!(settings.directions & (1u << direction))) {
            continue;
        }
        // Diagonal lines x - y = c, anti-diagonal x + y = c; along a diagonal
        // lines lie sqrt(2) times closer for the same c, so c steps wider.
        const int diagonalStep = settings.diagonalStep > 0 ? settings.diagonalStep : step;
        const int offsetStep =
            std::max(1, static_cast<int>(std::lround(diagonalStep * 1.41421356)));
        const int first = dx > 0 ? -(height - 1) : 0;
        const int last = dx > 0 ? width - 1 : width + height - 2;
        // Each line is gathered and scanned at once: a diagonal touches a
        // new cache line per pixel whatever the order.
        const std::ptrdiff_t next = static_cast<std::ptrdiff_t>(stride) + dx;
        for (int c = first + offsetStep / 2; c <= last; c += offsetStep) {
            const int x0 = dx > 0 ? std::max(0, c) : std::min(width - 1, c);
            const int y0 = dx > 0 ? std::max(0, -c) : c - x0;
            const int length =
                dx > 0 ? std::min(width - x0, height - y0) : std::min(x0 + 1, height - y0);
            if (length < MIN_LINE) {
                continue;
            }
            gathered_.resize(static_cast<std::size_t>(length));
            const unsigned char* pixel = data + static_cast<std::size_t>(y0) * stride + x0;
            for (int i = 0; i < length; ++i, pixel += next) {
                gathered_[static_cast<std::size_t>(i)] = *pixel;
            }
            line_ = gathered_.data();
            length_ = length;
            scanLine(static_cast<float>(x0) + 0.5f, static_cast<float>(y0) + 0.5f,
                     static_cast<float>(dx), 1.0f, direction);
        }
    }
}

void PatternScanner::scanSegments(const Image& image,
                                  const std::vector<std::pair<Point2D, Point2D>>& segments,
                                  int frameNoise) {
    hits_.clear();
    maxHits_ = Settings().maxHits;
    hysteresis_ = HYSTERESIS;
    prominence_ = std::max(MIN_PROMINENCE, frameNoise);
    const LineSampler sampler(image);
    for (const auto& [a, b] : segments) {
        const float dx = b.x() - a.x();
        const float dy = b.y() - a.y();
        const float length = std::hypot(dx, dy);
        if (!(length >= static_cast<float>(MIN_LINE)) || length > 1e5f) {
            continue;
        }
        const int count = static_cast<int>(length) + 1;
        const float sx = dx / static_cast<float>(count - 1);
        const float sy = dy / static_cast<float>(count - 1);
        gathered_.resize(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            const float v =
                sampler.at(a.x() + sx * static_cast<float>(i), a.y() + sy * static_cast<float>(i));
            gathered_[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(std::lround(v));
        }
        line_ = gathered_.data();
        length_ = count;
        // Sample i lies at a + i (sx, sy) itself, not at a pixel's centre.
        scanLine(a.x(), a.y(), sx, sy, Rows);
    }
}

void PatternScanner::scanLine(float x0, float y0, float dx, float dy, Direction direction) {
    constexpr int window = 2 * MEAN_RADIUS + 1;
    if (length_ < MIN_LINE || static_cast<int>(hits_.size()) >= maxHits_) {
        return;
    }
    // Beyond the frame lies paper, as light as the brightest sample near
    // each end: a symbol printed without a quiet zone, or touching the
    // border, keeps its outer bar whole and inside the classified samples.
    padded_.resize(static_cast<std::size_t>(length_ + 2 * PADDING));
    std::uint8_t* const line = padded_.data();
    std::memcpy(line + PADDING, line_, static_cast<std::size_t>(length_));
    const int reach = std::min(length_, window);
    std::fill(line, line + PADDING, *std::max_element(line_, line_ + reach));
    std::fill(line + PADDING + length_, line + 2 * PADDING + length_,
              *std::max_element(line_ + length_ - reach, line_ + length_));
    x0 -= PADDING * dx;
    y0 -= PADDING * dy;
    const int n = length_ + 2 * PADDING;
    const std::uint8_t* const g = line;
    // Two passes. The first marks each sample that lies beyond the local
    // mean by more than the hysteresis (dark 1, light 2), compared in
    // integers times the window's size; it has no branches, so compilers
    // vectorise it. The second follows the state, jumping with memchr from
    // one flip to the next: most of a frame is flat and costs little.
    // Prefix sums in 16 bits that may wrap: the difference of two is still
    // the exact window sum, which stays below 2^16.
    prefix_.resize(static_cast<std::size_t>(n) + 8);
    flags_.resize(static_cast<std::size_t>(n));
    std::uint16_t* const prefix = prefix_.data();
    std::uint8_t* const flags = flags_.data();
    const int band = (hysteresis_ > 0 ? hysteresis_ : HYSTERESIS) * window;
    int i = 0;
    prefix[0] = 0;
#if defined(__SSE2__)
    {
        const __m128i zero = _mm_setzero_si128();
        __m128i carry = zero;
        for (; i + 8 <= n; i += 8) {
            __m128i v =
                _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(g + i)), zero);
            v = _mm_add_epi16(v, _mm_slli_si128(v, 2));
            v = _mm_add_epi16(v, _mm_slli_si128(v, 4));
            v = _mm_add_epi16(v, _mm_slli_si128(v, 8));
            v = _mm_add_epi16(v, carry);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(prefix + i + 1), v);
            carry = _mm_shufflehi_epi16(v, 0xFF);
            carry = _mm_unpackhi_epi64(carry, carry);
        }
    }
#endif
    for (std::uint16_t running = prefix[i]; i < n; ++i) {
        running = static_cast<std::uint16_t>(running + g[i]);
        prefix[i + 1] = running;
    }
    const auto localSum = [&](int k) {
        return static_cast<std::uint16_t>(prefix[k + MEAN_RADIUS + 1] - prefix[k - MEAN_RADIUS]);
    };
    i = MEAN_RADIUS;
#if defined(__SSE2__)
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i weight = _mm_set1_epi16(window);
        const __m128i high = _mm_set1_epi16(band);
        const __m128i low = _mm_set1_epi16(-band);
        const __m128i one = _mm_set1_epi16(1);
        const __m128i two = _mm_set1_epi16(2);
        for (; i + 8 + MEAN_RADIUS <= n; i += 8) {
            const __m128i ahead =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(prefix + i + MEAN_RADIUS + 1));
            const __m128i behind =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(prefix + i - MEAN_RADIUS));
            const __m128i local = _mm_sub_epi16(ahead, behind);
            const __m128i pixels =
                _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(g + i)), zero);
            const __m128i d = _mm_sub_epi16(_mm_mullo_epi16(pixels, weight), local);
            const __m128i marks = _mm_or_si128(_mm_and_si128(_mm_cmplt_epi16(d, low), one),
                                               _mm_and_si128(_mm_cmpgt_epi16(d, high), two));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(flags + i), _mm_packus_epi16(marks, zero));
        }
    }
#endif
    for (; i + MEAN_RADIUS < n; ++i) {
        const int d = static_cast<int>(g[i]) * window - static_cast<int>(localSum(i));
        flags[i] = static_cast<std::uint8_t>((d < -band ? 1 : 0) | (d > band ? 2 : 0));
    }
    // A thin element blurred beside a wide one may not cross the local mean
    // at all, yet it is still a clear peak or dip between its neighbours:
    // such a sample takes the side it stands out on. Only in a close look,
    // where a pattern is expected: over a whole frame the pass costs more
    // than it finds.
    if (prominence_ > 0) {
        const int prominence = prominence_;
        for (i = MEAN_RADIUS + 2; i + MEAN_RADIUS < n; ++i) {
            const int c = g[i];
            const int l1 = g[i - 1], l2 = g[i - 2], r1 = g[i + 1], r2 = g[i + 2];
            const int peak = static_cast<int>(c >= l1) & static_cast<int>(c >= r1) &
                             static_cast<int>(c - std::min(l1, l2) >= prominence) &
                             static_cast<int>(c - std::min(r1, r2) >= prominence);
            const int dip = static_cast<int>(c <= l1) & static_cast<int>(c <= r1) &
                            static_cast<int>(std::max(l1, l2) - c >= prominence) &
                            static_cast<int>(std::max(r1, r2) - c >= prominence);
            const int mark = flags[i];
            flags[i] = static_cast<std::uint8_t>(mark != 0 ? mark : (peak << 1) | dip);
        }
    }

    runStart_.clear();
    runDark_.clear();
    const int last = n - MEAN_RADIUS; // one past the last classified sample
    bool dark = g[MEAN_RADIUS] * window < localSum(MEAN_RADIUS);
    runStart_.push_back(static_cast<float>(MEAN_RADIUS) - 0.5f);
    runDark_.push_back(dark ? 1 : 0);
    for (i = MEAN_RADIUS + 1; i < last;) {
        const void* found =
            std::memchr(flags + i, dark ? 2 : 1, static_cast<std::size_t>(last - i));
        if (found == nullptr) {
            break;
        }
        i = static_cast<int>(static_cast<const std::uint8_t*>(found) - flags);
        // The crossing of the local mean, searched back to where the samples
        // were still on the old side, and placed between the two samples.
        const float t = static_cast<float>(localSum(i)) / window;
        const float floor = runStart_.back();
        int k = i;
        while (i - k<MAX_LOOK_BACK&& static_cast<float>(k - 1)> floor &&
               (dark ? g[k - 1] > t : g[k - 1] < t)) {
            --k;
        }
        const float a = g[k - 1];
        const float b = g[k];
        const float f = a != b ? std::min(1.0f, std::max(0.0f, (a - t) / (a - b))) : 0.5f;
        dark = !dark;
        runStart_.push_back(std::max(static_cast<float>(k - 1) + f, floor + 0.01f));
        runDark_.push_back(dark ? 1 : 0);
        ++i;
    }
    runStart_.push_back(static_cast<float>(last) - 0.5f);

    // Whole runs only: the first and the last of the line are cut by its ends.
    const std::size_t runs = runDark_.size();
    // Every pattern has a wide bar beside two narrow elements of about one
    // width (8, 1, 1 in the start, 7, 1, 1 in the stop): a cheap first test
    // that most runs fail. `step` is +1 reading on, -1 reading back.
    const auto width = [&](std::size_t k) { return runStart_[k + 1] - runStart_[k]; };
    const auto opens = [&](std::size_t bar, int step) {
        const float b = width(bar);
        const float first = width(bar + step);
        const float second = width(bar + 2 * step);
        return b > 2.5f * first && first < 3.5f * second && second < 3.5f * first;
    };
    for (std::size_t r = 0; r < runs && static_cast<int>(hits_.size()) < maxHits_; ++r) {
        if (runDark_[r]) {
            if (r + 2 < runs && opens(r, 1)) {
                match(r, 8, false, x0, y0, dx, dy, direction); // start, forwards
                match(r, 9, false, x0, y0, dx, dy, direction); // stop, forwards
            }
            if (r + 8 < runs && opens(r + 8, -1)) {
                match(r, 9, true, x0, y0, dx, dy, direction); // stop, backwards
            }
        } else if (r + 7 < runs && opens(r + 7, -1)) {
            match(r, 8, true, x0, y0, dx, dy, direction); // start, backwards
        }
    }
}

void PatternScanner::match(std::size_t first, std::size_t count, bool reversed, float x0, float y0,
                           float dx, float dy, Direction direction) {
    const std::size_t runs = runDark_.size();
    if (first + count > runs) {
        return;
    }
    const float* pattern = count == 8 ? START : STOP;
    const auto expected = [&](std::size_t k) { return pattern[reversed ? count - 1 - k : k]; };
    // Start forwards and stop backwards begin with their outer edge.
    const bool outerFirst = (count == 8) != reversed;
    const std::size_t outerIndex = outerFirst ? 0 : count - 1;
    float widths[9];
    for (std::size_t k = 0; k < count; ++k) {
        widths[k] = runStart_[first + k + 1] - runStart_[first + k];
    }
    // Edge to similar edge first: those sums survive ink spread and blur.
    // `open` leaves the outer bar out of the measure, for a bar run into a
    // dark surround or cut by the frame's edge.
    const auto fits = [&](bool open, float& m) {
        float total = 0.0f;
        float modules = 0.0f;
        for (std::size_t k = 0; k < count; ++k) {
            if (!(open && k == outerIndex)) {
                total += widths[k];
                modules += expected(k);
            }
        }
        m = total / modules;
        if (m < MIN_MODULE) {
            return false;
        }
        for (std::size_t k = 0; k + 1 < count; ++k) {
            if (open && (k == outerIndex || k + 1 == outerIndex)) {
                continue;
            }
            const float e = (widths[k] + widths[k + 1]) / m;
            const float want = expected(k) + expected(k + 1);
            if (std::fabs(e - want) > (open ? 0.6f : 0.75f) + 0.12f * want) {
                return false;
            }
        }
        for (std::size_t k = 0; k < count; ++k) {
            const float want = expected(k);
            if (!(open && k == outerIndex) && want >= 3.0f &&
                std::fabs(widths[k] / m - want) > 0.35f * want) {
                return false;
            }
        }
        return true;
    };
    // The outer element must be whole for the plain match: not the line's
    // first or last run, which its ends cut.
    const bool outerWhole = outerFirst ? first > 0 : first + count < runs;
    float m = 0.0f;
    bool open = false;
    if (!(outerWhole && fits(false, m))) {
        // Open: the outer bar clearly longer than it should be (run into a
        // dark surround) or clearly shorter (cut by the frame's edge), but
        // there; a bar of about its width failed the plain match for a
        // reason that leaving it out does not mend.
        if (!fits(true, m)) {
            return;
        }
        const float ratio = widths[outerIndex] / (expected(outerIndex) * m);
        if (ratio < 0.35f || (ratio > 0.7f && ratio < 1.6f)) {
            return;
        }
        open = true;
    }
    // Contrast between the dark and the light elements' samples.
    float darkSum = 0.0f;
    float lightSum = 0.0f;
    int darkCount = 0;
    int lightCount = 0;
    for (std::size_t k = 0; k < count; ++k) {
        if (open && k == outerIndex) {
            continue;
        }
        const int lo = static_cast<int>(std::ceil(runStart_[first + k]));
        const int hi = static_cast<int>(std::floor(runStart_[first + k + 1]));
        for (int i = lo; i <= hi && i < static_cast<int>(padded_.size()); ++i) {
            if (i < 0) {
                continue;
            }
            if (runDark_[first + k]) {
                darkSum += padded_[static_cast<std::size_t>(i)];
                ++darkCount;
            } else {
                lightSum += padded_[static_cast<std::size_t>(i)];
                ++lightCount;
            }
        }
    }
    if (darkCount == 0 || lightCount == 0) {
        return;
    }
    const float contrast =
        lightSum / static_cast<float>(lightCount) - darkSum / static_cast<float>(darkCount);
    if (contrast < MIN_CONTRAST) {
        return;
    }

    const float inner = outerFirst ? runStart_[first + count] : runStart_[first];
    const float width = (count == 8 ? 17.0f : 18.0f) * m;
    const float outer = open ? (outerFirst ? inner - width : inner + width)
                             : (outerFirst ? runStart_[first] : runStart_[first + count]);
    PatternHit hit;
    hit.kind = count == 8 ? PatternHit::Start : PatternHit::Stop;
    hit.direction = direction;
    hit.outer = Point2D(x0 + outer * dx, y0 + outer * dy, 1.0f);
    hit.inner = Point2D(x0 + inner * dx, y0 + inner * dy, 1.0f);
    hit.module = m * std::sqrt(dx * dx + dy * dy);
    hit.contrast = contrast;
    hits_.push_back(hit);
}

} // namespace pdf417
