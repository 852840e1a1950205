// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Veltrand::GL {

/// Composites transparent geometry that is drawn in any order.
///
///     transparency.reset(viewportSize, false);
///     program.enable(); // its fragment shader ends with oit_addFragment(color); discard;
///     transparency.setIncludeArguments(program);
///     ... // draw
///     transparency.renderBlendedFragments(opaqueColor, opaqueDepth);
///
/// Fragment shaders that include "VeltrandGL/OrderIndependentTransparency.glh" put their fragments into one
/// list per pixel instead of writing a colour; the last call sorts each list by depth and blends it over the
/// opaque picture. Fragments of equal depth are ordered by colour, so that the picture does not depend on the
/// drawing order. Renderers take a pointer to such an object and define WITH_OIT when it is given.
///
/// The framebuffer of the opaque picture may be the one that is bound meanwhile, with its depth test.
/// Renderers leave its colours alone, of whatever number and kind; a shader of one's own does when it
/// discards after `oit_addFragment`, and makes them undefined when it does not. Depth writes should be off,
/// because shaders that ask for early depth tests, as those of the renderers do, write the depth of what they
/// store. Where it is multisampled, a fragment counts in the pixels whose first sample it covers.
///
/// The lists have room for four fragments per pixel on average at first. When a frame needs more, fragments
/// are missing from that one, and the next has room, up to the size of the driver's storage blocks.
///
/// Use one object per context and render target, on the thread on which the context is current. Needs OpenGL
/// 4.4.
class VELTRAND_GL_API OrderIndependentTransparency : private Utils::NotCopyable {
public:
    /// Whether the current context has OpenGL 4.4, and no driver has failed to build the shaders. Otherwise
    /// callers fall back to ordinary blending.
    [[nodiscard]] static bool isSupported();

    /// Throws `std::runtime_error`: "GL::OrderIndependentTransparency requires OpenGL 4.4" where it is not
    /// supported, and "Order-independent transparency functionality disabled due to driver issues." where the
    /// shaders do not build, which is logged and disables it for the life of the process. Empties texture
    /// unit 0, which is then active, when it is the first of the process. GL: 4.4
    OrderIndependentTransparency();
    ~OrderIndependentTransparency();
    /// The source then has no lists: fragments that are given to it are dropped, and it draws nothing.
    OrderIndependentTransparency(OrderIndependentTransparency&&) noexcept;
    OrderIndependentTransparency& operator=(OrderIndependentTransparency&&) noexcept;

    /// Starts a frame with empty lists. Waits for the drawing of the one before.
    ///
    /// Lists are kept for pixels from the window's lower left corner up to @p viewportSize; memory grows to
    /// the largest size seen. Where a frame has had more fragments than the driver's storage blocks can hold,
    /// or a pixel more than the driver lets a shader sort, a warning is logged, once per size. A size without
    /// pixels takes no fragments. Leaves no storage buffer and no atomic counter buffer bound; a new size
    /// leaves its texture bound to unit 0, which is then active.
    /// @param forceRecreate allocate anew when the size has changed, even if the memory would do
    /// GL: glClearTexImage, 4.4; glGetBufferSubData, glMemoryBarrier
    void reset(const Eigen::Vector2i& viewportSize, bool forceRecreate);

    /// Gives an enabled program what the include needs: atomic counter binding 6, an image unit and a storage
    /// block of the program. Call it once per frame and program, after `reset`.
    /// GL: glMemoryBarrier, glBindBufferBase, glBindImageTexture, 4.3
    void setIncludeArguments(Program& program) const;

    /// Ends a frame: draws over the whole viewport the opaque picture with those fragments that lie in front
    /// of @p backgroundDepth, into the first draw buffer. What is as deep in the format of @p backgroundDepth
    /// is hidden, as with the depth function GL_LESS. It may be called more than once.
    ///
    /// The two 2D textures are read at the window position of each pixel, so they have at least the size of
    /// the viewport, and must not be attached to the framebuffer that is drawn to. Alpha is composited too.
    /// Nothing but the viewport and the framebuffer influences the pass, which writes no depth. Texture units
    /// 1 and 2 are left empty, no array buffer is bound, and the lists stay bound to their image unit and
    /// storage block; all other state is left as it was.
    /// GL: glMemoryBarrier, glBindImageTexture, glDrawArrays, 4.3
    void renderBlendedFragments(const Texture& backgroundColor, const Texture& backgroundDepth);

    /// How many fragments a frame can hold: pixels of the largest size so far times nodes per pixel, limited
    /// by the size of the driver's storage blocks.
    [[nodiscard]] unsigned numNodesTotal() const;

private:
    [[nodiscard]] std::int64_t numImagePixels() const;
    [[nodiscard]] bool resize(int width, int height, bool forceRecreate);
    [[nodiscard]] bool grow(unsigned demand, std::int64_t framePixels);
    void warnOfLack(unsigned demand, std::int64_t framePixels, std::int64_t imagePixels);
    void setListArguments(Program& program, bool write) const;

    static bool m_enabled;

    std::unique_ptr<Program> m_blendProgram;
    std::array<std::unique_ptr<AtomicCounterBuffer>, 2> m_nodeCounters; ///< used in turn
    std::unique_ptr<ShaderStorageBuffer> m_nodeBuffer;
    std::unique_ptr<Texture> m_nodeIndexImage; ///< the head of each pixel's list
    int m_width = 0;
    int m_height = 0;
    int m_nodesPerPixel = 4;
    std::size_t m_counterIndex = 0;
    std::array<std::int64_t, 2> m_numPixels{}; ///< of the frame that used each counter
    std::unique_ptr<Sampler> m_sampler;        ///< reads textures as they are, whatever their settings
    std::int64_t m_maxNodes = 0;
    std::unique_ptr<AtomicCounterBuffer> m_incompletePixels; ///< of the blend passes since `reset`
    bool m_hasWarned = false;
    bool m_hasWarnedOfSorting = false;
};

} // namespace Veltrand::GL
