// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/OffscreenRenderHelper.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/Viewport.h>
#include <Veltrand/GL/detail/HashCombine.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>
#include <Veltrand/GL/detail/ScopedState.h>
#include <Veltrand/GL/detail/TargetLoan.h>
#include <Veltrand/GL/detail/TargetSize.h>

#include <Eigen/Core>
#include <algorithm>
#include <cstdint>
#include <exception>
#include <glad/gl.h>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<OffscreenRenderHelper::RenderBuffer> &&
              !std::is_copy_constructible_v<OffscreenRenderHelper>);

namespace {

constexpr std::string_view category = "GL.OffscreenRenderHelper";
constexpr int defaultCacheSize = 10;
constexpr int maxOutlineWidth = 16;
constexpr int errorKinds = 8; // of which OpenGL keeps one each

std::string quoted(InternalFormat format) {
    return '"' + format.toString() + '"';
}

std::string pixels(const OffscreenRenderHelper::BufferConfig& config) {
    return std::to_string(config.width) + " x " + std::to_string(config.height) + " pixels";
}

/// Blends premultiplied colours over those of the first draw buffer for a scope. The other buffers keep what
/// is set up for them, where OpenGL tells them apart (from 4.0 on).
class PremultipliedOver : private Utils::NotCopyable {
public:
    PremultipliedOver()
        : m_enabled(glIsEnabledi(GL_BLEND, 0) == GL_TRUE)
        , m_previous{get(GL_BLEND_SRC_RGB),   get(GL_BLEND_DST_RGB),      get(GL_BLEND_SRC_ALPHA),
                     get(GL_BLEND_DST_ALPHA), get(GL_BLEND_EQUATION_RGB), get(GL_BLEND_EQUATION_ALPHA)} {
        glEnablei(GL_BLEND, 0);
        set({GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_FUNC_ADD, GL_FUNC_ADD});
    }
    ~PremultipliedOver() {
        set(m_previous);
        if (!m_enabled)
            glDisablei(GL_BLEND, 0);
    }

private:
    struct Blend {
        GLenum srcRGB;
        GLenum dstRGB;
        GLenum srcAlpha;
        GLenum dstAlpha;
        GLenum equationRGB;
        GLenum equationAlpha;
    };

    static GLenum get(GLenum name) { return static_cast<GLenum>(getInt(name)); }
    static void set(const Blend& blend) {
        if (glBlendFuncSeparatei && glBlendEquationSeparatei) {
            glBlendFuncSeparatei(0, blend.srcRGB, blend.dstRGB, blend.srcAlpha, blend.dstAlpha);
            glBlendEquationSeparatei(0, blend.equationRGB, blend.equationAlpha);
        } else {
            glBlendFuncSeparate(blend.srcRGB, blend.dstRGB, blend.srcAlpha, blend.dstAlpha);
            glBlendEquationSeparate(blend.equationRGB, blend.equationAlpha);
        }
    }

    bool m_enabled;
    Blend m_previous;
};

bool targetHasDepth() {
    const bool isDefault = getInt(GL_DRAW_FRAMEBUFFER_BINDING) == 0;
    GLint type = GL_NONE;
    glGetFramebufferAttachmentParameteriv(GL_DRAW_FRAMEBUFFER, isDefault ? GL_DEPTH : GL_DEPTH_ATTACHMENT,
                                          GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE, &type);
    return type != GL_NONE;
}

/// Which pixels a square draws, as the shader counts them.
enum class DepthPart { All = 0, With = 1, Without = 2 };

void drawSquare(Program& program, DepthPart part) {
    program.setArgument("u_depthPart", static_cast<int>(part));
    FullscreenSquare::get()->drawFilled();
}

/// Leaves the depth test changed.
void drawOntoTarget(Program& program) {
    const PremultipliedOver blending;
    if (!targetHasDepth()) {
        drawSquare(program, DepthPart::All);
        return;
    }
    if (!getBool(GL_DEPTH_TEST)) {
        glEnable(GL_DEPTH_TEST); // without which no depth is written
        glDepthFunc(GL_ALWAYS);
    }
    drawSquare(program, DepthPart::With);
    glDisable(GL_DEPTH_TEST);
    drawSquare(program, DepthPart::Without);
}

void logSlotFailure(std::string_view what) {
    logMessage(Log::Error, category, [what] {
        return "A slot of the eviction signal has thrown as a buffer came back: " + std::string(what);
    });
}

} // namespace

