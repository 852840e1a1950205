// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Flags.h>
#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/Viewport.h>

#include <memory>

namespace Veltrand::GL {

/// Saves chosen pieces of global state and puts them back at the end of its scope.
///
///     const StateGuard guard(StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport);
/// What viewports and draw buffers have each for themselves, from OpenGL 4.0 and 4.1 on, comes back too.
///
/// Belongs to the context that is current where it is made: destroy it there, on the same thread.
class VELTRAND_GL_API StateGuard : private Utils::NotCopyable {
public:
    /// The pieces.
    enum class SaveFlags : unsigned int {
        Viewport = 1,
        Framebuffer = 2, ///< the draw framebuffer, put back for drawing and reading
        Program = 4,
        Blending = 8,   ///< on or off, and the four factors
        Depth = 16,     ///< depth test, comparison and write mask
        Scissor = 32,   ///< scissor test on or off, not its rectangle; also saves what `Stencil` puts back
        Smoothing = 64, ///< line and polygon smoothing
        /// Stencil test and write mask, saved by `Scissor`: pass both. Alone it puts back the defaults (off,
        /// every bit writable).
        Stencil = 128,
        All = 255,
    };

    /// GL: glGetIntegerv, 3.0
    [[nodiscard]] explicit StateGuard(Flags<SaveFlags> flags);
    ~StateGuard();
    /// The source then restores nothing.
    StateGuard(StateGuard&& other) noexcept;
    StateGuard& operator=(StateGuard&&) = delete;

    /// Puts back the pieces that are in both @p flags and the guard, which keeps them: a later call and the
    /// destructor do it again.
    void restoreState(Flags<SaveFlags> flags);
    /// Lets go of pieces: they are not put back any more.
    void release(Flags<SaveFlags> flags);

private:
    struct Indexed;

    void saveIndexed();
    void restoreIndexed(Flags<SaveFlags> active);

    GLuint m_framebuffer = 0;
    GLuint m_program = 0;
    Viewport m_viewport;
    GLenum m_blendSrcRGB = 0;
    GLenum m_blendSrcAlpha = 0;
    GLenum m_blendDstRGB = 0;
    GLenum m_blendDstAlpha = 0;
    GLenum m_depthFunc = 0;
    Flags<SaveFlags> m_flags;
    bool m_blend = false;
    bool m_depthTest = false;
    bool m_depthMask = true;
    bool m_scissorTest = false;
    bool m_lineSmooth = false;
    bool m_polygonSmooth = false;
    bool m_stencilTest = false;
    GLuint m_stencilMask = 0xFFFFFFFF;
    std::unique_ptr<Indexed> m_indexed; ///< null where all viewports and draw buffers have the same
};

VELTRAND_FLAG_OPERATORS(StateGuard::SaveFlags)

} // namespace Veltrand::GL
