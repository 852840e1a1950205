// SPDX-License-Identifier: BSD-3-Clause
#include "RatioReporter.h"
#include "RawProgram.h"

#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <array>
#include <benchmark/benchmark.h>
#include <cmath>
#include <glad/gl.h>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr int width = 1024;
constexpr int height = 768;
constexpr float lineWidth = 5;
constexpr std::size_t copies = 4; // vertices per point

using Points = std::vector<Eigen::Vector3d>;

// A curve with segments of some sixteen pixels, however many there are.
Points createCurve(std::int64_t numPoints) {
    Points points(static_cast<std::size_t>(numPoints));
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double t = 0.016 * static_cast<double>(i);
        points[i] = {width * (0.5 + 0.48 * std::sin(2 * t)), height * (0.5 + 0.48 * std::sin(2.17 * t + 1)),
                     0};
    }
    return points;
}

// A target, and whether what is drawn is blended.
class Canvas {
public:
    explicit Canvas(bool blended)
        : m_guard(StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport)
        , m_color(Texture::Target::Texture2D, {width, height, 1}, InternalFormat::RGBA8) {
        m_framebuffer.bind();
        m_framebuffer.attach(m_color, 0);
        m_framebuffer.setDrawBuffers();
        glViewport(0, 0, width, height);
        glClear(GL_COLOR_BUFFER_BIT);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        if (blended)
            glEnable(GL_BLEND);
    }
    ~Canvas() {
        glDisable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ZERO);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    // The line covers a few percent of the pixels at least.
    [[nodiscard]] const char* findError() const {
        int drawn = 0;
        for (const auto& pixel : m_color.download<Eigen::Vector4f>())
            drawn += pixel.x() > 0.9F ? 1 : 0;
        return drawn > 3000 ? nullptr : "there is no line";
    }

private:
    StateGuard m_guard;
    Texture m_color;
    Framebuffer m_framebuffer;
};

// The driver translates shaders when they are first drawn with, which is not counted.
template<class Draw>
void timeFrames(benchmark::State& state, const Canvas& canvas, Draw&& draw) {
    draw();
    if (const char* const error = canvas.findError())
        state.SkipWithError(error);
    for (auto _ : state) {
        draw();
        finish();
    }
}

ViewState createView() {
    return {{0, 0, width, height}, createOrtho2d(width, height), Eigen::Matrix4d::Identity()};
}

LineRenderer::Options createOptions(unsigned short pattern) {
    constexpr double pixelsPerBit = 2;
    return LineRenderer::Options(Eigen::Vector3d(1, 0.5, 0), double{lineWidth}, Eigen::Matrix4d::Identity(),
                                 pattern, pixelsPerBit);
}

// The same bytes as LineRenderer::makeVertexData in a plain loop.
void makeVertices(const Points& points, std::vector<Eigen::Vector3f>& vertices) {
    const std::size_t size = copies * points.size();
    vertices.resize(3 * size);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Eigen::Vector3f point = points[i].cast<float>();
        const Eigen::Vector3f previous = points[i > 0 ? i - 1 : 0].cast<float>();
        const Eigen::Vector3f next = points[i + 1 < points.size() ? i + 1 : i].cast<float>();
        for (std::size_t copy = 0; copy < copies; ++copy) {
            vertices[copies * i + copy] = point;
            vertices[size + copies * i + copy] = previous;
            vertices[2 * size + copies * i + copy] = next;
        }
    }
}