std::size_t OffscreenRenderHelper::BufferConfigHasher::operator()(const BufferConfig& config) const {
    std::uint64_t hash = 0;
    hash = detail::hashCombine(hash, static_cast<std::uint64_t>(config.width));
    hash = detail::hashCombine(hash, static_cast<std::uint64_t>(config.height));
    hash = detail::hashCombine(hash, config.colorFormat.value());
    return detail::hashCombine(hash, config.depthFormat.value());
}

OffscreenRenderHelper::RenderBuffer::RenderBuffer() noexcept = default;

OffscreenRenderHelper::RenderBuffer::~RenderBuffer() {
    giveBack();
}

OffscreenRenderHelper::RenderBuffer::RenderBuffer(RenderBuffer&& other) noexcept
    : m_loan(std::move(other.m_loan))
    , m_framebuffer(std::move(other.m_framebuffer))
    , m_colorTexture(std::move(other.m_colorTexture))
    , m_depthTexture(std::move(other.m_depthTexture))
    , m_revision(other.m_revision)
    , m_helper(std::exchange(other.m_helper, nullptr)) {}

OffscreenRenderHelper::RenderBuffer&
OffscreenRenderHelper::RenderBuffer::operator=(RenderBuffer&& other) noexcept {
    if (this == &other)
        return *this;
    giveBack();
    m_loan = std::move(other.m_loan);
    m_framebuffer = std::move(other.m_framebuffer);
    m_colorTexture = std::move(other.m_colorTexture);
    m_depthTexture = std::move(other.m_depthTexture);
    m_revision = other.m_revision;
    m_helper = std::exchange(other.m_helper, nullptr);
    return *this;
}

void OffscreenRenderHelper::RenderBuffer::giveBack() noexcept {
    if (!m_helper)
        return;
    try {
        m_helper->returnToCache(this);
    } catch (const std::exception& exception) {
        logSlotFailure(exception.what());
    } catch (...) {
        logSlotFailure("something that is no exception");
    }
}

void OffscreenRenderHelper::RenderBuffer::blendToParent(ColorPostProcessing processing,
                                                        const OrderIndependentTransparency* oit) {
    if (m_helper)
        m_helper->blendToParent(this, processing, oit);
}

OffscreenRenderHelper::OffscreenRenderHelper()
    : m_cache(ByteSize(defaultCacheSize)) {}

OffscreenRenderHelper::~OffscreenRenderHelper() = default;

bool OffscreenRenderHelper::checkConfig(const BufferConfig& config) {
    const auto [maxWidth, maxHeight] = largestTarget();
    if (config.width < 1 || config.height < 1 || config.width > maxWidth || config.height > maxHeight) {
        logMessage(Log::Error, category, [&, limit = std::min(maxWidth, maxHeight)] {
            return "Cannot lend a buffer of " + pixels(config) + ": each side can have 1 to " +
                   std::to_string(limit) + '.';
        });
        return false;
    }
    const InternalFormat color = config.colorFormat;
    const InternalFormat depth = config.depthFormat;
    if (color.isDepthFormat() || color.isStencilFormat() || color.isDepthStencilFormat() ||
        !(depth.isDepthFormat() || depth.isDepthStencilFormat())) {
        logMessage(Log::Error, category, [&] {
            return "Cannot lend a buffer with color in format " + quoted(color) + " and depth in format " +
                   quoted(depth) + '.';
        });
        return false;
    }
    return true;
}

