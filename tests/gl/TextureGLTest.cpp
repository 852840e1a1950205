// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <numeric>

namespace Veltrand::GL {

using TextureGL = Testing::GLFixture;
using Target = Texture::Target;

namespace {

void ignoreErrors() {
    while (glGetError() != GL_NO_ERROR) {
    }
}

// Both filters, the wrapping of three directions, and the swizzle of four channels.
std::vector<int> sampling(const Texture& texture) {
    constexpr std::array names{GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER, GL_TEXTURE_WRAP_S,
                               GL_TEXTURE_WRAP_T,     GL_TEXTURE_WRAP_R,     GL_TEXTURE_SWIZZLE_RGBA};
    std::vector<int> values(names.size() + 3);
    texture.bind(0);
    for (std::size_t i = 0; i < names.size(); ++i)
        glGetTexParameteriv(static_cast<GLenum>(texture.target()), static_cast<GLenum>(names[i]), &values[i]);
    return values;
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
    }
}

TEST_F(TextureGL, SizesThatDoNotFitAreWarnedAbout) {
    const int over2D = getInt(GL_MAX_TEXTURE_SIZE) + 1;
    const int over3D = getInt(GL_MAX_3D_TEXTURE_SIZE) + 1;
    const std::string flat = std::to_string(over2D) + " 1 1";
    const std::string deep = "2 2 " + std::to_string(over3D);
    const std::string clamped3D = "Using a 3D texture with a 2D target mode, clamping size to 1.";
    const std::string clamped2D = "Using a 2D texture with Texture1D target mode, clamping size to 1.";
    const auto requested = [](const std::string& size, const std::string& fault) {
        return "Requested size " + size + fault + " Subsequent actions may fail.";
    };
    const std::string tooLarge = " exceeds maximum supported GPU texture size.";
    const struct {
        Target target;
        Eigen::Vector3i size;
        std::vector<std::string> warnings;
        std::size_t texels; // in as many dimensions as the target has
    } cases[] = {
        {Target::Texture1D, {4, 4, 3}, {clamped2D, clamped3D}, 4},
        {Target::Texture1DArray, {4, 4, 3}, {clamped3D}, 16},
        {Target::Texture2DArray, {4, 4, 3}, {}, 48},
        {Target::Texture2D, {over2D, 1, 1}, {requested(flat, tooLarge)}, static_cast<std::size_t>(over2D)},
        {Target::Texture3D,
         {2, 2, over3D},
         {requested(deep, tooLarge)},
         static_cast<std::size_t>(4 * over3D)},
        {Target::Texture2D, {over3D, 1, 1}, {}, static_cast<std::size_t>(over3D)}, // its own limit
        {Target::Texture2D, {4, -2, 1}, {requested("4 -2 1", " has no texels.")}, 0},
    };
    for (const auto& [target, requestedSize, warnings, texels] : cases) {
        const Texture texture(target, requestedSize, InternalFormat::R8);
        ignoreErrors();
        std::vector<Testing::LogLine> lines;
        lines.reserve(warnings.size());
        for (const std::string& warning : warnings)
            lines.push_back({Log::Warning, "GL.Texture", warning});
        EXPECT_EQ(log().take("GL.Texture"), lines);
        EXPECT_EQ(texture.numTexels(), texels);
    }
}

TEST_F(TextureGL, SamplingHasDefaultsAndIsSetPerTexture) {
    constexpr int edge = GL_CLAMP_TO_EDGE;
    const std::pair<InternalFormat, std::vector<int>> defaults[] = {
        {InternalFormat::R32F, {GL_LINEAR, GL_LINEAR, edge, edge, edge, GL_RED, GL_RED, GL_RED, GL_ONE}},
        {InternalFormat::R16UI, {GL_NEAREST, GL_NEAREST, edge, edge, edge, GL_RED, GL_RED, GL_RED, GL_ONE}},
        {InternalFormat::RG16I,
         {GL_NEAREST, GL_NEAREST, edge, edge, edge, GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA}}};
    for (const auto& [format, values] : defaults)
        EXPECT_EQ(sampling(Texture(Target::Texture3D, {2, 2, 2}, format)), values) << format.toString();

    Texture texture(Target::Texture3D, {4, 4, 4}, InternalFormat::R8);
    texture.setFiltering(Sampler::MinFilter::LinearMipmapNearest, Sampler::MagFilter::Nearest);
    texture.setWrapping(Sampler::Wrap::Repeat, Sampler::Wrap::ClampToBorder, Sampler::Wrap::MirroredRepeat);
    EXPECT_EQ(sampling(texture),
              (std::vector<int>{GL_LINEAR_MIPMAP_NEAREST, GL_NEAREST, GL_REPEAT, GL_CLAMP_TO_BORDER,
                                GL_MIRRORED_REPEAT, GL_RED, GL_RED, GL_RED, GL_ONE}));
    texture.generateMipmaps();
    GLint width = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_3D, 2, GL_TEXTURE_WIDTH, &width);
    EXPECT_EQ(width, 1);
    texture.bind(3);
    EXPECT_EQ(getInt(GL_ACTIVE_TEXTURE), GL_TEXTURE3);
    EXPECT_EQ(static_cast<GLuint>(getInt(GL_TEXTURE_BINDING_3D)), texture.id());
    Texture::unbind(3, Target::Texture3D);
    EXPECT_EQ(getInt(GL_TEXTURE_BINDING_3D), 0);
}

