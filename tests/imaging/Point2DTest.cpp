#include "pdf417scan/imaging/Point2D.h"

#include <gtest/gtest.h>

namespace pdf417 {
namespace {

TEST(Point2D, ValuesAndMass) {
    const Point2D origin;
    EXPECT_EQ(origin.x(), 0);
    EXPECT_EQ(origin.y(), 0);
    EXPECT_EQ(origin.mass(), 1);

    Point2D p(1, 2, 5);
    p.add(2, 2);
    p.set(p.x() * 2, p.y());
    EXPECT_EQ(p.x(), 6);
    EXPECT_EQ(p.y(), 4);
    EXPECT_EQ(p.mass(), 5); // set and add keep the mass
    p.setX(3);
    p.setY(0);
    p.setMass(2);
    EXPECT_EQ(Point2D::distance(p, Point2D(0, 4, 9)), 5);
    EXPECT_EQ(Point2D::distance(Point2D(0, 4, 9), p), 5);

    const Point2D m = Point2D::middle(Point2D(0, 0, 5), Point2D(3, -1, 5));
    EXPECT_EQ(m.x(), 1.5f);
    EXPECT_EQ(m.y(), -0.5f);
    EXPECT_EQ(m.mass(), 1);
}

} // namespace
} // namespace pdf417
