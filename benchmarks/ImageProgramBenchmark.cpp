// SPDX-License-Identifier: BSD-3-Clause
#include "RatioReporter.h"
#include "RawProgram.h"
#include "VolumeWork.h"
#include "tests/support/MapRepository.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <array>
#include <benchmark/benchmark.h>
#include <glad/gl.h>
#include <string>
#include <vector>

namespace Veltrand::GL {

namespace {

using VolumeWork::edge;

std::string fragmentShader(const std::string& statements) {
    return "#version 330\nuniform sampler3D volume;\nflat in int slice;\nout float result;\n"
           "void main() {\nivec3 p = ivec3(gl_FragCoord.xy, slice);\n" +
           statements + "result = value;\n}\n";
}

const Testing::MapRepository& shaders() {
    static const Testing::MapRepository repository(
        "BenchImage",
        {{"threshold.frag", fragmentShader(VolumeWork::thresholdStatements)},
         {"mean.frag", fragmentShader(VolumeWork::meanStatements)},
         {"meanAlongAxis.frag",
          "#version 330\nuniform sampler3D volume;\nuniform ivec3 axis;\nflat in int slice;\n"
          "out float result;\nvoid main() {\n    ivec3 p = ivec3(gl_FragCoord.xy, slice);\n"
          "    ivec3 last = textureSize(volume, 0) - 1;\n"
          "    result = (texelFetch(volume, max(p - axis, ivec3(0)), 0).r + texelFetch(volume, p, 0).r\n"
          "              + texelFetch(volume, min(p + axis, last), 0).r) * (1.0 / 3.0);\n}\n"}});
    return repository;
}

Texture createVolume() {
    return Texture({edge, edge, edge}, InternalFormat::R32F);
}

// What an image program does, written by hand for one case: all slices in one layered draw.
class RawImageProgram {
public:
    explicit RawImageProgram(const std::string& statements)
        : m_program({{GL_VERTEX_SHADER, "#version 330\n"
                                        "layout(location = 0) in vec2 position;\nflat out int layer;\n"
                                        "void main() {\n    layer = gl_InstanceID;\n"
                                        "    gl_Position = vec4(position, 0, 1);\n}\n"},
                     {GL_GEOMETRY_SHADER,
                      "#version 330\nlayout(triangles) in;\n"
                      "layout(triangle_strip, max_vertices = 3) out;\nflat in int layer[];\n"
                      "flat out int slice;\nvoid main() {\n    for (int i = 0; i < 3; ++i) {\n"
                      "        gl_Layer = slice = layer[i];\n"
                      "        gl_Position = gl_in[i].gl_Position;\n        EmitVertex();\n    }\n}\n"},
                     {GL_FRAGMENT_SHADER, fragmentShader(statements)}}) {
        constexpr std::array<float, 8> corners{-1, -1, 1, -1, 1, 1, -1, 1};
        glGenFramebuffers(1, &m_framebuffer);
        glGenBuffers(1, &m_buffer);
        glGenVertexArrays(1, &m_vertexArray);
        glBindVertexArray(m_vertexArray);
        glBindBuffer(GL_ARRAY_BUFFER, m_buffer);
        glBufferData(GL_ARRAY_BUFFER, sizeof corners, corners.data(), GL_STATIC_DRAW);
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
        glBindVertexArray(0);
    }
    ~RawImageProgram() {
        glDeleteVertexArrays(1, &m_vertexArray);
        glDeleteBuffers(1, &m_buffer);
        glDeleteFramebuffers(1, &m_framebuffer);
    }
    RawImageProgram(const RawImageProgram&) = delete;
    RawImageProgram& operator=(const RawImageProgram&) = delete;

    void compute(const Texture& input, const Texture& output) const {
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_3D, input.id());
        glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
        glFramebufferTexture(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, output.id(), 0);
        glViewport(0, 0, edge, edge);
        glUseProgram(m_program.id());
        glBindVertexArray(m_vertexArray);
        glDrawArraysInstanced(GL_TRIANGLE_FAN, 0, 4, edge);
        glBindVertexArray(0);
        glUseProgram(0);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
    }

private:
    RawProgram m_program;
    GLuint m_framebuffer = 0;
    GLuint m_buffer = 0;
    GLuint m_vertexArray = 0;
};

ImageProgram createProgram(const char* shader, bool layered) {
    static_cast<void>(shaders());
    return ImageProgram(shader, "", layered, ImageProgram::TexCoordMode::Output,
                        Program::Compilation::ImmediateThrow);
}

void compute(ImageProgram& program, const Texture& input, Texture& output) {
    program.enable();
    program.setArgument("volume", input);
    program.compute(output, {});
    program.disable();
}

// Three passes of three texels each.
class SeparableMean {
public:
    void compute(const Texture& input, Texture& output) {
        pass(input, output, {1, 0, 0});
        pass(output, m_between, {0, 1, 0});
        pass(m_between, output, {0, 0, 1});
    }

private:
    void pass(const Texture& from, Texture& to, const Eigen::Vector3i& axis) {
        m_program.enable();
        m_program.setArgument("volume", from);
        m_program.setArgument("axis", axis);
        m_program.compute(to, {});
        m_program.disable();
    }

