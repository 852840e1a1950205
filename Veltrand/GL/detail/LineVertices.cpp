// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/LineVertices.h>

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace Veltrand::GL {

namespace {

using Eigen::Vector3d;
using Eigen::Vector3f;

constexpr std::size_t copies = 4;

// Of the squared lengths of two segments: where the shorter one hardly parts its points.
constexpr double negligible = 1e-3 * 1e-3;

template<class Vector>
bool isApproximatelyEqual(const Vector& a, const Vector& b, double squaredDistance) {
    constexpr double precision = 1e-12;
    return squaredDistance <= precision * precision * std::min(a.squaredNorm(), b.squaredNorm());
}

bool isOneNegligible(double squaredLength, double otherSquaredLength) {
    return squaredLength <= negligible * otherSquaredLength ||
           otherSquaredLength <= negligible * squaredLength;
}

bool isFinite(const Vector3d& point) {
    return std::abs(point.x()) <= LineVertices::largest && std::abs(point.y()) <= LineVertices::largest &&
           std::abs(point.z()) <= LineVertices::largest;
}

// Writes equal vertices from `index` on.
template<class Vertex>
void fill(std::vector<Vertex>& vertices, std::size_t index, const std::type_identity_t<Vertex>& vertex,
          std::size_t count = copies) {
    std::fill_n(vertices.begin() + static_cast<std::ptrdiff_t>(index), count, vertex);
}

} // namespace

LineVertices::LineVertices(const Points& points, const Colors& colors, Primitive primitive) {
    if (primitive == Primitive::Lines)
        addPairs(points, colors);
    else
        addPolyline(points, colors, primitive == Primitive::LineLoop);
}

void LineVertices::addPairs(const Points& points, const Colors& colors) {
    const std::size_t numPairs = points.size() / 2;
    m_storage.resize(2 * copies * numPairs);
    m_previousStorage.resize(m_storage.size());
    m_nextStorage.resize(m_storage.size());
    m_colors.resize(colors.empty() ? 0 : m_storage.size());

    std::size_t vertex = 0;
    for (std::size_t i = 0; i + 1 < points.size(); i += 2) {
        const std::size_t finite = std::size_t{isFinite(points[i])} + std::size_t{isFinite(points[i + 1])};
        m_numDropped += 2 - finite;
        if (finite < 2)
            continue;
        fill(m_storage, vertex, points[i].cast<float>());
        fill(m_storage, vertex + copies, points[i + 1].cast<float>());
        fill(m_previousStorage, vertex, points[i].cast<float>(), 2 * copies);
        fill(m_nextStorage, vertex, points[i + 1].cast<float>(), 2 * copies);
        if (!colors.empty()) {
            fill(m_colors, vertex, colors[i].cast<float>());
            fill(m_colors, vertex + copies, colors[i + 1].cast<float>());
        }
        vertex += 2 * copies;
    }
    m_numSegments = vertex / (2 * copies);
    m_points = Positions(m_storage).first(vertex);
    m_previous = Positions(m_previousStorage).first(vertex);
    m_next = Positions(m_nextStorage).first(vertex);
    m_colors.resize(std::min(m_colors.size(), vertex));
}

void LineVertices::addPolyline(const Points& points, const Colors& colors, bool isLoop) {
    // The points with one more at either end; a loop has its first point at its end too.
    m_storage.resize(copies * (points.size() + 3));
    m_colors.resize(colors.empty() ? 0 : copies * (points.size() + 1));
    std::vector<std::size_t> gaps; // the vertices before which points are missing
    std::size_t end = copies;
    bool isInterrupted = false;
    bool isSeamMissing = false;
    // Points that are repeated have a negligible segment beside another one.
    const double squaredSeam =
        isLoop && !points.empty() ? (points.front() - points.back()).squaredNorm() : NAN;
    double lastSquaredLength = squaredSeam;
    bool mayRepeat = false;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!isFinite(points[i])) {
            ++m_numDropped;
            isInterrupted = true;
            continue;
        }
        const double squaredLength = i > 0 ? (points[i] - points[i - 1]).squaredNorm() : 0;
        if (i > 0 && isApproximatelyEqual(points[i], points[i - 1], squaredLength) &&
            (colors.empty() ||
             isApproximatelyEqual(colors[i], colors[i - 1], (colors[i] - colors[i - 1]).squaredNorm())))
            continue;
        if (i > 0) {
            mayRepeat |= isOneNegligible(squaredLength, lastSquaredLength);
            lastSquaredLength = squaredLength;
        }
        if (isInterrupted && end > copies)
            gaps.push_back(end - copies);
        isSeamMissing |= isInterrupted && end == copies;
        isInterrupted = false;
        fill(m_storage, end, points[i].cast<float>());
        if (!colors.empty())
            fill(m_colors, end - copies, colors[i].cast<float>());
        end += copies;
    }

    const std::size_t numPoints = end / copies - 1;
    if (numPoints < 2)
        return;
    const Vector3f first = m_storage[copies];
    const Vector3f last = m_storage[end - 1];
    if (isLoop) {
        std::fill_n(&m_storage[end], copies, first);
        if (!colors.empty())
            std::copy_n(m_colors.begin(), copies, &m_colors[end - copies]);
        isSeamMissing |= isInterrupted;
        if (isSeamMissing)
            gaps.push_back(end - copies);
        end += copies;
    }
    const std::size_t size = end - copies;
    m_numSegments = size / copies - 1 - gaps.size();
    if (m_numSegments == 0)
        return;
    std::fill_n(m_storage.begin(), copies, isLoop ? last : first);
    std::fill_n(&m_storage[end], copies, isLoop ? m_storage[2 * copies] : last);
    m_previous = Positions(m_storage).subspan(0, size);
    m_points = Positions(m_storage).subspan(copies, size);
    m_next = Positions(m_storage).subspan(2 * copies, size);
    m_colors.resize(std::min(m_colors.size(), size));
    if (!gaps.empty())
        interrupt(gaps, isLoop && isSeamMissing);
    if (mayRepeat || isOneNegligible(squaredSeam, lastSquaredLength))
        passRepeated(isLoop);
}

