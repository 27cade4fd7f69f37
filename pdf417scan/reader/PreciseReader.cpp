#include "pdf417scan/reader/PreciseReader.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace pdf417 {

bool PreciseReader::read(const Image& image, const Settings& settings, SymbolDecoder& decoder,
                         DecodedSymbol& out) {
    gridRows_ = gridColumns_ = 0;
    PatternScanner::Settings scan;
    scan.step = settings.scanStep;
    scan.diagonalStep = settings.diagonalStep;
    scanner_.scan(image, scan);
    edgeFinder_.find(scanner_.hits(), 2 * settings.maxOutlines, edges_);
    const LineSampler sampler(image);
    outlineFinder_.find(sampler, edges_, settings.maxOutlines, outlines_);
    pooledThisFrame_ = false;
    for (const SymbolOutline& outline : outlines_) {
        if (readOutline(sampler, outline, decoder, out)) {
            reset();
            return true;
        }
    }
    // A short symbol leaves a hit or two per edge between the scan lines:
    // look again along lines packed closely beside the hits no edge took.
    if (densify(image)) {
        hits_.assign(scanner_.hits().begin(), scanner_.hits().end());
        hits_.insert(hits_.end(), closeLook_.hits().begin(), closeLook_.hits().end());
        edgeFinder_.find(hits_, 2 * settings.maxOutlines, edges_);
        outlineFinder_.find(sampler, edges_, settings.maxOutlines, outlines_);
        for (const SymbolOutline& outline : outlines_) {
            if (readOutline(sampler, outline, decoder, out)) {
                reset();
                return true;
            }
        }
    }
    // Frames that show no symbol neither count nor drop the pool.
    if (pooledThisFrame_ && ++failedFrames_ >= MAX_FAILED_FRAMES) {
        reset();
    }
    return false;
}

bool PreciseReader::densify(const Image& image) {
    // Hits on no well-supported edge, the strongest first.
    seeds_.clear();
    for (std::uint32_t i = 0; i < scanner_.hits().size(); ++i) {
        const PatternHit& h = scanner_.hits()[i];
        bool taken = false;
        for (const EdgeLine& e : edges_) {
            taken = taken || (e.support >= 3 && e.kind == h.kind &&
                              std::fabs(e.depth(h.outer)) < std::max(2.0f, e.module));
        }
        if (!taken) {
            seeds_.push_back(i);
        }
    }
    if (seeds_.empty()) {
        return false;
    }
    const auto& hits = scanner_.hits();
    // Ties go to the earlier hit; std::sort, unlike stable_sort, needs no
    // buffer of its own.
    std::sort(seeds_.begin(), seeds_.end(), [&](std::uint32_t a, std::uint32_t b) {
        return hits[a].contrast > hits[b].contrast ||
               (hits[a].contrast == hits[b].contrast && a < b);
    });
    seeds_.resize(std::min<std::size_t>(seeds_.size(), MAX_SEEDS));
    const float width = static_cast<float>(image.width());
    const float height = static_cast<float>(image.height());
    segments_.clear();
    for (const std::uint32_t i : seeds_) {
        const PatternHit& h = hits[i];
        float dx = h.inner.x() - h.outer.x();
        float dy = h.inner.y() - h.outer.y();
        const float length = std::hypot(dx, dy);
        if (!(length > 0.0f)) {
            continue;
        }
        dx /= length;
        dy /= length;
        // The whole scan line through the frame, shifted sideways: the
        // partner pattern lies somewhere along it.
        for (const float offset : {-3.0f, -1.5f, 1.5f, 3.0f}) {
            const float px = h.outer.x() - dy * offset;
            const float py = h.outer.y() + dx * offset;
            float lo = -1e9f;
            float hi = 1e9f;
            for (const auto& [p, d, size] : {std::tuple<float, float, float>{px, dx, width},
                                             std::tuple<float, float, float>{py, dy, height}}) {
                if (std::fabs(d) < 1e-6f) {
                    if (p < 0.0f || p > size) {
                        lo = 1.0f;
                        hi = 0.0f;
                    }
                    continue;
                }
                const float a = (0.0f - p) / d;
                const float b = (size - 1.0f - p) / d;
                lo = std::max(lo, std::min(a, b));
                hi = std::min(hi, std::max(a, b));
            }
            if (hi > lo) {
                segments_.emplace_back(Point2D(px + lo * dx, py + lo * dy, 1.0f),
                                       Point2D(px + hi * dx, py + hi * dy, 1.0f));
            }
        }
    }
    closeLook_.scanSegments(image, segments_, scanner_.lastNoiseHysteresis());
    return !closeLook_.hits().empty();
}

void PreciseReader::reset() {
    votes_.clear();
    failedFrames_ = 0;
}

