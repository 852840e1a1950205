// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Texture.h>

#include "support/GLFixture.h"
#include "support/ScopedEntryPoint.h"

#include <Eigen/Core>
#include <cstring>
#include <glad/gl.h>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Veltrand::GL {

using TextureGL = Testing::GLFixture;
using Testing::LogLine;
using Testing::ScopedEntryPoint;
using Target = Texture::Target;

namespace {

int g_deleted = 0;
std::vector<int> g_alignments;

void ignoreErrors() {
    while (glGetError() != GL_NO_ERROR) {
    }
}

int parameter(const Texture& texture, GLenum name) {
    texture.bind(0);
    GLint value = 0;
    glGetTexParameteriv(static_cast<GLenum>(texture.target()), name, &value);
    return value;
}

} // namespace

TEST_F(TextureGL, ChoosesTheTargetFromTheSize) {
    const std::pair<Eigen::Vector3i, Target> cases[] = {
        {{5, 1, 1}, Target::Texture1D}, {{5, 3, 1}, Target::Texture2D}, {{5, 3, 2}, Target::Texture3D},
        {{5, 1, 2}, Target::Texture3D}, {{1, 1, 1}, Target::Texture1D},
    };
    for (const auto& [size, target] : cases) {
        const Texture texture(size, InternalFormat::R8);
        EXPECT_EQ(texture.target(), target);
        EXPECT_EQ(texture.size(), size);
        const Texture adopted(target, 0);
        EXPECT_EQ(adopted.id(), 0U);
        ignoreErrors();
    }
}

TEST_F(TextureGL, ExtraDimensionsAreWarnedAboutAndNotAllocated) {
    const LogLine flat{Log::Warning, "GL.Texture",
                       "Using a 3D texture with a 2D target mode, clamping size to 1."};
    const LogLine line{Log::Warning, "GL.Texture",
                       "Using a 2D texture with Texture1D target mode, clamping size to 1."};
    const struct {
        Target target;
        std::vector<LogLine> lines;
        std::size_t texels;
        int allocatedHeight;
    } cases[] = {
        {Target::Texture1D, {line, flat}, 4, 1}, {Target::Texture2D, {flat}, 16, 4},
        {Target::Texture1DArray, {flat}, 16, 4}, {Target::Texture3D, {}, 48, 4},
        {Target::Texture2DArray, {}, 48, 4},
    };
    for (const auto& c : cases) {
        const Texture texture(c.target, {4, 4, 3}, InternalFormat::R8);
        EXPECT_EQ(log().take(), c.lines);
        EXPECT_EQ(texture.depth(), 3);
        EXPECT_EQ(texture.numTexels(), c.texels);
        GLint height = 0;
        glGetTexLevelParameteriv(static_cast<GLenum>(c.target), 0, GL_TEXTURE_HEIGHT, &height);
        EXPECT_EQ(height, c.allocatedHeight);
    }
}

TEST_F(TextureGL, SizesOutOfRangeAreWarnedAbout) {
    const auto warned = [this](Target target, const Eigen::Vector3i& size, const std::string& text) {
        const Texture texture(target, size, InternalFormat::R8);
        ignoreErrors();
        return log().takeLine({Log::Warning, "GL.Texture", text + " Subsequent actions may fail."});
    };
    const int max2D = getInt(GL_MAX_TEXTURE_SIZE);
    const int max3D = getInt(GL_MAX_3D_TEXTURE_SIZE);
    const std::string wide = std::to_string(max2D + 1) + " 1 1";
    EXPECT_TRUE(warned(Target::Texture2D, {max2D + 1, 1, 1},
                       "Requested size " + wide + " exceeds maximum supported GPU texture size."));
    const std::string deep = "2 2 " + std::to_string(max3D + 1);
    EXPECT_TRUE(warned(Target::Texture3D, {2, 2, max3D + 1},
                       "Requested size " + deep + " exceeds maximum supported GPU texture size."));
    EXPECT_TRUE(warned(Target::Texture2D, {4, -2, 1}, "Requested size 4 -2 1 has no texels."));
    EXPECT_FALSE(warned(Target::Texture2D, {max3D + 1, 1, 1}, ""));
}

TEST_F(TextureGL, MoreThanFourGibibytesAreCountedInFull) {
    Texture texture(Target::Texture3D, {2048, 2048, 2048}, InternalFormat::R8);
    ignoreErrors();
    EXPECT_EQ(texture.numTexels(), std::size_t{1} << 33U);
    EXPECT_EQ(texture.transferSize(PixelFormat::RGBA, PixelType::Float), std::size_t{1} << 37U);
    // In 32 bits, 8 GiB would count as nothing.
    EXPECT_FALSE(texture.upload(std::vector<unsigned char>{}));
    EXPECT_TRUE(log().takeLine({Log::Error, "GL.Texture",
                                "Refusing to transfer 0 texels, a texture of size 2048 2048 2048 takes "
                                "8589934592."}));
}

