// SPDX-License-Identifier: BSD-3-Clause
#include "support/CallCounter.h"
#include "support/GLFixture.h"
#include "support/MapRepository.h"
#include "support/ScopedEntryPoint.h"

#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/Viewport.h>
#include <Veltrand/GL/detail/ImagePlan.h>

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <functional>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace Veltrand::GL {

namespace {

using Testing::CallCounter;
using Testing::LogLine;
using Testing::ScopedEntryPoint;
using Compilation = Program::Compilation;
using Cuboid = ImageProgram::Cuboid;
using Mode = ImageProgram::TexCoordMode;
using Target = Texture::Target;

constexpr unsigned int untouched = 0xABCDEF01;

// What "I/mark.frag" writes.
unsigned int mark(int x, int y, int slice) {
    return static_cast<unsigned int>(x + 0x100 * y + 0x10000 * slice);
}

const Testing::MapRepository::Files files{
    {"mark.frag",
     "#version 330\nflat in int slice;\nout uint value;\nvoid main() {\n"
     "    value = uint(gl_FragCoord.x) + 0x100u * uint(gl_FragCoord.y) + 0x10000u * uint(slice);\n"
     "}\n"},
    {"both.frag",
     "#version 330\nin vec3 texCoord;\nflat in int slice;\n"
     "layout(location = 0) out uint value;\nlayout(location = 2) out vec4 coord;\nvoid main() {\n"
     "    value = uint(gl_FragCoord.x) + 0x100u * uint(gl_FragCoord.y) + 0x10000u * uint(slice);\n"
     "    coord = vec4(texCoord, 1.0);\n}\n"},
    {"coord.frag", "#version 330\nin vec3 texCoord;\nout vec4 color;\n"
                   "void main() { color = vec4(texCoord, float(OPACITY)); }\n"},
    {"mean.frag",
     "#version 330\nuniform sampler3D volume;\nflat in int slice;\nout float value;\n"
     "void main() {\n    ivec3 p = ivec3(gl_FragCoord.xy, slice);\n"
     "    ivec3 last = textureSize(volume, 0) - 1;\n    float sum = 0.0;\n"
     "    for (int z = -1; z <= 1; ++z)\n        for (int y = -1; y <= 1; ++y)\n"
     "            for (int x = -1; x <= 1; ++x)\n"
     "                sum += texelFetch(volume, clamp(p + ivec3(x, y, z), ivec3(0), last), 0).r;\n"
     "    value = sum * (1.0 / 27.0);\n}\n"},
    {"sample.frag", "#version 330\nuniform SAMPLER_TYPE image;\nin vec3 texCoord;\nout float value;\n"
                    "void main() { value = texture(image, texCoord.SAMPLER_COORDS).r; }\n"},
    {"project.frag", "#version 330\nuniform sampler3D volume;\nuniform int _cp_numSlicesBox;\n"
                     "uniform bool mean;\nflat in int slice;\nout float value;\nvoid main() {\n"
                     "    value = texelFetch(volume, ivec3(gl_FragCoord.xy, slice), 0).r;\n"
                     "    if (mean)\n        value /= float(_cp_numSlicesBox);\n}\n"},
    {"depth.frag",
     "#version 330\nin vec3 texCoord;\nout float value;\nvoid main() { value = texCoord.z; }\n"},
    {"broken.frag", "#version 330\nvoid main() { nonsense; }\n"},
};

class SplittingProgram : public ImageProgram {
public:
    using ImageProgram::ImageProgram;
    using ImageProgram::timeoutSettings;
};

class ImageProgramGL : public Testing::GLFixture {
protected:
    [[nodiscard]] static SplittingProgram make(const std::string& fragmentShader, bool layered,
                                               Mode mode = Mode::Output, const std::string& defines = {}) {
        return SplittingProgram("I/" + fragmentShader, defines, layered, mode, Compilation::ImmediateThrow);
    }

    // Compares each texel with @p expected at its column, row and slice.
    static void expectMarks(const Texture& texture,
                            const std::function<bool(int x, int y, int slice)>& computed,
                            unsigned int background = untouched) {
        const auto texels = texture.download<unsigned int>();
        const bool rowsAreSlices = texture.target() == Target::Texture1DArray;
        std::size_t i = 0;
        int wrong = 0;
        for (int z = 0; z < texture.depth(); ++z)
            for (int y = 0; y < texture.height(); ++y)
                for (int x = 0; x < texture.width(); ++x, ++i) {
                    const int row = rowsAreSlices ? 0 : y;
                    const int slice = rowsAreSlices ? y : z;
                    const unsigned int expected = computed(x, row, slice) ? mark(x, row, slice) : background;
                    if (texels.at(i) != expected && ++wrong <= 3)
                        ADD_FAILURE() << std::hex << texels.at(i) << " instead of " << expected << std::dec
                                      << " at " << x << ' ' << y << ' ' << z;
                }
        EXPECT_EQ(wrong, 0);
    }

    static void fill(Texture& texture) {
        texture.upload(std::vector<unsigned int>(texture.numTexels(), untouched));
    }

    Testing::MapRepository m_files{"I", files};
};

bool everywhere(int, int, int) {
    return true;
}

std::vector<float> randomVolume(std::size_t size, unsigned int seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> values(0, 1000);
    std::vector<float> volume(size);
    std::generate(volume.begin(), volume.end(), [&] { return static_cast<float>(values(random)); });
    return volume;
}

const LogLine notStarted{4, "GL.ImageProgram", "compute() not started because no valid output was passed."};
const LogLine notComplete{4, "GL.ImageProgram",
                          "compute() aborted because the FBO is not complete. Please check that all output "
                          "textures have a format that can be attached to a FBO."};
const LogLine tooManyLayers{3, "GL.ImageProgram",
                            "Number of slices in output exceeds GL_MAX_FRAMEBUFFER_LAYERS, falling back to "
                            "non-Geometry Shader mode."};

} // namespace

// The limit is read once per process, so this runs in one of its own.
class ImageProgramLayerLimitGL : public ImageProgramGL {};

TEST_F(ImageProgramLayerLimitGL, BeyondItOutputsAreComputedSliceBySlice) {
    if (!hasVersion(4, 3))
        GTEST_SKIP() << "the limit cannot be asked for";
    static int questions = 0;
    static PFNGLGETINTEGERVPROC original = nullptr;
    const ScopedEntryPoint limited(glad_glGetIntegerv, [](GLenum name, GLint* value) {
        original(name, value);
        if (name == GL_MAX_FRAMEBUFFER_LAYERS) {
            *value = 4;
            ++questions;
        }
    });
    original = limited.original();

    ImageProgram program = make("mark.frag", true);
    for (const int depth : {4, 5, 9}) {
        Texture output(Target::Texture3D, {6, 3, depth}, InternalFormat::R32UI);
        fill(output);
        program.compute(output, Cuboid(1, 0, 1, 6, 3, 20));
        EXPECT_EQ(log().takeLine(tooManyLayers), depth > 4);
        expectMarks(output, [](int x, int, int slice) { return x >= 1 && slice >= 1; });
    }
    EXPECT_EQ(questions, 1);
}

TEST_F(ImageProgramGL, ComputesTheBoxOfEveryKindOfOutput) {
    struct Kind {
        Target target;
        Eigen::Vector3i size;
    };
    const Kind kinds[] = {{Target::Texture1D, {9, 1, 1}}, {Target::Texture1DArray, {9, 6, 1}},
                          {Target::Texture2D, {9, 7, 1}}, {Target::Texture2DArray, {9, 7, 6}},
                          {Target::Texture3D, {9, 7, 6}}, {Target::Texture3D, {9, 7, 1}}};
    struct Box {
        const char* what;
        Cuboid cuboid;
        std::function<bool(int, int, int)> computed;
    };
    const Box boxes[] = {
        {"everything", {}, everywhere},
        {"lower corner", {-4, -4, -4, 3, 1, 1}, [](int x, int y, int z) { return x < 3 && y < 1 && z < 1; }},
        {"upper end", {7, 0, 0, 99, 99, 99}, [](int x, int, int) { return x >= 7; }},
        {"rounded",
         {1.6, 0, 0, 4.4, 1, 1},
         [](int x, int y, int z) { return x >= 2 && x < 5 && y < 1 && z < 1; }},
        {"beside", {20, 0, 0, 30, 1, 1}, [](int, int, int) { return false; }},
    };
    for (const bool layered : {true, false}) {
        ImageProgram program = make("mark.frag", layered);
        for (const Kind& kind : kinds)
            for (const Box& box : boxes) {
                SCOPED_TRACE(testing::Message() << (layered ? "layered " : "slices ") << std::hex
                                                << GLenum(kind.target) << ' ' << box.what);
                Texture output(kind.target, kind.size, InternalFormat::R32UI);
                fill(output);
                program.compute(output, box.cuboid);
                expectMarks(output, box.computed);
            }
        Texture volume(Target::Texture3D, {9, 7, 6}, InternalFormat::R32UI);
        fill(volume);
        program.compute(volume, {2, 3, 4, 8, 6, 9});
        expectMarks(volume, [](int x, int y, int z) { return x >= 2 && x < 8 && y >= 3 && y < 6 && z >= 4; });
    }
}

TEST_F(ImageProgramGL, OneSliceIsOneDrawAndALayeredVolumeToo) {
    ImageProgram layered = make("mark.frag", true);
    ImageProgram slices = make("mark.frag", false);
    Texture image(Target::Texture2D, {4, 4, 1}, InternalFormat::R32UI);
    Texture volume(Target::Texture3D, {4, 4, 40}, InternalFormat::R32UI);
    layered.setAvoidDriverTimeout(true);
    CallCounter<glad_glDrawArrays> single;
    CallCounter<glad_glDrawArraysInstanced> instanced;
    CallCounter<glad_glFinish> finishes;
    const auto expectDraws = [&](int expectedSingle, int expectedInstanced) {
        EXPECT_EQ(single.take(), expectedSingle);
        EXPECT_EQ(instanced.take(), expectedInstanced);
    };
    layered.compute(image, {});
    expectDraws(1, 0);
    slices.compute(image, {});
    expectDraws(1, 0);
    layered.compute(volume, {});
    expectDraws(0, 1);
    slices.compute(volume, {});
    expectDraws(40, 0);
    EXPECT_EQ(finishes.take(), 0);
    expectMarks(volume, everywhere);
}

TEST_F(ImageProgramGL, TextureCoordinatesAreThoseOfTheOutputOrTheBox) {
    // The exact value lies within one unit in the last place of the half float that is read.
    const auto expectNear = [](float value, double expected) {
        const double ulp = std::ldexp(1.0, std::ilogb(expected) - 10);
        EXPECT_NEAR(value, expected, ulp);
    };
    constexpr int size[] = {21, 10, 6};
    constexpr int begin[] = {3, 2, 1};
    constexpr int length[] = {13, 5, 4};
    for (const bool layered : {true, false})
        for (const Mode mode : {Mode::Output, Mode::Box}) {
            SCOPED_TRACE(testing::Message() << layered << ' ' << int(mode));
            ImageProgram program = make("coord.frag", layered, mode, "#define OPACITY 1");
            Texture output(Target::Texture3D, {size[0], size[1], size[2]}, InternalFormat::RGBA16F);
            program.compute(output, {3, 2, 1, 16, 7, 5});
            const auto texels = output.download<Eigen::Vector4f>();
            for (int z = begin[2]; z < begin[2] + length[2]; ++z)
                for (int y = begin[1]; y < begin[1] + length[1]; ++y)
                    for (int x = begin[0]; x < begin[0] + length[0]; ++x) {
                        const int index = (z * size[1] + y) * size[0] + x;
                        const Eigen::Vector4f& texel = texels.at(static_cast<std::size_t>(index));
                        const int position[] = {x, y, z};
                        for (int axis = 0; axis < 3; ++axis)
                            expectNear(texel[axis],
                                       mode == Mode::Output
                                           ? (position[axis] + 0.5) / size[axis]
                                           : (position[axis] - begin[axis] + 0.5) / length[axis]);
                        EXPECT_EQ(texel[3], 1.0F);
                    }
        }
}

TEST_F(ImageProgramGL, FiltersAVolumeAsTheProcessorDoes) {
    constexpr int w = 19, h = 13, d = 11;
    const std::vector<float> volume = randomVolume(std::size_t{w} * h * d, 1);
    const auto at = [&volume](int x, int y, int z) {
        const int index =
            (std::clamp(z, 0, d - 1) * h + std::clamp(y, 0, h - 1)) * w + std::clamp(x, 0, w - 1);
        return volume[static_cast<std::size_t>(index)];
    };
    Texture input(Target::Texture3D, {w, h, d}, InternalFormat::R32F);
    input.upload(volume);
    for (const bool layered : {true, false}) {
        ImageProgram program = make("mean.frag", layered);
        program.enable();
        program.setArgument("volume", input);
        program.disable();
        Texture output(Target::Texture3D, {w, h, d}, InternalFormat::R32F);
        program.compute(output, {});
        const auto result = output.download<float>();
        std::size_t i = 0;
        for (int z = 0; z < d; ++z)
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x, ++i) {
                    float sum = 0;
                    for (int n = 0; n < 27; ++n)
                        sum += at(x + n % 3 - 1, y + n / 3 % 3 - 1, z + n / 9 - 1);
                    const float mean = sum * (1.0F / 27.0F);
                    ASSERT_LE(std::abs(result.at(i) - mean), std::nextafter(mean, 1e9F) - mean);
                }
    }
}

