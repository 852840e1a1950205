// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Texture.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>
#include <Veltrand/GL/detail/PixelStore.h>
#include <Veltrand/GL/detail/ScopedState.h>
#include <Veltrand/GL/detail/Texels.h>

#include <Eigen/Core>
#include <algorithm>
#include <glad/gl.h>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<Texture>);
static_assert(GLenum(Texture::Target::Texture1D) == GL_TEXTURE_1D &&
              GLenum(Texture::Target::Texture2D) == GL_TEXTURE_2D &&
              GLenum(Texture::Target::Texture3D) == GL_TEXTURE_3D &&
              GLenum(Texture::Target::TextureRectangle) == GL_TEXTURE_RECTANGLE &&
              GLenum(Texture::Target::TextureCubeMap) == GL_TEXTURE_CUBE_MAP &&
              GLenum(Texture::Target::Texture1DArray) == GL_TEXTURE_1D_ARRAY &&
              GLenum(Texture::Target::Texture2DArray) == GL_TEXTURE_2D_ARRAY &&
              GLenum(Texture::Target::TextureBuffer) == GL_TEXTURE_BUFFER &&
              GLenum(Texture::Target::TextureCubeMapArray) == GL_TEXTURE_CUBE_MAP_ARRAY &&
              GLenum(Texture::Target::Texture2DMultisample) == GL_TEXTURE_2D_MULTISAMPLE &&
              GLenum(Texture::Target::Texture2DMultisampleArray) == GL_TEXTURE_2D_MULTISAMPLE_ARRAY);

