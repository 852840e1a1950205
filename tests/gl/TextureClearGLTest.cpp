// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/InstanceManager.h>

namespace Veltrand::GL {

using TextureClearGL = Testing::GLFixture;
using Target = Texture::Target;

namespace {

enum class Path { Fast, Framebuffer, Upload };

const LogLine slowWarning{Log::Debug, "GL.Texture",
                          "Performance warning: Using slow upload() path to clear texture due to lack of "
                          "glClearTexImage() support by OpenGL context."};

LogLine cannotClear(InternalFormat format) {
    return {Log::Error, "GL.Texture",
            "Cannot clear a texture of format \"" + format.toString() +
                "\": OpenGL does not draw to it, and its target has no upload."};
}

using F = InternalFormat;

const struct {
    InternalFormat format;
    Target target;
    Vector3i size;
    Vector4f value;
    Path withoutClearTexImage = Path::Framebuffer;
} cases[] = {
    {F::R32F, Target::Texture2D, {5, 3, 1}, {-1.5F, 0, 0, 1}},
    {F::DepthComponent32F, Target::Texture2D, {5, 3, 1}, {0.25F, 0, 0, 0}},
    {F::SRGB8Alpha8, Target::Texture2D, {5, 3, 1}, {0.2F, 0.4F, 1, 1}},
    {F::DepthComponent24, Target::Texture2DArray, {3, 3, 2}, {1, 0, 0, 0}},
    {F::RGBA32F, Target::Texture3D, {3, 3, 4}, {1, -2, 3, 4}},
    {F::RG8, Target::Texture2D, {5, 3, 1}, {0.2F, 1, 0, 1}},
    {F::R32F, Target::Texture1D, {5, 1, 1}, {2, 0, 0, 0}, Path::Upload},
    {F::RGBA8, Target::Texture1DArray, {5, 3, 1}, {0, 1, 0, 1}, Path::Upload},
    {F::R8UI, Target::Texture2D, {5, 3, 1}, {200.9F, 0, 0, 0}, Path::Upload},
    {F::RG16I, Target::Texture2D, {5, 3, 1}, {-3, 1000, 0, 0}, Path::Upload},
    {F::RGB32UI, Target::Texture3D, {3, 3, 2}, {1, 2, 4e9F, 0}, Path::Upload},
    {F::RGBA8I, Target::Texture2DArray, {3, 1, 2}, {1, -2, 3, -4}, Path::Upload},
    {F::DepthComponent32F, Target::Texture1D, {5, 1, 1}, {0.5F, 0, 0, 0}, Path::Upload},
    {F::Depth24Stencil8, Target::Texture2D, {5, 3, 1}, {1, 77, 0, 0}, Path::Upload},
    {F::Depth32FStencil8, Target::Texture2D, {5, 3, 1}, {0.25F, 9, 0, 0}, Path::Upload},
    {F::RGBA8, Target::TextureCubeMap, {3, 3, 1}, {0, 1, 0.2F, 1}},
    {F::RG8UI, Target::TextureRectangle, {5, 3, 1}, {1000, 7, 0, 0}},
    {F::RGBA8I, Target::TextureCubeMap, {3, 3, 1}, {-200, 127, 3, -4}},
    {F::R32UI, Target::TextureCubeMapArray, {3, 3, 12}, {4e9F, 0, 0, 0}},
    {F::R16I, Target::Texture2DMultisample, {5, 3, 1}, {-3, 0, 0, 0}},
    {F::RGBA32I, Target::Texture2DMultisampleArray, {5, 3, 2}, {-3e9F, 1, 2, 3}},
    {F::Depth24Stencil8, Target::TextureCubeMap, {3, 3, 1}, {0.5F, 77, 0, 0}},
    {F::Depth32FStencil8, Target::TextureRectangle, {5, 3, 1}, {0.25F, 9, 0, 0}},
    {F::Depth24Stencil8, Target::Texture2DMultisampleArray, {5, 3, 2}, {1, 3, 0, 0}},
};

// Adopted, where textures do not allocate; a cube map array has six faces for each of its cubes.
Texture makeTexture(Target target, const Eigen::Vector3i& size, InternalFormat format) {
    if (target == Target::Texture1D || target == Target::Texture2D || target == Target::Texture3D ||
        target == Target::Texture1DArray || target == Target::Texture2DArray)
        return {target, size, format};
    GLuint id = 0;
    glGenTextures(1, &id);
    const auto glTarget = static_cast<GLenum>(target);
    const auto glFormat = static_cast<GLint>(format.value());
    const auto client = static_cast<GLenum>(format.matchingPixelFormat());
    const auto type = static_cast<GLenum>(format.matchingPixelType());
    const auto [x, y, z] = std::tuple(size.x(), size.y(), size.z());
    glBindTexture(glTarget, id);
    if (target == Target::TextureRectangle)
        glTexImage2D(glTarget, 0, glFormat, x, y, 0, client, type, nullptr);
    else if (target == Target::TextureCubeMapArray)
        glTexImage3D(glTarget, 0, glFormat, x, y, z, 0, client, type, nullptr);
    else if (target == Target::Texture2DMultisample)
        glTexImage2DMultisample(glTarget, 2, format.value(), x, y, GL_TRUE);
    else if (target == Target::Texture2DMultisampleArray)
        glTexImage3DMultisample(glTarget, 2, format.value(), x, y, z, GL_TRUE);
    for (GLenum face = 0; target == Target::TextureCubeMap && face < 6; ++face)
        glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, glFormat, x, y, 0, client, type, nullptr);
    return {target, id};
}

using Bytes = std::vector<std::byte>;

// All texels of one image as floats or integers, depth and stencil as they are packed.
void append(Bytes& bytes, GLenum target, std::size_t count, InternalFormat format) {
    constexpr std::size_t largestTexel = 16;
    const PixelType type = format.isDepthStencilFormat() ? format.matchingPixelType()
                           : format.isIntegerFormat()    ? PixelType::UInt
                                                         : PixelType::Float;
    const std::size_t begin = bytes.size();
    bytes.resize(begin + count * largestTexel);
    glGetTexImage(target, 0, static_cast<GLenum>(format.matchingPixelFormat()), static_cast<GLenum>(type),
                  bytes.data() + begin);
}

// A sample of each pixel of one layer, or of all.
void appendSamples(Bytes& bytes, Texture& texture, int layer) {
    using Attachment = Framebuffer::Attachment;
    const bool depth = texture.internalFormat().isDepthStencilFormat();
    const auto attachment = depth ? Attachment::DepthStencil : Attachment::Color0;
    const auto [width, height] = std::pair(texture.width(), texture.height());
    Texture resolved(Target::Texture2D, {width, height, 1}, texture.internalFormat());
    Framebuffer from;
    Framebuffer to;
    const StateGuard bound = from.guardedBind();
    if (texture.target() == Target::Texture2DMultisampleArray)
        from.attachLayer(texture, attachment, layer);
    else
        from.attach(texture, attachment);
    to.bind();
    to.attach(resolved, attachment);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, from.id());
    const GLbitfield mask = depth ? GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT : GL_COLOR_BUFFER_BIT;
    glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, mask, GL_NEAREST);
    resolved.bind(0);
    append(bytes, GL_TEXTURE_2D, static_cast<std::size_t>(width) * 3, texture.internalFormat());
}

