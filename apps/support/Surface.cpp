// SPDX-License-Identifier: BSD-3-Clause
#include "support/Surface.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>

namespace Veltrand::Apps {

namespace {

using Eigen::Vector3d;
using Eigen::Vector3f;
using Eigen::Vector3i;

class SurfaceNet {
public:
    SurfaceNet(const ScalarGrid& grid, float level)
        : m_grid(grid)
        , m_level(level)
        , m_mirrored(grid.gridToPatient.linear().determinant() < 0) {}

    Surface extract() {
        placeVertices();
        forEachCell([this](const Vector3i& point) {
            for (int axis = 0; axis < 3; ++axis)
                if (isInside(point) != isInside(point + Vector3i::Unit(axis)))
                    addQuad(point, axis);
        });
        computeNormals();
        return std::move(m_surface);
    }

private:
    /// Cells are named by their lowest corner. The first ones lie before the grid and the last ones reach
    /// beyond it, so that the surface closes there.
    template<class Visit>
    void forEachCell(Visit visit) const {
        for (int z = -1; z < m_grid.size.z(); ++z)
            for (int y = -1; y < m_grid.size.y(); ++y)
                for (int x = -1; x < m_grid.size.x(); ++x)
                    visit(Vector3i(x, y, z));
    }

    [[nodiscard]] std::size_t cellIndex(const Vector3i& cell) const {
        const Eigen::Vector<std::size_t, 3> count = (m_grid.size + Vector3i::Ones()).cast<std::size_t>();
        const Eigen::Vector<std::size_t, 3> place = (cell + Vector3i::Ones()).cast<std::size_t>();
        return (place.z() * count.y() + place.y()) * count.x() + place.x();
    }

    [[nodiscard]] bool isOnGrid(const Vector3i& point) const {
        return (point.array() >= 0).all() && (point.array() < m_grid.size.array()).all();
    }
    [[nodiscard]] float value(const Vector3i& point) const {
        return m_grid.values[m_grid.index(point.x(), point.y(), point.z())];
    }
    [[nodiscard]] bool isInside(const Vector3i& point) const {
        return isOnGrid(point) && value(point) > m_level;
    }

    /// Where the border crosses from one point to another, from 0 to 1.
    [[nodiscard]] double crossing(const Vector3i& from, const Vector3i& to) const {
        if (!isOnGrid(from) || !isOnGrid(to))
            return 0.5;
        const double start = value(from);
        return (m_level - start) / (value(to) - start);
    }

    void placeVertices() {
        m_vertices.assign(cellIndex(m_grid.size - Vector3i::Ones()) + 1, -1);
        forEachCell([this](const Vector3i& cell) {
            std::array<bool, 8> inside{};
            int count = 0;
            for (std::size_t corner = 0; corner < 8; ++corner)
                count += static_cast<int>(inside[corner] = isInside(cell + offset(corner)));
            if (count == 0 || count == 8)
                return;
            m_vertices[cellIndex(cell)] = static_cast<int>(m_surface.positions.size());
            const Vector3d position = cell.cast<double>() + meanCrossing(cell, inside);
            m_surface.positions.emplace_back((m_grid.gridToPatient * position).cast<float>());
        });
    }

    static Vector3i offset(std::size_t corner) {
        return {static_cast<int>(corner & 1U), static_cast<int>(corner >> 1U & 1U),
                static_cast<int>(corner >> 2U & 1U)};
    }

    [[nodiscard]] Vector3d meanCrossing(const Vector3i& cell, const std::array<bool, 8>& inside) const {
        Vector3d sum = Vector3d::Zero();
        int count = 0;
        for (std::size_t corner = 0; corner < 8; ++corner)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const std::size_t other = corner | std::size_t{1} << axis;
                if (inside[corner] == inside[other])
                    continue;
                const Vector3i from = offset(corner);
                const Vector3i to = offset(other);
                sum += from.cast<double>() + crossing(cell + from, cell + to) * (to - from).cast<double>();
                ++count;
            }
        return sum / count;
    }

