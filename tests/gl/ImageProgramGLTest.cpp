// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/detail/ImagePlan.h>

namespace Veltrand::GL {

namespace {

using Cuboid = ImageProgram::Cuboid;
using Mode = ImageProgram::TexCoordMode;
using Target = Texture::Target;
using Bytes = Eigen::Vector<std::uint8_t, 4>;

constexpr unsigned int untouched = 0xABCDEF01;

// What "I/mark.frag" writes.
unsigned int mark(int x, int y, int slice) {
    return static_cast<unsigned int>(x + 0x100 * y + 0x10000 * slice);
}

const MapRepository::Files files{
    {"mark.frag",
     "#version 330\nin vec3 texCoord;\nflat in int slice;\n"
     "layout(location = 0) out uint value;\nlayout(location = 2) out vec4 coord;\nvoid main() {\n"
     "    value = uint(gl_FragCoord.x) + 0x100u * uint(gl_FragCoord.y) + 0x10000u * uint(slice);\n"
     "    coord = vec4(texCoord, 1.0);\n}\n"},
    {"coord.frag", "#version 330\nin vec3 texCoord;\nout vec4 color;\n"
                   "void main() { color = vec4(texCoord, float(OPACITY)); }\n"},
    {"sample.frag", "#version 330\nuniform SAMPLER_TYPE image;\nin vec3 texCoord;\nout float value;\n"
                    "void main() { value = texture(image, texCoord.SAMPLER_COORDS).r; }\n"},
    {"project.frag", "#version 330\nuniform sampler3D volume;\nuniform int _cp_numSlicesBox;\n"
                     "flat in int slice;\nout float value;\nvoid main() {\n"
                     "    value = texelFetch(volume, ivec3(gl_FragCoord.xy, slice), 0).r / "
                     "float(_cp_numSlicesBox);\n}\n"},
};

class SplittingProgram : public ImageProgram {
public:
    using ImageProgram::ImageProgram;
    using ImageProgram::timeoutSettings;
};

class ImageProgramGL : public GLFixture {
protected:
    [[nodiscard]] static SplittingProgram make(const std::string& fragmentShader, bool layered,
                                               Mode mode = Mode::Output, const std::string& defines = {}) {
        return SplittingProgram("I/" + fragmentShader, defines, layered, mode, Compilation::ImmediateThrow);
    }

    // Compares each texel with @p expected at its column, row and slice.
    static void expectMarks(const Texture& texture,
                            const std::function<bool(int x, int y, int slice)>& computed) {
        const auto texels = texture.download<unsigned int>();
        const bool rowsAreSlices = texture.target() == Target::Texture1DArray;
        std::size_t i = 0;
        for (int z = 0; z < texture.depth(); ++z)
            for (int y = 0; y < texture.height(); ++y)
                for (int x = 0; x < texture.width(); ++x, ++i) {
                    const int row = rowsAreSlices ? 0 : y;
                    const int slice = rowsAreSlices ? y : z;
                    const unsigned int expected = computed(x, row, slice) ? mark(x, row, slice) : untouched;
                    ASSERT_EQ(texels.at(i), expected) << "at " << x << ' ' << y << ' ' << z;
                }
    }

    [[nodiscard]] static Texture unmarked(Target target, const Vector3i& size) {
        Texture texture(target, size, InternalFormat::R32UI);
        texture.upload(std::vector<unsigned int>(texture.numTexels(), untouched));
        return texture;
    }