// Quads of the simplest shader: no joins, no smooth edges, no clipping.
class HandwrittenStrip {
public:
    explicit HandwrittenStrip(GLenum usage)
        : m_usage(usage)
        , m_program({{GL_VERTEX_SHADER,
                      "#version 330\n"
                      "layout(location = 0) in vec3 position;\n"
                      "layout(location = 1) in vec3 previous;\n"
                      "layout(location = 2) in vec3 next;\n"
                      "uniform mat4 matrix;\n"
                      "uniform vec2 size;\n"
                      "uniform float halfWidth;\n"
                      "void main() {\n"
                      "    bool start = (gl_VertexID & 2) != 0;\n"
                      "    vec4 here = matrix * vec4(position, 1.0);\n"
                      "    vec4 there = matrix * vec4(start ? next : previous, 1.0);\n"
                      "    vec2 along = (there.xy / there.w - here.xy / here.w) * size;\n"
                      "    along *= (start ? halfWidth : -halfWidth) / max(length(along), 1e-6);\n"
                      "    vec2 side = (gl_VertexID & 1) == 0 ? vec2(-along.y, along.x) : vec2(along.y, "
                      "-along.x);\n"
                      "    gl_Position = here + vec4(side / size * 2.0 * here.w, 0.0, 0.0);\n"
                      "}\n"},
                     {GL_FRAGMENT_SHADER, "#version 330\n"
                                          "uniform vec4 lineColor;\n"
                                          "layout(location = 0) out vec4 color;\n"
                                          "void main() { color = lineColor; }\n"}}) {
        glGenBuffers(1, &m_buffer);
        glGenVertexArrays(1, &m_vertexArray);
        const Eigen::Matrix4f matrix = createOrtho2d(width, height).cast<float>();
        glUseProgram(m_program.id());
        glUniformMatrix4fv(glGetUniformLocation(m_program.id(), "matrix"), 1, GL_FALSE, matrix.data());
        glUniform2f(glGetUniformLocation(m_program.id(), "size"), width, height);
        glUniform1f(glGetUniformLocation(m_program.id(), "halfWidth"), lineWidth / 2);
        glUniform4f(glGetUniformLocation(m_program.id(), "lineColor"), 1, 0.5F, 0, 1);
        glUseProgram(0);
    }
    ~HandwrittenStrip() {
        glDeleteVertexArrays(1, &m_vertexArray);
        glDeleteBuffers(1, &m_buffer);
    }
    HandwrittenStrip(const HandwrittenStrip&) = delete;
    HandwrittenStrip& operator=(const HandwrittenStrip&) = delete;

    void upload(const Points& points) {
        makeVertices(points, m_vertices);
        m_numVertices = static_cast<GLsizei>(copies * points.size());
        const auto bytes = static_cast<GLsizeiptr>(m_vertices.size() * sizeof(Eigen::Vector3f));
        glBindVertexArray(m_vertexArray);
        glBindBuffer(GL_ARRAY_BUFFER, m_buffer);
        glBufferData(GL_ARRAY_BUFFER, bytes, m_vertices.data(), m_usage);
        for (GLuint i = 0; i < 3; ++i) {
            glEnableVertexAttribArray(i);
            // NOLINTNEXTLINE(performance-no-int-to-ptr): offsets are passed as pointers
            const auto* const offset = reinterpret_cast<const void*>(bytes / 3 * GLintptr{i});
            glVertexAttribPointer(i, 3, GL_FLOAT, GL_FALSE, 0, offset);
        }
        glBindVertexArray(0);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
    }
    void draw() const {
        glUseProgram(m_program.id());
        glBindVertexArray(m_vertexArray);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, m_numVertices);
        glBindVertexArray(0);
        glUseProgram(0);
    }

private:
    GLenum m_usage;
    RawProgram m_program;
    GLuint m_buffer = 0;
    GLuint m_vertexArray = 0;
    GLsizei m_numVertices = 0;
    std::vector<Eigen::Vector3f> m_vertices;
};

void withArguments(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"points", "blended"})->ArgsProduct({{1000, 10'000, 100'000}, {0, 1}});
    benchmark->MeasureProcessCPUTime()->UseRealTime();
}

void stripFloor(benchmark::State& state) {
    const Canvas canvas(state.range(1) != 0);
    HandwrittenStrip strip(GL_STATIC_DRAW);
    strip.upload(createCurve(state.range(0)));
    timeFrames(state, canvas, [&] { strip.draw(); });
}
BENCHMARK(stripFloor)->Name("lineStrip/Floor")->Apply(withArguments);

void strip(benchmark::State& state, unsigned short pattern) {
    const Canvas canvas(state.range(1) != 0);
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    static_cast<void>(
        LineRenderer::makeVertexData(createCurve(state.range(0)), Primitive::LineStrip, buffer));
    const ViewState view = createView();
    const LineRenderer::Options options = createOptions(pattern);
    timeFrames(state, canvas,
               [&] { LineRenderer::get()->render(buffer, Primitive::LineStrip, options, view); });
}
BENCHMARK_CAPTURE(strip, solid, 0xFFFF)->Name("lineStrip")->Apply(withArguments);
const RatioLimit stripLimit("lineStrip", "lineStrip/Floor", 1.15);
BENCHMARK_CAPTURE(strip, stippled, 0x0F0F)->Name("lineStrip/Stippled")->Apply(withArguments);
const RatioLimit stippledLimit("lineStrip/Stippled", "lineStrip", 2);