// Makes exactly its textures those of the bound framebuffer.
void OffscreenRenderHelper::attachOwn(RenderBuffer& buffer) {
    Framebuffer& framebuffer = *buffer.m_framebuffer;
    framebuffer.detachAll();
    framebuffer.attach(*buffer.m_colorTexture, 0);
    framebuffer.attach(*buffer.m_depthTexture, 0);
    framebuffer.setDrawBuffers();
    buffer.m_revision = framebuffer.revision();
}

// Leaves the framebuffer bound.
bool OffscreenRenderHelper::build(RenderBuffer& buffer, const BufferConfig& config) {
    const auto texture = [size = Eigen::Vector3i(config.width, config.height, 1)](InternalFormat format) {
        return std::make_unique<Texture>(Texture::Target::Texture2D, size, format);
    };
    buffer.m_colorTexture = texture(config.colorFormat);
    buffer.m_depthTexture = texture(config.depthFormat);
    buffer.m_framebuffer = std::make_unique<Framebuffer>();
    Framebuffer& framebuffer = *buffer.m_framebuffer;
    framebuffer.bind();
    attachOwn(buffer);
    if (framebuffer.isComplete())
        return true;
    for (int kind = 0; kind < errorKinds && Debug::check() != Debug::Error::NoError; ++kind) {
    }
    logMessage(Log::Error, category, [&config] {
        return "Cannot lend a buffer of " + pixels(config) + " in the formats " + quoted(config.colorFormat) +
               " and " + quoted(config.depthFormat) + ": the driver does not provide it.";
    });
    return false;
}

OffscreenRenderHelper::RenderBuffer OffscreenRenderHelper::create(const Eigen::Vector2i& size,
                                                                  InternalFormat colorFormat,
                                                                  InternalFormat depthFormat) {
    const BufferConfig config{size.x(), size.y(), colorFormat, depthFormat};
    auto cached = m_cache.extract(config);
    RenderBuffer buffer = cached ? std::move(*cached) : RenderBuffer();
    if (buffer.isEmpty() && !checkConfig(config))
        return {};

    const auto parent = static_cast<GLuint>(getInt(GL_FRAMEBUFFER_BINDING));
    StateGuard guard(StateGuard::SaveFlags::Viewport | StateGuard::SaveFlags::Framebuffer);
    std::optional<TextureBinding> binding;
    if (buffer.isEmpty() || !glClearTexImage)
        binding.emplace(GLenum{GL_TEXTURE_2D});
    if (!buffer.isEmpty()) {
        buffer.m_framebuffer->bind();
        buffer.m_framebuffer->setDrawBuffers(); // which the one before may have cleared
    } else if (!build(buffer, config)) {
        return {};
    }
    Viewport{0, 0, config.width, config.height}.set();
    // Unlike clears of the framebuffer, those of textures know no scissor and no masks.
    buffer.m_colorTexture->clear<float>(Eigen::Vector4f::Zero());
    buffer.m_depthTexture->clear<float>(Eigen::Vector4f(1, 0, 0, 0));
    buffer.m_loan = std::make_unique<TargetLoan>(std::move(guard), parent, buffer.m_framebuffer->id());
    buffer.m_helper = this;
    return buffer;
}

void OffscreenRenderHelper::returnToCache(RenderBuffer* buffer) {
    if (!buffer || buffer->isEmpty())
        return;
    if (Framebuffer& framebuffer = *buffer->m_framebuffer; framebuffer.revision() != buffer->m_revision) {
        const StateGuard guard = framebuffer.guardedBind();
        attachOwn(*buffer);
    }
    buffer->m_loan.reset();
    buffer->m_helper = nullptr;
    const Texture& color = *buffer->m_colorTexture;
    const BufferConfig config{color.width(), color.height(), color.internalFormat(),
                              buffer->m_depthTexture->internalFormat()};
    m_cache.insert(config, std::move(*buffer), ByteSize(1));
}

Program& OffscreenRenderHelper::blendProgram(bool withOit) {
    std::unique_ptr<Program>& program = withOit ? m_oitProgram : m_program;
    if (!program)
        program = Program::createVertexFragment(
            "VeltrandGL/FixedFunctionPipeline.vert", "VeltrandGL/OffscreenRenderHelper.frag",
            withOit ? "#define WITH_OIT" : "", Program::Compilation::Immediate);
    return *program;
}