TEST_F(ImageProgramGL, OneShaderServesInputsOfTwoAndThreeDimensions) {
    for (const bool is3D : {false, true}) {
        const Eigen::Vector3i size(5, 4, is3D ? 3 : 1);
        Texture input(is3D ? Target::Texture3D : Target::Texture2D, size, InternalFormat::R32F);
        Texture output(is3D ? Target::Texture3D : Target::Texture2D, size, InternalFormat::R32F);
        const auto texels = randomVolume(input.numTexels(), 2);
        input.upload(texels);
        input.setFiltering(Sampler::MinFilter::Nearest, Sampler::MagFilter::Nearest);
        ImageProgram program =
            make("sample.frag", true, Mode::Output, ImageProgram::genericSamplerDefine(is3D));
        program.enable();
        program.setArgument("image", input);
        program.disable();
        program.compute(output, {});
        EXPECT_EQ(output.download<float>(), texels);
    }
    EXPECT_EQ(ImageProgram::genericSamplerDefine(true),
              "#define SAMPLER_TYPE sampler3D\n#define SAMPLER_COORDS xyz\n#define SAMPLER_3D\n");
    EXPECT_EQ(ImageProgram::genericSamplerDefine(false),
              "#define SAMPLER_TYPE sampler2D\n#define SAMPLER_COORDS xy\n#define SAMPLER_2D\n");
}

