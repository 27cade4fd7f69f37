#include "tools/scanner/DebugPicture.h"

#include <stb_image_write.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace pdf417 {
namespace cli {

namespace {

using Colour = std::array<std::uint8_t, 3>;

constexpr Colour START_EDGE = {40, 110, 255};
constexpr Colour STOP_EDGE = {230, 40, 230};
constexpr Colour GRID = {40, 200, 60};
constexpr Colour UNREAD = {255, 40, 40};
constexpr Colour READ_OUTLINE = {255, 230, 0};
constexpr Colour FAILED_OUTLINE = {255, 140, 0};

class Canvas {
public:
    Canvas(const std::vector<std::uint8_t>& gray, int width, int height)
        : width_(width), height_(height), rgb_(gray.size() * 3) {
        // Dimmed, so that the marks stand out on white paper too.
        for (std::size_t i = 0; i < gray.size(); ++i) {
            const auto v = static_cast<std::uint8_t>(30 + gray[i] * 3 / 5);
            rgb_[3 * i] = rgb_[3 * i + 1] = rgb_[3 * i + 2] = v;
        }
    }

    void blend(int x, int y, const Colour& c, int alpha) {
        if (x < 0 || y < 0 || x >= width_ || y >= height_) {
            return;
        }
        std::uint8_t* p = &rgb_[3 * (static_cast<std::size_t>(y) * width_ + x)];
        for (int k = 0; k < 3; ++k) {
            p[k] = static_cast<std::uint8_t>((p[k] * (256 - alpha) + c[k] * alpha) >> 8);
        }
    }

    void line(const Point2D& a, const Point2D& b, const Colour& c, int thickness) {
        if (!std::isfinite(a.x()) || !std::isfinite(a.y()) || !std::isfinite(b.x()) ||
            !std::isfinite(b.y())) {
            return;
        }
        const float length = std::hypot(b.x() - a.x(), b.y() - a.y());
        // A line far outside the frame is clipped by the pixel test; its
        // length is bounded so that a wild one costs little.
        const int steps = static_cast<int>(std::min(length, 20000.0f) * 2.0f) + 1;
        for (int i = 0; i <= steps; ++i) {
            const float t = static_cast<float>(i) / static_cast<float>(steps);
            const int x = static_cast<int>(std::floor(a.x() + t * (b.x() - a.x())));
            const int y = static_cast<int>(std::floor(a.y() + t * (b.y() - a.y())));
            for (int dy = 0; dy < thickness; ++dy) {
                for (int dx = 0; dx < thickness; ++dx) {
                    blend(x + dx, y + dy, c, 256);
                }
            }
        }
    }

    void fill(const std::array<Point2D, 4>& quad, const Colour& c, int alpha) {
        float minX = quad[0].x(), maxX = minX, minY = quad[0].y(), maxY = minY;
        for (const Point2D& p : quad) {
            if (!std::isfinite(p.x()) || !std::isfinite(p.y())) {
                return;
            }
            minX = std::min(minX, p.x());
            maxX = std::max(maxX, p.x());
            minY = std::min(minY, p.y());
            maxY = std::max(maxY, p.y());
        }
        const int x0 = std::max(0, static_cast<int>(minX));
        const int x1 = std::min(width_ - 1, static_cast<int>(maxX));
        const int y0 = std::max(0, static_cast<int>(minY));
        const int y1 = std::min(height_ - 1, static_cast<int>(maxY));
        for (int y = y0; y <= y1; ++y) {
            for (int x = x0; x <= x1; ++x) {
                if (inside(quad, static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f)) {
                    blend(x, y, c, alpha);
                }
            }
        }
    }

    bool save(const std::string& path) const {
        return stbi_write_png(path.c_str(), width_, height_, 3, rgb_.data(), width_ * 3) != 0;
    }

private:
    // Inside a convex quadrilateral: on the same side of all four edges.
    static bool inside(const std::array<Point2D, 4>& q, float x, float y) {
        int sign = 0;
        for (int i = 0; i < 4; ++i) {
            const Point2D& a = q[i];
            const Point2D& b = q[(i + 1) % 4];
            const float cross = (b.x() - a.x()) * (y - a.y()) - (b.y() - a.y()) * (x - a.x());
            const int s = cross > 0.0f ? 1 : cross < 0.0f ? -1 : 0;
            if (s != 0 && sign != 0 && s != sign) {
                return false;
            }
            sign = s != 0 ? s : sign;
        }
        return true;
    }

    int width_;
    int height_;
    std::vector<std::uint8_t> rgb_;
};

} // namespace

bool DebugPicture::write(const std::string& path, const std::vector<std::uint8_t>& gray, int width,
                         int height, const ReadTrace& trace, bool read, std::string& error) {
    Canvas canvas(gray, width, height);
    for (const auto& cell : trace.unreadCells) {
        canvas.fill(cell, UNREAD, 110);
    }
    for (const ReadTrace::Segment& s : trace.gridLines) {
        canvas.line(s.from, s.to, GRID, 1);
    }
    for (const ReadTrace::Segment& s : trace.startEdges) {
        canvas.line(s.from, s.to, START_EDGE, 2);
    }
    for (const ReadTrace::Segment& s : trace.stopEdges) {
        canvas.line(s.from, s.to, STOP_EDGE, 2);
    }
    if (trace.hasGrid) {
        for (int i = 0; i < 4; ++i) {
            canvas.line(trace.outline[i], trace.outline[(i + 1) % 4],
                        read ? READ_OUTLINE : FAILED_OUTLINE, 2);
        }
    }
    if (!canvas.save(path)) {
        error = "cannot write " + path;
        return false;
    }
    return true;
}

} // namespace cli
} // namespace pdf417