Bytes texels(Texture& texture) {
    Bytes bytes;
    const auto target = static_cast<GLenum>(texture.target());
    const auto count = static_cast<std::size_t>(texture.size().prod());
    texture.bind(0);
    if (texture.target() == Target::Texture2DMultisample ||
        texture.target() == Target::Texture2DMultisampleArray)
        for (int layer = 0; layer < texture.depth(); ++layer)
            appendSamples(bytes, texture, layer);
    else if (texture.target() == Target::TextureCubeMap)
        for (GLenum face = 0; face < 6; ++face)
            append(bytes, GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, count, texture.internalFormat());
    else
        append(bytes, target, count, texture.internalFormat());
    return bytes;
}

/// Takes a clear to one of its paths.
class ForcedPath {
public:
    explicit ForcedPath(Path path) {
        if (path != Path::Fast)
            m_clear.emplace(glad_glClearTexImage, nullptr);
        if (path == Path::Upload)
            m_status.emplace(glad_glCheckFramebufferStatus,
                             [](GLenum) -> GLenum { return GL_FRAMEBUFFER_UNSUPPORTED; });
    }

private:
    std::optional<ScopedEntryPoint<PFNGLCLEARTEXIMAGEPROC>> m_clear;
    std::optional<ScopedEntryPoint<PFNGLCHECKFRAMEBUFFERSTATUSPROC>> m_status;
};

} // namespace

// Depth lies between colours: the framebuffer is shared, and its draw buffers have to follow.
TEST_F(TextureClearGL, EveryPathGivesTheSameTexelsWhateverTheCallerHasSet) {
    GLuint readFramebuffer = 0;
    glGenFramebuffers(1, &readFramebuffer);
    for (const auto& c : cases) {
        std::vector<std::byte> expected;
        for (const Path path : {Path::Upload, Path::Framebuffer, Path::Fast}) {
            SCOPED_TRACE(testing::Message()
                         << c.format.toString() << ' ' << int(c.target) << ' ' << int(path));
            if (path == Path::Fast && !glClearTexImage)
                continue;
            const bool slow =
                path == Path::Upload || (path == Path::Framebuffer && c.withoutClearTexImage == Path::Upload);
            Texture texture = makeTexture(c.target, c.size, c.format);
            {
                const ForcedPath forced(path);
                glBindFramebuffer(GL_READ_FRAMEBUFFER, readFramebuffer);
                std::optional<AdverseState> adverse;
                if (!slow)
                    adverse.emplace();
                texture.clear<float>({0, 0, 0, 0});
                texture.clear<float>(c.value);
            }
            if (slow && texture.numTexels() == 0) {
                EXPECT_EQ(log().take(), std::vector(2, cannotClear(c.format)));
                continue;
            }
            EXPECT_EQ(log().take(), std::vector<LogLine>(slow ? 2 : 0, slowWarning));
            if (expected.empty())
                expected = texels(texture);
            EXPECT_EQ(texels(texture), expected);
        }
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &readFramebuffer);
}