namespace {

constexpr std::string_view category = "GL.Texture";

class GlobalFBO : public InstanceManager<GlobalFBO>, public Framebuffer {};

using Size = std::array<int, 3>;

std::string row(const Size& size) {
    return std::to_string(size[0]) + ' ' + std::to_string(size[1]) + ' ' + std::to_string(size[2]);
}

/// Dimensions of which a whole-image transfer consists; 0 for targets without such a transfer.
int numDimensions(Texture::Target target) {
    switch (target) {
    case Texture::Target::Texture1D:
        return 1;
    case Texture::Target::Texture2D:
    case Texture::Target::Texture1DArray:
        return 2;
    case Texture::Target::Texture3D:
    case Texture::Target::Texture2DArray:
        return 3;
    default:
        return 0;
    }
}

Texture::Target targetFor(const Eigen::Vector3i& size) {
    if (size.z() > 1)
        return Texture::Target::Texture3D;
    return size.y() > 1 ? Texture::Target::Texture2D : Texture::Target::Texture1D;
}

GLuint generateName() {
    GLuint id = 0;
    glGenTextures(1, &id);
    if (id == 0)
        throw std::runtime_error("Could not generate Texture ID.");
    return id;
}

void warnAboutSize(Texture::Target target, const Size& size) {
    const int dimensions = numDimensions(target);
    if (target == Texture::Target::Texture1D && size[1] > 1)
        logMessage(Log::Warning, category,
                   "Using a 2D texture with Texture1D target mode, clamping size to 1.");
    if ((dimensions == 1 || dimensions == 2) && size[2] > 1)
        logMessage(Log::Warning, category, "Using a 3D texture with a 2D target mode, clamping size to 1.");
    if (std::any_of(size.begin(), size.begin() + dimensions, [](int length) { return length < 1; }))
        logMessage(Log::Warning, category, [&size] {
            return "Requested size " + row(size) + " has no texels. Subsequent actions may fail.";
        });
}

void warnAboutLimits(const Size& size) {
    static const int max2D = getInt(GL_MAX_TEXTURE_SIZE);
    static const int max3D = getInt(GL_MAX_3D_TEXTURE_SIZE);
    const int largest = *std::ranges::max_element(size);
    if (largest > max2D || (size[2] > 1 && largest > max3D))
        logMessage(Log::Warning, category, [&size] {
            return "Requested size " + row(size) +
                   " exceeds maximum supported GPU texture size. Subsequent actions may fail.";
        });
}

/// What level queries are made of; a cube map has six images and no level of its own.
GLenum levelTarget(Texture::Target target) {
    return target == Texture::Target::TextureCubeMap ? GL_TEXTURE_CUBE_MAP_POSITIVE_X
                                                     : static_cast<GLenum>(target);
}

/// Binds a texture to unit 0 for what is done to it. False for a moved-from one, in place of which that
/// would be done to the target's default texture.
bool bindForChange(const Texture& texture) {
    if (texture.id() == 0)
        return false;
    texture.bind(0);
    return true;
}

bool canClearTexImage(Texture::Target target) {
    if (!glClearTexImage)
        return false;
    if (target != Texture::Target::Texture1DArray)
        return true;
    static const bool workaround = needsClear1DArrayWorkaround(platformInfo().versionString);
    return !workaround;
}

/// Of the first viewport, whose scissor test is the one that clears obey.
void setScissorTest(bool enabled) {
    if (glScissorIndexed)
        enabled ? glEnablei(GL_SCISSOR_TEST, 0) : glDisablei(GL_SCISSOR_TEST, 0);
    else
        enabled ? glEnable(GL_SCISSOR_TEST) : glDisable(GL_SCISSOR_TEST);
}

/// Removes what limits or alters a clear, and puts it back together with the clear values.
class UnlimitedClear {
public:
    UnlimitedClear()
        : m_guard(StateGuard::SaveFlags::Depth)
        , m_scissorTest(getBool(GL_SCISSOR_TEST))
        , m_stencil(getInt(GL_STENCIL_CLEAR_VALUE)) {
        glGetBooleani_v(GL_COLOR_WRITEMASK, 0, m_colorMask.data());
        glGetFloatv(GL_COLOR_CLEAR_VALUE, m_color.data());
        glGetDoublev(GL_DEPTH_CLEAR_VALUE, &m_depth);
        // 64 bits, because a mask of all ones would come back clamped from 32.
        glGetInteger64v(GL_STENCIL_WRITEMASK, &m_stencilMask);
        for (std::size_t i = 0; i < capabilities.size(); ++i) {
            m_enabled[i] = glIsEnabled(capabilities[i]) == GL_TRUE;
            glDisable(capabilities[i]);
        }
        setScissorTest(false);
        glColorMaski(0, GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glDepthMask(GL_TRUE);
        glStencilMaskSeparate(GL_FRONT, 0xFFFFFFFF);
    }
    ~UnlimitedClear() {
        for (std::size_t i = 0; i < capabilities.size(); ++i)
            if (m_enabled[i])
                glEnable(capabilities[i]);
        setScissorTest(m_scissorTest);
        glColorMaski(0, m_colorMask[0], m_colorMask[1], m_colorMask[2], m_colorMask[3]);
        glStencilMaskSeparate(GL_FRONT, static_cast<GLuint>(m_stencilMask));
        glClearColor(m_color[0], m_color[1], m_color[2], m_color[3]);
        glClearDepth(m_depth);
        glClearStencil(m_stencil);
    }
    UnlimitedClear(const UnlimitedClear&) = delete;
    UnlimitedClear& operator=(const UnlimitedClear&) = delete;

private:
    static constexpr std::array capabilities = {GLenum{GL_DITHER}, GLenum{GL_FRAMEBUFFER_SRGB},
                                                GLenum{GL_RASTERIZER_DISCARD}};
    StateGuard m_guard;
    ReadFramebuffer m_readFramebuffer;
    bool m_scissorTest;
    GLint64 m_stencilMask = 0;
    GLint m_stencil;
    std::array<GLboolean, 4> m_colorMask{};
    std::array<float, 4> m_color{};
    GLdouble m_depth = 1.0;
    std::array<bool, capabilities.size()> m_enabled{};
};

/// What a clear through a framebuffer needs to know of the format.
struct ClearTarget {
    Framebuffer::Attachment attachment;
    GLbitfield bit; ///< 0 for what only glClearBuffer can clear
};

ClearTarget clearTarget(InternalFormat format) {
    if (format.isDepthFormat())
        return {Framebuffer::Attachment::Depth, GL_DEPTH_BUFFER_BIT};
    if (format.isStencilFormat())
        return {Framebuffer::Attachment::Stencil, GL_STENCIL_BUFFER_BIT};
    if (format.isDepthStencilFormat())
        return {Framebuffer::Attachment::DepthStencil, 0};
    return {Framebuffer::Attachment::Color0, format.isIntegerFormat() ? 0U : GL_COLOR_BUFFER_BIT};
}

void setClearValue(const ClearTarget& target, const ClearValue& value) {
    if (target.bit == GL_COLOR_BUFFER_BIT)
        glClearColor(value.color[0], value.color[1], value.color[2], value.color[3]);
    else if (target.bit == GL_STENCIL_BUFFER_BIT)
        glClearStencil(value.stencil);
    else if (target.bit == GL_DEPTH_BUFFER_BIT && glClearDepthf)
        glClearDepthf(value.depth);
    else if (target.bit == GL_DEPTH_BUFFER_BIT)
        glClearDepth(static_cast<GLdouble>(value.depth));
}

void clearAttachment(const ClearTarget& target, InternalFormat format, const ClearValue& value) {
    if (target.bit != 0)
        glClear(target.bit);
    else if (format.isDepthStencilFormat())
        glClearBufferfi(GL_DEPTH_STENCIL, 0, value.depth, value.stencil);
    else if (format.isSignedIntegerFormat())
        glClearBufferiv(GL_COLOR, 0, value.signedIntegers.data());
    else
        glClearBufferuiv(GL_COLOR, 0, value.unsignedIntegers.data());
}

} // namespace

// The delegation makes the destructor run when something throws after the name has been generated.
Texture::Texture(Target target, const std::array<int, 3>& size, InternalFormat internalFormat, GLuint id)
    : m_id(id)
    , m_size(size)
    , m_target(target)
    , m_internalFormat(internalFormat) {}

Texture::Texture(Target target, const Eigen::Vector3i& size, InternalFormat internalFormat)
    : Texture(target, Size{size.x(), size.y(), size.z()}, internalFormat, 0) {
    warnAboutSize(target, m_size);
    m_id = generateName();
    init();
}

Texture::Texture(const Eigen::Vector3i& size, InternalFormat internalFormat)
    : Texture(targetFor(size), size, internalFormat) {}

Texture::Texture(Target target, GLuint id)
    : Texture(target, id, InternalFormat(GLenum{0})) {
    GLint format = 0;
    glGetTexLevelParameteriv(levelTarget(target), 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
    m_internalFormat = InternalFormat(static_cast<GLenum>(format));
}

Texture::Texture(Target target, GLuint id, InternalFormat internalFormat)
    : Texture(target, Size{}, internalFormat, id) {
    bind(0);
    const GLenum level = levelTarget(target);
    glGetTexLevelParameteriv(level, 0, GL_TEXTURE_WIDTH, &m_size[0]);
    glGetTexLevelParameteriv(level, 0, GL_TEXTURE_HEIGHT, &m_size[1]);
    glGetTexLevelParameteriv(level, 0, GL_TEXTURE_DEPTH, &m_size[2]);
}

Texture::~Texture() {
    if (m_id != 0)
        glDeleteTextures(1, &m_id);
}

Texture::Texture(Texture&& other) noexcept
    : m_id(std::exchange(other.m_id, 0))
    , m_size(std::exchange(other.m_size, {}))
    , m_target(other.m_target)
    , m_internalFormat(other.m_internalFormat) {}

Texture& Texture::operator=(Texture&& other) noexcept {
    Texture taken(std::move(other));
    std::swap(m_id, taken.m_id);
    m_size = taken.m_size;
    m_target = taken.m_target;
    m_internalFormat = taken.m_internalFormat;
    return *this;
}

std::unique_ptr<Texture> Texture::createFromExisting(Target target, GLuint id) {
    return std::make_unique<Texture>(target, id);
}

std::unique_ptr<Texture> Texture::createFromExisting(Target target, GLuint id,
                                                     InternalFormat internalFormat) {
    return std::make_unique<Texture>(target, id, internalFormat);
}

void Texture::init() {
    warnAboutLimits(m_size);
    if (m_internalFormat.isIntegerFormat())
        setFiltering(Sampler::MinFilter::Nearest, Sampler::MagFilter::Nearest);
    else
        setFiltering(Sampler::MinFilter::Linear, Sampler::MagFilter::Linear);
    setWrapping(Sampler::Wrap::ClampToEdge);

    static constexpr GLint grey[] = {GL_RED, GL_RED, GL_RED, GL_ONE};
    static constexpr GLint identity[] = {GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA};
    const bool oneChannel = m_internalFormat.matchingNumChannels() == 1;
    glTexParameteriv(static_cast<GLenum>(m_target), GL_TEXTURE_SWIZZLE_RGBA, oneChannel ? grey : identity);
    allocate();
}

void Texture::allocate() {
    const UnboundPixelBuffer noBuffer(TransferDirection::Upload); // from which null would be the beginning
    const auto target = static_cast<GLenum>(m_target);
    const auto internalFormat = static_cast<GLint>(m_internalFormat.value());
    const auto format = static_cast<GLenum>(m_internalFormat.matchingPixelFormat());
    const auto type = static_cast<GLenum>(m_internalFormat.matchingPixelType());
    switch (numDimensions(m_target)) {
    case 1:
        glTexImage1D(target, 0, internalFormat, m_size[0], 0, format, type, nullptr);
        break;
    case 2:
        glTexImage2D(target, 0, internalFormat, m_size[0], m_size[1], 0, format, type, nullptr);
        break;
    case 3:
        glTexImage3D(target, 0, internalFormat, m_size[0], m_size[1], m_size[2], 0, format, type, nullptr);
        break;
    default:
        break;
    }
}

Eigen::Vector3i Texture::size() const {
    return {m_size[0], m_size[1], m_size[2]};
}

std::size_t Texture::numRows() const {
    const int dimensions = numDimensions(m_target);
    if (dimensions == 0)
        return 0;
    return saturatingProduct({dimensions > 1 ? m_size[1] : 1, dimensions > 2 ? m_size[2] : 1});
}

std::size_t Texture::numTexels() const {
    return saturatingProduct({m_size[0], static_cast<std::int64_t>(numRows())});
}

std::size_t Texture::transferSize(PixelFormat format, PixelType type) const {
    return imageSize(m_size[0], numRows(), format, type);
}

void Texture::bind(int unit) const {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    glBindTexture(static_cast<GLenum>(m_target), m_id);
}

void Texture::unbind(GLuint unit, Target target) {
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(static_cast<GLenum>(target), 0);
}

void Texture::uploadImpl(const void* data, PixelFormat format, PixelType type) {
    const auto target = static_cast<GLenum>(m_target);
    const auto glFormat = static_cast<GLenum>(format);
    const auto glType = static_cast<GLenum>(type);
    if (!bindForChange(*this))
        return;
    glPixelStorei(GL_UNPACK_ALIGNMENT, rowAlignment(m_size[0], format, type));
    switch (numDimensions(m_target)) {
    case 1:
        glTexSubImage1D(target, 0, 0, m_size[0], glFormat, glType, data);
        break;
    case 2:
        glTexSubImage2D(target, 0, 0, 0, m_size[0], m_size[1], glFormat, glType, data);
        break;
    case 3:
        glTexSubImage3D(target, 0, 0, 0, 0, m_size[0], m_size[1], m_size[2], glFormat, glType, data);
        break;
    default:
        break;
    }
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
}

void Texture::downloadImpl(PixelFormat format, PixelType type, void* data) const {
    if (!bindForChange(*this))
        return;
    glPixelStorei(GL_PACK_ALIGNMENT, rowAlignment(m_size[0], format, type));
    glGetTexImage(static_cast<GLenum>(m_target), 0, static_cast<GLenum>(format), static_cast<GLenum>(type),
                  data);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
}

std::optional<Texture::ElementFormat> Texture::elementFormat(int components, PixelType type) const {
    const auto refuse = [this](std::string_view reason) {
        logMessage(Log::Error, category, [&] {
            return "Refusing to transfer texels of format \"" + m_internalFormat.toString() +
                   "\": " + std::string(reason);
        });
        return std::nullopt;
    };
    if (numDimensions(m_target) == 0)
        return refuse("the texture's target has no whole-image transfer.");
    if (m_internalFormat.isDepthStencilFormat())
        return refuse("depth with stencil is transferred as raw texels.");
    if (m_internalFormat.isDepthFormat() || m_internalFormat.isStencilFormat()) {
        if (components != 1)
            return refuse("depth and stencil are transferred as scalars.");
        return ElementFormat{m_internalFormat.matchingPixelFormat(), type};
    }
    if (!m_internalFormat.isIntegerFormat()) {
        static constexpr PixelFormat formats[] = {PixelFormat::Red, PixelFormat::RG, PixelFormat::RGB,
                                                  PixelFormat::RGBA};
        return ElementFormat{formats[components - 1], type};
    }
    if (type == PixelType::Float)
        return refuse("integer formats are transferred as integers.");
    static constexpr PixelFormat formats[] = {PixelFormat::RedInteger, PixelFormat::RGInteger,
                                              PixelFormat::RGBInteger, PixelFormat::RGBAInteger};
    return ElementFormat{formats[components - 1], type};
}

bool Texture::checkSize(std::size_t given, std::size_t needed, std::string_view unit) const {
    // Nothing is needed also by a format of unknown size, of which nothing can be right.
    if (given == needed && numDimensions(m_target) != 0 && (needed != 0 || numTexels() == 0))
        return true;
    logMessage(Log::Error, category, [&] {
        return "Refusing to transfer " + std::to_string(given) + ' ' + std::string(unit) +
               ", a texture of size " + row(m_size) + " takes " + std::to_string(needed) + '.';
    });
    return false;
}

bool Texture::uploadElements(const void* data, std::size_t count, int components, PixelType type) {
    const auto format = elementFormat(components, type);
    if (!format || !checkSize(count, numTexels(), "texels"))
        return false;
    const PlainTransfer plain(TransferDirection::Upload);
    uploadImpl(data, format->format, format->type);
    return true;
}

bool Texture::downloadElements(void* data, std::size_t count, int components, PixelType type) const {
    const auto format = elementFormat(components, type);
    if (!format || !checkSize(count, numTexels(), "texels"))
        return false;
    const PlainTransfer plain(TransferDirection::Download);
    downloadImpl(format->format, format->type, data);
    return true;
}

bool Texture::upload(PixelFormat format, PixelType type, std::span<const std::byte> texels) {
    if (!checkSize(texels.size(), transferSize(format, type), "bytes"))
        return false;
    const PlainTransfer plain(TransferDirection::Upload);
    uploadImpl(texels.data(), format, type);
    return true;
}

bool Texture::downloadTo(PixelFormat format, PixelType type, std::span<std::byte> texels) const {
    if (!checkSize(texels.size(), transferSize(format, type), "bytes"))
        return false;
    const PlainTransfer plain(TransferDirection::Download);
    downloadImpl(format, type, texels.data());
    return true;
}

int Texture::matchingNumChannels(PixelFormat format) {
    switch (format) {
    case PixelFormat::StencilIndex:
    case PixelFormat::DepthComponent:
    case PixelFormat::Red:
    case PixelFormat::RedInteger:
        return 1;
    case PixelFormat::RG:
    case PixelFormat::RGInteger:
    case PixelFormat::DepthStencil:
        return 2;
    case PixelFormat::RGB:
    case PixelFormat::RGBInteger:
        return 3;
    case PixelFormat::RGBA:
    case PixelFormat::BGRA:
    case PixelFormat::RGBAInteger:
    case PixelFormat::BGRAInteger:
        return 4;
    }
    return 0;
}

void Texture::generateMipmaps() {
    if (!bindForChange(*this))
        return;
    glGenerateMipmap(static_cast<GLenum>(m_target));
}

void Texture::setFiltering(Sampler::MinFilter minFilter, Sampler::MagFilter magFilter) {
    const auto target = static_cast<GLenum>(m_target);
    if (!bindForChange(*this))
        return;
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(minFilter));
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(magFilter));
}

