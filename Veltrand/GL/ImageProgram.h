// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/AlignedBox.h>
#include <Veltrand/GL/Program.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace Veltrand::GL {

struct ImageRegion;
struct TimeoutSettings;

/// A program that computes images: a fragment shader of the user is run for every texel of one or more output
/// textures (1D, 1D array, 2D, 2D array or 3D), or of a box in them.
///
///     ImageProgram mean("My/mean.frag");
///     mean.enable();
///     mean.setArgument("volume", input);
///     mean.compute(output, ImageProgram::Cuboid());
///
/// What the fragment shader (GLSL 3.30 or later) may read besides its own uniforms:
///
///     in vec3 texCoord;        // centre of the texel, from 0 to 1 along each axis of the output or the box
///     flat in int slice;       // which slice of the output is computed, from 0
///     uniform int _cp_numSlices, _cp_numSlicesBox, _cp_slicesOffsetBox; // of the output; of the box
///
/// `ivec2(gl_FragCoord.xy)` is the texel within its slice. Its output i is written to texture i of the list.
/// An output must not be read as an input at the same time.
///
/// Slices of volumes are computed in one layered draw, through a geometry shader that routes instances to
/// layers, or one after the other. For 1D arrays, slices are layers too.
///
/// A computation puts back the draw framebuffer (for drawing and reading), the program and the viewport, also
/// when it fails, and leaves no vertex array object and no array buffer bound. Nothing else that the caller
/// has set decides on what is computed: culling, polygon mode, discarding, masks, tests (also where the
/// user's framebuffer has depth and stencil), logic operation, conversion to sRGB, clip control and, in
/// `compute`, blending are suspended, and put back.
///
/// Needs the context that the program was made in, or one that shares with it, current on the calling thread.
/// Messages go to the log category "GL.ImageProgram".
class VELTRAND_GL_API ImageProgram : public Program {
public:
    /// What runs from 0 to 1 in the fragment shader's `texCoord`.
    enum class TexCoordMode {
        Output = 0, ///< the whole output, whichever box of it is computed
        Box = 1,    ///< the computed box
    };

    /// The box of the outputs that is computed, in texels; texel i fills the interval from i to i + 1. The
    /// part of it that lies in the output is used, with its lower corner and its size rounded to whole
    /// texels. In outputs of one slice, z has to meet the interval from 0 to 1 and does nothing else.
    class Cuboid {
    public:
        /// The whole output.
        Cuboid() = default;
        /// From one corner to the other; where a minimum is above its maximum, the whole output.
        Cuboid(double minX, double minY, double minZ, double maxX, double maxY, double maxZ)
            : m_box({minX, minY, minZ}, {maxX, maxY, maxZ}) {}

        /// Invalid for the whole output.
        [[nodiscard]] const Geometry::AlignedBox3d& box() const { return m_box; }

    private:
        Geometry::AlignedBox3d m_box;
    };

    /// @param fragmentShader name of the user's shader
    /// @param useGeometryShader whether volumes are computed in one layered draw, which spares attaching each
    ///        slice; otherwise slice by slice
    /// Failure as for `Program`. GL: glCreateProgram, 2.0
    explicit ImageProgram(const std::string& fragmentShader, const std::string& defines = {},
                          bool useGeometryShader = true, TexCoordMode texCoordMode = TexCoordMode::Output,
                          Compilation compilation = Compilation::ImmediateThrow);
    ~ImageProgram() override;
    /// As for `Program`; the source computes nothing.
    ImageProgram(ImageProgram&& other) noexcept;
    ImageProgram& operator=(ImageProgram&& other) noexcept;

    /// Adds the defines of the layered and the box mode, `_IMGPROG_USE_GS` and `_IMGPROG_USE_BOX_TEX_COORDS`,
    /// where they are missing. They tell the stages which mode the program was made for: do not define the
    /// other one's.
    bool setDefines(const std::string& defines, Compilation compilation) override;

    /// Defines with which one fragment shader serves 2D and 3D inputs: `SAMPLER_TYPE` (sampler2D or
    /// sampler3D), `SAMPLER_COORDS` (xy or xyz) and `SAMPLER_2D` or `SAMPLER_3D`:
    ///
    ///     uniform SAMPLER_TYPE image;
    ///     ... texture(image, texCoord.SAMPLER_COORDS) ...
    [[nodiscard]] static std::string genericSamplerDefine(bool is3D);

    /// As `Program::clone`, with all settings; a framebuffer of the user is used by both.
    [[nodiscard]] std::unique_ptr<ImageProgram> clone(Flags<Cloning> flags, Compilation compilation) const;

    // Settings

