// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/InstanceManager.h>

#include <array>
#include <cstddef>
#include <memory>

namespace Veltrand::GL {

class LineStipple;

/// Draws in the style of the fixed-function pipeline, also in core contexts: with a projection and a
/// model-view matrix, a current colour, one texture, point sizes, line widths and stipples.
///
///     FixedFunctionPipeline& pipeline = *FixedFunctionPipeline::get();
///     pipeline.enable(viewState, FixedFunctionPipeline::ShaderSelection::WideLines, nullptr);
///     pipeline.setDefaultColor(Eigen::Vector3d(1, 0.5, 0));
///     pipeline.setLineWidth(3);
///     vertices.draw(Primitive::LineStrip); // attributes 0 position, 1 texture coordinates, 2 colour
///     pipeline.disable();
///
/// Vertices have positions of up to four components at location 0, texture coordinates of up to three at 1
/// and colours at 2; a vertex without a colour has the default colour. Location 15 is the pipeline's own, for
/// stipples. The colour of a fragment is that of
/// its vertices times that of the texture. Blending and the tests are what the caller has set.
///
/// The setters act on the program that was enabled last and need it to be in use. They may be called between
/// draws; a value that the program has no use for is ignored.
///
/// OpenGL state that is changed:
/// - `enable` and `enableWithoutReset`: the program in use, the active texture unit, and the textures and
///   samplers of units 1 to 3; with transparency also what
///   `OrderIndependentTransparency::setIncludeArguments` binds. The first use in a context binds textures to
///   unit 0.
/// - `enable` and `reset`: the value of generic attribute 2; GL_PROGRAM_POINT_SIZE is on afterwards.
/// - `enablePointSmoothing`: in a compatibility context GL_POINT_SPRITE is on afterwards.
/// - `disable`: no program is in use, and units 1 to 3 have neither textures nor samplers.
///
/// One object per context, reached by `get()` on the thread on which the context is current.
class VELTRAND_GL_API FixedFunctionPipeline final : public InstanceManager<FixedFunctionPipeline> {
public:
    /// What is to be drawn, which decides on the program.
    enum class ShaderSelection {
        /// Points, triangles, and solid lines as wide as the driver makes them. Works with every primitive.
        Plain = 0,
        /// Lines of any width with stipples, not joined; for `Primitive::Lines`, `LineStrip` and `LineLoop`
        /// only.
        WideLines = 1,
        /// The same with mitred joins, or bevelled ones at sharp angles, between each segment and its
        /// neighbours; for `LinesAdjacency` and `LineStripAdjacency` only. An end that has no neighbour is
        /// given its own point as one.
        WideLinesAdjacency = 2,
    };

    /// Made by `get()`. Throws what `Program` throws when a shader cannot be built. GL: glCreateProgram, 3.3
    FixedFunctionPipeline();
    ~FixedFunctionPipeline() override;

    // Begin and end

    /// Makes a program current and sets everything to its default for a view.
    /// @param transparency takes the fragments in place of the framebuffer; null to draw as usual
    /// Failure as for `enableWithoutReset`. GL: glUseProgram, 3.3; with transparency 4.4
    void enable(const ViewState& viewState, ShaderSelection selection,
                const OrderIndependentTransparency* transparency);
    /// Makes a program current as it was left the last time, except that its texture is gone: call
    /// `enableTexturing` or `disableTexturing`. Throws what `Program` throws when the program is needed for
    /// the first time and cannot be built; the next call tries again. GL: glUseProgram, 3.3; with
    /// transparency 4.4
    void enableWithoutReset(ShaderSelection selection, const OrderIndependentTransparency* transparency);
    /// Sets the matrices of the view, no model transform, no texture, opaque black, and points and solid
    /// lines of one pixel. Wide lines need the view's viewport to be the one that is drawn to.
    /// GL: glUniform*, glVertexAttrib4f, 3.3
    void reset(const ViewState& viewState);
    /// Lets go of the texture, and makes no program current. GL: glUseProgram, 3.3
    void disable();

