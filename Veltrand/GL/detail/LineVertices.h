// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/GL.h>

#include <Eigen/Core>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

namespace Veltrand::GL {

/// The vertices of wide lines, four equal ones for each point. The neighbours are views of the same array
/// where they are the points moved by four.
class LineVertices {
public:
    using Positions = std::span<const Eigen::Vector3f>;

    /// Coordinate of a neighbour that is missing because the line is interrupted.
    static constexpr float missing = std::numeric_limits<float>::max();
    /// Points with larger coordinates do not count as finite.
    static constexpr double largest = 3.4e38;

    /// @param colors empty, or one for each point
    /// @param primitive Lines, LineStrip or LineLoop
    LineVertices(const std::vector<Eigen::Vector3d>& points, const std::vector<Eigen::Vector4d>& colors,
                 Primitive primitive);

    /// Whether there is nothing to draw.
    [[nodiscard]] bool isEmpty() const { return m_numSegments == 0; }
    [[nodiscard]] Positions points() const { return m_points; }
    [[nodiscard]] Positions previous() const { return m_previous; }
    [[nodiscard]] Positions next() const { return m_next; }
    /// Empty, or one for each vertex.
    [[nodiscard]] const std::vector<Eigen::Vector4f>& colors() const { return m_colors; }
    /// Where the line comes from and goes on to at each vertex: its neighbours past points that are repeated,
    /// and the vertex itself where there are none. Empty if no point of a polyline is repeated.
    [[nodiscard]] Positions before() const { return m_before; }
    /// Likewise.
    [[nodiscard]] Positions after() const { return m_after; }
    /// Points that were left out because they are not finite, as floats.
    [[nodiscard]] std::size_t numDropped() const { return m_numDropped; }

private:
    using Points = std::vector<Eigen::Vector3d>;
    using Colors = std::vector<Eigen::Vector4d>;

    void addPairs(const Points& points, const Colors& colors);
    void addPolyline(const Points& points, const Colors& colors, bool isLoop);
    void interrupt(const std::vector<std::size_t>& gaps, bool atSeam);
    [[nodiscard]] std::vector<bool> findRepeated() const;
    void passRepeated(bool isLoop);

    std::vector<Eigen::Vector3f> m_storage;
    std::vector<Eigen::Vector3f> m_previousStorage;
    std::vector<Eigen::Vector3f> m_nextStorage;
    std::vector<Eigen::Vector4f> m_colors;
    std::vector<Eigen::Vector3f> m_before;
    std::vector<Eigen::Vector3f> m_after;
    Positions m_points;
    Positions m_previous;
    Positions m_next;
    std::size_t m_numSegments = 0;
    std::size_t m_numDropped = 0;
};

} // namespace Veltrand::GL