void Texture::setWrapping(Sampler::Wrap s, Sampler::Wrap t, Sampler::Wrap r) {
    const auto target = static_cast<GLenum>(m_target);
    if (!bindForChange(*this))
        return;
    glTexParameteri(target, GL_TEXTURE_WRAP_S, static_cast<GLint>(s));
    glTexParameteri(target, GL_TEXTURE_WRAP_T, static_cast<GLint>(t));
    glTexParameteri(target, GL_TEXTURE_WRAP_R, static_cast<GLint>(r));
}

void Texture::setWrapping(Sampler::Wrap wrap) {
    setWrapping(wrap, wrap, wrap);
}

void Texture::setBorderColor(const Eigen::Vector4f& color) {
    if (!bindForChange(*this))
        return;
    glTexParameterfv(static_cast<GLenum>(m_target), GL_TEXTURE_BORDER_COLOR, color.data());
}

PixelFormat Texture::clearFormat() const {
    if (m_internalFormat.isDepthFormat())
        return PixelFormat::DepthComponent;
    if (m_internalFormat.isStencilFormat())
        return PixelFormat::StencilIndex;
    if (m_internalFormat.isDepthStencilFormat())
        return PixelFormat::DepthStencil;
    return m_internalFormat.isIntegerFormat() ? PixelFormat::RGBAInteger : PixelFormat::RGBA;
}

