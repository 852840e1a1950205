// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Resource.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <array>
#include <benchmark/benchmark.h>
#include <glad/gl.h>
#include <map>
#include <string>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr int edge = 256;

// The mean over the 27 neighbours, and over three along one axis.
const std::map<std::string, std::string, std::less<>> shaders{
    {"mean27.frag",
     "#version 330\nuniform sampler3D volume;\nflat in int slice;\nout float value;\n"
     "void main() {\n    ivec3 p = ivec3(gl_FragCoord.xy, slice);\n"
     "    ivec3 last = textureSize(volume, 0) - 1;\n    float sum = 0.0;\n"
     "    for (int z = -1; z <= 1; ++z)\n        for (int y = -1; y <= 1; ++y)\n"
     "            for (int x = -1; x <= 1; ++x)\n"
     "                sum += texelFetch(volume, clamp(p + ivec3(x, y, z), ivec3(0), last), 0).r;\n"
     "    value = sum * (1.0 / 27.0);\n}\n"},
    {"mean3.frag",
     "#version 330\nuniform sampler3D volume;\nuniform ivec3 axis;\nflat in int slice;\n"
     "out float value;\nvoid main() {\n    ivec3 p = ivec3(gl_FragCoord.xy, slice);\n"
     "    ivec3 last = textureSize(volume, 0) - 1;\n"
     "    value = (texelFetch(volume, max(p - axis, ivec3(0)), 0).r + texelFetch(volume, p, 0).r\n"
     "             + texelFetch(volume, min(p + axis, last), 0).r) * (1.0 / 3.0);\n}\n"},
};

class ImageShaders : public Resource::Repository {
public:
    ImageShaders() { Resource::addRepository(this); }
    ~ImageShaders() override { Resource::removeRepository(this); }

    [[nodiscard]] std::string name() const override { return "BenchImage"; }
    [[nodiscard]] bool contains(std::string_view const& file) const override {
        return shaders.find(file) != shaders.end();
    }
    [[nodiscard]] std::optional<ByteBuffer> query(std::string_view const& file) const override {
        const auto found = shaders.find(file);
        if (found == shaders.end())
            return std::nullopt;
        return ByteBuffer(ByteBufferView(found->second.data(), found->second.size()));
    }
};

Texture createVolume() {
    std::vector<float> data(std::size_t{edge} * edge * edge);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<float>(i * 7919 % 1000);
    Texture volume({edge, edge, edge}, InternalFormat::R32F);
    volume.upload(data);
    return volume;
}

GLuint createRawProgram(const char* fragment) {
    const std::pair<GLenum, const char*> stages[] = {
        {GL_VERTEX_SHADER, "#version 330\nlayout(location = 0) in vec2 position;\nflat out int layer;\n"
                           "void main() { layer = gl_InstanceID; gl_Position = vec4(position, 0, 1); }\n"},
        {GL_GEOMETRY_SHADER,
         "#version 330\nlayout(triangles) in;\n"
         "layout(triangle_strip, max_vertices = 3) out;\nflat in int layer[];\n"
         "flat out int slice;\nvoid main() {\n    for (int i = 0; i < 3; ++i) {\n"
         "        gl_Layer = slice = layer[i];\n"
         "        gl_Position = gl_in[i].gl_Position;\n        EmitVertex();\n    }\n}\n"},
        {GL_FRAGMENT_SHADER, fragment}};
    const GLuint program = glCreateProgram();
    for (const auto& [stage, source] : stages) {
        const GLuint shader = glCreateShader(stage);
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        glAttachShader(program, shader);
        glDeleteShader(shader);
    }
    glLinkProgram(program);
    return program;
}

void meanFloor(benchmark::State& state) {
    const Texture input = createVolume();
    const Texture output({edge, edge, edge}, InternalFormat::R32F);
    const GLuint program = createRawProgram(shaders.find("mean27.frag")->second.c_str());
    constexpr std::array<float, 8> corners{-1, -1, 1, -1, 1, 1, -1, 1};
    GLuint framebuffer = 0;
    GLuint buffer = 0;
    GLuint vertexArray = 0;
    glGenFramebuffers(1, &framebuffer);
    glGenBuffers(1, &buffer);
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, sizeof corners, corners.data(), GL_STATIC_DRAW);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    for (auto _ : state) {
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glFramebufferTexture(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, output.id(), 0);
        glViewport(0, 0, edge, edge);
        glUseProgram(program);
        glBindTexture(GL_TEXTURE_3D, input.id());
        glDrawArraysInstanced(GL_TRIANGLE_FAN, 0, 4, edge);
        glFinish();
    }
    glUseProgram(0);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glBindVertexArray(0);
    glDeleteVertexArrays(1, &vertexArray);
    glDeleteBuffers(1, &buffer);
    glDeleteFramebuffers(1, &framebuffer);
    glDeleteProgram(program);
}
BENCHMARK(meanFloor)->Name("mean256/Floor")->Unit(benchmark::kMillisecond)->UseRealTime();

void mean(benchmark::State& state) {
    const bool layered = state.range(0) != 0;
    const ImageShaders repository;
    const Texture input = createVolume();
    Texture output({edge, edge, edge}, InternalFormat::R32F);
    ImageProgram program("BenchImage/mean27.frag", "", layered, ImageProgram::TexCoordMode::Output,
                         Program::Compilation::ImmediateThrow);
    program.enable();
    program.setArgument("volume", input);
    program.disable();
    for (auto _ : state) {
        program.compute(output, {});
        finish();
    }
}
BENCHMARK(mean)
    ->Name("mean256")
    ->ArgName("layered")
    ->Arg(1)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void meanSeparable(benchmark::State& state) {
    const ImageShaders repository;
    const Texture input = createVolume();
    Texture first({edge, edge, edge}, InternalFormat::R32F);
    Texture second({edge, edge, edge}, InternalFormat::R32F);
    ImageProgram program("BenchImage/mean3.frag", "", true, ImageProgram::TexCoordMode::Output,
                         Program::Compilation::ImmediateThrow);
    const auto pass = [&program](const Texture& from, Texture& to, const Eigen::Vector3i& axis) {
        program.enable();
        program.setArgument("volume", from);
        program.setArgument("axis", axis);
        program.compute(to, {});
        program.disable();
    };
    for (auto _ : state) {
        pass(input, first, {1, 0, 0});
        pass(first, second, {0, 1, 0});
        pass(second, first, {0, 0, 1});
        finish();
    }
}
BENCHMARK(meanSeparable)->Name("mean256/ThreePasses")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

} // namespace Veltrand::GL
