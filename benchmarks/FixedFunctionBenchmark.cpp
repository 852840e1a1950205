// SPDX-License-Identifier: BSD-3-Clause
#include "RawProgram.h"

#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Core>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <glad/gl.h>
#include <string>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

using Selection = FixedFunctionPipeline::ShaderSelection;

constexpr int edge = 512;
constexpr int columns = 100;
constexpr int numVertices = columns * 100;

// What is drawn with the 10,000 vertices; everything is coloured, and the texture is an image of 64 x 64.
enum Kind { Points, Triangles, TexturedTriangles, Lines };
constexpr const char* kindNames[] = {"points", "triangles", "texturedTriangles", "lines"};

struct Vertices {
    std::vector<Eigen::Vector3f> positions;
    std::vector<Eigen::Vector2f> texCoords;
    std::vector<Eigen::Vector4f> colors;
};

// A triangle strip in rows over the view, whose vertices serve the other primitives too.
Vertices makeVertices() {
    Vertices vertices;
    for (int i = 0; i < numVertices; ++i) {
        const int column = i % columns / 2;
        const int row = i / columns + i % 2;
        const float x = static_cast<float>(column) / (0.5F * columns - 1);
        const float y = static_cast<float>(row) / columns;
        vertices.positions.emplace_back(2 * x - 1, 2 * y - 1, 0);
        vertices.texCoords.emplace_back(x, y);
        vertices.colors.emplace_back(x, y, 1 - x, 1);
    }
    return vertices;
}

Primitive primitive(Kind kind) {
    if (kind == Points)
        return Primitive::Points;
    return kind == Lines ? Primitive::LineStrip : Primitive::TriangleStrip;
}

// The target and the texture of both.
class Setting {
public:
    Setting() {
        m_image.upload(
            std::vector<Eigen::Vector4f>(std::size_t{64} * 64, Eigen::Vector4f(0.5F, 0.7F, 0.9F, 1)));
        m_framebuffer.bind();
        m_framebuffer.attach(m_target, 0);
        m_framebuffer.setDrawBuffers();
        glViewport(0, 0, edge, edge);
        clearColorBuffer(Eigen::Vector4f::Zero());
    }
    ~Setting() { Framebuffer::unbind(); }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;

    [[nodiscard]] const Texture& image() const { return m_image; }
    // To the unit of the special program and to those of the general one.
    void bind(bool textured) const {
        m_image.bind(0);
        m_line.bind(1);
        (textured ? m_image : m_texel).bind(2);
        m_box.bind(3);
    }

private:
    static Texture placeholder(Texture::Target target) {
        Texture texture(target, Eigen::Vector3i::Ones(), InternalFormat::R8);
        texture.setFiltering(Sampler::MinFilter::Nearest, Sampler::MagFilter::Nearest);
        return texture;
    }

    Texture m_line = placeholder(Texture::Target::Texture1D);
    Texture m_texel = placeholder(Texture::Target::Texture2D);
    Texture m_box = placeholder(Texture::Target::Texture3D);
    Texture m_image{Eigen::Vector3i(64, 64, 1), InternalFormat::RGBA8};
    Texture m_target{Eigen::Vector3i(edge, edge, 1), InternalFormat::RGBA8};
    Framebuffer m_framebuffer;
};

using Stages = std::vector<std::pair<GLenum, std::string>>;

// The same shaders, used by hand.
Stages sameStages(bool) {
    const auto source = [](Program::Stage stage, const char* name) {
        Program::ShaderInfo shader;
        shader.stage = stage;
        shader.name = name;
        return Program::loadShaderSource(shader, false, {}, "", {});
    };
    return {{GL_VERTEX_SHADER, source(Program::Stage::Vertex, "VeltrandGL/FixedFunctionPipeline.vert")},
            {GL_FRAGMENT_SHADER, source(Program::Stage::Fragment, "VeltrandGL/FixedFunctionPipeline.frag")}};
}