TEST_F(ImageProgramGL, SeveralOutputsWithAGap) {
    for (const bool layered : {true, false}) {
        ImageProgram program = make("both.frag", layered);
        Texture marks(Target::Texture3D, {5, 4, 3}, InternalFormat::R32UI);
        Texture colors(Target::Texture3D, {5, 4, 3}, InternalFormat::RGBA8);
        fill(marks);
        program.setClearOutputEnabled(true, {9.7F, 1.0F, 0.0F, 0.0F});
        program.compute({&marks, nullptr, &colors, nullptr}, {0, 0, 0, 5, 4, 2});
        const unsigned int last = layered ? 9 : untouched;
        const auto texels = marks.download<unsigned int>();
        EXPECT_EQ(texels.at(0), mark(0, 0, 0));
        EXPECT_EQ(texels.at(39), mark(4, 3, 1));
        EXPECT_EQ(texels.at(40), last);
        const auto color = colors.download<Eigen::Matrix<std::uint8_t, 4, 1>>();
        EXPECT_EQ(color.at(39), (Eigen::Matrix<std::uint8_t, 4, 1>(230, 223, 128, 255)));
    }
}

TEST_F(ImageProgramGL, ClearsBeforeItComputes) {
    struct Case {
        InternalFormat format;
        Eigen::Vector4f color;
        unsigned int cleared;
    };
    const Case cases[] = {{InternalFormat::R32UI, {7.9F, 0, 0, 0}, 7},
                          {InternalFormat::R32UI, {-3, 0, 0, 0}, 0},
                          {InternalFormat::R32UI, {1e20F, 0, 0, 0}, 0xFFFFFFFF}};
    glClearColor(0.1F, 0.2F, 0.3F, 0.4F);
    for (const bool layered : {true, false})
        for (const Case& c : cases) {
            ImageProgram program = make("mark.frag", layered);
            program.setClearOutputEnabled(true, c.color);
            Texture output(Target::Texture3D, {4, 3, 3}, c.format);
            fill(output);
            program.compute(output, {1, 1, 0, 3, 3, 3});
            expectMarks(
                output, [](int x, int y, int) { return x >= 1 && x < 3 && y >= 1; }, c.cleared);
        }
    std::array<float, 4> color{};
    glGetFloatv(GL_COLOR_CLEAR_VALUE, color.data());
    EXPECT_EQ(color, (std::array<float, 4>{0.1F, 0.2F, 0.3F, 0.4F}));
    glClearColor(0, 0, 0, 0);
}

