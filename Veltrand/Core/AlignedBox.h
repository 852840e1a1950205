// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>

#include <limits>
#include <numeric>

namespace Veltrand::Geometry {

/// A box with edges along the axes; its faces belong to it. There is one invalid box, which holds no point:
/// the default one.
template<class Scalar, int Dimension>
class AlignedBox {
public:
    /// One coordinate for each axis.
    using Point = Eigen::Matrix<Scalar, Dimension, 1>;

    /// The invalid box.
    AlignedBox() = default;
    /// The box between two corners; the invalid one unless @p min <= @p max in every component (also when a
    /// component is not a number).
    AlignedBox(const Point& min, const Point& max) {
        if ((min.array() <= max.array()).all()) {
            m_min = min;
            m_max = max;
        }
    }

    /// Whether the box holds any point.
    [[nodiscard]] bool isValid() const { return (m_min.array() <= m_max.array()).all(); }

    /// Corners; those of the invalid box are the largest and the lowest finite number.
    [[nodiscard]] const Point& min() const { return m_min; }
    /// The corner with the largest coordinates, see @ref min.
    [[nodiscard]] const Point& max() const { return m_max; }
    /// The lengths of the edges; zero for the invalid box. Integer edges have to fit the scalar.
    [[nodiscard]] Point size() const { return isValid() ? Point(m_max - m_min) : Point(Point::Zero()); }
    /// The point in the middle, for integers rounded towards @ref min; zero for the invalid box.
    [[nodiscard]] Point center() const {
        return m_min.binaryExpr(m_max,
                                [](Scalar a, Scalar b) { return a <= b ? std::midpoint(a, b) : Scalar(0); });
    }

    /// Whether @p point lies inside or on a face; never for a component that is not a number.
    [[nodiscard]] bool contains(const Point& point) const {
        return (m_min.array() <= point.array()).all() && (point.array() <= m_max.array()).all();
    }

    /// Grows the box until it holds @p point. A point with a component that is not a number changes nothing.
    void extend(const Point& point) {
        if ((point.array() == point.array()).all()) {
            m_min = m_min.cwiseMin(point);
            m_max = m_max.cwiseMax(point);
        }
    }
    /// Grows the box until it holds @p box; the invalid one changes nothing.
    void extend(const AlignedBox& box) {
        m_min = m_min.cwiseMin(box.m_min);
        m_max = m_max.cwiseMax(box.m_max);
    }

    /// The box of the points that lie in both: the invalid one when there are none, a flat one when the boxes
    /// only touch.
    [[nodiscard]] AlignedBox intersection(const AlignedBox& other) const {
        return AlignedBox(m_min.cwiseMax(other.m_min), m_max.cwiseMin(other.m_max));
    }

    /// By corners; all invalid boxes are equal.
    [[nodiscard]] friend bool operator==(const AlignedBox& a, const AlignedBox& b) {
        return a.m_min == b.m_min && a.m_max == b.m_max;
    }

private:
    Point m_min = Point::Constant(std::numeric_limits<Scalar>::max());
    Point m_max = Point::Constant(std::numeric_limits<Scalar>::lowest());
};

using AlignedBox3d = AlignedBox<double, 3>;

} // namespace Veltrand::Geometry
