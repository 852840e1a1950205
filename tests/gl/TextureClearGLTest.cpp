// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/InstanceManager.h>

namespace Veltrand::GL {

using TextureClearGL = Testing::GLFixture;
using Target = Texture::Target;

namespace {

enum class Path { Fast, Framebuffer, Upload };

const Testing::LogLine slowWarning{
    Log::Debug, "GL.Texture",
    "Performance warning: Using slow upload() path to clear texture due to lack of "
    "glClearTexImage() support by OpenGL context."};

struct Case {
    InternalFormat format;
    Target target;
    Eigen::Vector3i size;
    Eigen::Vector4f value;
    Path withoutClearTexImage = Path::Upload;
};

const Case cases[] = {
    {InternalFormat::R32F, Target::Texture2D, {5, 3, 1}, {-1.5F, 0, 0, 1}, Path::Framebuffer},
    {InternalFormat::DepthComponent32F, Target::Texture2D, {5, 3, 1}, {0.25F, 0, 0, 0}, Path::Framebuffer},
    {InternalFormat::SRGB8Alpha8, Target::Texture2D, {5, 3, 1}, {0.2F, 0.4F, 1, 1}, Path::Framebuffer},
    {InternalFormat::DepthComponent24, Target::Texture2DArray, {3, 3, 2}, {1, 0, 0, 0}, Path::Framebuffer},
    {InternalFormat::RGBA32F, Target::Texture3D, {3, 3, 4}, {1, -2, 3, 4}, Path::Framebuffer},
    {InternalFormat::RG8, Target::Texture2D, {5, 3, 1}, {0.2F, 1, 0, 1}, Path::Framebuffer},
    {InternalFormat::R32F, Target::Texture1D, {5, 1, 1}, {2, 0, 0, 0}},
    {InternalFormat::RGBA8, Target::Texture1DArray, {5, 3, 1}, {0, 1, 0, 1}},
    {InternalFormat::R8UI, Target::Texture2D, {5, 3, 1}, {200.9F, 0, 0, 0}},
    {InternalFormat::RG16I, Target::Texture2D, {5, 3, 1}, {-3, 1000, 0, 0}},
    {InternalFormat::RGB32UI, Target::Texture3D, {3, 3, 2}, {1, 2, 4e9F, 0}},
    {InternalFormat::RGBA8I, Target::Texture2DArray, {3, 1, 2}, {1, -2, 3, -4}},
    {InternalFormat::DepthComponent32F, Target::Texture1D, {5, 1, 1}, {0.5F, 0, 0, 0}},
    {InternalFormat::Depth24Stencil8, Target::Texture2D, {5, 3, 1}, {1, 77, 0, 0}},
    {InternalFormat::Depth32FStencil8, Target::Texture2D, {5, 3, 1}, {0.25F, 9, 0, 0}},
};

// All texels, in the format's own client type.
std::vector<std::byte> texels(const Texture& texture) {
    const PixelFormat format = texture.internalFormat().matchingPixelFormat();
    const PixelType type = texture.internalFormat().matchingPixelType();
    std::vector<std::byte> bytes(texture.transferSize(format, type));
    EXPECT_TRUE(texture.downloadTo(format, type, bytes));
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
    std::optional<Testing::ScopedEntryPoint<PFNGLCLEARTEXIMAGEPROC>> m_clear;
    std::optional<Testing::ScopedEntryPoint<PFNGLCHECKFRAMEBUFFERSTATUSPROC>> m_status;
};

} // namespace

// Depth lies between colours: the framebuffer is shared, and its draw buffers have to follow.
TEST_F(TextureClearGL, EveryPathGivesTheSameTexelsWhateverTheCallerHasSet) {
    GLuint readFramebuffer = 0;
    glGenFramebuffers(1, &readFramebuffer);
    for (const Case& c : cases) {
        std::vector<std::byte> expected;
        for (const Path path : {Path::Upload, Path::Framebuffer, Path::Fast}) {
            SCOPED_TRACE(testing::Message()
                         << c.format.toString() << ' ' << int(c.target) << ' ' << int(path));
            if (path == Path::Fast && !glClearTexImage)
                continue;
            const bool slow =
                path == Path::Upload || (path == Path::Framebuffer && c.withoutClearTexImage == Path::Upload);
            Texture texture(c.target, c.size, c.format);
            {
                const ForcedPath forced(path);
                glBindFramebuffer(GL_READ_FRAMEBUFFER, readFramebuffer);
                std::optional<Testing::AdverseState> adverse;
                if (!slow)
                    adverse.emplace();
                texture.clear<float>({0, 0, 0, 0});
                texture.clear<float>(c.value);
            }
            EXPECT_EQ(log().take(), std::vector<Testing::LogLine>(slow ? 2 : 0, slowWarning));
            if (expected.empty())
                expected = texels(texture);
            EXPECT_EQ(texels(texture), expected);
        }
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &readFramebuffer);
}

TEST_F(TextureClearGL, ColoursAreFractionsAndIntegersAreValues) {
    Texture bytes(Target::Texture2D, {3, 2, 1}, InternalFormat::RGBA8);
    Texture integers(Target::Texture2D, {3, 2, 1}, InternalFormat::RG32UI);
    using Bytes = Eigen::Vector<unsigned char, 4>;
    using Words = Eigen::Vector<unsigned int, 2>;
    for (const Path path : {Path::Upload, Path::Framebuffer, Path::Fast}) {
        if (path == Path::Fast && !glClearTexImage)
            continue;
        SCOPED_TRACE(static_cast<int>(path));
        const ForcedPath forced(path);
        bytes.clear<float>({1, 0, 0.2F, 1});
        EXPECT_EQ(bytes.download<Bytes>(), std::vector(6, Bytes(255, 0, 51, 255)));
        bytes.clear<unsigned int>({0xFFFFFFFF, 0x33333333, 0, 0});
        EXPECT_EQ(bytes.download<Bytes>(), std::vector(6, Bytes(255, 51, 0, 0)));
        integers.clear<unsigned int>({0xFFFFFFFE, 5, 0, 0});
        EXPECT_EQ(integers.download<Words>(), std::vector(6, Words(0xFFFFFFFE, 5)));
        if (!hasVersion(4, 4))
            continue;
        Texture stencil(Target::Texture2D, {5, 3, 1}, InternalFormat::StencilIndex8);
        stencil.clear<float>({200, 0, 0, 0});
        EXPECT_EQ(stencil.download<unsigned char>(), std::vector<unsigned char>(15, 200));
    }
    static_cast<void>(log().take());
}

TEST_F(TextureClearGL, DepthIsClearedWithoutTheFloatEntryPoint) {
    const ForcedPath forced(Path::Framebuffer);
    const Testing::ScopedEntryPoint old(glad_glClearDepthf, nullptr);
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