TEST_F(TextureClearGL, ColoursAreFractionsAndIntegersAreValues) {
    Texture bytes(Target::Texture2D, {3, 2, 1}, F::RGBA8);
    Texture integers(Target::Texture2D, {3, 2, 1}, InternalFormat::RG32UI);
    using FourBytes = Eigen::Vector<unsigned char, 4>;
    using Words = Eigen::Vector<unsigned int, 2>;
    for (const Path path : {Path::Upload, Path::Framebuffer, Path::Fast}) {
        if (path == Path::Fast && !glClearTexImage)
            continue;
        SCOPED_TRACE(static_cast<int>(path));
        const ForcedPath forced(path);
        bytes.clear<float>({1, 0, 0.2F, 1});
        EXPECT_EQ(bytes.download<FourBytes>(), std::vector(6, FourBytes(255, 0, 51, 255)));
        bytes.clear<unsigned int>({0xFFFFFFFF, 0x33333333, 0, 0});
        EXPECT_EQ(bytes.download<FourBytes>(), std::vector(6, FourBytes(255, 51, 0, 0)));
        integers.clear<unsigned int>({0xFFFFFFFE, 5, 0, 0});
        EXPECT_EQ(integers.download<Words>(), std::vector(6, Words(0xFFFFFFFE, 5)));
        for (const InternalFormat format : {F::DepthComponent16, F::DepthComponent24, F::DepthComponent32F,
                                            F::Depth24Stencil8, F::Depth32FStencil8})
            for (const Target target : {Target::Texture1D, Target::Texture2D, Target::Texture2DArray})
                for (const unsigned int value : {0U, 1U, 305419896U, 0xFFFFFFFFU}) {
                    Texture depth(target, {4, 1, 1}, format);
                    depth.clear<unsigned int>({value, 5, 0, 0});
                    std::array<float, 4> read{};
                    glGetTexImage(static_cast<GLenum>(target), 0, GL_DEPTH_COMPONENT, GL_FLOAT, read.data());
                    EXPECT_EQ(read[3], value == 0 ? 0.F : 1.F) << format.toString();
                }
        if (!hasVersion(4, 4))
            continue;
        Texture stencil(Target::Texture2D, {5, 3, 1}, InternalFormat::StencilIndex8);
        stencil.clear<float>({200, 0, 0, 0});
        EXPECT_EQ(stencil.download<unsigned char>(), std::vector<unsigned char>(15, 200));
    }
    static_cast<void>(log().take());
}

TEST_F(TextureClearGL, EachViewportKeepsItsScissorTest) {
    if (!hasVersion(4, 1))
        GTEST_SKIP() << "several viewports need OpenGL 4.1";
    const ForcedPath forced(Path::Framebuffer);
    Texture texture(Target::Texture2D, {4, 4, 1}, InternalFormat::R32F);
    glScissor(0, 0, 0, 0);
    for (const GLuint tested : {0U, 1U, 15U}) {
        glEnablei(GL_SCISSOR_TEST, tested);
        texture.clear<float>({static_cast<float>(tested), 0, 0, 0});
        EXPECT_EQ(texture.download<float>(), std::vector<float>(16, static_cast<float>(tested)));
        for (GLuint i = 0; i < 16; ++i)
            EXPECT_EQ(glIsEnabledi(GL_SCISSOR_TEST, i) != GL_FALSE, i == tested);
        glDisable(GL_SCISSOR_TEST);
    }
}

TEST_F(TextureClearGL, DepthIsClearedWithoutTheFloatEntryPoint) {
    const ForcedPath forced(Path::Framebuffer);
    const ScopedEntryPoint old(glad_glClearDepthf, nullptr);
    Texture texture(Target::Texture2D, {4, 4, 1}, InternalFormat::DepthComponent32F);
    texture.clear<float>({0.25F, 0, 0, 0});
    EXPECT_EQ(texture.download<float>(), std::vector<float>(16, 0.25F));
}

namespace {

struct ClearsOnConstruction : InstanceManager<ClearsOnConstruction> {
    ClearsOnConstruction()
        : texture(Target::Texture2D, {4, 4, 1}, InternalFormat::R32F) {
        texture.clear<float>({3, 0, 0, 0});
    }
    Texture texture;
};

} // namespace

TEST_F(TextureClearGL, WorksWhileAPerContextInstanceIsMade) {
    const ForcedPath forced(Path::Framebuffer);
    EXPECT_EQ(ClearsOnConstruction::get()->texture.download<float>(), std::vector<float>(16, 3.0F));
    InstanceManagerBase::deinitCurrent();
}

} // namespace Veltrand::GL
