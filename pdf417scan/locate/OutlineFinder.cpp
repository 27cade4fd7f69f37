#include "pdf417scan/locate/OutlineFinder.h"

#include "pdf417scan/util/InsertionSort.h"

#include <algorithm>
#include <cmath>

namespace pdf417 {

namespace {

// Wide-bar centres, in modules from the pattern's outer edge, and their half
// widths less a margin, for reading the bar's gray level.
constexpr float START_BAR_CENTRE = 4.0f;
constexpr float STOP_BAR_CENTRE = 14.5f;
constexpr float START_BAR_HALF = 2.0f;
constexpr float STOP_BAR_HALF = 1.8f;
// The narrowest symbol: start, two indicators, one data column, stop.
constexpr float MIN_WIDTH = 86.0f;

// Modules from the start pattern's outer edge to the stop's wide-bar centre.
float stopBarU(int columns) {
    return 17.0f * static_cast<float>(columns + 3) + 3.5f;
}

bool inside(const Image& image, const Point2D& p) {
    return p.x() >= 0.0f && p.y() >= 0.0f && p.x() < static_cast<float>(image.width()) &&
           p.y() < static_cast<float>(image.height());
}

// Mean gray across a bar at distance t along its edge line.
float barGray(const LineSampler& sampler, const EdgeLine& line, float offset, float halfWidth,
              float t) {
    const Point2D c = line.at(t);
    float sum = 0.0f;
    for (const float k : {-1.0f, 0.0f, 1.0f}) {
        const float d = (offset + k * halfWidth) * line.module;
        sum += sampler.at(c.x() + d * line.nx, c.y() + d * line.ny);
    }
    return sum / 3.0f;
}

} // namespace

Point2D OutlineFinder::walkBar(const LineSampler& sampler, const EdgeLine& line, float offset,
                               float halfWidth, float fromT, float direction, bool& cut) {
    // Dark and light as the hits saw them, the threshold half way.
    const float dark = barGray(sampler, line, offset, halfWidth, 0.5f * (line.from + line.to));
    const float threshold = dark + 0.5f * line.contrast;
    const float step = std::max(1.0f, 0.5f * line.module);
    const auto centre = [&](float t) {
        const Point2D p = line.at(t);
        const float d = offset * line.module;
        return Point2D(p.x() + d * line.nx, p.y() + d * line.ny, 1.0f);
    };
    cut = false;
    // A hit at the end of the run may lie just off the bar (a scan line that
    // crossed the symbol's corner) or, placed from the pattern's inner edge,
    // beyond the frame: step back onto the bar first.
    const float middle = 0.5f * (line.from + line.to);
    while ((fromT - middle) * direction > 0.0f &&
           (!inside(sampler.image(), centre(fromT)) ||
            barGray(sampler, line, offset, halfWidth, fromT) >= threshold)) {
        fromT -= direction * step;
    }
    float lastDark = fromT;
    int light = 0;
    // A bar longer than the frame's diagonal is not a bar.
    const float limit = std::hypot(static_cast<float>(sampler.image().width()),
                                   static_cast<float>(sampler.image().height()));
    for (float t = fromT; std::fabs(t - fromT) <= limit; t += direction * step) {
        if (!inside(sampler.image(), centre(t))) {
            cut = true;
            break;
        }
        if (barGray(sampler, line, offset, halfWidth, t) < threshold) {
            lastDark = t;
            light = 0;
        } else if (++light == 2) {
            break;
        }
    }
    // Between the last dark step and the next, halve the gap a few times.
    float a = lastDark;
    float b = lastDark + direction * step;
    for (int i = 0; i < 4 && !cut; ++i) {
        const float m = 0.5f * (a + b);
        if (inside(sampler.image(), centre(m)) &&
            barGray(sampler, line, offset, halfWidth, m) < threshold) {
            a = m;
        } else {
            b = m;
        }
    }
    return centre(cut ? lastDark : 0.5f * (a + b));
}

bool OutlineFinder::measureBar(const LineSampler& sampler, const EdgeLine& line, float offset,
                               float halfWidth, Point2D& top, Point2D& bottom, bool& topCut,
                               bool& bottomCut, float sign) {
    // `sign` turns the line's own direction into the outline's downwards.
    const Point2D a =
        walkBar(sampler, line, offset, halfWidth, sign > 0 ? line.from : line.to, -sign, topCut);
    const Point2D b =
        walkBar(sampler, line, offset, halfWidth, sign > 0 ? line.to : line.from, sign, bottomCut);
    top = a;
    bottom = b;
    return std::hypot(b.x() - a.x(), b.y() - a.y()) >= 2.0f * line.module;
}

float OutlineFinder::moduleAcross(float a, float b) {
    // Under perspective the module shrinks steadily from one side to the
    // other: the modules across are the width over the logarithmic mean.
    const float ratio = std::max(a, b) / std::min(a, b);
    return ratio > 1.01f ? (std::max(a, b) - std::min(a, b)) / std::log(ratio) : 0.5f * (a + b);
}

bool OutlineFinder::pairUp(const EdgeLine& s, const EdgeLine& p, Pair& out) {
    const float ratio = std::max(s.module, p.module) / std::min(s.module, p.module);
    // Perspective may make one side twice the other, or a little more.
    if (!(ratio < 4.0f)) {
        return false;
    }
    float module = moduleAcross(s.module, p.module);
    out.startLine = s;
    out.stopLine = p;
    out.score = s.support + p.support;
    const float shortest = std::min(s.to - s.from, p.to - p.from);
    if (shortest < SHORT_EDGE * module) {
        // A short symbol's edges are a few hits each, too few to trust their
        // direction; the row direction from one pattern to the other is
        // surer, and both edges lie square to it.
        float rx = p.origin.x() - s.origin.x();
        float ry = p.origin.y() - s.origin.y();
        const float length = std::hypot(rx, ry);
        if (!(length > 0.0f)) {
            return false;
        }
        rx /= length;
        ry /= length;
        if (s.ix * rx + s.iy * ry < 0.6f || -(p.ix * rx + p.iy * ry) < 0.6f) {
            return false;
        }
        float tx = -ry;
        float ty = rx;
        if (tx * s.tx + ty * s.ty < 0.0f) {
            tx = -tx;
            ty = -ty;
        }
        for (EdgeLine* line : {&out.startLine, &out.stopLine}) {
            const EdgeLine& was = line == &out.startLine ? s : p;
            const Point2D a = was.at(was.from);
            const Point2D b = was.at(was.to);
            const float sign = line == &out.startLine ? 1.0f : -1.0f;
            line->tx = line->innerTx = tx;
            line->ty = line->innerTy = ty;
            line->nx = sign * rx;
            line->ny = sign * ry;
            line->from = std::min(line->along(a), line->along(b));
            line->to = std::max(line->along(a), line->along(b));
            // The module across the re-aimed edge, from the centroids of the
            // hits' outer and inner points.
            const float across = line->depth(line->innerOrigin);
            const float modules = line == &out.startLine ? 17.0f : 18.0f;
            if (across > 0.0f) {
                line->module = across / modules;
            }
        }
    } else if (std::fabs(s.tx * p.tx + s.ty * p.ty) < MIN_EDGE_COSINE) {
        return false;
    }
    const EdgeLine& a = out.startLine;
    const EdgeLine& b = out.stopLine;
    if (shortest < SHORT_EDGE * module) {
        module = moduleAcross(a.module, b.module);
    }
    const Point2D bMid = b.at(0.5f * (b.from + b.to));
    const Point2D aMid = a.at(0.5f * (a.from + a.to));
    const float width = a.depth(bMid) / module;
    if (width < 0.8f * MIN_WIDTH || b.depth(aMid) <= 0.0f) {
        return false;
    }
    out.columns = static_cast<int>(std::lround((width - 69.0f) / 17.0f));
    if (out.columns < 1 || out.columns > 30) {
        return false;
    }
    // Their extents must overlap along the edge, give or take the shear of
    // a symbol seen at a slant: rows need not cross the edges square.
    const float from = a.along(b.at(b.from));
    const float to = a.along(b.at(b.to));
    const float overlap = std::min(a.to, std::max(from, to)) - std::max(a.from, std::min(from, to));
    const float shorter = std::min(a.to - a.from, std::fabs(to - from));
    return overlap >= -0.5f * shorter - 2.0f * module - MAX_SHEAR * a.depth(bMid);
}

void OutlineFinder::find(const LineSampler& sampler, const std::vector<EdgeLine>& lines,
                         int maxOutlines, std::vector<SymbolOutline>& outlines) {
    outlines.clear();
    paired_.assign(lines.size(), 0);
    // Every compatible start-stop pair, scored by support; the best taken
    // first, each edge in one pair at most.
    pairs_.clear();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].kind != PatternHit::Start) {
            continue;
        }
        for (std::size_t j = 0; j < lines.size(); ++j) {
            Pair pair;
            if (lines[j].kind == PatternHit::Stop && pairUp(lines[i], lines[j], pair)) {
                pair.start = i;
                pair.stop = j;
                pairs_.push_back(pair);
            }
        }
    }
    // Best first, ties in the order found.
    insertionSort(pairs_.begin(), pairs_.end(),
                  [](const Pair& x, const Pair& y) { return x.score > y.score; });

    const auto add = [&](const EdgeLine* start, const EdgeLine* stop, int columns) {
        SymbolOutline o;
        o.columns = columns;
        // Downwards is the start edge's direction (the stop's, alone).
        const EdgeLine& lead = start ? *start : *stop;
        if (start) {
            o.hasStart = true;
            o.start = *start;
            if (!measureBar(sampler, *start, START_BAR_CENTRE, START_BAR_HALF, o.startTop,
                            o.startBottom, o.startTopCut, o.startBottomCut, 1.0f)) {
                return;
            }
        }
        if (stop) {
            o.hasStop = true;
            o.stop = *stop;
            const float sign = stop->tx * lead.tx + stop->ty * lead.ty >= 0.0f ? 1.0f : -1.0f;
            if (!measureBar(sampler, *stop, STOP_BAR_CENTRE, STOP_BAR_HALF, o.stopTop, o.stopBottom,
                            o.stopTopCut, o.stopBottomCut, sign)) {
                return;
            }
        }
        outlines.push_back(o);
    };
    for (const Pair& pair : pairs_) {
        if (static_cast<int>(outlines.size()) >= maxOutlines) {
            return;
        }
        if (paired_[pair.start] || paired_[pair.stop]) {
            continue;
        }
        paired_[pair.start] = paired_[pair.stop] = 1;
        add(&pair.startLine, &pair.stopLine, pair.columns);
    }
    // Lone edges, strongest first (lines come sorted by support), paired
    // ones too: a pair may have taken a stray match for a partner (a stop
    // pattern run into a dark surround, say), and the edge alone still
    // reads.
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (static_cast<int>(outlines.size()) >= maxOutlines) {
            return;
        }
        if (lines[i].support < 3) {
            continue;
        }
        const bool start = lines[i].kind == PatternHit::Start;
        add(start ? &lines[i] : nullptr, start ? nullptr : &lines[i], 0);
    }
}