    /// Joins the vertices of the four cells around the edge that leaves @p point along @p axis.
    void addQuad(const Vector3i& point, int axis) {
        const Vector3i b = Vector3i::Unit((axis + 1) % 3);
        const Vector3i c = Vector3i::Unit((axis + 2) % 3);
        // Counter-clockwise as seen from the edge's end.
        const std::array<Vector3i, 4> cells{point - b - c, point - c, point, point - b};
        std::array<int, 4> quad{};
        for (std::size_t i = 0; i < 4; ++i)
            quad[i] = m_vertices[cellIndex(cells[i])];
        if (isInside(point) == m_mirrored)
            std::swap(quad[1], quad[3]);
        // The shorter diagonal keeps the triangles closest to the border.
        const auto length = [&](std::size_t i, std::size_t j) {
            return (positionOf(quad[i]) - positionOf(quad[j])).squaredNorm();
        };
        const std::size_t first = length(0, 2) <= length(1, 3) ? 0 : 1;
        const auto corner = [&](std::size_t i) { return quad[(first + i) % 4]; };
        m_surface.triangles.emplace_back(corner(0), corner(1), corner(2));
        m_surface.triangles.emplace_back(corner(0), corner(2), corner(3));
    }

    [[nodiscard]] const Vector3f& positionOf(int vertex) const {
        return m_surface.positions[static_cast<std::size_t>(vertex)];
    }

    /// At each vertex the mean over its triangles, by their areas.
    void computeNormals() {
        m_surface.normals.assign(m_surface.positions.size(), Vector3f::Zero());
        for (const Vector3i& triangle : m_surface.triangles) {
            const Vector3f& corner = positionOf(triangle[0]);
            const Vector3f normal =
                (positionOf(triangle[1]) - corner).cross(positionOf(triangle[2]) - corner);
            for (const int vertex : triangle)
                m_surface.normals[static_cast<std::size_t>(vertex)] += normal;
        }
        for (Vector3f& normal : m_surface.normals)
            normal.normalize();
    }

    const ScalarGrid& m_grid;
    float m_level;
    bool m_mirrored;
    std::vector<int> m_vertices; ///< of each cell, -1 where there is none
    Surface m_surface;
};

/// An edge by its lower and its higher vertex.
using Edge = std::pair<int, int>;

/// The two edges by which a plane's trace leaves and enters a triangle.
struct Crossing {
    Edge enters;
    Edge leaves;
};

/// Nothing if the triangle lies on one side.
template<class IsAbove>
std::optional<Crossing> crossTriangle(const Vector3i& triangle, IsAbove isAbove) {
    std::optional<Edge> enters;
    std::optional<Edge> leaves;
    for (int i = 0; i < 3; ++i) {
        const int from = triangle[i];
        const int to = triangle[(i + 1) % 3];
        if (isAbove(from) == isAbove(to))
            continue;
        (isAbove(from) ? enters : leaves) = std::minmax(from, to);
    }
    if (!enters)
        return std::nullopt;
    return Crossing{*enters, *leaves};
}

} // namespace

Surface extractSurface(const ScalarGrid& grid, float level) {
    return SurfaceNet(grid, level).extract();
}

std::vector<std::vector<Vector3d>> crossSection(const Surface& surface, int axis, double position) {
    const auto place = [&surface](int vertex) {
        return Vector3d(surface.positions[static_cast<std::size_t>(vertex)].cast<double>());
    };
    const auto isAbove = [&](int vertex) { return place(vertex)[axis] > position; };
    // Where surfaces touch, an edge may belong to more than two triangles.
    std::multimap<Edge, Edge> steps;
    for (const Vector3i& triangle : surface.triangles)
        if (const auto crossing = crossTriangle(triangle, isAbove))
            steps.emplace(crossing->enters, crossing->leaves);

    std::vector<std::vector<Vector3d>> loops;
    while (!steps.empty()) {
        std::vector<Vector3d>& loop = loops.emplace_back();
        for (auto step = steps.begin(); step != steps.end();) {
            const Vector3d low = place(step->first.first);
            const Vector3d high = place(step->first.second);
            loop.push_back(low + (position - low[axis]) / (high[axis] - low[axis]) * (high - low));
            const Edge next = step->second;
            steps.erase(step);
            step = steps.find(next);
        }
    }
    return loops;
}

} // namespace Veltrand::Apps
