// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/detail/DrawCalls.h>

#include <Eigen/Core>
#include <array>
#include <span>
#include <vector>

namespace Veltrand::GL {

/// The length in pixels of the polyline through points of clip space up to each of them, as the shaders of
/// wide lines measure it: what lies beyond the near or the far plane does not count.
std::vector<double> lengthsAlong(std::span<const Eigen::Vector4f> points,
                                 const Eigen::Vector2d& viewportSize);

/// Where the vertices of wide lines lie in the stipple pattern, for draws of line strips and loops with
/// `FixedFunctionPipeline`, whose shaders see one segment at a time.
class LineStipple final : public DrawObserver {
public:
    /// What the uniforms of a program say.
    struct Placement {
        Eigen::Matrix4d projectionMatrix = Eigen::Matrix4d::Identity();
        Eigen::Matrix4d viewMatrix = Eigen::Matrix4d::Identity();
        Eigen::Matrix4d modelMatrix = Eigen::Matrix4d::Identity();
        Eigen::Vector2d windowSize = Eigen::Vector2d::Ones();
        double pixelsPerBit = 1;
        unsigned short pattern = 0xFFFF;
    };

    /// Of the program that was chosen last.
    [[nodiscard]] Placement& placement() { return m_placements[m_program]; }
    void chooseProgram(std::size_t program) { m_program = program; }

    [[nodiscard]] const VertexBuffer* arraysFor(const VertexBuffer& vertices, Primitive mode,
                                                std::span<const GLint> starts) override;
    /// Warns once of a pattern that begins anew with each segment.
    void noteIndexedDraw(Primitive mode) override;

private:
    [[nodiscard]] bool runsOn(Primitive mode) const;
    void warnOfRestarts();
    [[nodiscard]] std::vector<Eigen::Vector4f> readPoints(const VertexBuffer& vertices) const;

    std::array<Placement, 6> m_placements;
    std::size_t m_program = 0;
    bool m_hasWarned = false;
    std::unique_ptr<VertexBuffer> m_bits; ///< null before the first draw that needs it
};

} // namespace Veltrand::GL