TEST_F(ImageProgramGL, SplitsLongComputations) {
    for (const bool layered : {true, false}) {
        SplittingProgram program = make("mark.frag", layered);
        program.setAvoidDriverTimeout(true);
        program.timeoutSettings() = {.initialSlices = 3, .forcedChunks = 2, .forceSplit = true};
        Texture output(Target::Texture3D, {4, 3, 12}, InternalFormat::R32UI);
        fill(output);
        CallCounter<glad_glDrawArraysInstanced> instanced;
        CallCounter<glad_glFinish> finishes;
        static_cast<void>(log().take());
        program.compute(output, {0, 0, 1, 4, 3, 11});
        expectMarks(output, [](int, int, int z) { return z >= 1 && z < 11; });
        // Ten slices: three at first, two chunks of three, and a last one.
        EXPECT_EQ(instanced.take(), layered ? 4 : 0);
        // Slice by slice: after the third, and of the seven others after each second.
        EXPECT_EQ(finishes.take(), 4);
        const auto lines = log().take("GL.ImageProgram");
        ASSERT_EQ(lines.size(), layered ? 6U : 4U);
        EXPECT_EQ(lines[1].text, "Forcing split of GlImageProgram computation");
        EXPECT_EQ(lines[2].text, "Splitting computation of GL program in 2 chunks of 3 slices each, and a "
                                 "last chunk of 1 slices");
        if (layered) {
            EXPECT_EQ(lines[5].text, "Rendered chunk 2 out of 2; 3 slices for a total of 9 slices");
        }
    }
}

