// SPDX-License-Identifier: BSD-3-Clause
#include "RatioReporter.h"
#include "tests/support/CallCounter.h"
#include "tests/support/MapRepository.h"

#include <Veltrand/GL/AbstractInclude.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/ProgramCache.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <Eigen/Core>
#include <benchmark/benchmark.h>
#include <glad/gl.h>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

Testing::MapRepository createShaders() {
    Testing::MapRepository::Files files;
    files["plain.vert"] = "#version 330\n"
                          "layout(location = 0) in vec2 position;\n"
                          "uniform vec4 offset;\n"
                          "void main() { gl_Position = vec4(position, 0, 1) + offset; }\n";
    files["plain.frag"] = "#version 330\n"
                          "out vec4 color;\n"
                          "void main() { color = vec4(1); }\n";
    std::string main = "#version 330\n";
    for (int file = 0; file < 16; ++file) {
        const std::string name = "part" + std::to_string(file) + ".glh";
        std::string& text = files[name];
        for (int line = 0; line < 1000; ++line)
            text += "float value" + std::to_string(line) + "(vec3 p) { return texture(volume, p).r; }\n";
        main += "#pragma include \"Bench/" + name + "\"\n";
    }
    files["large.frag"] = main;
    return {"Bench", std::move(files)};
}

std::unique_ptr<Program> createProgram() {
    return Program::createVertexFragment("Bench/plain.vert", "Bench/plain.frag", "",
                                         Program::Compilation::ImmediateThrow);
}

void assembly(benchmark::State& state) {
    const Testing::MapRepository shaders = createShaders();
    Program::ShaderInfo info;
    info.stage = Program::Stage::Fragment;
    info.name = "Bench/large.frag";
    std::int64_t bytes = 0;
    for (auto _ : state) {
        const std::string source = Program::loadShaderSource(info, false, {}, "", {});
        bytes += static_cast<std::int64_t>(source.size());
        benchmark::DoNotOptimize(source.data());
    }
    state.SetBytesProcessed(bytes);
}
BENCHMARK(assembly)->Name("shaderAssembly");

// Counts every entry point that Program and ProgramCache make and compile programs with.
class ProgramCalls {
public:
    [[nodiscard]] int take() {
        return std::apply([](auto&... counters) { return (counters.take() + ...); }, m_counters);
    }

private:
    template<auto&... slots>
    using Counters = std::tuple<Testing::CallCounter<slots>...>;
    Counters<glad_glAttachShader, glad_glCompileShader, glad_glCreateProgram, glad_glCreateShader,
             glad_glDeleteProgram, glad_glDeleteShader, glad_glDetachShader, glad_glGetProgramiv,
             glad_glGetShaderiv, glad_glLinkProgram, glad_glShaderSource, glad_glUseProgram>
        m_counters;
};

// What makes no OpenGL call has no floor; the calls are counted apart from the timing, which they would slow.
template<class Work>
void timeWithoutCalls(benchmark::State& state, Work&& work) {
    work();
    {
        ProgramCalls calls;
        work();
        state.counters["OpenGL calls"] = calls.take();
    }
    for (auto _ : state)
        work();
}

void cacheHit(benchmark::State& state) {
    const Testing::MapRepository shaders = createShaders();
    const AbstractInclude transfer("TRANSFER_FUNCTION", "Bench/transfer.glh");
    const AbstractInclude lookup("MASK_LOOKUP_FUNCTION", "Bench/mask.glh");
    const AbstractInclude shading("SURFACE_SHADING", "Bench/shading.glh");
    ProgramCache cache(createProgram(), 10);
    const std::vector<const AbstractInclude*> includes{&transfer, &lookup, &shading};
    const std::string defines = "#define WITH_GRADIENT\n#define NUM_SAMPLES 4\n";
    timeWithoutCalls(state, [&] { benchmark::DoNotOptimize(cache.getProgram(includes, defines)); });
}
BENCHMARK(cacheHit)->Name("programCacheHit");
const TimeLimit cacheHitLimit("programCacheHit", 1e-6);

void setDefinesAgain(benchmark::State& state) {
    const Testing::MapRepository shaders = createShaders();
    const auto program = createProgram();
    const std::string defines = "#define WITH_GRADIENT\n#define NUM_SAMPLES 4\n";
    timeWithoutCalls(state, [&] {
        benchmark::DoNotOptimize(program->setDefines(defines, Program::Compilation::ImmediateThrow));
    });
}
BENCHMARK(setDefinesAgain)->Name("setDefinesAgain");

void setArgumentFloor(benchmark::State& state) {
    const Testing::MapRepository shaders = createShaders();
    const auto program = createProgram();
    program->enable();
    const Eigen::Vector4f value(0, 0, 0, 0);
    for (auto _ : state)
        glUniform4fv(glGetUniformLocation(program->id(), "offset"), 1, value.data());
    program->disable();
}
BENCHMARK(setArgumentFloor)->Name("setArgument/Floor");

void setArgument(benchmark::State& state) {
    const Testing::MapRepository shaders = createShaders();
    const auto program = createProgram();
    program->enable();
    const Eigen::Vector4f value(0, 0, 0, 0);
    const std::string name = "offset";
    for (auto _ : state)
        program->setArgument(name, value);
    program->disable();
}
BENCHMARK(setArgument)->Name("setArgument");

// Both draw three vertices outside the view, so that the calls are measured and not the rasteriser. The floor
// describes the attribute anew for each draw, as a vertex array object shared by many buffers has to.
constexpr float outside = 5;

void drawFloor(benchmark::State& state) {
    const Testing::MapRepository shaders = createShaders();
    const auto program = createProgram();
    program->enable();
    const std::vector<float> positions(6, outside);
    GLuint array = 0;
    GLuint buffer = 0;
    glGenVertexArrays(1, &array);
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, 24, positions.data(), GL_STATIC_DRAW);
    for (auto _ : state) {
        glBindVertexArray(array);
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 8, nullptr);
        glDrawArrays(GL_TRIANGLES, 0, 3);
        glBindVertexArray(0);
    }
    glFinish();
    glDeleteBuffers(1, &buffer);
    glDeleteVertexArrays(1, &array);
    program->disable();
}
BENCHMARK(drawFloor)->Name("draw/Floor");

void draw(benchmark::State& state) {
    const Testing::MapRepository shaders = createShaders();
    const auto program = createProgram();
    program->enable();
    const std::vector<Eigen::Vector2f> positions(3, Eigen::Vector2f(outside, outside));
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    buffer.setData(positions);
    for (auto _ : state)
        buffer.draw(Primitive::Triangles);
    glFinish();
    program->disable();
}
BENCHMARK(draw)->Name("draw");

} // namespace

} // namespace Veltrand::GL