bool OutlineFinder::provisionalMap(const SymbolOutline& outline, int columns, Homography& out) {
    Point2D from[12];
    Point2D to[12];
    if (outline.hasStart && outline.hasStop) {
        // The bars' ends, and where the lines joining them cross both edges
        // of both patterns: the edges measure u directly on either side,
        // which perspective across a wide symbol needs.
        const float width = 17.0f * static_cast<float>(columns) + 69.0f;
        const float stopU = stopBarU(columns);
        std::size_t n = 0;
        const auto add = [&](float u, float t, const Point2D& at) {
            if (std::isfinite(at.x()) && std::isfinite(at.y())) {
                from[n] = Point2D(u, t, 1.0f);
                to[n] = at;
                ++n;
            }
        };
        for (const float t : {0.0f, 1.0f}) {
            const Point2D& a = t == 0.0f ? outline.startTop : outline.startBottom;
            const Point2D& b = t == 0.0f ? outline.stopTop : outline.stopBottom;
            add(START_BAR_CENTRE, t, a);
            add(stopU, t, b);
            add(0.0f, t, outline.start.cross(a, b, false));
            add(17.0f, t, outline.start.cross(a, b, true));
            add(width - 18.0f, t, outline.stop.cross(a, b, true));
            add(width, t, outline.stop.cross(a, b, false));
        }
        return Homography::fit(from, to, n, out);
    }
    // One pattern: a parallelogram, rows square to its edge, u growing inwards
    // from the start (or, from the stop, outwards towards it).
    const EdgeLine& line = outline.hasStart ? outline.start : outline.stop;
    const Point2D top = outline.hasStart ? outline.startTop : outline.stopTop;
    const Point2D bottom = outline.hasStart ? outline.startBottom : outline.stopBottom;
    const float barU = outline.hasStart ? START_BAR_CENTRE : stopBarU(columns);
    // Inwards is +u from the start, -u from the stop.
    const float sign = outline.hasStart ? 1.0f : -1.0f;
    const float d = 10.0f * line.module;
    from[0] = Point2D(barU, 0.0f, 1.0f);
    from[1] = Point2D(barU, 1.0f, 1.0f);
    from[2] = Point2D(barU + sign * 10.0f, 0.0f, 1.0f);
    from[3] = Point2D(barU + sign * 10.0f, 1.0f, 1.0f);
    to[0] = top;
    to[1] = bottom;
    to[2] = Point2D(top.x() + d * line.nx, top.y() + d * line.ny, 1.0f);
    to[3] = Point2D(bottom.x() + d * line.nx, bottom.y() + d * line.ny, 1.0f);
    return Homography::fit(from, to, 4, out);
}

} // namespace pdf417