bool PreciseReader::readOutline(const LineSampler& sampler, const SymbolOutline& outline,
                                SymbolDecoder& decoder, DecodedSymbol& out) {
    int columns = outline.columns > 0 ? outline.columns : 1;
    Homography provisional;
    // Readings kept as members keep their storage; a completed outline is
    // read one level down.
    IndicatorReading& reading = readings_[outline.hasStart && outline.hasStop ? 1 : 0];
    if (!OutlineFinder::provisionalMap(outline, columns, provisional) ||
        !indicators_.read(sampler, provisional, outline, columns, reading)) {
        return false;
    }
    // The width guess sets how far the left indicator lies from the start
    // bar along the provisional map; read again at the right width.
    if (outline.hasStart && outline.hasStop && reading.columns != columns) {
        columns = reading.columns;
        if (!OutlineFinder::provisionalMap(outline, columns, provisional) ||
            !indicators_.read(sampler, provisional, outline, columns, reading)) {
            return false;
        }
    }
    // One pattern only: knowing the width now, look for the other one closely
    // where it should be; a pair reads far better than an edge alone.
    if (!(outline.hasStart && outline.hasStop)) {
        SymbolOutline completed;
        Homography wide;
        if (OutlineFinder::provisionalMap(outline, reading.columns, wide) &&
            completeOutline(sampler, outline, wide, reading.columns, completed) &&
            readOutline(sampler, completed, decoder, out)) {
            return true;
        }
    }
    Homography map;
    if (!fitter_.fit(outline, reading, map)) {
        return false;
    }
    // Codewords that did read sit where the grid should be: refit to them
    // and read again, while that finds more of them. A grid extrapolated
    // from one side grows across the symbol this way.
    std::size_t found = 0;
    for (int attempt = 0; attempt <= MAX_REFITS; ++attempt) {
        if (decodeGrid(sampler, map, reading, decoder, out)) {
            return true;
        }
        const std::size_t now = sampler_.foundFrom().size();
        if (now <= found + found / 8 || attempt == MAX_REFITS ||
            !GridFitter::refit(sampler_.foundFrom(), sampler_.foundAt(), map)) {
            break;
        }
        found = now;
    }
    // The last grid read joins the pool of earlier frames' readings.
    return decodePooled(reading, decoder, out);
}

bool PreciseReader::decodePooled(const IndicatorReading& reading, SymbolDecoder& decoder,
                                 DecodedSymbol& out) {
    votes_.add(reading.rows, reading.columns, reading.ecLevel, sampler_.cells(),
               sampler_.confidence());
    pooledThisFrame_ = true;
    if (votes_.frames() < 2) {
        return false;
    }
    votes_.pooled(pooledCells_, pooledConfidence_);
    if (!decoder.decode(pooledCells_, pooledConfidence_, reading.rows, reading.columns,
                        reading.ecLevel, out)) {
        return false;
    }
    setCorners(grid_, reading, out);
    return true;
}

void PreciseReader::setCorners(const Homography& map, const IndicatorReading& reading,
                               DecodedSymbol& out) {
    const double width = GridFitter::symbolWidth(reading.columns);
    const double rows = reading.rows;
    out.corners = {map(0, 0), map(width, 0), map(width, rows), map(0, rows)};
}

bool PreciseReader::completeOutline(const LineSampler& sampler, const SymbolOutline& lone,
                                    const Homography& map, int columns, SymbolOutline& out) {
    const float width = GridFitter::symbolWidth(columns);
    // Where the missing pattern should lie along the rows, give or take a
    // quarter of the width for perspective and shear the map does not know.
    const float margin = 0.25f * width + 10.0f;
    const float u0 = lone.hasStart ? width - 18.0f - margin : -margin;
    const float u1 = lone.hasStart ? width + margin : 17.0f + margin;
    segments_.clear();
    for (int k = 0; k < COMPLETION_LINES; ++k) {
        const double t = 0.1 + 0.8 * k / (COMPLETION_LINES - 1);
        segments_.emplace_back(map(u0, t), map(u1, t));
    }
    closeLook_.scanSegments(sampler.image(), segments_, scanner_.lastNoiseHysteresis());
    const PatternHit::Kind missing = lone.hasStart ? PatternHit::Stop : PatternHit::Start;
    edgeFinder_.find(closeLook_.hits(), 1, foundEdges_);
    const EdgeLine* found = nullptr;
    for (const EdgeLine& edge : foundEdges_) {
        if (edge.kind == missing && edge.support >= 3) {
            found = &edge;
            break;
        }
    }
    if (found == nullptr) {
        return false;
    }
    pairEdges_.assign({lone.hasStart ? lone.start : lone.stop, *found});
    outlineFinder_.find(sampler, pairEdges_, 1, completions_);
    if (completions_.empty() || !completions_[0].hasStart || !completions_[0].hasStop) {
        return false;
    }
    out = completions_[0];
    return true;
}

bool PreciseReader::decodeGrid(const LineSampler& sampler, const Homography& map,
                               const IndicatorReading& reading, SymbolDecoder& decoder,
                               DecodedSymbol& out) {
    grid_ = map;
    gridRows_ = reading.rows;
    gridColumns_ = reading.columns;
    sampler_.sample(sampler, map, reading.rows, reading.columns, reading.ecLevel);
    if (!decoder.decode(sampler_.cells(), sampler_.confidence(), reading.rows, reading.columns,
                        reading.ecLevel, out)) {
        return false;
    }
    // The codewords found say where the symbol is better than the grid that
    // found them, when that was extrapolated from one side.
    Homography found;
    setCorners(GridFitter::refit(sampler_.foundFrom(), sampler_.foundAt(), found) ? found : map,
               reading, out);
    return true;
}

} // namespace pdf417