// Shaders that can do what is drawn and nothing else.
Stages specialStages(bool textured) {
    return {{GL_VERTEX_SHADER, "#version 330\n"
                               "layout(location = 0) in vec3 position;\n"
                               "layout(location = 1) in vec2 texCoord;\n"
                               "layout(location = 2) in vec4 color;\n"
                               "uniform mat4 u_projectionMatrix, u_viewMatrix, u_modelMatrix;\n"
                               "out vec4 v_color;\nout vec2 v_texCoord;\n"
                               "void main() {\n"
                               "    gl_Position = u_projectionMatrix * (u_viewMatrix *\n"
                               "                  (u_modelMatrix * vec4(position, 1)));\n"
                               "    gl_PointSize = 1.0;\n"
                               "    v_color = color;\n    v_texCoord = texCoord;\n}\n"},
            {GL_FRAGMENT_SHADER, std::string("#version 330\n"
                                             "in vec4 v_color;\nin vec2 v_texCoord;\n"
                                             "uniform sampler2D image;\nout vec4 color;\n"
                                             "void main() { color = v_color") +
                                     (textured ? " * texture(image, v_texCoord)" : "") + "; }\n"}};
}

// Describes the vertices once, as plain code would, and draws them with a program of the caller's stages.
void drawByHand(benchmark::State& state, Stages (*stages)(bool textured)) {
    const auto kind = static_cast<Kind>(state.range(0));
    state.SetLabel(kindNames[kind]);
    const Setting setting;
    const Vertices vertices = makeVertices();
    const bool textured = kind == TexturedTriangles;
    const RawProgram made(stages(textured));
    const GLuint program = made.id();
    glUseProgram(program);
    // What the special program has not is ignored.
    glUniform1i(glGetUniformLocation(program, "u_tex1d"), 1);
    glUniform1i(glGetUniformLocation(program, "u_tex2d"), 2);
    glUniform1i(glGetUniformLocation(program, "u_tex3d"), 3);
    glUniform1i(glGetUniformLocation(program, "u_texType"), textured ? 2 : 0);
    GLuint array = 0;
    GLuint buffers[3];
    glGenVertexArrays(1, &array);
    glGenBuffers(3, buffers);
    glBindVertexArray(array);
    const auto describe = [&buffers](GLuint location, const auto& values) {
        glBindBuffer(GL_ARRAY_BUFFER, buffers[location]);
        const auto bytes = static_cast<GLsizeiptr>(values.size() * sizeof(values[0]));
        glBufferData(GL_ARRAY_BUFFER, bytes, values.data(), GL_STATIC_DRAW);
        glEnableVertexAttribArray(location);
        glVertexAttribPointer(location, static_cast<GLint>(values[0].size()), GL_FLOAT, GL_FALSE, 0, nullptr);
    };
    describe(0, vertices.positions);
    describe(1, vertices.texCoords);
    describe(2, vertices.colors);
    const Eigen::Matrix4f identity = Eigen::Matrix4f::Identity();
    for (auto _ : state) {
        glUseProgram(program);
        for (const char* name : {"u_projectionMatrix", "u_viewMatrix", "u_modelMatrix"})
            glUniformMatrix4fv(glGetUniformLocation(program, name), 1, GL_FALSE, identity.data());
        setting.bind(textured);
        glDrawArrays(static_cast<GLenum>(primitive(kind)), 0, numVertices);
        glUseProgram(0);
        glFinish();
    }
    glBindVertexArray(0);
    glDeleteVertexArrays(1, &array);
    glDeleteBuffers(3, buffers);
}

void floorDraw(benchmark::State& state) {
    drawByHand(state, sameStages);
}
BENCHMARK(floorDraw)
    ->Name("fixedFunction10000/Floor")
    ->DenseRange(Points, Lines)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

void specialDraw(benchmark::State& state) {
    drawByHand(state, specialStages);
}
BENCHMARK(specialDraw)
    ->Name("fixedFunction10000/Special")
    ->DenseRange(Points, Lines)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

void draw(benchmark::State& state) {
    const auto kind = static_cast<Kind>(state.range(0));
    state.SetLabel(kindNames[kind]);
    const Setting setting;
    const Vertices vertices = makeVertices();
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    buffer.setData(vertices.positions, vertices.texCoords, vertices.colors);
    const Eigen::Matrix4d identity = Eigen::Matrix4d::Identity();
    const ViewState view({0, 0, edge, edge}, identity, identity);
    FixedFunctionPipeline& pipeline = *FixedFunctionPipeline::get();
    for (auto _ : state) {
        pipeline.enable(view, Selection::Plain, nullptr);
        if (kind == TexturedTriangles)
            pipeline.enableTexturing(setting.image());
        buffer.draw(primitive(kind));
        pipeline.disable();
        finish();
    }
}
BENCHMARK(draw)
    ->Name("fixedFunction10000")
    ->DenseRange(Points, Lines)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

} // namespace

} // namespace Veltrand::GL