    MapRepository m_files{"I", files};
};

bool everywhere(int, int, int) {
    return true;
}

} // namespace

// The limit is read once per process, so this runs in one of its own.
class ImageProgramLayerLimitGL : public ImageProgramGL {};

TEST_F(ImageProgramLayerLimitGL, BeyondItOutputsAreComputedSliceBySlice) {
    if (!hasVersion(4, 3))
        GTEST_SKIP() << "the limit cannot be asked for";
    static const PFNGLGETINTEGERVPROC real = glad_glGetIntegerv;
    const ScopedEntryPoint limited(glad_glGetIntegerv, [](GLenum name, GLint* value) {
        name == GL_MAX_FRAMEBUFFER_LAYERS ? void(*value = 4) : real(name, value);
    });
    ImageProgram program = make("mark.frag", true);
    for (const int depth : {4, 5}) {
        Texture output = unmarked(Target::Texture3D, {6, 3, depth});
        program.compute(output, Cuboid(1, 0, 1, 6, 3, 20));
        EXPECT_EQ(
            log().takeLine({3, "GL.ImageProgram",
                            "Number of slices in output exceeds GL_MAX_FRAMEBUFFER_LAYERS, falling back to "
                            "non-Geometry Shader mode."}),
            depth > 4);
        expectMarks(output, [](int x, int, int slice) { return x >= 1 && slice >= 1; });
    }
}

TEST_F(ImageProgramGL, ComputesTheBoxOfEveryKindOfOutput) {
    const std::pair<Target, Vector3i> kinds[] = {
        {Target::Texture1D, {9, 1, 1}}, {Target::Texture1DArray, {9, 6, 1}},
        {Target::Texture2D, {9, 7, 1}}, {Target::Texture2DArray, {9, 7, 6}},
        {Target::Texture3D, {9, 7, 6}}, {Target::Texture3D, {9, 7, 1}}};
    const std::pair<Cuboid, std::function<bool(int, int, int)>> boxes[] = {
        {{}, everywhere},
        {{1.6, -4, 0, 4.4, 1, 1}, [](int x, int y, int z) { return x >= 2 && x < 5 && y < 1 && z < 1; }},
        {{20, 0, 0, 30, 1, 1}, [](int, int, int) { return false; }},
    };
    for (const bool layered : {true, false}) {
        ImageProgram program = make("mark.frag", layered);
        for (const auto& [target, size] : kinds)
            for (const auto& [box, computed] : boxes) {
                SCOPED_TRACE(testing::Message()
                             << layered << ' ' << int(target) << ' ' << box.box().min().x());
                Texture output = unmarked(target, size);
                program.compute(output, box);
                expectMarks(output, computed);
            }
        Texture volume = unmarked(Target::Texture3D, {9, 7, 6});
        CallCounter<glad_glDrawArraysInstanced> layeredDraws;
        CallCounter<glad_glFinish> finishes;
        program.compute(volume, {2, 3, 4, 8, 6, 9});
        EXPECT_EQ(layeredDraws.take(), layered);
        EXPECT_EQ(finishes.take(), 0);
        expectMarks(volume, [](int x, int y, int z) { return x >= 2 && x < 8 && y >= 3 && y < 6 && z >= 4; });
    }
}

TEST_F(ImageProgramGL, TextureCoordinatesAreThoseOfTheOutputOrTheBox) {
    const Vector3i size(21, 10, 6);
    const Vector3i begin(3, 2, 1);
    const Vector3i length(13, 5, 4);
    for (const bool layered : {true, false})
        for (const Mode mode : {Mode::Output, Mode::Box}) {
            SCOPED_TRACE(testing::Message() << layered << ' ' << int(mode));
            ImageProgram program = make("coord.frag", layered, mode, "#define OPACITY 1");
            Texture output(Target::Texture3D, size, InternalFormat::RGBA16F);
            program.compute(output, {3, 2, 1, 16, 7, 5});
            const auto texels = output.download<Vector4f>();
            for (int i = 0; i < length.prod(); ++i) {
                const Vector3i offset(i % length[0], i / length[0] % length[1], i / length[0] / length[1]);
                const Vector3i position = begin + offset;
                const int index = (position[2] * size[1] + position[1]) * size[0] + position[0];
                for (int axis = 0; axis < 3; ++axis) {
                    const double expected = mode == Mode::Output ? (position[axis] + 0.5) / size[axis]
                                                                 : (offset[axis] + 0.5) / length[axis];
                    // Within one unit in the last place of the half float that is read.
                    EXPECT_NEAR(texels.at(static_cast<std::size_t>(index))[axis], expected,
                                std::ldexp(1.0, std::ilogb(expected) - 10));
                }
            }
        }
}

TEST_F(ImageProgramGL, ClearsAndComputesSeveralOutputsWithAGap) {
    for (const bool layered : {true, false}) {
        ImageProgram program = make("mark.frag", layered);
        Texture marks = unmarked(Target::Texture3D, {5, 4, 3});
        Texture colors(Target::Texture3D, {5, 4, 3}, InternalFormat::RGBA8);
        program.setClearOutputEnabled(true, {9.7F, 1.0F, 0.0F, 0.0F});
        program.compute({&marks, nullptr, &colors, nullptr}, {1, 0, 0, 5, 4, 2});
        const auto texels = marks.download<unsigned int>();
        EXPECT_EQ(texels.at(38), mark(3, 3, 1));
        EXPECT_EQ(texels.at(35), 9U) << "beside the box";
        EXPECT_EQ(texels.at(40), layered ? 9 : untouched) << "a slice that is not computed";
        EXPECT_EQ(colors.download<Bytes>().at(39), Bytes(230, 223, 128, 255));
    }
}

TEST_F(ImageProgramGL, SplitsLongComputations) {
    for (const bool layered : {true, false}) {
        SplittingProgram program = make("mark.frag", layered);
        program.setAvoidDriverTimeout(true);
        program.timeoutSettings() = {.initialSlices = 3, .forcedChunks = 2, .forceSplit = true};
        Texture output = unmarked(Target::Texture3D, {4, 3, 12});
        CallCounter<glad_glDrawArraysInstanced> instanced;
        CallCounter<glad_glFinish> finishes;
        program.compute(output, {0, 0, 1, 4, 3, 11});
        expectMarks(output, [](int, int, int z) { return z >= 1 && z < 11; });
        // Ten slices: three at first, two chunks of three, and a last one.
        EXPECT_EQ(instanced.take(), layered ? 4 : 0);
        // Slice by slice: after the third, and of the seven others after each second.
        EXPECT_EQ(finishes.take(), 4);
        const auto hasLogged = [this](const char* text) {
            return log().takeLine({Log::Debug, "GL.ImageProgram", text});
        };
        EXPECT_TRUE(hasLogged("Forcing split of GlImageProgram computation"));
        EXPECT_TRUE(hasLogged("Splitting computation of GL program in 2 chunks of 3 slices each, and a last "
                              "chunk of 1 slices"));
        EXPECT_EQ(hasLogged("Rendered chunk 2 out of 2; 3 slices for a total of 9 slices"), layered);
        program.timeoutSettings().forceSplit = false;
        program.compute(output, {});
        EXPECT_EQ(finishes.take(), 1);
        EXPECT_TRUE(hasLogged("No need to split the computation; rendering the rest"));
        expectMarks(output, everywhere);
    }
}

TEST_F(ImageProgramGL, ReducesSlicesByTheCallersBlending) {
    constexpr int w = 9, h = 7, d = 8;
    std::vector<float> volume(std::size_t{w} * h * d);
    for (std::size_t i = 0; i < volume.size(); ++i)
        volume[i] = static_cast<float>(i * 37 % 101);
    Texture input(Target::Texture3D, {w, h, d}, InternalFormat::R32F);
    input.upload(volume);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    for (const bool layered : {true, false}) {
        // The sum of slices 2 to 5 of the volume, columns 1 to 6.
        Texture output(Target::Texture2DArray, {w, h, 3}, InternalFormat::R32F);
        output.clear<float>(Vector4f::Constant(-5.0F));
        ImageProgram program = make("project.frag", layered);
        program.setClearOutputEnabled(true, Vector4f::Zero());
        program.enable();
        program.setArgument("volume", input);
        program.disable();
        CallCounter<glad_glDrawArraysInstanced> draws;
        program.computeReduceZ(output, 1, d, {1, 0, 2, 7, h, 6});
        EXPECT_EQ(draws.take(), 1);

        const auto result = output.download<float>();
        for (std::size_t i = 0; i < std::size_t{w} * h; ++i) {
            float expected = 0;
            for (std::size_t z = 2; z < 6 && i % w >= 1 && i % w < 7; ++z)
                expected += volume[z * w * h + i] / 4;
            ASSERT_EQ(result.at(std::size_t{w} * h + i), expected) << layered << ' ' << i;
        }
        EXPECT_EQ(result.front(), -5.0F);
        EXPECT_EQ(result.back(), -5.0F);
    }
    for (const auto& [mode, expected] : {std::pair(Mode::Output, 4.5F / 8), std::pair(Mode::Box, 0.5F)}) {
        ImageProgram program = make("coord.frag", false, mode, "#define OPACITY 1");
        Texture output(Target::Texture2D, {2, 2, 1}, InternalFormat::RGBA32F);
        program.setClearOutputEnabled(true, Vector4f::Zero());
        program.computeReduceZ(output, 0, 8, {0, 0, 4, 2, 2, 5});
        EXPECT_EQ(output.download<Vector4f>().back().z(), expected);
    }
    EXPECT_TRUE(getBool(GL_BLEND));
    glDisable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ZERO);
}

