// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <glad/gl.h>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr int width = 1024;
constexpr int height = 768;
constexpr double lineWidth = 5;

// A curve that crosses the whole picture many times; more points make its segments shorter.
std::vector<Eigen::Vector3d> createCurve(std::int64_t numPoints) {
    std::vector<Eigen::Vector3d> points(static_cast<std::size_t>(numPoints));
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double t = 6.283 * static_cast<double>(i) / static_cast<double>(points.size());
        points[i] = {width * (0.5 + 0.48 * std::sin(13 * t)), height * (0.5 + 0.48 * std::cos(11 * t)), 0};
    }
    return points;
}

// Segments of all lengths to and fro, so that pixels outweigh vertices.
std::vector<Eigen::Vector3d> createZigzag(std::int64_t numPoints) {
    std::vector<Eigen::Vector3d> points(static_cast<std::size_t>(numPoints));
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = {static_cast<double>(i * 7919 % width), static_cast<double>(i * 104729 % height), 0};
    return points;
}

std::vector<Eigen::Vector3d> createPoints(const benchmark::State& state) {
    return state.range(1) != 0 ? createZigzag(state.range(0)) : createCurve(state.range(0));
}

class Picture {
public:
    Picture()
        : m_guard(StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport)
        , m_color(Texture::Target::Texture2D, {width, height, 1}, InternalFormat::RGBA8) {
        m_framebuffer.bind();
        m_framebuffer.attach(m_color, 0);
        m_framebuffer.setDrawBuffers();
        glViewport(0, 0, width, height);
    }

private:
    StateGuard m_guard;
    Texture m_color;
    Framebuffer m_framebuffer;
};

constexpr const char* floorVertex = R"(#version 330
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 previous;
layout(location = 2) in vec3 next;
uniform mat4 matrix;
void main() {
    bool start = (gl_VertexID & 2) != 0;
    vec4 here = matrix * vec4(position, 1.0);
    vec4 there = matrix * vec4(start ? next : previous, 1.0);
    vec2 size = vec2(1024.0, 768.0);
    vec2 direction = normalize((there.xy / there.w - here.xy / here.w) * size + 1e-9) * (start ? 1.0 : -1.0);
    vec2 normal = vec2(-direction.y, direction.x) * ((gl_VertexID & 1) == 0 ? 5.0 : -5.0);
    gl_Position = here + vec4(normal / size * here.w, 0.0, 0.0);
})";
constexpr const char* floorFragment = R"(#version 330
uniform vec4 lineColor;
layout(location = 0) out vec4 color;
void main() { color = lineColor; })";

GLuint createFloorProgram() {
    const GLuint program = glCreateProgram();
    for (const auto& [stage, source] : {std::pair{GLenum{GL_VERTEX_SHADER}, floorVertex},
                                        std::pair{GLenum{GL_FRAGMENT_SHADER}, floorFragment}}) {
        const GLuint shader = glCreateShader(stage);
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        glAttachShader(program, shader);
        glDeleteShader(shader);
    }
    glLinkProgram(program);
    return program;
}

void stripFloor(benchmark::State& state) {
    const Picture picture;
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    static_cast<void>(LineRenderer::makeVertexData(createPoints(state), Primitive::LineStrip, buffer));
    const auto numVertices = static_cast<GLsizei>(buffer.numVertices());
    const GLuint program = createFloorProgram();
    GLuint vertexArray = 0;
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);
    buffer.bind();
    for (GLuint i = 0; i < 3; ++i) {
        glEnableVertexAttribArray(i);
        glVertexAttribPointer(i, 3, GL_FLOAT, GL_FALSE, 0,
                              static_cast<const char*>(nullptr) + std::ptrdiff_t{12} * numVertices * i);
    }
    if (state.range(2) != 0) {
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    }
    const Eigen::Matrix4f matrix = createOrtho2d(width, height).cast<float>();
    for (auto _ : state) {
        glUseProgram(program);
        glUniformMatrix4fv(glGetUniformLocation(program, "matrix"), 1, GL_FALSE, matrix.data());
        glUniform4f(glGetUniformLocation(program, "lineColor"), 1.0F, 0.5F, 0.0F, 1.0F);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, numVertices);
        glFinish();
    }
    glDisable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ZERO);
    glUseProgram(0);
    glBindVertexArray(0);
    glDeleteVertexArrays(1, &vertexArray);
    glDeleteProgram(program);
}
BENCHMARK(stripFloor)
    ->Name("lineStrip/Floor")
    ->ArgNames({"points", "zigzag", "blended"})
    ->ArgsProduct({{1000, 10000, 100000}, {0}, {0, 1}})
    ->ArgsProduct({{1000}, {1}, {0, 1}})
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void strip(benchmark::State& state) {
    const Picture picture;
    const bool blended = state.range(2) != 0;
    const bool stippled = state.range(3) != 0;
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    static_cast<void>(LineRenderer::makeVertexData(createPoints(state), Primitive::LineStrip, buffer));
    const ViewState view({0, 0, width, height}, createOrtho2d(width, height), Eigen::Matrix4d::Identity());
    const LineRenderer::Options options(Eigen::Vector3d(1, 0.5, 0), lineWidth, Eigen::Matrix4d::Identity(),
                                        stippled ? 0x0F0F : 0xFFFF, 2);
    if (blended) {
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    }
    for (auto _ : state) {
        LineRenderer::get()->render(buffer, Primitive::LineStrip, options, view);
        glFinish();
    }
    glDisable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ZERO);
}
BENCHMARK(strip)
    ->Name("lineStrip")
    ->ArgNames({"points", "zigzag", "blended", "stippled"})
    ->ArgsProduct({{1000, 10000, 100000}, {0}, {0, 1}, {0, 1}})
    ->ArgsProduct({{1000}, {1}, {0, 1}, {0, 1}})
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// Writes the same bytes in one loop.
void vertexDataFloor(benchmark::State& state) {
    const std::vector<Eigen::Vector3d> points = createCurve(state.range(0));
    const std::size_t last = points.size() - 1;
    VertexBuffer buffer(Buffer::Usage::DynamicDraw);
    for (auto _ : state) {
        std::vector<Eigen::Vector3f> positions(4 * points.size());
        std::vector<Eigen::Vector3f> previous(positions.size());
        std::vector<Eigen::Vector3f> next(positions.size());
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const std::size_t point = i / 4;
            positions[i] = points[point].cast<float>();
            previous[i] = points[point > 0 ? point - 1 : 0].cast<float>();
            next[i] = points[std::min(point + 1, last)].cast<float>();
        }
        buffer.bind();
        buffer.setData(positions, previous, next);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 4 * 36);
}
BENCHMARK(vertexDataFloor)
    ->Name("lineVertexData/Floor")
    ->Arg(1000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

void vertexData(benchmark::State& state) {
    const std::vector<Eigen::Vector3d> points = createCurve(state.range(0));
    VertexBuffer buffer(Buffer::Usage::DynamicDraw);
    for (auto _ : state)
        benchmark::DoNotOptimize(LineRenderer::makeVertexData(points, Primitive::LineStrip, buffer));
    state.SetBytesProcessed(state.iterations() * state.range(0) * 4 * 36);
}
BENCHMARK(vertexData)->Name("lineVertexData")->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace Veltrand::GL