template<>
void Texture::clear<float>(const Eigen::Vector4f& value) {
    if (m_internalFormat.isDepthStencilFormat()) {
        const auto packed = packDepthStencil(m_internalFormat, value[0], value[1]);
        clearImpl(PixelFormat::DepthStencil, packed.type, packed.words.data());
    } else if (m_internalFormat.isSignedIntegerFormat()) {
        const std::array<int, 4> integers{toInt(value[0]), toInt(value[1]), toInt(value[2]), toInt(value[3])};
        clearImpl(PixelFormat::RGBAInteger, PixelType::Int, integers.data());
    } else if (m_internalFormat.isUnsignedIntegerFormat()) {
        const std::array<unsigned int, 4> integers{toUInt(value[0]), toUInt(value[1]), toUInt(value[2]),
                                                   toUInt(value[3])};
        clearImpl(PixelFormat::RGBAInteger, PixelType::UInt, integers.data());
    } else {
        clearImpl(clearFormat(), PixelType::Float, value.data());
    }
}

template<>
void Texture::clear<unsigned int>(const Eigen::Matrix<unsigned int, 4, 1, 0, 4, 1>& value) {
    if (m_internalFormat.isDepthStencilFormat()) {
        const auto packed = packDepthStencil(m_internalFormat, std::min(value[0], 1U), value[1]);
        clearImpl(PixelFormat::DepthStencil, packed.type, packed.words.data());
    } else {
        clearImpl(clearFormat(), PixelType::UInt, value.data());
    }
}