TEST_F(ImageProgramGL, FastComputationsAreNotSplit) {
    for (const bool layered : {true, false}) {
        ImageProgram program = make("mark.frag", layered);
        program.setAvoidDriverTimeout(true);
        for (const int depth : {50, 70}) {
            Texture output(Target::Texture2DArray, {2, 2, depth}, InternalFormat::R32UI);
            fill(output);
            CallCounter<glad_glFinish> finishes;
            program.compute(output, {});
            EXPECT_EQ(finishes.take(), 1);
            EXPECT_TRUE(log().takeLine(
                {1, "GL.ImageProgram", "No need to split the computation; rendering the rest"}));
            expectMarks(output, everywhere);
        }
    }
}

TEST_F(ImageProgramGL, ReducesSlicesByTheCallersBlending) {
    constexpr int w = 9, h = 7, d = 8;
    const std::vector<float> volume = randomVolume(std::size_t{w} * h * d, 3);
    Texture input(Target::Texture3D, {w, h, d}, InternalFormat::R32F);
    input.upload(volume);
    enum class Reduction { Maximum, Sum, Mean };
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    for (const bool layered : {true, false})
        for (const Reduction reduction : {Reduction::Maximum, Reduction::Sum, Reduction::Mean})
            for (const bool toLayer : {false, true}) {
                SCOPED_TRACE(testing::Message() << layered << int(reduction) << toLayer);
                // Slices 2 to 5 of the volume, columns 1 to 6.
                const Cuboid cuboid(1, 0, 2, 7, h, 6);
                Texture output(toLayer ? Target::Texture2DArray : Target::Texture2D, {w, h, toLayer ? 3 : 1},
                               InternalFormat::R32F);
                output.clear<float>(Eigen::Vector4f::Constant(-5.0F));
                ImageProgram program = make("project.frag", layered);
                program.setClearOutputEnabled(true, Eigen::Vector4f::Zero());
                program.enable();
                program.setArgument("volume", input);
                program.setArgument("mean", reduction == Reduction::Mean);
                program.disable();
                glBlendEquation(reduction == Reduction::Maximum ? GL_MAX : GL_FUNC_ADD);
                CallCounter<glad_glDrawArraysInstanced> draws;
                program.computeReduceZ(output, toLayer ? 1 : 0, d, cuboid);
                EXPECT_EQ(draws.take(), 1);

                const auto result = output.download<float>();
                const auto offset = toLayer ? std::size_t{w} * h : 0;
                for (std::size_t i = 0; i < std::size_t{w} * h; ++i) {
                    const std::size_t x = i % w;
                    float expected = 0;
                    for (std::size_t z = 2; z < 6 && x >= 1 && x < 7; ++z) {
                        const float value = volume[z * w * h + i];
                        expected = reduction == Reduction::Maximum ? std::max(expected, value)
                                   : reduction == Reduction::Sum   ? expected + value
                                                                   : expected + value / 4;
                    }
                    ASSERT_EQ(result.at(offset + i), expected) << i;
                }
                if (toLayer) {
                    EXPECT_EQ(result.front(), -5.0F);
                    EXPECT_EQ(result.back(), -5.0F);
                }
            }
    EXPECT_TRUE(getBool(GL_BLEND));
    glDisable(GL_BLEND);
    glBlendEquation(GL_FUNC_ADD);
    glBlendFunc(GL_ONE, GL_ZERO);
}

