// SPDX-License-Identifier: BSD-3-Clause
#include "support/CallCounter.h"
#include "support/GLFixture.h"
#include "support/MapRepository.h"
#include "support/ScopedEntryPoint.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <glad/gl.h>
#include <gtest/gtest.h>

namespace Veltrand::GL {

namespace {

using Testing::CallCounter;
using Testing::LogLine;
using Testing::ScopedEntryPoint;
using Compilation = Program::Compilation;
using Stage = Program::Stage;

class ProgramArgumentsGL : public Testing::GLFixture {
protected:
    ProgramArgumentsGL()
        : m_files("T", {{"compute", "#version 430\n"
                                    "layout(local_size_x = 2) in;\n"
                                    "layout(std430) buffer Result { uint result[]; };\n"
                                    "layout(rgba8) uniform writeonly image2D plane;\n"
                                    "layout(rgba8) uniform writeonly image3D deep;\n"
                                    "void main() {\n"
                                    "    result[gl_GlobalInvocationID.x] = gl_GlobalInvocationID.x + 7u;\n"
                                    "    imageStore(plane, ivec2(0), vec4(1));\n"
                                    "    imageStore(deep, ivec3(0), vec4(1));\n"
                                    "}\n"}}) {}

    // A program of one vertex stage that declares uniforms and adds up uses of them.
    [[nodiscard]] std::unique_ptr<Program> make(const std::string& declarations, const std::string& sum) {
        m_files.set("vert",
                    "#version 330\n" + declarations + "\nvoid main() { gl_Position = vec4(" + sum + "); }\n");
        return std::make_unique<Program>(std::vector<Program::StageName>{{Stage::Vertex, "T/vert"}}, "",
                                         Compilation::ImmediateThrow);
    }

    [[nodiscard]] std::unique_ptr<Program> makeTextured() {
        return make(
            "uniform sampler2D a;\nuniform sampler2D b;\nuniform sampler2D list[3];\n"
            "uniform sampler3D volume;\n",
            "texture(a, vec2(0)).r + texture(b, vec2(0)).r + texture(volume, vec3(0)).r + "
            "texture(list[0], vec2(0)).r + texture(list[1], vec2(0)).r + texture(list[2], vec2(0)).r");
    }

    std::vector<LogLine> takeErrors() {
        std::vector<LogLine> errors;
        for (const LogLine& line : log().take("GL.Program"))
            if (line.level >= 3)
                errors.push_back(line);
        return errors;
    }

    [[nodiscard]] static std::vector<LogLine> error(const std::string& text) {
        return {{4, "GL.Program", text}};
    }

