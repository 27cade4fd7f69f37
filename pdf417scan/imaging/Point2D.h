#pragma once

namespace pdf417 {

// A point in image pixels (x to the right, y downwards) with a weight, its
// mass, used by centroids and line fits.
class Point2D {
public:
    Point2D() = default;
    Point2D(float x, float y, float mass) : x_(x), y_(y), mass_(mass) {}

    float x() const { return x_; }
    float y() const { return y_; }
    float mass() const { return mass_; }

    void setX(float x) { x_ = x; }
    void setY(float y) { y_ = y; }
    void setMass(float mass) { mass_ = mass; }
    void set(float x, float y) {
        x_ = x;
        y_ = y;
    }
    void add(float dx, float dy) {
        x_ += dx;
        y_ += dy;
    }

    static float distance(const Point2D& a, Point2D b);
    // Midpoint with mass 1, whatever the masses of a and b.
    static Point2D middle(const Point2D& a, const Point2D& b);

private:
    float x_ = 0.0f;
    float y_ = 0.0f;
    float mass_ = 1.0f;
};

} // namespace pdf417