TEST_F(ImageProgramGL, ReducedSlicesHaveTheirDepthInInputOrBox) {
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    for (const auto& [mode, expected] : {std::pair(Mode::Output, 4.5F / 8), std::pair(Mode::Box, 0.5F)})
        for (const bool layered : {true, false}) {
            ImageProgram program = make("depth.frag", layered, mode);
            Texture output(Target::Texture2D, {2, 2, 1}, InternalFormat::R32F);
            program.setClearOutputEnabled(true, Eigen::Vector4f::Zero());
            program.computeReduceZ(output, 0, 8, {0, 0, 4, 2, 2, 5});
            EXPECT_EQ(output.download<float>(), std::vector<float>(4, expected));
        }
    glDisable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ZERO);
}

TEST_F(ImageProgramGL, TheCallersStateNeitherMattersNorChanges) {
    Framebuffer framebuffer;
    framebuffer.bind();
    ImageProgram other = make("mark.frag", false);
    other.enable();
    const Viewport before{1, 2, 3, 4};
    Viewport viewport;
    viewport.retrieve();
    before.set();
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 1, 1);
    glEnable(GL_CULL_FACE);
    glCullFace(GL_FRONT_AND_BACK);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ZERO, GL_ZERO);
    for (const bool layered : {true, false}) {
        ImageProgram program = make("coord.frag", layered, Mode::Output, "#define OPACITY 0.5\n");
        program.setClearOutputEnabled(true, Eigen::Vector4f::Ones());
        Texture output(Target::Texture3D, {4, 4, 4}, InternalFormat::RGBA8);
        program.compute(output, {});
        const auto texels = output.download<Eigen::Matrix<std::uint8_t, 4, 1>>();
        EXPECT_EQ(texels.back(), (Eigen::Matrix<std::uint8_t, 4, 1>(223, 223, 223, 128)));

        Viewport after;
        after.retrieve();
        EXPECT_EQ(after, before);
        EXPECT_TRUE(framebuffer.isBound());
        EXPECT_EQ(static_cast<GLuint>(getInt(GL_CURRENT_PROGRAM)), other.id());
        EXPECT_TRUE(getBool(GL_SCISSOR_TEST) && getBool(GL_CULL_FACE) && getBool(GL_BLEND));
        EXPECT_EQ(getInt(GL_ARRAY_BUFFER_BINDING), 0);
    }
    glDisable(GL_SCISSOR_TEST);
    glDisable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glDisable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ZERO);
    viewport.set();
    other.disable();
    Framebuffer::unbind();
}