void Texture::clearImpl(PixelFormat format, PixelType type, const void* data) {
    if (m_id == 0)
        return;
    std::array<std::byte, 8> depth;
    const void* texel = data; // as transfers take it
    if (format == PixelFormat::DepthComponent) {
        depth = depthComponent(type, data);
        texel = depth.data();
    }
    if (canClearTexImage(m_target)) {
        glClearTexImage(m_id, 0, static_cast<GLenum>(format), static_cast<GLenum>(type), texel);
        return;
    }
    const bool canUpload = numDimensions(m_target) != 0;
    const bool needsUpload = m_internalFormat.isDepthStencilFormat() || m_internalFormat.isIntegerFormat() ||
                             m_target == Target::Texture1DArray || m_target == Target::Texture1D;
    // A driver need not be able to draw to every format, so a refused framebuffer ends in an upload, too.
    if (canUpload && (needsUpload || !clearByFramebuffer(format, type, data)))
        clearByUpload(format, type, texel);
    else if (!canUpload && (m_target == Target::TextureBuffer || !clearByFramebuffer(format, type, data)))
        logMessage(Log::Error, category, [this] {
            return "Cannot clear a texture of format \"" + m_internalFormat.toString() +
                   "\": OpenGL does not draw to it, and its target has no upload.";
        });
}