void LineVertices::interrupt(const std::vector<std::size_t>& gaps, bool atSeam) {
    m_previousStorage.assign(m_previous.begin(), m_previous.end());
    m_nextStorage.assign(m_next.begin(), m_next.end());
    const Vector3f none = Vector3f::Constant(missing);
    if (atSeam)
        fill(m_previousStorage, 0, none);
    for (const std::size_t gap : gaps) {
        fill(m_nextStorage, gap - copies, none);
        fill(m_previousStorage, gap, none);
    }
    m_previous = m_previousStorage;
    m_next = m_nextStorage;
}

// For each point whether it is repeated by the next one: whether both lie next to nothing from where the
// segment before or the one after them ends, compared to its length.
std::vector<bool> LineVertices::findRepeated() const {
    const std::size_t last = m_points.size() / copies - 1;
    std::vector<bool> repeated;
    const auto scan = [&](std::size_t from, std::size_t to, const Vector3f& neighbour) {
        Vector3f corner = m_points[copies * from];
        float reference = neighbour.x() == missing ? 0 : (corner - neighbour).squaredNorm();
        for (std::size_t i = from; i != to;) {
            const std::size_t segment = from < to ? i : i - 1;
            const Vector3f& start = m_points[copies * i];
            i = from < to ? i + 1 : i - 1;
            const Vector3f& end = m_points[copies * i];
            const bool isGap = m_next[copies * segment].x() == missing;
            if (!isGap && (end - corner).squaredNorm() <= static_cast<float>(negligible) * reference) {
                repeated.resize(last + 1);
                repeated[segment] = true;
                continue;
            }
            corner = end;
            reference = isGap ? 0 : (end - start).squaredNorm();
        }
    };
    scan(0, last, m_previous.front());
    scan(last, 0, m_next.back());
    return repeated;
}

void LineVertices::passRepeated(bool isLoop) {
    const std::vector<bool> repeated = findRepeated();
    if (repeated.empty())
        return;
    const std::size_t last = repeated.size() - 1;
    m_before.assign(m_previous.begin(), m_previous.end());
    m_after.assign(m_next.begin(), m_next.end());
    const auto pass = [this](std::vector<Vector3f>& neighbours, std::size_t from, std::size_t to) {
        const bool isEnd = neighbours[copies * from] == m_points[copies * from];
        fill(neighbours, copies * to, isEnd ? m_points[copies * to] : neighbours[copies * from]);
    };
    // The first and the last point of a loop are one.
    for (int round = 0; round < (isLoop ? 2 : 1); ++round) {
        if (isLoop) {
            fill(m_before, 0, m_before[copies * last]);
            fill(m_after, copies * last, m_after[0]);
        }
        for (std::size_t i = 0; i < last; ++i)
            if (repeated[i])
                pass(m_before, i, i + 1);
        for (std::size_t i = last; i-- > 0;)
            if (repeated[i])
                pass(m_after, i + 1, i);
    }
}

} // namespace Veltrand::GL