TEST_F(ImageProgramGL, TheCallersStateNeitherMattersNorChanges) {
    const RenderTarget target(3, 4);
    ImageProgram other = make("mark.frag", false);
    other.enable();
    Framebuffer own;
    Texture depth(Target::Texture2D, {4, 4, 1}, InternalFormat::Depth24Stencil8);
    const Bytes expected(223, 223, 223, 128);
    for (const InternalFormat format : {InternalFormat::RGBA8, InternalFormat::SRGB8Alpha8})
        for (const bool layered : {true, false}) {
            ImageProgram program = make("coord.frag", layered, Mode::Output, "#define OPACITY 0.5\n");
            program.setClearOutputEnabled(true, Vector4f::Zero());
            program.setFBO(layered ? nullptr : &own);
            Texture volume(Target::Texture3D, {4, 4, 4}, format);
            Texture reduced(Target::Texture2D, {4, 4, 1}, format);
            {
                const AdverseState adverse;
                glDisablei(GL_BLEND, 2); // which remains so while the others are put back
                if (!layered) {
                    const StateGuard guard = own.guardedBind();
                    own.attach(depth, 0);
                }
                program.compute(volume, {});
                glDisablei(GL_BLEND, 0);
                program.computeReduceZ(reduced, 0, 4, {});
                EXPECT_EQ(glIsEnabledi(GL_BLEND, 1), GL_TRUE);
                EXPECT_EQ(glIsEnabledi(GL_BLEND, 2), GL_FALSE);
                glEnable(GL_BLEND);
            }
            EXPECT_EQ(volume.download<Bytes>().back(), expected);
            EXPECT_EQ(reduced.download<Bytes>().back(), expected);
        }
    other.disable();
}