    Testing::MapRepository m_files;
};

// What is bound to a texture unit.
struct Unit {
    int texture2D = 0;
    int texture3D = 0;
    int sampler = 0;
    friend bool operator==(const Unit&, const Unit&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Unit& unit) {
        return out << unit.texture2D << ' ' << unit.texture3D << ' ' << unit.sampler;
    }
};

Unit readUnit(int unit) {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    return {getInt(GL_TEXTURE_BINDING_2D), getInt(GL_TEXTURE_BINDING_3D), getInt(GL_SAMPLER_BINDING)};
}

Texture makeTexture() {
    return {Texture::Target::Texture2D, Eigen::Vector3i(1, 1, 1), InternalFormat::RGBA8};
}

Texture makeVolume() {
    return {Texture::Target::Texture3D, Eigen::Vector3i(1, 1, 2), InternalFormat::RGBA8};
}

int nameOf(const Texture& texture) {
    return static_cast<int>(texture.id());
}

int uniformInt(const Program& program, const std::string& name) {
    GLint value = -1;
    glGetUniformiv(program.id(), program.loc(name), &value);
    return value;
}

// The components of a uniform, element after element.
std::vector<float> readUniform(const Program& program, const std::string& name, int elements) {
    std::vector<float> values;
    for (int i = 0; i < elements; ++i) {
        std::vector<float> element(16, -99);
        glGetUniformfv(program.id(), program.loc(elements > 1 ? name + "[" + std::to_string(i) + "]" : name),
                       element.data());
        const auto end = std::find(element.begin(), element.end(), -99.f);
        values.insert(values.end(), element.begin(), end);
    }
    return values;
}

// The first n of 1, 2, 3, ... as a matrix in column order.
template<class Matrix>
Matrix counted(int first = 1) {
    Matrix matrix;
    for (int i = 0; i < static_cast<int>(matrix.size()); ++i)
        matrix.data()[i] = static_cast<typename Matrix::Scalar>(first + i);
    return matrix;
}

template<class Matrix>
void expectRoundTrip(Program& program, const std::string& name) {
    SCOPED_TRACE(name);
    const int size = Matrix::SizeAtCompileTime;
    std::vector<float> expected;
    for (int i = 1; i <= size; ++i)
        expected.push_back(static_cast<float>(i));
    program.setArgument(name, counted<Matrix>());
    EXPECT_EQ(readUniform(program, name, 1), expected);
}

template<class Matrix>
void expectArrayRoundTrip(Program& program, const std::string& name) {
    SCOPED_TRACE(name);
    const int size = Matrix::SizeAtCompileTime;
    std::vector<float> expected;
    for (int i = 1; i <= 2 * size; ++i)
        expected.push_back(static_cast<float>(i));
    program.setArgument(name, std::vector<Matrix>{counted<Matrix>(), counted<Matrix>(size + 1)});
    EXPECT_EQ(readUniform(program, name, 2), expected);
}

template<class T>
concept Accepted = requires(Program& program, const T& value) {
    program.setArgument("x", value);
};

static_assert(Accepted<bool> && Accepted<Texture*> && Accepted<std::vector<Eigen::Matrix4d>>);
static_assert(!Accepted<std::vector<bool>> && !Accepted<std::vector<double>> && !Accepted<long>);
static_assert(!Accepted<const char*> && !Accepted<std::vector<Texture*>>);

} // namespace

TEST_F(ProgramArgumentsGL, UniformsOfEveryTypeArrive) {
    const auto program = make("uniform bool b; uniform int i; uniform uint u; uniform float f;\n"
                              "uniform int ia[3]; uniform uint ua[3]; uniform float fa[3];\n"
                              "uniform ivec2 i2; uniform ivec3 i3; uniform ivec4 i4;\n"
                              "uniform vec2 f2; uniform vec3 f3; uniform vec4 f4;\n"
                              "uniform mat2 m2; uniform mat3 m3; uniform mat4 m4;\n"
                              "uniform ivec2 i2a[2]; uniform ivec3 i3a[2]; uniform ivec4 i4a[2];\n"
                              "uniform vec2 f2a[2]; uniform vec3 f3a[2]; uniform vec4 f4a[2];\n"
                              "uniform mat2 m2a[2]; uniform mat3 m3a[2]; uniform mat4 m4a[2];\n",
                              "float(b) + i + u + f + ia[2] + ua[2] + fa[2] + i2.x + i3.x + i4.x + f2.x + "
                              "f3.x + f4.x + m2[1].x + m3[1].x + m4[1].x + i2a[1].x + i3a[1].x + i4a[1].x + "
                              "f2a[1].x + f3a[1].x + f4a[1].x + m2a[1][1].x + m3a[1][1].x + m4a[1][1].x");
    program->enable();
    const auto expectScalar = [&](const char* name, auto value, float expected) {
        program->setArgument(name, value);
        EXPECT_EQ(readUniform(*program, name, 1), std::vector<float>{expected}) << name;
    };
    expectScalar("b", true, 1);
    expectScalar("b", false, 0);
    expectScalar("i", -5, -5);
    expectScalar("u", 7u, 7);
    expectScalar("f", 0.5f, 0.5f);
    expectScalar("f", 0.25, 0.25f);
    const auto expectArray = [&](const char* name, const auto& values) {
        program->setArgument(name, values);
        EXPECT_EQ(readUniform(*program, name, 3), std::vector<float>(values.begin(), values.end())) << name;
    };
    expectArray("ia", std::vector<int>{-1, 2, 3});
    expectArray("ua", std::vector<unsigned int>{4, 5, 6});
    expectArray("fa", std::vector<float>{0.5f, 1.5f, 2.5f});

    expectRoundTrip<Eigen::Vector2i>(*program, "i2");
    expectRoundTrip<Eigen::Vector3i>(*program, "i3");
    expectRoundTrip<Eigen::Vector4i>(*program, "i4");
    expectRoundTrip<Eigen::Vector2f>(*program, "f2");
    expectRoundTrip<Eigen::Vector3f>(*program, "f3");
    expectRoundTrip<Eigen::Vector4f>(*program, "f4");
    expectRoundTrip<Eigen::Matrix2f>(*program, "m2");
    expectRoundTrip<Eigen::Matrix3f>(*program, "m3");
    expectRoundTrip<Eigen::Matrix4f>(*program, "m4");
    program->setArgument("m4", Eigen::Matrix4f(Eigen::Matrix4f::Zero()));
    expectRoundTrip<Eigen::Matrix2d>(*program, "m2");
    expectRoundTrip<Eigen::Matrix3d>(*program, "m3");
    expectRoundTrip<Eigen::Matrix4d>(*program, "m4");
    expectRoundTrip<Eigen::Vector2d>(*program, "f2");
    expectRoundTrip<Eigen::Vector3d>(*program, "f3");
    expectRoundTrip<Eigen::Vector4d>(*program, "f4");

    expectArrayRoundTrip<Eigen::Vector2i>(*program, "i2a");
    expectArrayRoundTrip<Eigen::Vector3i>(*program, "i3a");
    expectArrayRoundTrip<Eigen::Vector4i>(*program, "i4a");
    expectArrayRoundTrip<Eigen::Vector2f>(*program, "f2a");
    expectArrayRoundTrip<Eigen::Vector3f>(*program, "f3a");
    expectArrayRoundTrip<Eigen::Vector4f>(*program, "f4a");
    expectArrayRoundTrip<Eigen::Matrix2f>(*program, "m2a");
    expectArrayRoundTrip<Eigen::Matrix3f>(*program, "m3a");
    expectArrayRoundTrip<Eigen::Matrix4f>(*program, "m4a");
    program->setArgument("m4a", std::vector<Eigen::Matrix4f>(2, Eigen::Matrix4f::Zero()));
    expectArrayRoundTrip<Eigen::Matrix4d>(*program, "m4a");

    program->setArgument("unknown", 1);
    program->setArgument("fa", std::vector<float>{});
    program->disable();
    EXPECT_FALSE(program->checkForUnititializedUniforms());
}

TEST_F(ProgramArgumentsGL, AValueCostsOneLookupAndOneCall) {
    const auto program = make("uniform float f; uniform mat4 m;", "f + m[0].x");
    program->enable();
    CallCounter<glad_glGetUniformLocation> lookups;
    CallCounter<glad_glUniform1f> floats;
    CallCounter<glad_glUniformMatrix4fv> matrices;
    for (int i = 0; i < 3; ++i) {
        program->setArgument("f", 1.0);
        program->setArgument("m", Eigen::Matrix4d(Eigen::Matrix4d::Identity()));
    }
    EXPECT_EQ(lookups.take(), 6);
    EXPECT_EQ(floats.take(), 3);
    EXPECT_EQ(matrices.take(), 3);
    program->disable();
}

TEST_F(ProgramArgumentsGL, EachNameKeepsATextureUnitOfItsOwn) {
    const auto program = makeTextured();
    const Texture first = makeTexture();
    const Texture second = makeTexture();
    const Texture volume = makeVolume();
    const Sampler sampler;
    const int samplerName = static_cast<int>(sampler.id());
    program->enable();
    EXPECT_EQ(program->numImages(), 0);

    program->setArgument("a", first);
    program->setArgument("b", second, sampler);
    EXPECT_EQ(uniformInt(*program, "a"), 1);
    EXPECT_EQ(uniformInt(*program, "b"), 2);
    EXPECT_EQ(readUnit(1), (Unit{nameOf(first), 0, 0}));
    EXPECT_EQ(readUnit(2), (Unit{nameOf(second), 0, samplerName}));

    program->setArgument("a", second, sampler);
    EXPECT_EQ(readUnit(1), (Unit{nameOf(second), 0, samplerName}));
    program->setArgument("a", static_cast<const Texture*>(&first));
    EXPECT_EQ(readUnit(1), (Unit{nameOf(first), 0, 0}));
    EXPECT_EQ(program->numImages(), 2);

    program->setArgument("list", std::vector<const Texture*>{&first, &second, &first}, sampler);
    EXPECT_EQ(uniformInt(*program, "list[0]"), 3);
    EXPECT_EQ(uniformInt(*program, "list[2]"), 5);
    EXPECT_EQ(readUnit(4), (Unit{nameOf(second), 0, samplerName}));
    EXPECT_EQ(program->numImages(), 5);
    program->unbindSamplers("a");
    EXPECT_EQ(readUnit(1), Unit{});
    program->setArgument("list", std::vector<const Texture*>{&second, &first});
    EXPECT_EQ(uniformInt(*program, "list[0]"), 1);
    EXPECT_EQ(uniformInt(*program, "list[1]"), 3);
    EXPECT_EQ(readUnit(1), (Unit{nameOf(second), 0, 0}));
    EXPECT_EQ(readUnit(3), (Unit{nameOf(first), 0, 0}));
    EXPECT_EQ(readUnit(4), Unit{});
    EXPECT_EQ(readUnit(5), Unit{});

    EXPECT_EQ(program->bindSampler("volume", &volume, nullptr, true), 4);
    program->unbindImages(false);
    EXPECT_EQ(program->numImages(), 4);
    program->unbindImages(true);
    EXPECT_EQ(program->numImages(), 0);
    for (int unit = 1; unit <= 5; ++unit)
        EXPECT_EQ(readUnit(unit), Unit{}) << unit;
    EXPECT_EQ(program->bindSampler("volume", &volume, &sampler, true), 1);
    program->unbindImages(true);
    program->disable();
}

TEST_F(ProgramArgumentsGL, ReleasingAUnitDoesNotReadItsTexture) {
    static std::vector<GLenum> targets;
    const auto program = makeTextured();
    program->enable();
    {
        const Texture volume = makeVolume();
        program->setArgument("volume", volume);
    }
    targets.clear();
    {
        static PFNGLBINDTEXTUREPROC bind = glad_glBindTexture;
        const ScopedEntryPoint recorded(glad_glBindTexture, [](GLenum target, GLuint texture) {
            targets.push_back(target);
            bind(target, texture);
        });
        program->unbindSamplers("volume");
    }
    EXPECT_EQ(targets, std::vector<GLenum>{GL_TEXTURE_3D});
    program->disable();
}

TEST_F(ProgramArgumentsGL, RunningOutOfTextureUnitsIsReported) {
    const auto program = makeTextured();
    const Texture texture = makeTexture();
    const int units = getInt(GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS);
    program->enable();
    for (int unit = 1; unit < units; ++unit)
        ASSERT_EQ(program->bindSampler("name" + std::to_string(unit), &texture, nullptr, false), unit);
    EXPECT_EQ(program->numImages(), units - 1);
    EXPECT_EQ(program->bindSampler("a", &texture, nullptr, true), -1);
    EXPECT_EQ(takeErrors(), error("Cannot bind texture to shader: Out of texture units."));
    program->setArgument("list", std::vector<const Texture*>{&texture});
    EXPECT_EQ(takeErrors(), error("Cannot bind texture to shader: Out of texture units."));
    EXPECT_EQ(uniformInt(*program, "list[0]"), 0);
    EXPECT_EQ(program->bindSampler("name7", &texture, nullptr, true), 7);
    program->unbindSamplers("name9");
    EXPECT_EQ(program->bindSampler("a", &texture, nullptr, true), 9);
    EXPECT_EQ(program->bindSampler("a", nullptr, nullptr, true), -1);
    EXPECT_EQ(takeErrors(), error("Cannot bind texture to shader: No texture for 'a'."));
    program->unbindImages(true);
    program->disable();
}

TEST_F(ProgramArgumentsGL, ImagesAndBuffersNeedTheirVersions) {
    const auto program = makeTextured();
    const Texture texture = makeTexture();
    ShaderStorageBuffer buffer(Buffer::Usage::DynamicCopy);
    program->enable();
    if (!hasVersion(4, 2)) {
        EXPECT_FALSE(program->bindImage("image", texture, Program::ImageAccess::ReadWrite));
        EXPECT_EQ(takeErrors(), error("Cannot bind image to shader: Out of image units."));
    }
    if (!hasVersion(4, 3)) {
        // The buffer itself is an error there, which not every driver reports.
        (void)log().take("GL.ShaderStorageBuffer");
        (void)glGetError();
        EXPECT_FALSE(program->bindBuffer("Result", buffer));
        EXPECT_EQ(takeErrors(), error("Cannot bind buffer to shader: Out of binding points."));
    } else {
        EXPECT_FALSE(program->bindBuffer("None", buffer));
        EXPECT_EQ(takeErrors(), error("Could not locate GLSL resource with name 'None'."));
        ShaderStorageBuffer::unbind();
    }
    const ScopedEntryPoint none(glad_glDispatchCompute, nullptr);
    program->dispatchCompute(1, 1, 1);
    EXPECT_EQ(takeErrors(), error("Cannot dispatch compute shader: OpenGL 4.3 is needed."));
    program->disable();
}

TEST_F(ProgramArgumentsGL, ComputeWritesToBuffersAndImages) {
    if (!hasVersion(4, 3))
        GTEST_SKIP() << "compute shaders need OpenGL 4.3";
    const auto program = Program::createCompute("T/compute", "", Compilation::ImmediateThrow);
    const Texture texture = makeTexture();
    const Texture volume = makeVolume();
    ShaderStorageBuffer buffer(Buffer::Usage::DynamicCopy);
    buffer.bind();
    glBufferData(GL_SHADER_STORAGE_BUFFER, 24, nullptr, GL_DYNAMIC_COPY);
    program->enable();
    ASSERT_TRUE(program->bindBuffer("Result", buffer));
    ASSERT_TRUE(program->bindBuffer("Result", buffer)); // finds its binding point again
    ASSERT_TRUE(program->bindImage("plane", texture, Program::ImageAccess::WriteOnly));
    ASSERT_TRUE(program->bindImage("deep", volume, Program::ImageAccess::ReadWrite));
    ASSERT_TRUE(program->bindImage("plane", texture, Program::ImageAccess::WriteOnly));
    EXPECT_EQ(getIntIndexed(GL_SHADER_STORAGE_BUFFER_BINDING, 0), static_cast<int>(buffer.id()));
    EXPECT_EQ(getIntIndexed(GL_SHADER_STORAGE_BUFFER_BINDING, 1), 0);
    const Texture* const images[] = {&texture, &volume};
    for (GLuint unit = 0; unit < 2; ++unit) {
        EXPECT_EQ(getIntIndexed(GL_IMAGE_BINDING_NAME, unit), nameOf(*images[unit]));
        EXPECT_EQ(getIntIndexed(GL_IMAGE_BINDING_LAYERED, unit), static_cast<int>(unit));
        EXPECT_EQ(getIntIndexed(GL_IMAGE_BINDING_FORMAT, unit), GL_RGBA8);
        EXPECT_EQ(getIntIndexed(GL_IMAGE_BINDING_ACCESS, unit), unit == 0 ? GL_WRITE_ONLY : GL_READ_WRITE);
    }
    EXPECT_EQ(uniformInt(*program, "deep"), 1);

    program->dispatchCompute(Eigen::Vector3i(3, 1, 1));
    memoryBarrier(Barrier::All);
    std::vector<GLuint> result(6);
    glGetBufferSubData(GL_SHADER_STORAGE_BUFFER, 0, 24, result.data());
    EXPECT_EQ(result, (std::vector<GLuint>{7, 8, 9, 10, 11, 12}));

    // The units are handed out anew after compiling.
    EXPECT_TRUE(program->setExpandDefines(true, Compilation::Immediate));
    EXPECT_TRUE(program->bindImage("deep", volume, Program::ImageAccess::ReadOnly));
    EXPECT_EQ(uniformInt(*program, "deep"), 0);
    for (int unit = 1; unit < getInt(GL_MAX_IMAGE_UNITS); ++unit)
        ASSERT_TRUE(program->bindImage("x" + std::to_string(unit), texture, Program::ImageAccess::ReadOnly));
    EXPECT_FALSE(program->bindImage("plane", texture, Program::ImageAccess::ReadOnly));
    EXPECT_EQ(takeErrors(), error("Cannot bind image to shader: Out of image units."));
    ShaderStorageBuffer::unbind();
    program->disable();
}

TEST_F(ProgramArgumentsGL, RunningOutOfBindingPointsIsReported) {
    if (!hasVersion(4, 3))
        GTEST_SKIP() << "shader storage buffers need OpenGL 4.3";
    const auto program = Program::createCompute("T/compute", "", Compilation::ImmediateThrow);
    std::vector<std::unique_ptr<ShaderStorageBuffer>> buffers;
    const int points = getInt(GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS);
    for (int i = 0; i <= points; ++i)
        buffers.push_back(std::make_unique<ShaderStorageBuffer>(Buffer::Usage::DynamicCopy));
    for (int i = 0; i < points; ++i)
        ASSERT_TRUE(program->bindBuffer("Result", *buffers[static_cast<std::size_t>(i)])) << i;
    EXPECT_FALSE(program->bindBuffer("Result", *buffers.back()));
    EXPECT_EQ(takeErrors(), error("Cannot bind buffer to shader: Out of binding points."));
    program->unbindBuffers();
    EXPECT_TRUE(program->bindBuffer("Result", *buffers.back()));
    ShaderStorageBuffer::unbind();
}

} // namespace Veltrand::GL