TEST_F(TextureGL, NamesAreDeletedWhenConstructionFails) {
    Testing::CallCounter<glad_glDeleteTextures> deleted;
    const Testing::ScopedEntryPoint failing(glad_glTexParameteriv,
                                            [](GLenum, GLenum, const GLint*) { throw std::bad_alloc(); });
    EXPECT_THROW(Texture({2, 2, 1}, InternalFormat::R8), std::bad_alloc);
    EXPECT_EQ(deleted.take(), 1);
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
}

namespace {

template<class T>
void expectRoundTrip(Target target, const Eigen::Vector3i& size, InternalFormat format, const T& sample) {
    SCOPED_TRACE(format.toString());
    Texture texture(target, size, format);
    std::vector<T> texels(texture.numTexels(), sample);
    std::memset(static_cast<void*>(texels.data()), 1, sizeof(T)); // the first texel differs from the rest
    // Rows are aligned for the call, and by one afterwards.
    glPixelStorei(GL_UNPACK_ALIGNMENT, 8);
    glPixelStorei(GL_PACK_ALIGNMENT, 8);
    EXPECT_TRUE(texture.upload(texels));
    EXPECT_TRUE(texture.download<T>() == texels);
    EXPECT_EQ(getInt(GL_UNPACK_ALIGNMENT), 1);
    EXPECT_EQ(getInt(GL_PACK_ALIGNMENT), 1);
}

} // namespace

TEST_F(TextureGL, TypedTransfersRoundTrip) {
    expectRoundTrip<float>(Target::Texture1D, {7, 1, 1}, InternalFormat::R32F, -2.5F);
    expectRoundTrip<unsigned char>(Target::Texture1DArray, {5, 3, 1}, InternalFormat::R8, 200);
    expectRoundTrip<Eigen::Vector<unsigned char, 3>>(Target::Texture2D, {3, 2, 1}, InternalFormat::RGB8,
                                                     {1, 2, 3});
    expectRoundTrip<Eigen::Vector2f>(Target::Texture2DArray, {3, 3, 2}, InternalFormat::RG32F, {1, 2});
    expectRoundTrip<Eigen::Vector<short, 2>>(Target::Texture3D, {3, 3, 3}, InternalFormat::RG16I, {-7, 9});
    expectRoundTrip<Eigen::Vector<unsigned int, 3>>(Target::Texture2D, {3, 3, 1}, InternalFormat::RGB32UI,
                                                    {1, 2, 0xFFFFFFFF});
    expectRoundTrip<float>(Target::Texture2D, {3, 3, 1}, InternalFormat::DepthComponent32F, 0.25F);
}

TEST_F(TextureGL, RawTransfersTakeHalves) {
    Texture halves(Target::Texture2D, {3, 1, 1}, InternalFormat::R16F);
    const std::array<std::uint16_t, 3> ones{0x3C00, 0x4000, 0xBC00};
    EXPECT_TRUE(halves.upload(PixelFormat::Red, PixelType::HFloat, std::as_bytes(std::span(ones))));
    EXPECT_EQ(halves.download<float>(), (std::vector<float>{1, 2, -1}));
}

