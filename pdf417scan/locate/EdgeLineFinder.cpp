#include "pdf417scan/locate/EdgeLineFinder.h"

#include "pdf417scan/util/InsertionSort.h"

#include <algorithm>
#include <cmath>

namespace pdf417 {

namespace {

// Pairs of hits tried per line: plenty for the few dozen hits of a symbol
// edge among a few hundred strays.
constexpr int PAIR_TRIALS = 96;

float patternModules(PatternHit::Kind kind) {
    return kind == PatternHit::Start ? 17.0f : 18.0f;
}

// A fixed pseudo-random sequence (xorshift), so that every run of a frame
// picks the same pairs.
struct Sequence {
    std::uint32_t state = 2463534242u;
    std::uint32_t next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
};

// Total least squares through points: their centroid and the direction of
// largest spread (`fallback` when they are too few to tell).
void fitLine(const std::vector<PatternHit>& hits, const std::vector<std::uint32_t>& members,
             bool inner, float fallbackX, float fallbackY, Point2D& origin, float& tx, float& ty) {
    const auto point = [&](std::uint32_t i) -> const Point2D& {
        return inner ? hits[i].inner : hits[i].outer;
    };
    double sx = 0, sy = 0;
    for (const std::uint32_t i : members) {
        sx += point(i).x();
        sy += point(i).y();
    }
    const double n = static_cast<double>(members.size());
    const double cx = sx / n;
    const double cy = sy / n;
    double sxx = 0, sxy = 0, syy = 0;
    for (const std::uint32_t i : members) {
        const double dx = point(i).x() - cx;
        const double dy = point(i).y() - cy;
        sxx += dx * dx;
        sxy += dx * dy;
        syy += dy * dy;
    }
    origin = Point2D(static_cast<float>(cx), static_cast<float>(cy), 1.0f);
    tx = fallbackX;
    ty = fallbackY;
    if (members.size() >= 3 && sxx + syy > 0.0) {
        const double angle = 0.5 * std::atan2(2.0 * sxy, sxx - syy);
        tx = static_cast<float>(std::cos(angle));
        ty = static_cast<float>(std::sin(angle));
        // Keep the sense of the fallback, so both edges run the same way.
        if (tx * fallbackX + ty * fallbackY < 0.0f) {
            tx = -tx;
            ty = -ty;
        }
    }
}

} // namespace

Point2D EdgeLine::cross(const Point2D& a, const Point2D& b, bool inner) const {
    const Point2D& o = inner ? innerOrigin : origin;
    const float ex = inner ? innerTx : tx;
    const float ey = inner ? innerTy : ty;
    const float dx = b.x() - a.x();
    const float dy = b.y() - a.y();
    const float det = dx * ey - dy * ex;
    if (std::fabs(det) < 1e-6f * std::hypot(dx, dy)) {
        return Point2D(NAN, NAN, 1.0f);
    }
    // a + s (b - a) = o + r e, solved for s.
    const float s = ((o.x() - a.x()) * ey - (o.y() - a.y()) * ex) / det;
    return Point2D(a.x() + s * dx, a.y() + s * dy, 1.0f);
}

int EdgeLineFinder::collect(const std::vector<PatternHit>& hits, const EdgeLine& line, float module,
                            std::vector<std::uint32_t>& members) const {
    members.clear();
    const float reach = std::max(1.2f, 0.6f * module);
    for (const std::uint32_t i : free_) {
        const PatternHit& h = hits[i];
        if (h.kind != line.kind || std::fabs(line.depth(h.outer)) > reach) {
            continue;
        }
        // The inner edge lies a pattern's width inside, at the line's module.
        const float across = line.depth(h.inner);
        const float width = patternModules(h.kind) * module;
        if (std::fabs(across - width) > 0.3f * width) {
            continue;
        }
        members.push_back(i);
    }
    return static_cast<int>(members.size());
}

bool EdgeLineFinder::refit(const std::vector<PatternHit>& hits,
                           const std::vector<std::uint32_t>& members, EdgeLine& line) {
    // Two points keep the sampled direction.
    fitLine(hits, members, false, line.tx, line.ty, line.origin, line.tx, line.ty);
    fitLine(hits, members, true, line.tx, line.ty, line.innerOrigin, line.innerTx, line.innerTy);
    // The inner edge once more without the hits that strayed from it by more
    // than a pixel (a pattern's inner end is where a misread run shows).
    inliers_.clear();
    for (const std::uint32_t i : members) {
        const Point2D& p = hits[i].inner;
        const float off = (p.x() - line.innerOrigin.x()) * line.innerTy -
                          (p.y() - line.innerOrigin.y()) * line.innerTx;
        if (std::fabs(off) <= 1.0f) {
            inliers_.push_back(i);
        }
    }
    if (inliers_.size() >= 3 && inliers_.size() < members.size()) {
        fitLine(hits, inliers_, true, line.tx, line.ty, line.innerOrigin, line.innerTx,
                line.innerTy);
    }
    line.nx = -line.ty;
    line.ny = line.tx;
    float inward = 0.0f;
    for (const std::uint32_t i : members) {
        inward += (hits[i].inner.x() - hits[i].outer.x()) * line.nx +
                  (hits[i].inner.y() - hits[i].outer.y()) * line.ny;
    }
    if (inward < 0.0f) {
        line.nx = -line.nx;
        line.ny = -line.ny;
    }
    return std::isfinite(line.tx) && std::isfinite(line.ty) && std::isfinite(line.innerTx) &&
           std::isfinite(line.innerTy);
}

void EdgeLineFinder::keepLongestRun(const std::vector<PatternHit>& hits, const EdgeLine& line,
                                    float maxGap) {
    std::sort(best_.begin(), best_.end(), [&](std::uint32_t a, std::uint32_t b) {
        return line.along(hits[a].outer) < line.along(hits[b].outer);
    });
    std::size_t bestFirst = 0;
    std::size_t bestCount = 0;
    for (std::size_t first = 0; first < best_.size();) {
        std::size_t end = first + 1;
        while (end < best_.size() &&
               line.along(hits[best_[end]].outer) - line.along(hits[best_[end - 1]].outer) <=
                   maxGap) {
            ++end;
        }
        if (end - first > bestCount) {
            bestFirst = first;
            bestCount = end - first;
        }
        first = end;
    }
    best_.erase(best_.begin() + static_cast<std::ptrdiff_t>(bestFirst + bestCount), best_.end());
    best_.erase(best_.begin(), best_.begin() + static_cast<std::ptrdiff_t>(bestFirst));
}

void EdgeLineFinder::find(const std::vector<PatternHit>& hits, int maxLines,
                          std::vector<EdgeLine>& lines) {
    lines.clear();
    used_.assign(hits.size(), 0);
    Sequence sequence;
    for (const PatternHit::Kind kind : {PatternHit::Start, PatternHit::Stop}) {
        for (int found = 0; found < maxLines; ++found) {
            free_.clear();
            for (std::uint32_t i = 0; i < hits.size(); ++i) {
                if (!used_[i] && hits[i].kind == kind) {
                    free_.push_back(i);
                }
            }
            const std::size_t count = free_.size();
            if (count < 2) {
                break;
            }
            // Every pair when there are few hits, sampled pairs otherwise.
            const bool exhaustive = count * (count - 1) / 2 <= PAIR_TRIALS;
            const int trials = exhaustive ? static_cast<int>(count * (count - 1) / 2) : PAIR_TRIALS;
            int bestSupport = 1;
            EdgeLine best;
            float bestModule = 0.0f;
            std::size_t a = 0;
            std::size_t b = 1;
            for (int trial = 0; trial < trials; ++trial) {
                if (exhaustive) {
                    if (trial > 0 && ++b == count) {
                        ++a;
                        b = a + 1;
                    }
                } else {
                    a = sequence.next() % count;
                    b = sequence.next() % count;
                    if (a == b) {
                        continue;
                    }
                }
                const PatternHit& p = hits[free_[a]];
                const PatternHit& q = hits[free_[b]];
                const float dx = q.outer.x() - p.outer.x();
                const float dy = q.outer.y() - p.outer.y();
                const float length = std::hypot(dx, dy);
                if (length < 2.0f * std::min(p.module, q.module)) {
                    continue;
                }
                EdgeLine line;
                line.kind = kind;
                line.origin = p.outer;
                line.tx = dx / length;
                line.ty = dy / length;
                line.nx = -line.ty;
                line.ny = line.tx;
                const float pDepth = line.depth(p.inner);
                if (pDepth < 0.0f) {
                    line.nx = -line.nx;
                    line.ny = -line.ny;
                }
                const float pModule = std::fabs(pDepth) / patternModules(kind);
                const float qModule = line.depth(q.inner) / patternModules(kind);
                if (!(qModule > 0.0f) ||
                    std::max(pModule, qModule) > 1.6f * std::min(pModule, qModule)) {
                    continue;
                }
                const float module = 0.5f * (pModule + qModule);
                const int support = collect(hits, line, module, members_);
                if (support > bestSupport) {
                    bestSupport = support;
                    best = line;
                    bestModule = module;
                    best_.swap(members_);
                }
            }
            if (bestSupport < 2) {
                break;
            }
            // Refit on the agreeing hits, then gather again about the
            // refitted line; the module is the median across it.
            if (!refit(hits, best_, best)) {
                break;
            }
            modules_.clear();
            for (const std::uint32_t i : best_) {
                modules_.push_back(best.depth(hits[i].inner) / patternModules(kind));
            }
            std::nth_element(modules_.begin(),
                             modules_.begin() + static_cast<std::ptrdiff_t>(modules_.size() / 2),
                             modules_.end());
            bestModule = modules_[modules_.size() / 2];
            if (collect(hits, best, bestModule, members_) >= 2) {
                best_.swap(members_);
            }
            // One symbol's edge is one unbroken run of hits: a stray match
            // further along the same line (another symbol, text) is cut off,
            // keeping the longest run whose gaps stay under a few rows.
            keepLongestRun(hits, best, std::max(30.0f, 20.0f * bestModule));
            if (best_.size() < 2) {
                for (const std::uint32_t i : best_) {
                    used_[i] = 1;
                }
                continue;
            }
            refit(hits, best_, best);
            best.module = bestModule;
            best.support = static_cast<int>(best_.size());
            best.from = best.to = best.along(hits[best_[0]].outer);
            best.contrast = 0.0f;
            float ix = 0.0f;
            float iy = 0.0f;
            for (const std::uint32_t i : best_) {
                used_[i] = 1;
                best.contrast += hits[i].contrast / static_cast<float>(best_.size());
                const float dx = hits[i].inner.x() - hits[i].outer.x();
                const float dy = hits[i].inner.y() - hits[i].outer.y();
                const float length = std::hypot(dx, dy);
                if (length > 0.0f) {
                    ix += dx / length;
                    iy += dy / length;
                }
                const float t = best.along(hits[i].outer);
                best.from = std::min(best.from, t);
                best.to = std::max(best.to, t);
            }
            const float inward = std::hypot(ix, iy);
            best.ix = inward > 0.0f ? ix / inward : best.nx;
            best.iy = inward > 0.0f ? iy / inward : best.ny;
            lines.push_back(best);
        }
    }
    // Most supported first, ties in the order found.
    insertionSort(lines.begin(), lines.end(),
                  [](const EdgeLine& x, const EdgeLine& y) { return x.support > y.support; });
}

} // namespace pdf417
