// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>

namespace Veltrand::GL {

namespace {

using Stage = Program::Stage;

class ProgramArgumentsGL : public Testing::GLFixture {
protected:
    ProgramArgumentsGL()
        : m_files("T", {{"compute", R"(#version 430
layout(local_size_x = 2) in;
layout(std430) buffer Result { uint result[]; };
layout(rgba8) uniform writeonly image2D plane;
layout(rgba8) uniform writeonly image3D deep;
void main() {
    result[gl_GlobalInvocationID.x] = gl_GlobalInvocationID.x + 10u * gl_NumWorkGroups.y + 100u * gl_NumWorkGroups.z;
    imageStore(plane, ivec2(0), vec4(1));
    imageStore(deep, ivec3(0), vec4(1));
})"}}) {}

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

    // Hands over a value and a list of two of a type, and reads them back.
    // @param component leads to the first number of a value in GLSL
    template<class T>
    void expectRoundTrip(const std::string& type, const std::string& component) {
        SCOPED_TRACE(type);
        const auto program = make("uniform " + type + " s; uniform " + type + " v[2];",
                                  "s" + component + " + v[1]" + component);
        std::array<T, 2> values;
        std::array<std::vector<float>, 2> expected;
        for (float number = 1; const std::size_t i : {0U, 1U})
            for (auto& place : numbers(values[i])) {
                expected[i].push_back(number);
                place = static_cast<std::remove_reference_t<decltype(place)>>(number++);
            }
        program->enable();
        program->setArgument("s", values[1]);
        program->setArgument("v", std::vector<T>(values.begin(), values.end()));
        for (const auto& [name, i] : {std::pair("s", 1U), {"v[0]", 0U}, {"v[1]", 1U}}) {
            std::vector<float> read(expected[i].size());
            glGetUniformfv(program->id(), program->loc(name), read.data());
            EXPECT_EQ(read, expected[i]) << name;
        }
        program->disable();
    }
    template<class T>
    static auto numbers(T& value) {
        if constexpr (std::is_arithmetic_v<T>)
            return std::span(&value, 1);
        else
            return std::span(value.data(), static_cast<std::size_t>(value.size()));
    }

    [[nodiscard]] bool takeError(const std::string& text) { return log().takeLine({4, "GL.Program", text}); }

    Testing::MapRepository m_files;
};

// The 2D and 3D texture and the sampler that are bound to a texture unit.
using Unit = std::array<int, 3>;

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

template<class T>
concept Accepted = requires(Program& program, const T& value) {
    program.setArgument("x", value);
};

static_assert(Accepted<bool> && Accepted<Texture*> && Accepted<std::vector<Eigen::Matrix4d>>);
static_assert(!Accepted<std::vector<bool>> && !Accepted<std::vector<double>> && !Accepted<long>);
static_assert(!Accepted<const char*> && !Accepted<std::vector<Texture*>>);

} // namespace

TEST_F(ProgramArgumentsGL, UniformsOfEveryTypeArrive) {
    expectRoundTrip<int>("int", "");
    expectRoundTrip<unsigned int>("uint", "");
    expectRoundTrip<float>("float", "");
    expectRoundTrip<Eigen::Vector2i>("ivec2", "[0]");
    expectRoundTrip<Eigen::Vector3i>("ivec3", "[0]");
    expectRoundTrip<Eigen::Vector4i>("ivec4", "[0]");
    expectRoundTrip<Eigen::Vector2f>("vec2", "[0]");
    expectRoundTrip<Eigen::Vector3f>("vec3", "[0]");
    expectRoundTrip<Eigen::Vector4f>("vec4", "[0]");
    expectRoundTrip<Eigen::Matrix2f>("mat2", "[0][0]");
    expectRoundTrip<Eigen::Matrix3f>("mat3", "[0][0]");
    expectRoundTrip<Eigen::Matrix4f>("mat4", "[0][0]");
    expectRoundTrip<Eigen::Matrix4d>("mat4", "[0][0]");

    const auto program = make("uniform bool b; uniform float f;", "float(b) + f");
    program->enable();
    program->setArgument("b", true);
    program->setArgument("f", 0.25);
    program->setArgument("f", std::vector<float>{}); // changes nothing
    program->setArgument("unknown", 1);
    EXPECT_EQ(uniformInt(*program, "b"), 1);
    float value = 0;
    glGetUniformfv(program->id(), program->loc("f"), &value);
    EXPECT_EQ(value, 0.25F);
    EXPECT_FALSE(program->checkForUnititializedUniforms());
    program->disable();
}

TEST_F(ProgramArgumentsGL, EachNameKeepsATextureUnitOfItsOwn) {
    const auto program = makeTextured();
    const Texture first = makeTexture();
    const Texture second = makeTexture();
    const Sampler sampler;
    const int samplerName = static_cast<int>(sampler.id());
    program->enable();
    program->setArgument("a", first);
    program->setArgument("b", second, sampler);
    EXPECT_EQ(uniformInt(*program, "b"), 2);
    EXPECT_EQ(readUnit(1), (Unit{nameOf(first), 0, 0}));
    EXPECT_EQ(readUnit(2), (Unit{nameOf(second), 0, samplerName}));
    program->setArgument("b", static_cast<const Texture*>(&first));
    EXPECT_EQ(readUnit(2), (Unit{nameOf(first), 0, 0}));

    program->setArgument("list", std::vector<const Texture*>{&first, &second, &first}, sampler);
    EXPECT_EQ(uniformInt(*program, "list[2]"), 5);
    EXPECT_EQ(readUnit(4), (Unit{nameOf(second), 0, samplerName}));
    EXPECT_EQ(program->numImages(), 5);
    program->unbindSamplers("a");
    program->setArgument("list", std::vector<const Texture*>{&second, &first});
    EXPECT_EQ(readUnit(1), (Unit{nameOf(second), 0, 0}));
    EXPECT_EQ(readUnit(3), (Unit{nameOf(first), 0, 0}));
    EXPECT_EQ(readUnit(4), Unit{});
    {
        const Texture gone = makeVolume();
        EXPECT_EQ(program->bindSampler("volume", &gone, nullptr, true), 4);
    }
    program->unbindSamplers("volume"); // must not read the texture
    const Texture volume = makeVolume();
    EXPECT_EQ(program->bindSampler("volume", &volume, nullptr, true), 4);
    program->unbindImages(false);
    EXPECT_EQ(program->numImages(), 4);
    program->unbindImages(true);
    for (int unit = 1; unit <= 5; ++unit)
        EXPECT_EQ(readUnit(unit), Unit{}) << unit;
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
    EXPECT_TRUE(takeError("Cannot bind texture to shader: Out of texture units."));
    program->unbindSamplers("name9");
    EXPECT_EQ(program->bindSampler("a", &texture, nullptr, true), 9);
    EXPECT_EQ(program->bindSampler("a", nullptr, nullptr, true), -1);
    EXPECT_TRUE(takeError("Cannot bind texture to shader: No texture for 'a'."));
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
        EXPECT_TRUE(takeError("Cannot bind image to shader: Out of image units."));
    }
    if (!hasVersion(4, 3)) {
        // The buffer itself is an error there, which not every driver reports.
        (void)log().take("GL.ShaderStorageBuffer");
        (void)glGetError();
        EXPECT_FALSE(program->bindBuffer("Result", buffer));
        EXPECT_TRUE(takeError("Cannot bind buffer to shader: Out of binding points."));
    } else {
        EXPECT_FALSE(program->bindBuffer("None", buffer));
        EXPECT_TRUE(takeError("Could not locate GLSL resource with name 'None'."));
        ShaderStorageBuffer::unbind();
    }
    const Testing::ScopedEntryPoint none(glad_glDispatchCompute, nullptr);
    program->dispatchCompute(1, 1, 1);
    EXPECT_TRUE(takeError("Cannot dispatch compute shader: OpenGL 4.3 is needed."));
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
    const auto second = getIntIndexed(GL_SHADER_STORAGE_BUFFER_BINDING, 1); // of whoever came before
    program->enable();
    ASSERT_TRUE(program->bindBuffer("Result", buffer));
    ASSERT_TRUE(program->bindBuffer("Result", buffer)); // finds its binding point again
    ASSERT_TRUE(program->bindImage("plane", texture, Program::ImageAccess::WriteOnly));
    ASSERT_TRUE(program->bindImage("deep", volume, Program::ImageAccess::ReadWrite));
    ASSERT_TRUE(program->bindImage("plane", texture, Program::ImageAccess::WriteOnly));
    EXPECT_EQ(getIntIndexed(GL_SHADER_STORAGE_BUFFER_BINDING, 1), second);
    EXPECT_EQ(getIntIndexed(GL_IMAGE_BINDING_NAME, 1), nameOf(volume));
    EXPECT_EQ(getIntIndexed(GL_IMAGE_BINDING_ACCESS, 0), GL_WRITE_ONLY);
    EXPECT_EQ(uniformInt(*program, "deep"), 1);
    using Target = Texture::Target;
    for (const auto& [target, size, layered] : {std::tuple(Target::Texture3D, Eigen::Vector3i(4, 4, 2), 1),
                                                {Target::Texture3D, {4, 4, 1}, 0},
                                                {Target::Texture2DArray, {4, 4, 2}, 1},
                                                {Target::Texture1DArray, {4, 2, 1}, 1},
                                                {Target::Texture1DArray, {4, 1, 1}, 0},
                                                {Target::TextureCubeMap, {4, 4, 1}, 1},
                                                {Target::Texture2D, {4, 4, 1}, 0}}) {
        const Texture any(target, size, InternalFormat::RGBA8);
        ASSERT_TRUE(program->bindImage("deep", any, Program::ImageAccess::ReadWrite));
        EXPECT_EQ(getIntIndexed(GL_IMAGE_BINDING_LAYERED, 1), layered) << int(target) << ' ' << size;
    }
    ASSERT_TRUE(program->bindImage("deep", volume, Program::ImageAccess::ReadWrite));