TEST_F(TextureGL, StartsWithItsSamplingDefaults) {
    const struct {
        InternalFormat format;
        int filter;
        std::array<int, 4> swizzle;
    } cases[] = {
        {InternalFormat::R32F, GL_LINEAR, {GL_RED, GL_RED, GL_RED, GL_ONE}},
        {InternalFormat::R16UI, GL_NEAREST, {GL_RED, GL_RED, GL_RED, GL_ONE}},
        {InternalFormat::DepthComponent24, GL_LINEAR, {GL_RED, GL_RED, GL_RED, GL_ONE}},
        {InternalFormat::RGBA8, GL_LINEAR, {GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA}},
        {InternalFormat::RG16I, GL_NEAREST, {GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.format.toString());
        Texture texture(Target::Texture3D, {2, 2, 2}, c.format);
        if (c.format.isDepthFormat())
            ignoreErrors();
        EXPECT_EQ(parameter(texture, GL_TEXTURE_MIN_FILTER), c.filter);
        EXPECT_EQ(parameter(texture, GL_TEXTURE_MAG_FILTER), c.filter);
        for (const GLenum axis :
             {GLenum{GL_TEXTURE_WRAP_S}, GLenum{GL_TEXTURE_WRAP_T}, GLenum{GL_TEXTURE_WRAP_R}})
            EXPECT_EQ(parameter(texture, axis), GL_CLAMP_TO_EDGE);
        std::array<GLint, 4> swizzle{};
        glGetTexParameteriv(GL_TEXTURE_3D, GL_TEXTURE_SWIZZLE_RGBA, swizzle.data());
        EXPECT_EQ(swizzle, c.swizzle);
    }
}

TEST_F(TextureGL, SamplingIsSetPerTexture) {
    Texture texture(Target::Texture3D, {4, 4, 4}, InternalFormat::R8);
    const Texture other(Target::Texture3D, {2, 2, 2}, InternalFormat::R8);
    texture.setFiltering(Sampler::MinFilter::LinearMipmapNearest, Sampler::MagFilter::Nearest);
    texture.setWrapping(Sampler::Wrap::Repeat, Sampler::Wrap::ClampToBorder, Sampler::Wrap::MirroredRepeat);
    texture.setBorderColor({0.5F, 0, 0, 1});
    texture.generateMipmaps();
    EXPECT_EQ(parameter(texture, GL_TEXTURE_MIN_FILTER), GL_LINEAR_MIPMAP_NEAREST);
    EXPECT_EQ(parameter(texture, GL_TEXTURE_MAG_FILTER), GL_NEAREST);
    EXPECT_EQ(parameter(texture, GL_TEXTURE_WRAP_S), GL_REPEAT);
    EXPECT_EQ(parameter(texture, GL_TEXTURE_WRAP_T), GL_CLAMP_TO_BORDER);
    EXPECT_EQ(parameter(texture, GL_TEXTURE_WRAP_R), GL_MIRRORED_REPEAT);
    std::array<float, 4> border{};
    glGetTexParameterfv(GL_TEXTURE_3D, GL_TEXTURE_BORDER_COLOR, border.data());
    EXPECT_EQ(border[0], 0.5F);
    GLint width = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_3D, 2, GL_TEXTURE_WIDTH, &width);
    EXPECT_EQ(width, 1);
    EXPECT_EQ(parameter(other, GL_TEXTURE_WRAP_S), GL_CLAMP_TO_EDGE);
}

TEST_F(TextureGL, BindsToTheUnitAndItsOwnTarget) {
    const Texture texture(Target::Texture2DArray, {2, 2, 2}, InternalFormat::R8);
    texture.bind(3);
    EXPECT_EQ(getInt(GL_ACTIVE_TEXTURE), GL_TEXTURE3);
    EXPECT_EQ(static_cast<GLuint>(getInt(GL_TEXTURE_BINDING_2D_ARRAY)), texture.id());
    Texture::unbind(3, Target::Texture2DArray);
    EXPECT_EQ(getInt(GL_TEXTURE_BINDING_2D_ARRAY), 0);
}