// The driver's own wide lines, which are not joined.
void stripDriver(benchmark::State& state) {
    std::array<GLfloat, 2> widths{};
    glGetFloatv(GL_ALIASED_LINE_WIDTH_RANGE, widths.data());
    if (widths[1] < lineWidth) {
        state.SkipWithError("the driver has no wide lines");
        return;
    }
    const Canvas canvas(state.range(1) != 0);
    const RawProgram program(
        {{GL_VERTEX_SHADER, "#version 330\n"
                            "layout(location = 0) in vec3 position;\n"
                            "uniform mat4 matrix;\n"
                            "void main() { gl_Position = matrix * vec4(position, 1.0); }\n"},
         {GL_FRAGMENT_SHADER, "#version 330\n"
                              "layout(location = 0) out vec4 color;\n"
                              "void main() { color = vec4(1.0, 0.5, 0.0, 1.0); }\n"}});
    std::vector<Eigen::Vector3f> points;
    for (const Eigen::Vector3d& point : createCurve(state.range(0)))
        points.push_back(point.cast<float>());
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    buffer.setData(points);
    const Eigen::Matrix4f matrix = createOrtho2d(width, height).cast<float>();
    glLineWidth(lineWidth);
    timeFrames(state, canvas, [&] {
        glUseProgram(program.id());
        glUniformMatrix4fv(glGetUniformLocation(program.id(), "matrix"), 1, GL_FALSE, matrix.data());
        buffer.draw(Primitive::LineStrip);
        glUseProgram(0);
    });
    glLineWidth(1);
    if (glGetError() != GL_NO_ERROR)
        state.SkipWithError("the driver refuses wide lines");
}
BENCHMARK(stripDriver)->Name("lineStrip/Driver")->Apply(withArguments);
const RatioLimit driverLimit("lineStrip", "lineStrip/Driver", 1.7);

// Points that change from frame to frame.
void remadeFloor(benchmark::State& state) {
    const Canvas canvas(state.range(1) != 0);
    HandwrittenStrip strip(GL_DYNAMIC_DRAW);
    const Points points = createCurve(state.range(0));
    timeFrames(state, canvas, [&] {
        strip.upload(points);
        strip.draw();
    });
}
BENCHMARK(remadeFloor)->Name("lineStripRemade/Floor")->Apply(withArguments);

void remade(benchmark::State& state) {
    const Canvas canvas(state.range(1) != 0);
    const Points points = createCurve(state.range(0));
    const ViewState view = createView();
    const LineRenderer::Options options = createOptions(0xFFFF);
    timeFrames(state, canvas, [&] { LineRenderer::get()->renderLineStrip(points, options, view); });
}
BENCHMARK(remade)->Name("lineStripRemade")->Apply(withArguments);
const RatioLimit remadeLimit("lineStripRemade", "lineStripRemade/Floor", 1.15);

// Both allocate their memory anew and hand it to the driver.
void vertexDataFloor(benchmark::State& state) {
    const Points points = createCurve(state.range(0));
    VertexBuffer buffer(Buffer::Usage::DynamicDraw);
    for (auto _ : state) {
        std::vector<Eigen::Vector3f> vertices;
        makeVertices(points, vertices);
        buffer.bind();
        buffer.setData(vertices);
    }
    VertexBuffer::unbind();
}
BENCHMARK(vertexDataFloor)->Name("makeVertexData/Floor")->ArgName("points")->Arg(1000)->Arg(100'000);

void vertexData(benchmark::State& state) {
    const Points points = createCurve(state.range(0));
    VertexBuffer buffer(Buffer::Usage::DynamicDraw);
    for (auto _ : state)
        benchmark::DoNotOptimize(LineRenderer::makeVertexData(points, Primitive::LineStrip, buffer));
}
BENCHMARK(vertexData)->Name("makeVertexData")->ArgName("points")->Arg(1000)->Arg(100'000);
const RatioLimit vertexDataLimit("makeVertexData", "makeVertexData/Floor", 1.5);

} // namespace

} // namespace Veltrand::GL
