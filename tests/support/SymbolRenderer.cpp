#include "tests/support/SymbolRenderer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

namespace pdf417 {
namespace test {

namespace {

// splitmix64 with Box-Muller on top: the same frames on every platform,
// unlike the standard library's distributions.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    double uniform() { return static_cast<double>(next() >> 11) * (1.0 / 9007199254740992.0); }

    double gaussian() {
        if (haveSpare_) {
            haveSpare_ = false;
            return spare_;
        }
        double u = 0.0;
        do {
            u = uniform();
        } while (u <= 0.0);
        const double v = uniform();
        const double r = std::sqrt(-2.0 * std::log(u));
        spare_ = r * std::sin(6.283185307179586 * v);
        haveSpare_ = true;
        return r * std::cos(6.283185307179586 * v);
    }

private:
    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }

    std::uint64_t state_;
    double spare_ = 0.0;
    bool haveSpare_ = false;
};

double gridHeight(const ModuleGrid& grid, const SymbolRenderer::Options& options) {
    return grid.rows() * options.rowHeight;
}

std::array<Vec2, 4> quietQuad(const Homography& s, double width, double height, double q) {
    return {s(-q, -q), s(width + q, -q), s(width + q, height + q), s(-q, height + q)};
}

} // namespace

bool SymbolRenderer::Frame::writePgm(const std::string& path) const {
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!file) {
        return false;
    }
    std::fprintf(file.get(), "P5\n%d %d\n255\n", width, height);
    return std::fwrite(pixels.data(), 1, pixels.size(), file.get()) == pixels.size();
}

std::array<Vec2, 4> SymbolRenderer::placeQuad(const ModuleGrid& grid, const Options& options,
                                              int frameWidth, int frameHeight) {
    const double w = grid.columns();
    const double h = gridHeight(grid, options);
    const double cx = std::isnan(options.centerX) ? frameWidth / 2.0 : options.centerX;
    const double cy = std::isnan(options.centerY) ? frameHeight / 2.0 : options.centerY;
    const Homography s = Homography::translation(cx, cy) *
                         Homography::rotation(options.rotationDegrees) *
                         Homography::scaling(options.moduleWidth, options.moduleWidth) *
                         Homography::translation(-w / 2.0, -h / 2.0);
    return {s(0, 0), s(w, 0), s(w, h), s(0, h)};
}

void SymbolRenderer::frameSize(const ModuleGrid& grid, const Options& options, int& width,
                               int& height) {
    width = options.frameWidth;
    height = options.frameHeight;
    if (width > 0 && height > 0) {
        return;
    }
    const double w = grid.columns();
    const double h = gridHeight(grid, options);
    const double q = options.quietZone;
    double needX = 0.0;
    double needY = 0.0;
    if (options.quad) {
        // Reach the far side of the placed quiet zone, plus the margin.
        const Homography s = Homography::rectToQuad(w, h, *options.quad);
        for (const Vec2& p : quietQuad(s, w, h, q)) {
            needX = std::max(needX, p.x + options.margin);
            needY = std::max(needY, p.y + options.margin);
        }
    } else {
        const double r = options.rotationDegrees * (3.14159265358979323846 / 180.0);
        const double c = std::fabs(std::cos(r));
        const double s = std::fabs(std::sin(r));
        const double ww = (w + 2 * q) * options.moduleWidth;
        const double hh = (h + 2 * q) * options.moduleWidth;
        needX = c * ww + s * hh + 2.0 * options.margin;
        needY = s * ww + c * hh + 2.0 * options.margin;
    }
    if (width <= 0) {
        width = static_cast<int>(std::ceil(needX));
    }
    if (height <= 0) {
        height = static_cast<int>(std::ceil(needY));
    }
}

