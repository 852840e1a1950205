// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/LineStipple.h>

#include <Veltrand/GL/detail/LogMessage.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Veltrand::GL {

namespace {

using Eigen::Vector2d;
using Eigen::Vector4f;

// See wideLines_clip.
Vector4f clip(const Vector4f& point, const Vector4f& other) {
    constexpr float beyond = 1 + 1e-5F;
    const float side = point.z() < 0 ? 1.0F : -1.0F;
    const float inside = point.w() * beyond + side * point.z();
    const float otherInside = other.w() * beyond + side * other.z();
    if (!(inside < 0 && otherInside > 0))
        return point;
    return point + (other - point) * (inside / (inside - otherInside));
}

Vector2d toPixels(const Vector4f& point, const Vector2d& viewportSize) {
    return (point.head<2>().cast<double>() / double{point.w()} / 2).cwiseProduct(viewportSize);
}

} // namespace

std::vector<double> lengthsAlong(std::span<const Vector4f> points, const Vector2d& viewportSize) {
    constexpr double longest = 1e9; // of segments that have a place on the screen
    std::vector<double> lengths(points.size());
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Vector2d from = toPixels(clip(points[i - 1], points[i]), viewportSize);
        const Vector2d to = toPixels(clip(points[i], points[i - 1]), viewportSize);
        const double length = (to - from).norm();
        lengths[i] = lengths[i - 1] + (length < longest ? length : 0);
    }
    return lengths;
}

std::vector<Vector4f> LineStipple::readPoints(const VertexBuffer& vertices) const {
    const VertexBuffer::VertexAttrib& positions = vertices.attributes().front();
    const auto components = static_cast<std::size_t>(positions.components);
    std::vector<float> values(positions.count * components);
    vertices.bind();
    Buffer::glGetBufferSubDataImpl(Buffer::Target::Array, 0,
                                   static_cast<std::int64_t>(values.size() * sizeof(float)), values.data());
    const Placement& placement = m_placements[m_program];
    const Eigen::Matrix4f matrix =
        (placement.projectionMatrix * placement.viewMatrix * placement.modelMatrix).cast<float>();
    std::vector<Vector4f> points(positions.count);
    for (std::size_t i = 0; i < points.size(); ++i) {
        Vector4f point(0, 0, 0, 1);
        std::copy_n(&values[i * components], components, point.data());
        points[i] = matrix * point;
    }
    return points;
}

// Whether the pattern that is set is to run on from segment to segment.
bool LineStipple::runsOn(Primitive mode) const {
    constexpr unsigned short solid = 0xFFFF;
    return m_placements[m_program].pattern != solid &&
           (mode == Primitive::LineStrip || mode == Primitive::LineLoop ||
            mode == Primitive::LineStripAdjacency);
}

void LineStipple::warnOfRestarts() {
    if (!std::exchange(m_hasWarned, true))
        logMessage(Log::Warning, "GL.FixedFunctionPipeline",
                   "The stipple of a strip or loop begins anew with each segment, because it is drawn by "
                   "indices or its positions are not floats.");
}

void LineStipple::noteIndexedDraw(Primitive mode) {
    if (runsOn(mode))
        warnOfRestarts();
}

const VertexBuffer* LineStipple::arraysFor(const VertexBuffer& vertices, Primitive mode,
                                           std::span<const GLint> starts) {
    if (!runsOn(mode))
        return nullptr;
    if (vertices.attributes().front().type != GL_FLOAT) {
        warnOfRestarts();
        return nullptr;
    }
    const bool hasAdjacency = mode == Primitive::LineStripAdjacency;
    const Placement& placement = m_placements[m_program];
    const std::vector<Vector4f> points = readPoints(vertices);
    std::vector<float> bits(points.size());
    for (std::size_t run = 0; run < starts.size(); ++run) {
        const std::size_t end =
            run + 1 < starts.size() ? static_cast<std::size_t>(starts[run + 1]) : points.size();
        const std::size_t first =
            std::min(static_cast<std::size_t>(starts[run]) + std::size_t{hasAdjacency}, end);
        const auto lengths =
            lengthsAlong(std::span(points).subspan(first, end - first), placement.windowSize);
        for (std::size_t i = 0; i < lengths.size(); ++i)
            bits[first + i] =
                static_cast<float>(std::fmod(lengths[i] / std::max(placement.pixelsPerBit, 1.0), 16));
    }
    if (!m_bits)
        m_bits = std::make_unique<VertexBuffer>(Buffer::Usage::StreamDraw);
    m_bits->bind();
    m_bits->setData(bits);
    return m_bits.get();
}

} // namespace Veltrand::GL