    /// Computes through this framebuffer, which has to outlive its use; null for one that the library keeps
    /// per context. A computation uses what is attached to it besides, and leaves nothing attached.
    void setFBO(Framebuffer* framebuffer);
    /// The framebuffer in use; null before the first computation if none was set. The library's own one lives
    /// as long as the context of the last computation.
    [[nodiscard]] Framebuffer* fbo() const { return m_fbo; }

    /// Whether outputs are cleared first; off at first. Slice by slice, the computed slices are cleared;
    /// in a layered draw all slices of the output; both over their whole width and height.
    /// @param color red, green, blue, alpha; rounded towards zero for integer formats
    void setClearOutputEnabled(bool enabled, const Eigen::Vector4f& color);
    /// See `setClearOutputEnabled`.
    [[nodiscard]] bool isClearOutputEnabled() const { return m_clearOutput; }

    /// Whether volumes are computed in several draws, with pauses of 0.1 s, where the time that the first 50
    /// slices took lets expect more than 4.8 s for the rest: drivers abort draws that take too long. Off at
    /// first.
    void setAvoidDriverTimeout(bool avoid) { m_avoidDriverTimeout = avoid; }
    /// See `setAvoidDriverTimeout`.
    [[nodiscard]] bool isAvoidingDriverTimeout() const { return m_avoidDriverTimeout; }

    // Computing. A program that still needs compilation is compiled.

    /// Computes the texels of the box in each output. Output i of the fragment shader goes to entry i; null
    /// entries are skipped. The size of the first output holds for all: another one with fewer slices is
    /// refused, and a smaller width or height limits what is computed.
    ///
    /// Failures are logged and leave the outputs as they were: no output, a format that cannot be drawn to,
    /// more than `Framebuffer::maxColorAttachments` entries, a program that does not compile, which is tried
    /// and logged once until it is changed. A box beside the output computes nothing. GL:
    /// glDrawArraysInstanced, glFramebufferTexture, glDrawBuffers, 3.2
    void compute(const std::vector<Texture*>& outputs, const Cuboid& cuboid);
    /// With a single output.
    void compute(Texture& output, const Cuboid& cuboid);

    /// Draws many slices onto one, so that the blend state that the caller sets reduces them: with
    /// `GL_MAX` as blend equation to a maximum projection, with factors of one to a sum, or, dividing by
    /// `_cp_numSlicesBox` in the fragment shader, to a mean. Slices are drawn in ascending order, in one
    /// draw.
    ///
    /// Set what the reduction starts from with `setClearOutputEnabled`; otherwise it goes on from what the
    /// outputs hold.
    /// @param outputLayer the slice of each output that receives the result, 0 in outputs of one slice
    /// @param numSlices the slices of what is read: `slice` runs from 0 to `numSlices` - 1, and the z of
    ///        `texCoord` runs from 0 to 1 over them
    /// @param cuboid in x and y the box of the outputs that is computed, in z the slices that are read
    ///
    /// Failures are logged as for `compute`; also a slice that an output has not, and less than one slice.
    /// GL: glDrawArraysInstanced, glFramebufferTextureLayer, glDrawBuffers, 3.2
    void computeReduceZ(const std::vector<Texture*>& outputs, int outputLayer, int numSlices,
                        const Cuboid& cuboid);
    /// With a single output.
    void computeReduceZ(Texture& output, int outputLayer, int numSlices, const Cuboid& cuboid);

protected:
    [[nodiscard]] std::unique_ptr<Program> cloneImpl() const override;
    /// How computations are split to avoid the driver's timeout.
    [[nodiscard]] TimeoutSettings& timeoutSettings() { return *m_timeoutSettings; }

private:
    using Outputs = std::vector<Texture*>;
    class Computation;

    void ensureFboIsBound();
    void setUniforms(const std::array<int, 3>& size, const ImageRegion& region, bool layered, bool instanced);
    void clearOutputs(const Outputs& outputs) const;
    void drawInstances(int firstSlice, int slices);
    void computeLayered(const ImageRegion& region);
    void computeSliceBySlice(const Outputs& outputs, const ImageRegion& region);

    std::unique_ptr<VertexBuffer> m_square;
    Framebuffer* m_fbo = nullptr;
    TexCoordMode m_texCoordMode;
    std::array<float, 4> m_clearColor{};
    bool m_clearOutput = false;
    bool m_useGeometryShader;
    bool m_userFbo = false;
    bool m_avoidDriverTimeout = false;
    std::unique_ptr<TimeoutSettings> m_timeoutSettings;
    std::string m_fragmentShader;
};

} // namespace Veltrand::GL