TEST_F(ImageProgramGL, FailuresAreLoggedAndDrawNothing) {
    for (const bool layered : {true, false}) {
        ImageProgram program = make("mark.frag", layered);
        Texture output = unmarked(Target::Texture3D, {4, 3, 4});
        Texture flat(Target::Texture3D, {4, 3, 2}, InternalFormat::R32UI);
        Texture depth(Target::Texture2D, {4, 3, 1}, InternalFormat::DepthComponent24);
        std::vector<Texture*> nine(9);
        nine.front() = nine.back() = &output;
        const auto expectError = [&](const char* text) {
            expectLine(Log::Error, "GL.ImageProgram", text);
            EXPECT_TRUE(!program.fbo() || program.fbo()->colorAttachments().empty());
        };
        program.compute(std::vector<Texture*>{}, {});
        expectError("compute() not started because no valid output was passed.");
        program.computeReduceZ({nullptr, nullptr}, 0, 5, {});
        expectError("compute() not started because no valid output was passed.");
        program.compute(depth, {});
        expectError(
            "compute() aborted because the FBO is not complete. Please check that all output textures "
            "have a format that can be attached to a FBO.");
        program.compute(nine, {});
        expectError("compute() aborted because there is no colour attachment for output 8.");
        program.computeReduceZ(output, 4, 5, {});
        expectError("compute() aborted because an output has 4 slices where 5 are needed.");
        program.computeReduceZ(output, -1, 3, {});
        expectError("computeReduceZ() not started: it cannot reduce 3 slices to slice -1.");
        program.compute({&output, &flat}, {0, 0, 3, 4, 3, 4});
        EXPECT_FALSE(log().take().empty());
        ImageProgram broken("I/coord.frag", "", layered, Mode::Output, Compilation::Deferred);
        for (const char* const defines : {"", "#define NONE\n"}) { // once for each
            broken.setDefines(defines, Compilation::Deferred);
            broken.compute(output, {});
            EXPECT_FALSE(log().take("GL.Program").empty());
            broken.compute(output, {});
            EXPECT_TRUE(log().take("GL.Program").empty());
        }
        expectMarks(output, [](int, int, int) { return false; });
        broken.setDefines("#define OPACITY 1\n", Compilation::Deferred);
        Texture colors(Target::Texture2D, {4, 3, 1}, InternalFormat::RGBA8);
        broken.compute(colors, {});
        EXPECT_EQ(colors.download<Bytes>().front()[3], 255);
    }
}

