// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/AlignedBox.h>

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace Veltrand::Geometry {

namespace {

using Box = AlignedBox3d;
using Point = Box::Point;

} // namespace

TEST(AlignedBox, MeasuresAndContains) {
    const Box box(Point(-1, 0, 2), Point(3, 0, 5));
    EXPECT_EQ(box.size(), Point(4, 0, 3));
    EXPECT_EQ(box.center(), Point(1, 0, 3.5));
    EXPECT_TRUE(box.contains({-1, 0, 2}) && box.contains({3, 0, 5}));
    EXPECT_FALSE(box.contains({3.001, 0, 5}) || box.contains({0, 1e-9, 3}));
    const double huge = std::numeric_limits<double>::max();
    EXPECT_EQ(Box(Point::Constant(-huge), Point::Constant(huge)).center(), Point(0, 0, 0));
}

TEST(AlignedBox, ExtendsAndIntersects) {
    Box box;
    box.extend(Point(1, 2, 3));
    box.extend(Point(0, 5, 3));
    box.extend(Point(9, std::nan(""), 9));
    box.extend(Box());
    EXPECT_EQ(box, Box(Point(0, 2, 3), Point(1, 5, 3)));
    const Box unit(Point(0, 0, 0), Point(1, 1, 1));
    box.extend(unit);
    EXPECT_EQ(box, Box(Point(0, 0, 0), Point(1, 5, 3)));

    EXPECT_EQ(unit.intersection(Box(Point(0.5, -1, -1), Point(2, 2, 0.5))),
              Box(Point(0.5, 0, 0), Point(1, 1, 0.5)));
    EXPECT_EQ(unit.intersection(Box(Point(1, 0, 0), Point(2, 1, 1))), Box(Point(1, 0, 0), Point(1, 1, 1)));
    EXPECT_EQ(unit.intersection(Box(Point(1.1, 0, 0), Point(2, 1, 1))), Box());
    EXPECT_EQ(unit.intersection(Box()), Box());
    EXPECT_EQ(Box(Point(0, std::nan(""), 0), Point(1, 1, 1)), Box());
    EXPECT_EQ(Box(Point(0, 0, 1), Point(1, 1, 0)).size(), Point(0, 0, 0));
}

} // namespace Veltrand::Geometry
