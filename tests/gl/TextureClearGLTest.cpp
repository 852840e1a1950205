// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/Texture.h>

#include "support/GLFixture.h"
#include "support/ScopedEntryPoint.h"

#include <Eigen/Core>
#include <algorithm>
#include <cstring>
#include <glad/gl.h>
#include <optional>

namespace Veltrand::GL {

using TextureClearGL = Testing::GLFixture;
using Testing::LogLine;
using Testing::ScopedEntryPoint;
using Target = Texture::Target;

namespace {

enum class Path { Fast, Framebuffer, Upload };

const LogLine slowWarning{Log::Debug, "GL.Texture",
                          "Performance warning: Using slow upload() path to clear texture due to lack of "
                          "glClearTexImage() support by OpenGL context."};

struct Case {
    InternalFormat format;
    Target target;
    Eigen::Vector3i size;
    Eigen::Vector4f value;
    std::vector<double> expected; ///< components of each texel; depth and stencil as two
    Path withoutClearTexImage;
};

const Case cases[] = {
    {InternalFormat::R32F, Target::Texture2D, {5, 3, 1}, {-1.5F, 0, 0, 1}, {-1.5}, Path::Framebuffer},
    {InternalFormat::R8, Target::Texture2D, {5, 3, 1}, {0.2F, 0, 0, 1}, {51}, Path::Framebuffer},
    {InternalFormat::RGBA8,
     Target::Texture2D,
     {5, 3, 1},
     {1, 0, 0.2F, 1},
     {255, 0, 51, 255},
     Path::Framebuffer},
    {InternalFormat::SRGB8Alpha8,
     Target::Texture2D,
     {5, 3, 1},
     {0.2F, 0.4F, 1, 1},
     {51, 102, 255, 255},
     Path::Framebuffer},
    {InternalFormat::RGBA32F, Target::Texture3D, {3, 3, 4}, {1, -2, 3, 4}, {1, -2, 3, 4}, Path::Framebuffer},
    {InternalFormat::RG32F, Target::Texture2DArray, {3, 3, 4}, {7, 8, 0, 0}, {7, 8}, Path::Framebuffer},
    {InternalFormat::R32F, Target::Texture1D, {5, 1, 1}, {2, 0, 0, 0}, {2}, Path::Upload},
    {InternalFormat::RGBA8, Target::Texture1DArray, {5, 3, 1}, {0, 1, 0, 1}, {0, 255, 0, 255}, Path::Upload},
    {InternalFormat::RG32F, Target::Texture1DArray, {5, 3, 1}, {3, 4, 0, 1}, {3, 4}, Path::Upload},
    {InternalFormat::R8UI, Target::Texture2D, {5, 3, 1}, {200.9F, 0, 0, 0}, {200}, Path::Upload},
    {InternalFormat::RG16I, Target::Texture2D, {5, 3, 1}, {-3, 1000, 0, 0}, {-3, 1000}, Path::Upload},
    {InternalFormat::RGB32UI, Target::Texture3D, {3, 3, 2}, {1, 2, 4e9F, 0}, {1, 2, 4e9}, Path::Upload},
    {InternalFormat::RGBA8I, Target::Texture2DArray, {3, 1, 2}, {1, -2, 3, -4}, {1, -2, 3, -4}, Path::Upload},
    {InternalFormat::DepthComponent32F,
     Target::Texture2D,
     {5, 3, 1},
     {0.25F, 0, 0, 0},
     {0.25},
     Path::Framebuffer},
    {InternalFormat::DepthComponent24,
     Target::Texture2DArray,
     {3, 3, 2},
     {1, 0, 0, 0},
     {1},
     Path::Framebuffer},
    {InternalFormat::DepthComponent32F, Target::Texture1D, {5, 1, 1}, {0.5F, 0, 0, 0}, {0.5}, Path::Upload},
    {InternalFormat::Depth24Stencil8, Target::Texture2D, {5, 3, 1}, {1, 77, 0, 0}, {1, 77}, Path::Upload},
    {InternalFormat::Depth32FStencil8,
     Target::Texture2D,
     {5, 3, 1},
     {0.25F, 9, 0, 0},
     {0.25, 9},
     Path::Upload},
};

/// Every component of every texel, in the format's own client type.
std::vector<double> components(const Texture& texture) {
    const InternalFormat format = texture.internalFormat();
    const PixelFormat pixelFormat = format.matchingPixelFormat();
    const PixelType type = format.matchingPixelType();
    std::vector<std::byte> bytes(texture.transferSize(pixelFormat, type));
    EXPECT_TRUE(texture.downloadTo(pixelFormat, type, bytes));
    std::vector<double> values;
    const auto append = [&]<class T>(T) {
        for (std::size_t i = 0; i + sizeof(T) <= bytes.size(); i += sizeof(T)) {
            T value;
            std::memcpy(&value, bytes.data() + i, sizeof(T));
            values.push_back(static_cast<double>(value));
        }
    };
    switch (type) {
    case PixelType::UByte:
        append(std::uint8_t{});
        break;
    case PixelType::Byte:
        append(std::int8_t{});
        break;
    case PixelType::Short:
        append(std::int16_t{});
        break;
    case PixelType::UInt:
        append(std::uint32_t{});
        break;
    case PixelType::Float:
        append(float{});
        break;
    case PixelType::UInt248:
        for (std::size_t row = 0; row < static_cast<std::size_t>(texture.height()); ++row) {
            for (std::size_t x = 0; x < static_cast<std::size_t>(texture.width()); ++x) {
                std::uint32_t word = 0;
                const std::size_t stride = (static_cast<std::size_t>(texture.width()) * 4 + 7) / 8 * 8;
                std::memcpy(&word, bytes.data() + row * stride + x * 4, 4);
                values.push_back((word >> 8U) / double{0xFFFFFF});
                values.push_back(word & 0xFFU);
            }
        }
        break;
    case PixelType::Float32UInt248Rev:
        for (std::size_t i = 0; i < bytes.size(); i += 8) {
            float depth = 0;
            std::uint32_t stencil = 0;
            std::memcpy(&depth, bytes.data() + i, 4);
            std::memcpy(&stencil, bytes.data() + i + 4, 4);
            values.push_back(static_cast<double>(depth));
            values.push_back(stencil & 0xFFU);
        }
        break;
    default:
        ADD_FAILURE() << "no reader for " << format.toString();
    }
    return values;
}

std::vector<double> repeated(const std::vector<double>& texel, std::size_t count) {
    std::vector<double> values;
    for (std::size_t i = 0; i < count; ++i)
        values.insert(values.end(), texel.begin(), texel.end());
    return values;
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

TEST_F(TextureClearGL, EveryPathGivesTheSameTexels) {
    for (const Case& c : cases) {
        for (const Path path : {Path::Fast, Path::Framebuffer, Path::Upload}) {
            SCOPED_TRACE(testing::Message() << c.format.toString() << " target " << static_cast<int>(c.target)
                                            << " path " << static_cast<int>(path));
            if (path == Path::Fast && !glClearTexImage)
                continue;
            Texture texture(c.target, c.size, c.format);
            {
                const ForcedPath forced(path);
                texture.clear<float>({0, 0, 0, 0});
                texture.clear<float>(c.value);
            }
            EXPECT_EQ(components(texture), repeated(c.expected, texture.numTexels()));
            const bool slow =
                path == Path::Upload || (path != Path::Fast && c.withoutClearTexImage == Path::Upload);
            EXPECT_EQ(log().take(), std::vector<LogLine>(slow ? 2 : 0, slowWarning));
            EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        }
    }
}

TEST_F(TextureClearGL, UnsignedIntegersAreValuesOrFractions) {
    const auto cleared = [](InternalFormat format, Path path, unsigned int first, unsigned int second) {
        Texture texture(Target::Texture2D, {3, 2, 1}, format);
        const ForcedPath forced(path);
        texture.clear<unsigned int>({first, second, 0, 0});
        return components(texture);
    };
    for (const Path path : {Path::Fast, Path::Framebuffer}) {
        if (path == Path::Fast && !glClearTexImage)
            continue;
        SCOPED_TRACE(static_cast<int>(path));
        EXPECT_EQ(cleared(InternalFormat::R32UI, path, 0xFFFFFFFE, 0), repeated({4294967294.0}, 6));
        EXPECT_EQ(cleared(InternalFormat::RGBA8, path, 0xFFFFFFFF, 0x33333333), repeated({255, 51, 0, 0}, 6));
        EXPECT_EQ(cleared(InternalFormat::Depth24Stencil8, path, 0xFFFFFFFF, 5), repeated({1, 5}, 6));
    }
    static_cast<void>(log().take());
}

TEST_F(TextureClearGL, TheFramebufferPathIsNeitherLimitedNorLeavesTraces) {
    const ForcedPath forced(Path::Framebuffer);
    glEnable(GL_SCISSOR_TEST);
    glScissor(1, 1, 1, 1);
    glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE);
    glColorMaski(1, GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE);
    glDepthMask(GL_FALSE);
    glStencilMaskSeparate(GL_FRONT, 0);
    glStencilMaskSeparate(GL_BACK, 7);
    glEnable(GL_RASTERIZER_DISCARD);
    glEnable(GL_FRAMEBUFFER_SRGB);
    glClearColor(0.25F, 0.5F, 0.75F, 1.0F);
    glClearDepth(0.5);
    glClearStencil(3);
    GLuint readFramebuffer = 0;
    glGenFramebuffers(1, &readFramebuffer);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, readFramebuffer);
    const auto state = [] {
        std::vector<double> values;
        for (const int name :
             {GL_SCISSOR_TEST, GL_DEPTH_WRITEMASK, GL_DEPTH_TEST, GL_STENCIL_TEST, GL_STENCIL_WRITEMASK,
              GL_STENCIL_BACK_WRITEMASK, GL_RASTERIZER_DISCARD, GL_FRAMEBUFFER_SRGB, GL_DITHER,
              GL_STENCIL_CLEAR_VALUE, GL_READ_FRAMEBUFFER_BINDING, GL_DRAW_FRAMEBUFFER_BINDING})
            values.push_back(getInt(static_cast<GLenum>(name)));
        values.resize(values.size() + 5);
        glGetDoublev(GL_COLOR_CLEAR_VALUE, values.data() + values.size() - 5);
        glGetDoublev(GL_DEPTH_CLEAR_VALUE, values.data() + values.size() - 1);
        for (const GLuint buffer : {0U, 1U}) {
            GLboolean mask[4];
            glGetBooleani_v(GL_COLOR_WRITEMASK, buffer, mask);
            values.insert(values.end(), mask, mask + 4);
        }
        return values;
    };
    const auto before = state();
    // Depth between colours: the framebuffer is shared, and its draw buffers have to follow.
    for (const std::size_t index : {0U, 13U, 3U, 14U, 4U}) {
        const Case& c = cases[index];
        SCOPED_TRACE(c.format.toString());
        Texture texture(c.target, c.size, c.format);
        texture.clear<float>(c.value);
        EXPECT_EQ(components(texture), repeated(c.expected, texture.numTexels()));
        EXPECT_EQ(state(), before);
    }
    EXPECT_TRUE(log().take().empty());