SymbolRenderer::Frame SymbolRenderer::render(const ModuleGrid& grid, const Options& options) {
    Frame frame;
    frameSize(grid, options, frame.width, frame.height);
    frame.width = std::max(frame.width, 1);
    frame.height = std::max(frame.height, 1);
    const int fw = frame.width;
    const int fh = frame.height;
    const double w = grid.columns();
    const double h = gridHeight(grid, options);
    const double q = options.quietZone;
    const Homography s = Homography::rectToQuad(
        w, h, options.quad ? *options.quad : placeQuad(grid, options, fw, fh));
    frame.symbolToFrame = s;
    frame.widthModules = grid.columns();
    frame.heightModules = h;
    frame.modulePixels = options.moduleWidth;
    const double stopCenter = w - 18.0 + 3.5;
    const double us[3] = {0.0, 17.0, stopCenter};
    for (int i = 0; i < 3; ++i) {
        frame.corners[i] = s(us[i], 0.0);
        frame.corners[i + 3] = s(us[i], h);
    }

    const double background = options.background < 0.0 ? options.paper : options.background;
    const std::size_t count = static_cast<std::size_t>(fw) * static_cast<std::size_t>(fh);
    buffer_.assign(count, static_cast<float>(background));

    // Only the placed quiet zone's bounding box needs mapping.
    int x0 = 0;
    int y0 = 0;
    int x1 = fw;
    int y1 = fh;
    {
        double minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;
        bool bounded = true;
        for (const Vec2& corner :
             {Vec2{-q, -q}, Vec2{w + q, -q}, Vec2{w + q, h + q}, Vec2{-q, h + q}}) {
            Vec2 p;
            if (!s.map(corner.x, corner.y, p)) {
                bounded = false;
                break;
            }
            minX = std::min(minX, p.x);
            minY = std::min(minY, p.y);
            maxX = std::max(maxX, p.x);
            maxY = std::max(maxY, p.y);
        }
        if (bounded) {
            x0 = static_cast<int>(std::clamp(std::floor(minX) - 1.0, 0.0, double(fw)));
            y0 = static_cast<int>(std::clamp(std::floor(minY) - 1.0, 0.0, double(fh)));
            x1 = static_cast<int>(std::clamp(std::ceil(maxX) + 1.0, 0.0, double(fw)));
            y1 = static_cast<int>(std::clamp(std::ceil(maxY) + 1.0, 0.0, double(fh)));
        }
    }

    Homography inv;
    if (s.inverse(inv) && grid.columns() > 0 && grid.rows() > 0) {
        const auto& m = inv.matrix();
        const int ss = std::max(options.supersampling, 1);
        const double sub = 1.0 / ss;
        const double weight = 1.0 / (ss * ss);
        const int rows = grid.rows();
        const double rowHeight = options.rowHeight;
        const float ink = static_cast<float>(options.ink);
        const float paper = static_cast<float>(options.paper);
        const float bg = static_cast<float>(background);
        const double spread = std::clamp(options.inkSpread, -1.0, 1.0) / 2.0;
        const auto& marks = options.marks;
        // The gray level at a point of the frame.
        const auto shadeAt = [&](double x, double y) -> double {
            const double dw = m[6] * x + m[7] * y + m[8];
            if (!(dw > 0.0)) {
                return bg;
            }
            const double u = (m[0] * x + m[1] * y + m[2]) / dw;
            const double v = (m[3] * x + m[4] * y + m[5]) / dw;
            if (!(u >= -q && u < w + q && v >= -q && v < h + q)) {
                return bg;
            }
            if (marks) {
                const int mark = marks(u, v);
                if (mark >= 0) {
                    return mark > 0 ? ink : paper;
                }
            }
            if (!(v >= 0.0 && v < h)) {
                return paper;
            }
            const int row = std::min(static_cast<int>(v / rowHeight), rows - 1);
            const auto barAt = [&](double at) {
                return at >= 0.0 && at < w && grid.bar(static_cast<int>(at), row);
            };
            if (spread > 0.0) {
                return barAt(u) || barAt(u - spread) || barAt(u + spread) ? ink : paper;
            }
            if (spread < 0.0) {
                return barAt(u) && barAt(u + spread) && barAt(u - spread) ? ink : paper;
            }
            return barAt(u) ? ink : paper;
        };
        // The pixel corners' cells, on the current pixel row's top and bottom
        // edges; columns and rows off the grid are clamped to -1 and the
        // grid's size, and flagged invalid behind a perspective horizon.
        struct Cell {
            long col = 0;
            long row = 0;
            bool valid = false;
        };
        const auto cellOf = [&](double u, double v) {
            Cell c;
            c.col = u < 0.0 ? -1 : (u >= w ? grid.columns() : static_cast<long>(u));
            c.row = v < 0.0 ? -1
                            : (v >= h ? rows
                                      : std::min(static_cast<long>(v / rowHeight),
                                                 static_cast<long>(rows - 1)));
            c.valid = true;
            return c;
        };
        const auto cellAt = [&](double x, double y) {
            const double dw = m[6] * x + m[7] * y + m[8];
            if (!(dw > 0.0)) {
                return Cell();
            }
            return cellOf((m[0] * x + m[1] * y + m[2]) / dw, (m[3] * x + m[4] * y + m[5]) / dw);
        };
        // Colour of a whole cell, or -1 where it is not one colour (off the
        // grid when the quiet zone and the background differ).
        const bool plainMargin = background == options.paper;
        const auto cellShade = [&](long col, long row) -> float {
            if (col < 0 || col >= grid.columns() || row < 0 || row >= rows) {
                return plainMargin ? paper : -1.0f;
            }
            return grid.bar(static_cast<int>(col), static_cast<int>(row)) ? ink : paper;
        };
        // Spread reaches into the neighbouring cells of a row, marks into
        // whatever lies within their bounds: cells near either are not taken
        // whole.
        const auto& bounds = options.marksBounds;
        const auto wholeCells = [&](long c0, long c1, long r0, long r1) {
            if (marks && c1 + 1 >= bounds[0] && c0 <= bounds[2] &&
                (r1 + 1) * rowHeight >= bounds[1] && r0 * rowHeight <= bounds[3]) {
                return false;
            }
            if (spread != 0.0) {
                const float shade = cellShade(c0 - 1, r0);
                for (long r = r0; r <= r1; ++r) {
                    for (long c = c0 - 1; c <= c1 + 1; ++c) {
                        if (cellShade(c, r) != shade) {
                            return false;
                        }
                    }
                }
            }
            return true;
        };
        std::vector<Cell> top(static_cast<std::size_t>(x1 - x0 + 1));
        std::vector<Cell> bottom(top.size());
        // Without perspective, (u, v) is linear along a row: step instead of
        // dividing at every corner.
        const bool affine = m[6] == 0.0 && m[7] == 0.0 && m[8] > 0.0;
        const auto cornerRow = [&](int y, std::vector<Cell>& cells) {
            if (!affine) {
                for (int px = x0; px <= x1; ++px) {
                    cells[static_cast<std::size_t>(px - x0)] = cellAt(px, y);
                }
                return;
            }
            const double du = m[0] / m[8];
            const double dv = m[3] / m[8];
            double u = (m[0] * x0 + m[1] * y + m[2]) / m[8];
            double v = (m[3] * x0 + m[4] * y + m[5]) / m[8];
            for (std::size_t i = 0; i < cells.size(); ++i, u += du, v += dv) {
                cells[i] = cellOf(u, v);
            }
        };
        cornerRow(y0, top);
        for (int py = y0; py < y1; ++py) {
            cornerRow(py + 1, bottom);
            for (int px = x0; px < x1; ++px) {
                const std::size_t i = static_cast<std::size_t>(px - x0);
                const Cell corners[4] = {top[i], top[i + 1], bottom[i], bottom[i + 1]};
                float& out = buffer_[static_cast<std::size_t>(py) * fw + px];
                // The map keeps lines straight, so the pixel lies within the
                // cells spanned by its corners; when those are at most 2 x 2
                // cells of one colour, so is the whole pixel.
                bool valid = true;
                long c0 = corners[0].col, c1 = c0, r0 = corners[0].row, r1 = r0;
                for (const Cell& c : corners) {
                    valid = valid && c.valid;
                    c0 = std::min(c0, c.col);
                    c1 = std::max(c1, c.col);
                    r0 = std::min(r0, c.row);
                    r1 = std::max(r1, c.row);
                }
                if (valid && c1 - c0 <= 1 && r1 - r0 <= 1 && wholeCells(c0, c1, r0, r1)) {
                    const float first = cellShade(c0, r0);
                    if (first >= 0.0f && cellShade(c1, r0) == first && cellShade(c0, r1) == first &&
                        cellShade(c1, r1) == first) {
                        out = first;
                        continue;
                    }
                }
                double sum = 0.0;
                for (int j = 0; j < ss; ++j) {
                    const double y = py + (j + 0.5) * sub;
                    for (int k = 0; k < ss; ++k) {
                        sum += shadeAt(px + (k + 0.5) * sub, y);
                    }
                }
                out = static_cast<float>(sum * weight);
            }
            std::swap(top, bottom);
        }
    }

    if (options.blurSigma > 0.0) {
        const int r = static_cast<int>(std::ceil(3.0 * options.blurSigma)) + 1;
        blur(buffer_, fw, fh, std::max(x0 - r, 0), std::max(y0 - r, 0), std::min(x1 + r, fw),
             std::min(y1 + r, fh), options.blurSigma);
    }

    const Lighting& light = options.lighting;
    if (light.gradientX != 0.0 || light.gradientY != 0.0 || light.vignette != 0.0) {
        const double cx = fw / 2.0;
        const double cy = fh / 2.0;
        const double far2 = cx * cx + cy * cy;
        for (int y = 0; y < fh; ++y) {
            for (int x = 0; x < fw; ++x) {
                const double dx = x + 0.5 - cx;
                const double dy = y + 0.5 - cy;
                const double gain = (1.0 + light.gradientX * dx / cx + light.gradientY * dy / cy) *
                                    (1.0 - light.vignette * (dx * dx + dy * dy) / far2);
                float& value = buffer_[static_cast<std::size_t>(y) * fw + x];
                value = static_cast<float>(value * gain);
            }
        }
    }

    if (options.noiseSigma > 0.0) {
        Random random(options.seed);
        for (float& value : buffer_) {
            value += static_cast<float>(options.noiseSigma * random.gaussian());
        }
    }

    frame.pixels.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const float v = std::clamp(buffer_[i], 0.0f, 255.0f);
        frame.pixels[i] = static_cast<std::uint8_t>(v + 0.5f);
    }
    return frame;
}