TEST_F(TextureGL, PixelStorageOfTheCallerIsObeyedByUncheckedTransfersOnly) {
    using Values = std::vector<unsigned int>;
    const Testing::StateNames layouts{"pack layout", "unpack layout"};
    Values stored(64);
    std::iota(stored.begin(), stored.end(), 0U);
    Values texels(stored.begin() + 10, stored.begin() + 40);
    std::array<GLuint, 2> buffers{};
    glGenBuffers(2, buffers.data());
    for (const bool bound : {false, true}) {
        Testing::setState(layouts, true);
        for (const auto& [target, buffer] :
             {std::pair(GLenum{GL_PIXEL_PACK_BUFFER}, buffers[0]), {GL_PIXEL_UNPACK_BUFFER, buffers[1]}})
            if (bound) {
                glBindBuffer(target, buffer);
                glBufferData(target, 256, stored.data(), GL_STATIC_READ);
            }
        const auto before = Testing::takeStateSnapshot();
        Texture texture(Target::Texture3D, {5, 3, 2}, InternalFormat::R32UI);
        EXPECT_TRUE(texture.upload(texels));
        EXPECT_EQ(texture.download<unsigned int>(), texels);
        const auto bytes = std::as_writable_bytes(std::span(texels));
        EXPECT_TRUE(texture.upload(PixelFormat::RedInteger, PixelType::UInt, bytes));
        EXPECT_TRUE(texture.downloadTo(PixelFormat::RedInteger, PixelType::UInt, bytes));
        EXPECT_TRUE(texture.downloadTo(texels));
        EXPECT_EQ(texture.download<unsigned int>(), texels);
        {
            const Testing::ScopedEntryPoint byUpload(glad_glClearTexImage, nullptr);
            texture.clear<unsigned int>({7, 0, 0, 0});
        }
        EXPECT_EQ(texture.download<unsigned int>(), Values(30, 7));
        auto changed = Testing::differences(before, Testing::takeStateSnapshot());
        for (const char* const own : {"pack", "unpack", "texture unit 0"})
            changed.erase(own);
        EXPECT_EQ(changed, Testing::StateNames{});

        Testing::setState(layouts, false);
        glPixelStorei(GL_UNPACK_SKIP_PIXELS, 3);
        texture.uploadImpl(bound ? nullptr : stored.data(), PixelFormat::RedInteger, PixelType::UInt);
        glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
        EXPECT_EQ(texture.download<unsigned int>(), Values(stored.begin() + 3, stored.begin() + 33));
    }
    glDeleteBuffers(2, buffers.data()); // which unbinds them
}

TEST_F(TextureGL, UnfittingTransfersAreRefusedAndTouchNothing) {
    Texture texture(Target::Texture2D, {2, 2, 1}, InternalFormat::R8);
    ASSERT_TRUE(texture.upload(std::vector<unsigned char>{1, 2, 3, 4}));
    const auto refused = [this](bool accepted) {
        const auto lines = log().take("GL.Texture");
        return !accepted && lines.size() == 1 && lines[0].level == Log::Error;
    };
    EXPECT_TRUE(refused(texture.upload(std::vector<unsigned char>(5, 9))));
    EXPECT_TRUE(refused(texture.upload(PixelFormat::Red, PixelType::UByte, std::array<std::byte, 5>())));
    std::vector<unsigned char> few(3, 9);
    EXPECT_TRUE(refused(texture.downloadTo(few)));
    EXPECT_EQ(few, (std::vector<unsigned char>(3, 9)));
    EXPECT_EQ(texture.download<unsigned char>(), (std::vector<unsigned char>{1, 2, 3, 4}));
    Texture integers(Target::Texture2D, {2, 2, 1}, InternalFormat::R8UI);
    EXPECT_TRUE(refused(integers.upload(std::vector<float>(4))));
    EXPECT_TRUE(refused(!integers.download<float>().empty()));
    Texture both(Target::Texture2D, {2, 2, 1}, InternalFormat::Depth24Stencil8);
    EXPECT_TRUE(refused(both.upload(std::vector<unsigned int>(4))));
    Texture cube(Target::TextureCubeMap, {2, 2, 1}, InternalFormat::R8);
    EXPECT_TRUE(refused(cube.upload(std::vector<unsigned char>(4))));
    // In 32 bits, 8 GiB would count as nothing.
    Texture huge(Target::Texture3D, {2048, 2048, 2048}, InternalFormat::R8);
    ignoreErrors();
    EXPECT_FALSE(huge.upload(std::vector<unsigned char>{}));
    expectLine(Log::Error, "GL.Texture",
               "Refusing to transfer 0 texels, a texture of size 2048 2048 2048 takes "
               "8589934592.");
}

} // namespace Veltrand::GL
