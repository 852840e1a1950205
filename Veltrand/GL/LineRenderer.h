// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/InstanceManager.h>

#include <Eigen/Core>
#include <memory>
#include <string>
#include <vector>

namespace Veltrand::GL {

/// Draws lines of any width, plain or stippled, in one colour or with a colour for each point.
///
///     const LineRenderer::Options red(Eigen::Vector3d(1, 0, 0), 3);
///     LineRenderer::get()->renderLineStrip(points, red, viewState);
///
/// Widths are pixels, at whatever depth. Joins are mitred, and bevelled in turns above 151 degrees; ends are
/// square at the point. Points that are repeated, in another colour too, are one corner: a segment without
/// length draws nothing. What lies in front of the near or behind the far plane is cut off. Lines are front
/// faces, wherever they run.
///
/// Smooth edges need blending, which is the caller's: colours are not premultiplied, and opacity carries how
/// much of a pixel is covered. `Blending(Blending::Preset::Alpha)` does. Where blending is off for the first
/// draw buffer, edges are hard, so that the line does not get wider, and multisampling smooths them.
/// Transparent lines cover themselves twice only where they cross, and where a segment is too short for the
/// inside of a join.
///
/// There is one object per context, used on the thread on which it is current. Messages about points go to
/// the log category "GL.LineRenderer".
class VELTRAND_GL_API LineRenderer : public InstanceManager<LineRenderer> {
public:
    /// How lines look.
    struct VELTRAND_GL_API Options {
        /// Red, green, blue and opacity of lines that have no colours of their own.
        Eigen::Vector4d color{1, 1, 1, 1};
        /// Pixels divided by `dpiScale()`; nothing is drawn from 0 down.
        double lineWidth = 1;
        /// From the points to the world.
        Eigen::Matrix4d modelMatrix = Eigen::Matrix4d::Identity();
        /// Which parts are drawn, from the start of the line and from the lowest bit; 0xFFFF for all.
        unsigned short stipplePattern = 0xFFFF;
        /// Pixels per bit of the pattern.
        double stippleFactor = 1;

        Options() = default;
        /// The members in their order.
        Options(const Eigen::Vector4d& color, double lineWidth = 1,
                const Eigen::Matrix4d& modelMatrix = Eigen::Matrix4d::Identity(),
                unsigned short stipplePattern = 0xFFFF, double stippleFactor = 1);
        /// Opaque.
        Options(const Eigen::Vector3d& color, double lineWidth = 1,
                const Eigen::Matrix4d& modelMatrix = Eigen::Matrix4d::Identity(),
                unsigned short stipplePattern = 0xFFFF, double stippleFactor = 1);
    };

    /// Compiles the shaders; throws what `Program` throws. Use `get()` instead. GL: glCreateProgram, 3.3
    LineRenderer();
    ~LineRenderer() override;

    /// Fills a buffer for `render`: four equal vertices per point with the attributes position, previous
    /// point, next point and, if given, colour. Where a point of a strip or loop is repeated, so that its
    /// neighbour does not tell how the line goes on, two more attributes hold the neighbours past the
    /// repetitions. Leaves no array buffer bound.
    ///
    /// In strips and loops a point that equals the one before, in colour too, is left out. Without a partner,
    /// the last of an odd number of points for `Lines` is ignored. Points that are not finite as floats are
    /// left out together with the segments that meet there, which is logged once per call.
    /// @param colors red, green, blue and opacity of each point, or empty
    /// @param primitive Lines, LineStrip or LineLoop
    /// @return whether there is anything to draw; if not, the buffer is as it was
    ///
    /// Another primitive and a wrong number of colours are logged as errors without category: "Primitive must
    /// be Lines, LineLoop or LineStrip." and "The list of colors must be empty or have the same size as the
    /// list of vertices".
    /// GL: glBufferData, glBufferSubData, 1.5
    [[nodiscard]] static bool makeVertexData(const std::vector<Eigen::Vector3d>& points,
                                             const std::vector<Eigen::Vector4d>& colors, Primitive primitive,
                                             VertexBuffer& vertexBuffer);
    /// Without colours of their own.
    [[nodiscard]] static bool makeVertexData(const std::vector<Eigen::Vector3d>& points, Primitive primitive,
                                             VertexBuffer& vertexBuffer);

    /// Draws what `makeVertexData` made with the same primitive, into the viewport of the view state, which
    /// has to be set in OpenGL too.
    ///
    /// A stipple starts at the first point and runs on through corners; in loops it is compressed or
    /// stretched to whole repetitions, so that it closes. Below OpenGL 4.3 and beyond the size of the
    /// driver's storage blocks the points are read back for this at each draw. For `Lines` it starts anew
    /// with each segment.
    ///
    /// Leaves no program, vertex array object or array buffer bound, and attribute 3 at the options' colour;
    /// a stipple that runs on, storage blocks 0 and 1 bound, and a transparent line, what
    /// `OrderIndependentTransparency::setIncludeArguments` binds. All other state is used as the caller set
    /// it.
    /// @param oit where fragments go instead of the framebuffer, or null
    ///
    /// Throws what `ProgramCache` and `Program` throw.
    /// GL: glDrawArrays, glMultiDrawArrays, 3.3; for accumulated stipple glDispatchCompute, 4.3
    void render(const VertexBuffer& vertexBuffer, Primitive primitive, const Options& options,
                const ViewState& viewState, const OrderIndependentTransparency* oit = nullptr);

    // `makeVertexData` and `render` in one.

    /// Each pair of points is a line of its own.
    void renderLines(const std::vector<Eigen::Vector3d>& points, const Options& options,
                     const ViewState& viewState, const OrderIndependentTransparency* oit = nullptr);
    /// Each point is joined to the next.
    void renderLineStrip(const std::vector<Eigen::Vector3d>& points, const Options& options,
                         const ViewState& viewState, const OrderIndependentTransparency* oit = nullptr);
    /// The last point is joined to the first.
    void renderLineLoop(const std::vector<Eigen::Vector3d>& points, const Options& options,
                        const ViewState& viewState, const OrderIndependentTransparency* oit = nullptr);

private:
    void renderPoints(const std::vector<Eigen::Vector3d>& points, Primitive primitive, const Options& options,
                      const ViewState& viewState, const OrderIndependentTransparency* oit);
    void accumulateLengths(const VertexBuffer& vertexBuffer, bool isClosed, const Options& options,
                           const ViewState& viewState);
    double sumUpLengths(const VertexBuffer& vertexBuffer, bool isClosed, const Options& options,
                        const ViewState& viewState);

    std::unique_ptr<ProgramCache> m_programs;
    std::unique_ptr<VertexBuffer> m_vertexBuffer;
    std::unique_ptr<ShaderStorageBuffer> m_lengths; ///< null before the first draw that needs it
    std::unique_ptr<Program> m_accumulation;        ///< likewise
    std::unique_ptr<VertexBuffer> m_summedLengths;  ///< likewise, where the GPU cannot sum them up
};

} // namespace Veltrand::GL