TEST_F(TextureGL, NamesAreDeletedOnceAlsoWhenConstructionFails) {
    static const PFNGLDELETETEXTURESPROC real = glad_glDeleteTextures;
    const ScopedEntryPoint counting(glad_glDeleteTextures, [](GLsizei n, const GLuint* ids) {
        ++g_deleted;
        real(n, ids);
    });
    g_deleted = 0;
    {
        std::optional<Texture> first(std::in_place, Eigen::Vector3i(2, 2, 1), InternalFormat::R8);
        const GLuint id = first->id();
        Texture second(std::move(*first));
        EXPECT_EQ(first->id(), 0U);
        Texture third({4, 4, 1}, InternalFormat::RGBA8);
        third = std::move(second);
        EXPECT_EQ(g_deleted, 1);
        EXPECT_EQ(third.id(), id);
        EXPECT_EQ(third.width(), 2);
        EXPECT_EQ(third.internalFormat(), InternalFormat::R8);
    }
    EXPECT_EQ(g_deleted, 2);

    {
        const ScopedEntryPoint failing(glad_glTexParameteriv,
                                       [](GLenum, GLenum, const GLint*) { throw std::bad_alloc(); });
        EXPECT_THROW(Texture({2, 2, 1}, InternalFormat::R8), std::bad_alloc);
        EXPECT_EQ(g_deleted, 3);
    }
    const ScopedEntryPoint none(glad_glGenTextures, [](GLsizei, GLuint* ids) { *ids = 0; });
    try {
        const Texture texture({2, 2, 1}, InternalFormat::R8);
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Could not generate Texture ID.");
    }
    EXPECT_EQ(g_deleted, 3);
}

TEST_F(TextureGL, AnAdoptedTextureTellsItsSizeAndIsOwned) {
    GLuint id = 0;
    glGenTextures(1, &id);
    {
        glBindTexture(GL_TEXTURE_2D_ARRAY, id);
        glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_RG16F, 7, 5, 3, 0, GL_RG, GL_FLOAT, nullptr);
        const auto texture = Texture::createFromExisting(Target::Texture2DArray, id);
        EXPECT_EQ(texture->size(), Eigen::Vector3i(7, 5, 3));
        EXPECT_EQ(texture->internalFormat(), InternalFormat::RG16F);
    }
    EXPECT_FALSE(glIsTexture(id));
    glGenTextures(1, &id);
    glBindTexture(GL_TEXTURE_CUBE_MAP, id);
    glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X, 0, GL_RGBA8, 6, 6, 0, GL_RGBA, GL_FLOAT, nullptr);
    const auto cube = Texture::createFromExisting(Target::TextureCubeMap, id, InternalFormat::RGBA16F);
    EXPECT_EQ(cube->size(), Eigen::Vector3i(6, 6, 1));
    EXPECT_EQ(cube->internalFormat(), InternalFormat::RGBA16F);
}

TEST_F(TextureGL, RowsAreAlignedForTheCallAndByOneAfterwards) {
    static const PFNGLPIXELSTOREIPROC real = glad_glPixelStorei;
    const ScopedEntryPoint recording(glad_glPixelStorei, [](GLenum name, GLint value) {
        g_alignments.push_back(static_cast<int>(name));
        g_alignments.push_back(value);
        real(name, value);
    });
    g_alignments.clear();
    Texture texture(Target::Texture2D, {3, 2, 1}, InternalFormat::RGB8);
    using Pixel = Eigen::Vector<unsigned char, 3>;
    const std::vector<Pixel> pixels{{1, 2, 3},    {4, 5, 6},    {7, 8, 9},
                                    {10, 11, 12}, {13, 14, 15}, {16, 17, 18}};
    EXPECT_TRUE(texture.upload(pixels));
    EXPECT_EQ(texture.download<Pixel>(), pixels);
    EXPECT_EQ(std::exchange(g_alignments, {}),
              (std::vector<int>{GL_UNPACK_ALIGNMENT, 1, GL_UNPACK_ALIGNMENT, 1, GL_PACK_ALIGNMENT, 1,
                                GL_PACK_ALIGNMENT, 1}));
    const auto wide = texture.download<Eigen::Vector4f>();
    EXPECT_EQ(g_alignments[1], 8);
    EXPECT_FLOAT_EQ(wide[5].y(), 17.0F / 255);
    EXPECT_EQ(wide[5].w(), 1.0F);
}

namespace {

template<class T>
void expectRoundTrip(Target target, const Eigen::Vector3i& size, InternalFormat format, const T& sample) {
    SCOPED_TRACE(format.toString());
    Texture texture(target, size, format);
    std::vector<T> texels(texture.numTexels(), sample);
    std::memset(static_cast<void*>(texels.data()), 1, sizeof(T)); // the first texel differs from the rest
    EXPECT_TRUE(texture.upload(texels));
    EXPECT_TRUE(texture.download<T>() == texels);
}

} // namespace