void SymbolRenderer::blur(std::vector<float>& img, int width, int height, int x0, int y0, int x1,
                          int y1, double sigma) {
    const int r = static_cast<int>(std::ceil(3.0 * sigma));
    kernel_.assign(static_cast<std::size_t>(2 * r + 1), 0.0f);
    double total = 0.0;
    for (int i = -r; i <= r; ++i) {
        const double k = std::exp(-(i * i) / (2.0 * sigma * sigma));
        kernel_[static_cast<std::size_t>(i + r)] = static_cast<float>(k);
        total += k;
    }
    for (float& k : kernel_) {
        k = static_cast<float>(k / total);
    }
    // Separable, with the frame's border pixels repeated beyond it.
    scratch_.assign(img.begin(), img.end());
    for (int y = y0; y < y1; ++y) {
        for (int x = x0; x < x1; ++x) {
            float acc = 0.0f;
            for (int i = -r; i <= r; ++i) {
                const int xx = std::clamp(x + i, 0, width - 1);
                acc += kernel_[static_cast<std::size_t>(i + r)] *
                       img[static_cast<std::size_t>(y) * width + xx];
            }
            scratch_[static_cast<std::size_t>(y) * width + x] = acc;
        }
    }
    for (int y = y0; y < y1; ++y) {
        for (int x = x0; x < x1; ++x) {
            float acc = 0.0f;
            for (int i = -r; i <= r; ++i) {
                const int yy = std::clamp(y + i, 0, height - 1);
                acc += kernel_[static_cast<std::size_t>(i + r)] *
                       scratch_[static_cast<std::size_t>(yy) * width + x];
            }
            img[static_cast<std::size_t>(y) * width + x] = acc;
        }
    }
}

} // namespace test
} // namespace pdf417