TEST_F(ImageProgramGL, ComputesThroughAFramebufferOfTheUser) {
    ImageProgram program = make("mark.frag", true);
    EXPECT_EQ(program.fbo(), nullptr);
    Texture output(Target::Texture3D, {4, 3, 2}, InternalFormat::R32UI);
    fill(output);
    Framebuffer own;
    program.setFBO(&own);
    program.compute(output, {});
    expectMarks(output, everywhere);
    EXPECT_EQ(program.fbo(), &own);
    EXPECT_TRUE(own.colorAttachments().empty());

    program.setFBO(nullptr);
    fill(output);
    program.compute(output, {});
    expectMarks(output, everywhere);
    ASSERT_TRUE(program.fbo() && program.fbo() != &own);
    EXPECT_TRUE(program.fbo()->colorAttachments().empty());
}

TEST_F(ImageProgramGL, FailuresAreLoggedAndDrawNothing) {
    for (const bool layered : {true, false}) {
        ImageProgram program = make("mark.frag", layered);
        Texture output(Target::Texture3D, {4, 3, 4}, InternalFormat::R32UI);
        Texture flat(Target::Texture3D, {4, 3, 2}, InternalFormat::R32UI);
        Texture depth(Target::Texture2D, {4, 3, 1}, InternalFormat::DepthComponent24);
        fill(output);
        CallCounter<glad_glDrawArrays> draws;
        CallCounter<glad_glDrawArraysInstanced> instancedDraws;
        const auto expectError = [&](const std::string& text) {
            const LogLine line{4, "GL.ImageProgram", text};
            EXPECT_TRUE(log().takeLine(line)) << text;
            EXPECT_TRUE(!program.fbo() || program.fbo()->colorAttachments().empty());
        };
        program.compute(std::vector<Texture*>{}, {});
        expectError(notStarted.text);
        program.computeReduceZ({nullptr, nullptr}, 0, 5, {});
        expectError(notStarted.text);
        program.compute(depth, {});
        expectError(notComplete.text);
        program.computeReduceZ(depth, 0, 5, {});
        expectError(notComplete.text);
        static_cast<void>(log().take()); // what the framebuffer itself says
        program.compute({&output, &flat}, {0, 0, 3, 4, 3, 4});
        static_cast<void>(log().take("GL.Debug"));
        auto lines = log().take();
        EXPECT_FALSE(lines.empty());
        std::vector<Texture*> many(9);
        many.front() = many.back() = &output;
        program.compute(many, {});
        expectError("compute() aborted because there is no colour attachment for output 8.");
        program.computeReduceZ(output, 4, 5, {});
        expectError("compute() aborted because an output has 4 slices where 5 are needed.");
        program.computeReduceZ(output, 0, 0, {});
        expectError("computeReduceZ() not started: it cannot reduce 0 slices to slice 0.");
        program.computeReduceZ(output, -1, 3, {});
        expectError("computeReduceZ() not started: it cannot reduce 3 slices to slice -1.");

        ImageProgram broken("I/broken.frag", "", layered, Mode::Output, Compilation::Deferred);
        broken.compute(output, {});
        EXPECT_FALSE(log().take("GL.Program").empty());
        EXPECT_EQ(draws.take() + instancedDraws.take(), 0);
        expectMarks(output, [](int, int, int) { return false; });
    }
}