void OffscreenRenderHelper::setProcessingArguments(Program& program, ColorPostProcessing processing) {
    program.setArgument("u_colorProcessing", static_cast<int>(processing));
    if (processing == ColorPostProcessing::WindowLevel) {
        if (!m_colorRamp)
            setColorRamp({});
        program.setArgument("u_colorRamp", *m_colorRamp);
        program.setArgument("u_windowLevel", Eigen::Vector2f(m_windowLevel[0], m_windowLevel[1]));
    } else if (processing == ColorPostProcessing::Outline) {
        const auto [red, green, blue, alpha] = m_outlineColor;
        program.setArgument("u_outlineColor",
                            Eigen::Vector4f(red * alpha, green * alpha, blue * alpha, alpha));
        program.setArgument("u_outlineWidth", m_outlineWidth);
    }
}

void OffscreenRenderHelper::blendToParent(RenderBuffer* buffer, ColorPostProcessing processing,
                                          const OrderIndependentTransparency* oit) {
    if (!buffer || buffer->isEmpty())
        return;
    Program& program = blendProgram(oit != nullptr);
    buffer->m_loan->leave();
    const InternalFormat format = buffer->m_colorTexture->internalFormat();
    if (format.isIntegerFormat()) {
        logMessage(Log::Error, category,
                   [format] { return "Cannot blend a buffer of format " + quoted(format) + '.'; });
        return;
    }
    if (!program.isCompiled()) // which has been logged
        return;

    const StateGuard guard(StateGuard::SaveFlags::Program | StateGuard::SaveFlags::Depth);
    const DrawingBindings bindings;
    const SquareDrawing square;
    const FirstBufferOnly buffers(oit ? FirstBufferOnly::First::Masked : FirstBufferOnly::First::AsItIs);
    program.enable();
    if (oit)
        oit->setIncludeArguments(program);
    program.setArgument("u_colorTex", *buffer->m_colorTexture);
    program.setArgument("u_depthTex", *buffer->m_depthTexture);
    setProcessingArguments(program, processing);
    if (oit) {
        glDisable(GL_DEPTH_TEST);
        drawSquare(program, DepthPart::All);
    } else {
        drawOntoTarget(program);
    }
    program.unbindImages(true);
    program.unbindBuffers();
    program.disable();
}

void OffscreenRenderHelper::setWindowLevel(float window, float level) {
    m_windowLevel = {window, level};
}

void OffscreenRenderHelper::setColorRamp(const std::vector<Eigen::Vector4f>& colors) {
    if (colors.empty()) {
        setColorRamp({Eigen::Vector4f(0, 0, 0, 1), Eigen::Vector4f::Ones()});
        return;
    }
    const int limit = getInt(GL_MAX_TEXTURE_SIZE);
    if (colors.size() > static_cast<std::size_t>(limit)) {
        logMessage(Log::Error, category, [&colors, limit] {
            return "Cannot use a ramp of " + std::to_string(colors.size()) + " colors, more than " +
                   std::to_string(limit) + '.';
        });
        return;
    }
    const TextureBinding binding(GL_TEXTURE_1D);
    const UploadAlignment alignment;
    m_colorRamp = std::make_unique<Texture>(Eigen::Vector3i(static_cast<int>(colors.size()), 1, 1),
                                            InternalFormat::RGBA16F);
    m_colorRamp->upload(colors);
}

void OffscreenRenderHelper::setOutline(const Eigen::Vector4f& color, int width) {
    m_outlineColor = {color.x(), color.y(), color.z(), color.w()};
    m_outlineWidth = std::clamp(width, 1, maxOutlineWidth);
}

int OffscreenRenderHelper::cacheSize() const {
    return static_cast<int>(m_cache.budget().bytes());
}

void OffscreenRenderHelper::setCacheSize(int size) {
    m_cache.setBudget(ByteSize(static_cast<std::uint64_t>(std::max(size, 0))));
}

} // namespace Veltrand::GL