    program->dispatchCompute(Eigen::Vector3i(3, 1, 2));
    memoryBarrier(Barrier::All);
    std::vector<GLuint> result(6);
    glGetBufferSubData(GL_SHADER_STORAGE_BUFFER, 0, 24, result.data());
    EXPECT_EQ(result, (std::vector<GLuint>{210, 211, 212, 213, 214, 215}));

    // The units are handed out anew after compiling.
    EXPECT_TRUE(program->setExpandDefines(true, Compilation::Immediate));
    EXPECT_TRUE(program->bindImage("deep", volume, Program::ImageAccess::ReadOnly));
    EXPECT_EQ(uniformInt(*program, "deep"), 0);
    for (int unit = 1; unit < getInt(GL_MAX_IMAGE_UNITS); ++unit)
        ASSERT_TRUE(program->bindImage("x" + std::to_string(unit), texture, Program::ImageAccess::ReadOnly));
    EXPECT_FALSE(program->bindImage("plane", texture, Program::ImageAccess::ReadOnly));
    EXPECT_TRUE(takeError("Cannot bind image to shader: Out of image units."));
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
    EXPECT_TRUE(takeError("Cannot bind buffer to shader: Out of binding points."));
    program->unbindBuffers();
    EXPECT_TRUE(program->bindBuffer("Result", *buffers.back()));
    ShaderStorageBuffer::unbind();
}

} // namespace Veltrand::GL