    ImageProgram m_program = createProgram("BenchImage/meanAlongAxis.frag", true);
    Texture m_between = createVolume();
};

using Check = const char* (*)(const std::vector<float>& input, const float* output);

// Times `compute(input, output)`, a volume in and a volume out, without the transfers. The driver translates
// shaders when they are first drawn with, which is not counted.
template<class Compute>
void timeOnDevice(benchmark::State& state, Check findError, Compute&& compute) {
    const std::vector<float> voxels = VolumeWork::makeVolume();
    Texture input = createVolume();
    Texture output = createVolume();
    input.upload(voxels);
    compute(input, output);
    if (const char* const error = findError(voxels, output.download<float>().data()))
        state.SkipWithError(error);
    for (auto _ : state) {
        compute(input, output);
        finish();
    }
}

// The same with the transfers from and to main memory.
template<class Compute>
void timeFromHostToHost(benchmark::State& state, Check findError, Compute&& compute) {
    const std::vector<float> voxels = VolumeWork::makeVolume();
    std::vector<float> result(voxels.size());
    Texture input = createVolume();
    Texture output = createVolume();
    const auto run = [&] {
        input.upload(voxels);
        compute(input, output);
        output.downloadTo(result);
    };
    run();
    if (const char* const error = findError(voxels, result.data()))
        state.SkipWithError(error);
    for (auto _ : state)
        run();
}

template<class Compute>
void timeFromHostToHostRaw(benchmark::State& state, Check findError, Compute&& compute) {
    const std::vector<float> voxels = VolumeWork::makeVolume();
    std::vector<float> result(voxels.size());
    const Texture input = createVolume();
    const Texture output = createVolume();
    const auto run = [&] {
        glBindTexture(GL_TEXTURE_3D, input.id());
        glTexSubImage3D(GL_TEXTURE_3D, 0, 0, 0, 0, edge, edge, edge, GL_RED, GL_FLOAT, voxels.data());
        compute(input, output);
        glBindTexture(GL_TEXTURE_3D, output.id());
        glGetTexImage(GL_TEXTURE_3D, 0, GL_RED, GL_FLOAT, result.data());
        glBindTexture(GL_TEXTURE_3D, 0);
    };
    run();
    if (const char* const error = findError(voxels, result.data()))
        state.SkipWithError(error);
    for (auto _ : state)
        run();
}

void meanFloor(benchmark::State& state) {
    const RawImageProgram program(VolumeWork::meanStatements);
    timeOnDevice(state, VolumeWork::findMeanError,
                 [&](const Texture& input, const Texture& output) { program.compute(input, output); });
}
BENCHMARK(meanFloor)->Name("mean256/Floor")->MeasureProcessCPUTime()->UseRealTime();

void mean(benchmark::State& state) {
    ImageProgram program = createProgram("BenchImage/mean.frag", state.range(0) != 0);
    timeOnDevice(state, VolumeWork::findMeanError,
                 [&](const Texture& input, Texture& output) { compute(program, input, output); });
}
BENCHMARK(mean)->Name("mean256")->ArgName("layered")->Arg(1)->Arg(0)->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit meanLimit("mean256", "mean256/Floor", 1.1);

void meanSeparable(benchmark::State& state) {
    SeparableMean program;
    timeOnDevice(state, VolumeWork::findMeanError,
                 [&](const Texture& input, Texture& output) { program.compute(input, output); });
}
BENCHMARK(meanSeparable)->Name("mean256/ThreePasses")->MeasureProcessCPUTime()->UseRealTime();

void meanHostFloor(benchmark::State& state) {
    const RawImageProgram program(VolumeWork::meanStatements);
    timeFromHostToHostRaw(state, VolumeWork::findMeanError, [&](const Texture& input, const Texture& output) {
        program.compute(input, output);
    });
}
BENCHMARK(meanHostFloor)->Name("meanHostToHost/Floor")->MeasureProcessCPUTime()->UseRealTime();

void meanHost(benchmark::State& state) {
    ImageProgram program = createProgram("BenchImage/mean.frag", true);
    timeFromHostToHost(state, VolumeWork::findMeanError,
                       [&](const Texture& input, Texture& output) { compute(program, input, output); });
}
BENCHMARK(meanHost)->Name("meanHostToHost")->MeasureProcessCPUTime()->UseRealTime();

void meanSeparableHost(benchmark::State& state) {
    SeparableMean program;
    timeFromHostToHost(state, VolumeWork::findMeanError,
                       [&](const Texture& input, Texture& output) { program.compute(input, output); });
}
BENCHMARK(meanSeparableHost)->Name("meanHostToHost/ThreePasses")->MeasureProcessCPUTime()->UseRealTime();

void thresholdHostFloor(benchmark::State& state) {
    const RawImageProgram program(VolumeWork::thresholdStatements);
    timeFromHostToHostRaw(
        state, VolumeWork::findThresholdError,
        [&](const Texture& input, const Texture& output) { program.compute(input, output); });
}
BENCHMARK(thresholdHostFloor)->Name("thresholdHostToHost/Floor")->MeasureProcessCPUTime()->UseRealTime();

void thresholdHost(benchmark::State& state) {
    ImageProgram program = createProgram("BenchImage/threshold.frag", true);
    timeFromHostToHost(state, VolumeWork::findThresholdError,
                       [&](const Texture& input, Texture& output) { compute(program, input, output); });
}
BENCHMARK(thresholdHost)->Name("thresholdHostToHost")->MeasureProcessCPUTime()->UseRealTime();

} // namespace

} // namespace Veltrand::GL