    glDisable(GL_SCISSOR_TEST);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthMask(GL_TRUE);
    glStencilMask(0xFFFFFFFF);
    glDisable(GL_RASTERIZER_DISCARD);
    glDisable(GL_FRAMEBUFFER_SRGB);
    glClearColor(0, 0, 0, 0);
    glClearDepth(1);
    glClearStencil(0);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &readFramebuffer);
}

TEST_F(TextureClearGL, DepthIsClearedWithoutTheFloatEntryPoint) {
    const ForcedPath forced(Path::Framebuffer);
    const ScopedEntryPoint old(glad_glClearDepthf, nullptr);
    Texture texture(Target::Texture2D, {4, 4, 1}, InternalFormat::DepthComponent32F);
    texture.clear<float>({0.25F, 0, 0, 0});
    EXPECT_EQ(texture.download<float>(), std::vector<float>(16, 0.25F));
}

TEST_F(TextureClearGL, StencilTexturesTakeTheFirstComponent) {
    if (!hasVersion(4, 4))
        GTEST_SKIP() << "needs stencil textures, OpenGL 4.4";
    for (const Path path : {Path::Fast, Path::Framebuffer, Path::Upload}) {
        SCOPED_TRACE(static_cast<int>(path));
        Texture texture(Target::Texture2D, {5, 3, 1}, InternalFormat::StencilIndex8);
        const ForcedPath forced(path);
        texture.clear<float>({200, 0, 0, 0});
        EXPECT_EQ(texture.download<unsigned char>(), std::vector<unsigned char>(15, 200));
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
    static_cast<void>(log().take());
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