TEST_F(ImageProgramGL, DefinesTellTheStagesTheMode) {
    const std::string layered = "#define _IMGPROG_USE_GS\n";
    const std::string box = "#define _IMGPROG_USE_BOX_TEX_COORDS\n";
    EXPECT_EQ(make("mark.frag", false).defines(), "");
    EXPECT_EQ(make("mark.frag", true).defines(), layered);
    EXPECT_EQ(make("mark.frag", false, Mode::Box).defines(), box);
    ImageProgram program = make("coord.frag", true, Mode::Box, "#define OPACITY 1");
    EXPECT_EQ(program.defines(), "#define OPACITY 1\n" + layered + box);

    CallCounter<glad_glLinkProgram> links;
    EXPECT_TRUE(program.setDefines(program.defines(), Compilation::Immediate));
    EXPECT_TRUE(program.setDefines("#define OPACITY 1", Compilation::Immediate));
    EXPECT_EQ(links.take(), 0);
    EXPECT_TRUE(program.setDefines("#define OPACITY 0", Compilation::ImmediateThrow));
    EXPECT_EQ(links.take(), 1);
}

TEST_F(ImageProgramGL, CloneHasTheSettings) {
    Framebuffer own;
    SplittingProgram program = make("mark.frag", true, Mode::Box, "#define X 1\n");
    program.setClearOutputEnabled(true, {3, 0, 0, 0});
    program.setAvoidDriverTimeout(true);
    program.setFBO(&own);
    const auto copy = program.clone({}, Compilation::ImmediateThrow);
    ASSERT_TRUE(copy);
    EXPECT_NE(copy->id(), program.id());
    EXPECT_EQ(copy->defines(), program.defines());
    EXPECT_TRUE(copy->isClearOutputEnabled() && copy->isAvoidingDriverTimeout());
    EXPECT_EQ(copy->fbo(), &own);
    Texture output(Target::Texture3D, {4, 3, 2}, InternalFormat::R32UI);
    copy->compute(output, {0, 0, 0, 2, 3, 2});
    expectMarks(
        output, [](int x, int, int) { return x < 2; }, 3);
    // A program that was moved computes as well.
    ImageProgram moved(std::move(*copy));
    fill(output);
    moved.compute(output, {});
    expectMarks(output, everywhere);
}

TEST_F(ImageProgramGL, FullscreenSquareCoversTheViewport) {
    const FullscreenSquare& square = *FullscreenSquare::get();
    const auto drawn = [](const std::function<void()>& draw) {
        ImageProgram program = make("coord.frag", false, Mode::Output, "#define OPACITY 1\n");
        Texture output(Target::Texture2D, {8, 8, 1}, InternalFormat::RGBA8);
        output.clear<float>(Eigen::Vector4f::Zero());
        Framebuffer framebuffer;
        const StateGuard guard({StateGuard::SaveFlags::Framebuffer, StateGuard::SaveFlags::Viewport});
        framebuffer.bind();
        framebuffer.attach(output, 0);
        framebuffer.setDrawBuffers();
        glViewport(0, 0, 8, 8);
        program.enable();
        program.setArgument("_cp_scale", Eigen::Vector2f(1, 1));
        draw();
        program.disable();
        const auto texels = output.download<Eigen::Matrix<std::uint8_t, 4, 1>>();
        return std::pair(texels[27][3], std::count_if(texels.begin(), texels.end(),
                                                      [](const auto& texel) { return texel[3] == 255; }));
    };
    const auto [filledMiddle, filled] = drawn([&] { square.drawFilled(); });
    EXPECT_EQ(filledMiddle, 255);
    EXPECT_EQ(filled, 64);
    const auto [outlinedMiddle, outlined] = drawn([&] { square.drawOutline(); });
    EXPECT_EQ(outlinedMiddle, 0);
    EXPECT_GE(outlined, 8);
}

} // namespace Veltrand::GL