TEST_F(TextureGL, TypedTransfersRoundTrip) {
    expectRoundTrip<float>(Target::Texture1D, {7, 1, 1}, InternalFormat::R32F, -2.5F);
    expectRoundTrip<unsigned char>(Target::Texture1DArray, {5, 3, 1}, InternalFormat::R8, 200);
    expectRoundTrip<Eigen::Vector2f>(Target::Texture2DArray, {3, 3, 2}, InternalFormat::RG32F, {1, 2});
    expectRoundTrip<Eigen::Vector<short, 2>>(Target::Texture3D, {3, 3, 3}, InternalFormat::RG16I, {-7, 9});
    expectRoundTrip<Eigen::Vector<unsigned int, 3>>(Target::Texture2D, {3, 3, 1}, InternalFormat::RGB32UI,
                                                    {1, 2, 0xFFFFFFFF});
    expectRoundTrip<signed char>(Target::Texture2D, {3, 3, 1}, InternalFormat::R8I, -5);
    expectRoundTrip<unsigned short>(Target::Texture3D, {3, 2, 2}, InternalFormat::R16UI, 65535);
    expectRoundTrip<float>(Target::Texture2D, {3, 3, 1}, InternalFormat::DepthComponent32F, 0.25F);
}

TEST_F(TextureGL, RawTransfersTakeHalvesAndPackedTexels) {
    Texture halves(Target::Texture2D, {3, 1, 1}, InternalFormat::R16F);
    const std::array<std::uint16_t, 3> ones{0x3C00, 0x4000, 0xBC00};
    EXPECT_TRUE(halves.upload(PixelFormat::Red, PixelType::HFloat, std::as_bytes(std::span(ones))));
    EXPECT_EQ(halves.download<float>(), (std::vector<float>{1, 2, -1}));
    std::array<std::uint16_t, 3> back{};
    EXPECT_TRUE(
        halves.downloadTo(PixelFormat::Red, PixelType::HFloat, std::as_writable_bytes(std::span(back))));
    EXPECT_EQ(back, ones);

    // Rows of 12 bytes, padded to 16.
    Texture packed(Target::Texture2D, {3, 2, 1}, InternalFormat::Depth24Stencil8);
    const std::array<std::uint32_t, 7> texels{0x11111101, 0x22222202, 0x33333303, 0,
                                              0x44444404, 0x55555505, 0x66666606};
    EXPECT_TRUE(
        packed.upload(PixelFormat::DepthStencil, PixelType::UInt248, std::as_bytes(std::span(texels))));
    std::array<std::uint32_t, 7> read{};
    EXPECT_TRUE(packed.downloadTo(PixelFormat::DepthStencil, PixelType::UInt248,
                                  std::as_writable_bytes(std::span(read))));
    EXPECT_EQ(read, texels);
}

TEST_F(TextureGL, UnfittingTransfersAreRefusedAndTouchNothing) {
    Texture texture(Target::Texture2D, {2, 2, 1}, InternalFormat::R8);
    ASSERT_TRUE(texture.upload(std::vector<unsigned char>{1, 2, 3, 4}));
    const auto refused = [this](bool accepted) {
        const auto lines = log().take("GL.Texture");
        return !accepted && lines.size() == 1 && lines[0].level == Log::Error;
    };
    EXPECT_TRUE(refused(texture.upload(std::vector<unsigned char>(3, 9))));
    EXPECT_TRUE(refused(texture.upload(std::vector<unsigned char>(5, 9))));
    const std::array<std::byte, 5> bytes{};
    EXPECT_TRUE(refused(texture.upload(PixelFormat::Red, PixelType::UByte, bytes)));
    EXPECT_TRUE(refused(texture.upload(PixelFormat{}, PixelType::UByte, {})));
    std::vector<unsigned char> few(3, 9);
    EXPECT_TRUE(refused(texture.downloadTo(few)));
    EXPECT_EQ(few, (std::vector<unsigned char>(3, 9)));
    EXPECT_EQ(texture.download<unsigned char>(), (std::vector<unsigned char>{1, 2, 3, 4}));

    Texture integers(Target::Texture2D, {2, 2, 1}, InternalFormat::R8UI);
    EXPECT_TRUE(refused(integers.upload(std::vector<float>(4))));
    EXPECT_TRUE(refused(!integers.download<float>().empty()));
    Texture depth(Target::Texture2D, {2, 2, 1}, InternalFormat::DepthComponent24);
    EXPECT_TRUE(refused(depth.upload(std::vector<Eigen::Vector2f>(4))));
    Texture both(Target::Texture2D, {2, 2, 1}, InternalFormat::Depth24Stencil8);
    EXPECT_TRUE(refused(both.upload(std::vector<unsigned int>(4))));
    Texture cube(Target::TextureCubeMap, {2, 2, 1}, InternalFormat::R8);
    EXPECT_TRUE(refused(cube.upload(std::vector<unsigned char>(4))));
}

} // namespace Veltrand::GL
