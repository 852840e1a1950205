// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/LRUCache.h>
#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/InternalFormat.h>

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace Veltrand::GL {

class TargetLoan;

/// Lends render targets, so that a part of a scene can be drawn apart and then put into the picture.
///
///     {
///         auto buffer = helper.create(size, InternalFormat::RGBA8, InternalFormat::DepthComponent24);
///         ... // draw: what was bound before is the parent, the buffer is bound and clear
///         buffer.blendToParent(ColorPostProcessing::Grey, nullptr);
///     } // the buffer goes back into the cache
///
/// Colours in a buffer are premultiplied with alpha, as drawing onto its transparent black leaves them with
/// `Blending::Preset::Alpha`, or with no blending and an alpha of 1.
///
/// A buffer that comes back is kept for the next request of its size and formats: one of each configuration,
/// and of at most `cacheSize()` configurations those that were used last.
///
/// Buffers may come back in any order, also those of several helpers: one that is lent inside another one
/// stays the target when that one comes back first, and its parent is then what that one's was. When all are
/// back, the target is what it was before the first.
///
/// Use it on the thread whose context is current, always the same context. Buffers end before their helper.
class VELTRAND_GL_API OffscreenRenderHelper : private Utils::NotCopyable {
public:
    /// What a buffer is cached by.
    struct BufferConfig {
        int width;                  ///< in pixels
        int height;                 ///< in pixels
        InternalFormat colorFormat; ///< of the colour texture
        InternalFormat depthFormat; ///< of the depth texture, with stencil or without
        [[nodiscard]] friend bool operator==(const BufferConfig&, const BufferConfig&) = default;
    };
    /// For the cache.
    struct VELTRAND_GL_API BufferConfigHasher {
        /// Equal for equal configurations.
        [[nodiscard]] std::size_t operator()(const BufferConfig& config) const;
    };

    /// What becomes of the colours on their way to the parent. The values are those of the shader; others
    /// count as `Unchanged`.
    enum class ColorPostProcessing : int {
        Unchanged = 0,
        Grey = 1,        ///< their luminance, by Rec. 709
        WindowLevel = 2, ///< the color of the ramp that a window onto the luminance selects
        Outline = 3,     ///< unchanged, with a line around what has been drawn
    };

    /// A target on loan, or nothing.
    class VELTRAND_GL_API RenderBuffer : private Utils::NotCopyable {
    public:
        /// Nothing.
        RenderBuffer() noexcept;
        /// Gives the buffer back. Makes the parent the target again, for drawing and reading and with the
        /// viewport that it had, unless that has been done, or is left to one that was lent later.
        ~RenderBuffer();
        /// The source is then empty.
        RenderBuffer(RenderBuffer&& other) noexcept;
        /// Gives back what this held; the source is then empty.
        RenderBuffer& operator=(RenderBuffer&& other) noexcept;

        /// Whether this is nothing, as after a request that could not be met; it must not be asked for its
        /// parts then.
        [[nodiscard]] bool isEmpty() const { return !m_framebuffer; }
        /// With attachments and draw buffers exchanged as needed through it: before the buffer is lent again
        /// it gets its own ones.
        [[nodiscard]] Framebuffer& framebuffer() const { return *m_framebuffer; }
        /// Premultiplied; it may be read once the buffer is no longer drawn to.
        [[nodiscard]] Texture& colorTexture() const { return *m_colorTexture; }
        /// Likewise; the depth of what has been drawn, 1 elsewhere.
        [[nodiscard]] Texture& depthTexture() const { return *m_depthTexture; }

        /// `OffscreenRenderHelper::blendToParent`
        void blendToParent(ColorPostProcessing processing = ColorPostProcessing::Unchanged,
                           const OrderIndependentTransparency* oit = nullptr);

    private:
        friend class OffscreenRenderHelper;
        void giveBack() noexcept;

        std::unique_ptr<TargetLoan> m_loan; ///< while on loan, and what was drawn to before
        std::unique_ptr<Framebuffer> m_framebuffer;
        std::unique_ptr<Texture> m_colorTexture;
        std::unique_ptr<Texture> m_depthTexture;
        unsigned m_revision = 0;                   ///< of the framebuffer while it has its own attachments
        OffscreenRenderHelper* m_helper = nullptr; ///< while on loan
    };

    /// A buffer of any size counts as 1.
    using Cache = Container::LRUCache<BufferConfig, RenderBuffer, BufferConfigHasher>;

    /// Makes no OpenGL call.
    OffscreenRenderHelper();
    ~OffscreenRenderHelper();

    // Lending

    /// A buffer with its framebuffer bound, a viewport of its size, transparent black and a depth of 1 (and
    /// stencil 0). All of it is clear, whatever scissor and write masks the caller has set, which stay as
    /// they are, like all other state.
    ///
    /// A size below 1 or beyond the driver's limits, a format of the wrong kind, and memory or formats that
    /// the driver does not have are logged as errors and answered with an empty buffer; what was bound stays
    /// bound then.
    /// @param size in pixels
    /// @param depthFormat with stencil, if it is to have one
    /// GL: glFramebufferTexture, 3.2; glClearTexImage, 4.4; before, a clear through another framebuffer or an
    /// upload
    [[nodiscard]] RenderBuffer create(const Eigen::Vector2i& size, InternalFormat colorFormat,
                                      InternalFormat depthFormat);
    /// Takes the buffer, which is then empty, with the target as where it ends. A buffer of the same
    /// configuration that is in the cache is destroyed, and those that are too many. What a slot of the
    /// eviction signal throws passes through here, and is logged where a buffer ends by itself.
    void returnToCache(RenderBuffer* buffer);

    /// Makes the parent the target again and draws the buffer over the parent's viewport, into the first draw
    /// buffer; with @p oit into its lists instead. May be called again. An empty buffer draws nothing; one of
    /// an integer format is logged as an error.
    ///
    /// What has depth takes part in the parent's depth test as the caller has set it up, and leaves its depth
    /// there; with the test off it covers the parent, and leaves its depth all the same, unless the depth
    /// mask is off too. What has been drawn without depth covers the parent and leaves its depth alone; in
    /// the lists of @p oit it comes first. Where nothing has been drawn the parent is as it was.
    ///
    /// Scissor, stencil test and the first buffer's write mask of the caller apply. The texture units that
    /// were used, 1 to 3, are left empty, no array buffer is bound, and with @p oit what its
    /// `setIncludeArguments` binds is; all other state is left as it was.
    /// GL: glDrawArrays, 3.0
    void blendToParent(RenderBuffer* buffer, ColorPostProcessing processing,
                       const OrderIndependentTransparency* oit);

    // What the kinds of post-processing use

    /// For `WindowLevel`: luminance from @p level - @p window / 2 to @p level + @p window / 2 runs through
    /// the ramp; a window of 0 or less is a step. At first all of 0 to 1.
    void setWindowLevel(float window, float level);
    /// For `WindowLevel`: red, green, blue and alpha, not premultiplied, evenly spaced and interpolated; the
    /// buffer's alpha is multiplied in. At first, and for no colors, black to white. More than a texture can
    /// hold are logged as an error, and the ramp stays as it was.
    /// GL: glTexImage1D, 1.0
    void setColorRamp(const std::vector<Eigen::Vector4f>& colors);
    /// For `Outline`: color, not premultiplied, and width, 1 to 16 pixels of the buffer. At first one pixel
    /// of white.
    void setOutline(const Eigen::Vector4f& color, int width);

    // The cache

    /// The number of buffers that are kept, 10 at first.
    [[nodiscard]] int cacheSize() const;
    /// Destroys those that are too many now; what is on loan is not counted. Below 0 is 0.
    void setCacheSize(int size);
    /// Emitted with the configuration of each buffer that is one too many, before it is destroyed.
    [[nodiscard]] Cache::EvictionSignal& evictionSignal() { return m_cache.evictionSignal(); }

private:
    static bool checkConfig(const BufferConfig& config);
    [[nodiscard]] static bool build(RenderBuffer& buffer, const BufferConfig& config);
    static void attachOwn(RenderBuffer& buffer);
    [[nodiscard]] Program& blendProgram(bool withOit);
    void setProcessingArguments(Program& program, ColorPostProcessing processing);

    Cache m_cache;
    std::unique_ptr<Program> m_program;
    std::unique_ptr<Program> m_oitProgram;
    std::unique_ptr<Texture> m_colorRamp;
    std::array<float, 2> m_windowLevel{1, 0.5F};
    std::array<float, 4> m_outlineColor{1, 1, 1, 1};
    int m_outlineWidth = 1;
};

} // namespace Veltrand::GL