void Texture::clearByUpload(PixelFormat format, PixelType type, const void* data) {
    logMessage(Log::Debug, category,
               "Performance warning: Using slow upload() path to clear texture due to lack of "
               "glClearTexImage() support by OpenGL context.");
    static constexpr PixelFormat colors[] = {PixelFormat::Red, PixelFormat::RG, PixelFormat::RGB};
    static constexpr PixelFormat integers[] = {PixelFormat::RedInteger, PixelFormat::RGInteger,
                                               PixelFormat::RGBInteger};
    const int channels = matchingNumChannels(m_internalFormat.matchingPixelFormat());
    if (format == PixelFormat::RGBA && channels < 4)
        format = colors[channels - 1];
    else if (format == PixelFormat::RGBAInteger && channels < 4)
        format = integers[channels - 1];
    try {
        const auto image = filledImage(m_size[0], numRows(), format, type, data);
        const PlainTransfer plain(TransferDirection::Upload);
        uploadImpl(image.data(), format, type);
    } catch (const std::exception&) {
        logMessage(Log::Error, category, [this] {
            return "Not enough memory to clear a texture of size " + row(m_size) + " by an upload.";
        });
    }
}

bool Texture::clearByFramebuffer(PixelFormat format, PixelType type, const void* data) {
    // While a per-context instance is being made or destroyed, no other one can be asked for.
    std::optional<Framebuffer> temporary;
    Framebuffer& framebuffer =
        InstanceManagerBase::isInsideInstance() ? temporary.emplace() : *GlobalFBO::get();

    const ClearTarget target = clearTarget(m_internalFormat);
    const UnlimitedClear unlimited;
    const StateGuard guard = framebuffer.guardedBind();
    const ClearValue value = clearValue(format, type, data);
    setClearValue(target, value);
    // Older drivers want nothing to read from or draw to where nothing is attached.
    glReadBuffer(GL_NONE);
    if (target.attachment != Framebuffer::Attachment::Color0)
        framebuffer.clearDrawBuffers();

    const bool layered = m_target == Target::Texture3D || m_target == Target::Texture2DArray;
    const int layers = layered ? m_size[2] : std::max(m_size[2], 1);
    bool complete = true;
    for (int z = 0; z < layers && complete; ++z) {
        if (layered)
            framebuffer.attachLayer(*this, target.attachment, z);
        else
            framebuffer.attach(*this, target.attachment);
        complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
        if (complete) {
            framebuffer.setDrawBuffers();
            clearAttachment(target, m_internalFormat, value);
        }
    }
    framebuffer.detachAll();
    return complete;
}

} // namespace Veltrand::GL