TEST_F(ImageProgramGL, CloneHasTheSettings) {
    Framebuffer own;
    SplittingProgram program = make("sample.frag", true, Mode::Box, ImageProgram::genericSamplerDefine(true));
    program.setClearOutputEnabled(true, {3, 0, 0, 0});
    program.setAvoidDriverTimeout(true);
    program.setFBO(&own);
    const auto copy = program.clone({}, Compilation::ImmediateThrow);
    EXPECT_EQ(copy->defines(), program.defines());
    EXPECT_TRUE(copy->defines().ends_with("#define _IMGPROG_USE_GS\n#define _IMGPROG_USE_BOX_TEX_COORDS\n"));
    EXPECT_TRUE(copy->isAvoidingDriverTimeout());
    EXPECT_EQ(copy->fbo(), &own);
    // A program that was moved computes as well.
    ImageProgram moved(std::move(*copy));
    Texture input(Target::Texture3D, {1, 1, 2}, InternalFormat::R32F);
    input.upload(std::vector<float>{5, 6});
    Texture output(Target::Texture3D, {1, 2, 2}, InternalFormat::R32F);
    moved.enable();
    moved.setArgument("image", input);
    moved.disable();
    for (Framebuffer* const framebuffer : {&own, static_cast<Framebuffer*>(nullptr)}) {
        moved.setFBO(framebuffer);
        moved.compute(output, {0, 0, 0, 1, 1, 2});
        EXPECT_EQ(output.download<float>(), (std::vector<float>{5, 3, 6, 3}));
        EXPECT_EQ(moved.fbo() == &own, framebuffer == &own);
        EXPECT_TRUE(moved.fbo()->colorAttachments().empty());
        output.clear<float>({0, 0, 0, 0});
    }
}

TEST_F(ImageProgramGL, FullscreenSquareCoversTheViewport) {
    const FullscreenSquare& square = *FullscreenSquare::get();
    ImageProgram program = make("coord.frag", false, Mode::Output, "#define OPACITY 1\n");
    program.enable();
    program.setArgument("_cp_scale", Eigen::Vector2f(1, 1));
    for (const bool filled : {true, false}) {
        const RenderTarget target(8, 8);
        filled ? square.drawFilled() : square.drawOutline();
        const auto texels = target.texture().download<Bytes>();
        const auto drawn = std::ranges::count_if(texels, [](const Bytes& texel) { return texel[3] == 255; });
        EXPECT_TRUE(filled ? drawn == 64 : drawn >= 8 && texels[27][3] == 0) << drawn;
    }
    program.disable();
}

} // namespace Veltrand::GL