    // Transforms; a position goes through model, view and projection matrix, in this order

    /// GL: glUniformMatrix4fv, 3.3
    void setProjectionMatrix(const Eigen::Matrix4d& matrix);
    /// GL: glUniformMatrix4fv, 3.3
    void setViewMatrix(const Eigen::Matrix4d& matrix);
    /// GL: glUniformMatrix4fv, 3.3
    void setModelMatrix(const Eigen::Matrix4d& matrix);

    // Colour and texture

    /// The colour of vertices that have none: red, green, blue, alpha from 0 to 1. It is the context's value
    /// of attribute 2, so it holds for other programs too. GL: glVertexAttrib4fv, 2.0
    void setDefaultColor(const Eigen::Vector4d& color);
    /// With alpha 1.
    void setDefaultColor(const Eigen::Vector3d& color);

    /// Multiplies colours by a 1D, 2D or 3D texture. A texture of another target gives no texturing. The
    /// texture has to live until it is replaced or the pipeline is disabled. GL: glBindTexture, 3.3
    void enableTexturing(const Texture& texture);
    /// The same, read through a sampler, which has to live as long. GL: glBindTexture, glBindSampler, 3.3
    void enableTexturing(const Texture& texture, const Sampler& sampler);
    /// GL: glBindTexture, 3.3
    void disableTexturing();
    /// Texture coordinates are multiplied by @p scaling, component by component, then @p offset is added.
    /// GL: glUniform3fv, 3.3
    void setTexCoordTransform(const Eigen::Vector3d& scaling, const Eigen::Vector3d& offset);

    // Points and lines; sizes are in logical pixels, which `dpiScale()` turns into pixels

    /// The diameter of points. Without smoothing they are squares of whole pixels, at least one; smooth
    /// points of less than one pixel are fainter. GL: glUniform1f, 3.3
    void setPointSize(double size);
    /// Points are discs from now on, with coverage in alpha, so that blending makes their edges smooth. Other
    /// primitives are not affected. GL: glUniform1i, 3.3; glEnable in compatibility contexts
    void enablePointSmoothing();
    /// GL: glUniform1i, 3.3
    void disablePointSmoothing();
    /// The width of wide lines; they are at least one pixel wide. GL: glUniform1f, 3.3
    void setLineWidth(double width);
    /// The length of one bit of the stipple pattern along a wide line; at least one pixel.
    /// GL: glUniform1f, 3.3
    void setStippleFactor(double factor);
    /// Which parts of a wide line are drawn: one bit after the other from its start, the lowest first, again
    /// and again. 0xFFFF is solid.
    ///
    /// The pattern runs on through strips and loops that a `VertexBuffer` draws without indices, with floats
    /// as positions. For this their positions are read back at each draw, and their lengths summed up; GPUs
    /// that are busy with the buffer wait. `LineRenderer` does without from OpenGL 4.3 on. In all other draws
    /// the pattern begins anew with each segment; of those of vertex buffers a warning tells once.
    /// GL: glUniform1ui, 3.3; with the draw glGetBufferSubData, 1.5
    void setStipplePattern(unsigned short pattern);

private:
    [[nodiscard]] Program& program(ShaderSelection selection, bool withTransparency);
    void observeDraws(bool observes);
    [[nodiscard]] bool drawsWideLines() const;
    void setTextures(const Texture* texture, const Sampler* sampler);

    /// By selection, first without and then with transparency; null until needed.
    std::array<std::unique_ptr<Program>, 6> m_programs;
    /// Of one, two and three dimensions, for the samplers that have nothing to read.
    std::array<std::unique_ptr<Texture>, 3> m_placeholders;
    Program* m_program = nullptr;           ///< the current one
    std::shared_ptr<LineStipple> m_stipple; ///< which draws know as long as it lives
    bool m_observesDraws = false;           ///< whether draws ask it
};

} // namespace Veltrand::GL
