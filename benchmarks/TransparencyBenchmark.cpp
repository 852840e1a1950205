// SPDX-License-Identifier: BSD-3-Clause
#include "RatioReporter.h"
#include "RawProgram.h"
#include "TransparencyScene.h"
#include "tests/support/MapRepository.h"

#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <glad/gl.h>
#include <string>

namespace Veltrand::GL {

namespace {

using namespace TransparencyScene;

constexpr GLuint endOfList = 0xFFFFFFFF;

const std::string vertexShader = "#version 430\n"
                                 "layout(location = 0) in vec3 position;\n"
                                 "layout(location = 1) in vec4 color;\n"
                                 "flat out vec4 v_color;\n"
                                 "void main() {\n"
                                 "    v_color = color;\n"
                                 "    gl_Position = vec4(position, 1.0);\n"
                                 "}\n";

// What both write to, over black, and what is drawn.
class Stage {
public:
    Stage(const Triangles& triangles, int width, int height, InternalFormat format)
        : m_target(Texture::Target::Texture2D, {width, height, 1}, format)
        , m_background(Texture::Target::Texture2D, {width, height, 1}, InternalFormat::RGBA8)
        , m_depth(Texture::Target::Texture2D, {width, height, 1}, InternalFormat::DepthComponent32F)
        , m_guard(StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport)
        , m_triangles(Buffer::Usage::StaticDraw) {
        m_background.clear<float>({0, 0, 0, 1});
        m_depth.clear<float>({1, 0, 0, 0});
        m_framebuffer.bind();
        m_framebuffer.attach(m_target, 0);
        m_framebuffer.setDrawBuffers();
        glViewport(0, 0, width, height);
        m_triangles.setData(triangles.positions, triangles.colors);
    }

    [[nodiscard]] const Texture& target() const { return m_target; }
    [[nodiscard]] const Texture& background() const { return m_background; }
    [[nodiscard]] const Texture& depth() const { return m_depth; }
    void draw() const { m_triangles.draw(Primitive::Triangles); }

private:
    Texture m_target;
    Texture m_background;
    Texture m_depth;
    StateGuard m_guard;
    Framebuffer m_framebuffer;
    VertexBuffer m_triangles;
};

class Library {
public:
    explicit Library(const Stage& stage)
        : m_stage(stage)
        , m_files("BenchTransparency",
                  {{"draw.vert", vertexShader},
                   {"gather.frag", "#version 430\n"
                                   "#pragma include \"VeltrandGL/OrderIndependentTransparency.glh\"\n"
                                   "flat in vec4 v_color;\n"
                                   "void main() { oit_addFragment(v_color); discard; }\n"}})
        , m_gather(Program::createVertexFragment("BenchTransparency/draw.vert",
                                                 "BenchTransparency/gather.frag", "",
                                                 Program::Compilation::ImmediateThrow)) {
        // The lists grow after the frames that ask for it.
        gather();
        gather();
    }

    void gather() {
        m_transparency.reset({m_stage.target().width(), m_stage.target().height()}, false);
        m_gather->enable();
        m_transparency.setIncludeArguments(*m_gather);
        m_stage.draw();
        m_gather->disable();
    }
    void blend() { m_transparency.renderBlendedFragments(m_stage.background(), m_stage.depth()); }

private:
    const Stage& m_stage;
    Testing::MapRepository m_files;
    std::unique_ptr<Program> m_gather;
    OrderIndependentTransparency m_transparency;
};

// The same lists with what a textbook does: bytes for colours, and a local array that is kept sorted.
class Handwritten {
public:
    Handwritten(const Stage& stage, int nodesPerPixel, int longestList)
        : m_stage(stage)
        , m_numNodes(static_cast<GLuint>(stage.target().width() * stage.target().height() * nodesPerPixel))
        , m_gather({{GL_VERTEX_SHADER, vertexShader},
                    {GL_FRAGMENT_SHADER,
                     "#version 430\n"
                     "layout(binding = 0) uniform atomic_uint counter;\n"
                     "layout(r32ui, binding = 0) uniform coherent uimage2D heads;\n"
                     "layout(std430, binding = 0) writeonly buffer Nodes { uint nodes[]; };\n"
                     "uniform uint numNodes;\n"
                     "flat in vec4 v_color;\n"
                     "void main() {\n"
                     "    uint node = atomicCounterIncrement(counter);\n"
                     "    if (node >= numNodes)\n"
                     "        return;\n"
                     "    nodes[3u * node] = floatBitsToUint(gl_FragCoord.z);\n"
                     "    nodes[3u * node + 1u] = packUnorm4x8(v_color);\n"
                     "    nodes[3u * node + 2u] = imageAtomicExchange(heads, ivec2(gl_FragCoord.xy), node);\n"
                     "}\n"}})
        , m_blend(
              {{GL_VERTEX_SHADER,
                "#version 430\n"
                "void main() {\n"
                "    gl_Position = vec4(vec2(gl_VertexID & 1, gl_VertexID >> 1) * 4.0 - 1.0,"
                " 0.0, 1.0);\n"
                "}\n"},
               {GL_FRAGMENT_SHADER,
                "#version 430\n"
                "layout(r32ui, binding = 0) uniform readonly uimage2D heads;\n"
                "layout(std430, binding = 0) readonly buffer Nodes { uint nodes[]; };\n"
                "uniform sampler2D background;\n"
                "uniform sampler2D depth;\n"
                "out vec4 result;\n"
                "const uint longest = " +
                    std::to_string(longestList) +
                    "u;\n"
                    "void main() {\n"
                    "    ivec2 pixel = ivec2(gl_FragCoord.xy);\n"
                    "    uint behind = floatBitsToUint(texelFetch(depth, pixel, 0).r);\n"
                    "    uvec2 fragments[longest];\n"
                    "    uint size = 0u;\n"
                    "    for (uint node = imageLoad(heads, pixel).r; node != 0xFFFFFFFFu && size < longest;\n"
                    "         node = nodes[3u * node + 2u]) {\n"
                    "        uvec2 fragment = uvec2(nodes[3u * node], nodes[3u * node + 1u]);\n"
                    "        if (fragment.x >= behind)\n"
                    "            continue;\n"
                    "        uint i = size++;\n"
                    "        for (; i > 0u && fragments[i - 1u].x < fragment.x; --i)\n"
                    "            fragments[i] = fragments[i - 1u];\n"
                    "        fragments[i] = fragment;\n"
                    "    }\n"
                    "    result = texelFetch(background, pixel, 0);\n"
                    "    for (uint i = 0u; i < size; ++i) {\n"
                    "        vec4 color = unpackUnorm4x8(fragments[i].y);\n"
                    "        result.rgb = mix(result.rgb, color.rgb, color.a);\n"
                    "    }\n"
                    "}\n"}}) {
        glGenBuffers(1, &m_counter);
        glBindBuffer(GL_ATOMIC_COUNTER_BUFFER, m_counter);
        glBufferData(GL_ATOMIC_COUNTER_BUFFER, sizeof(GLuint), nullptr, GL_DYNAMIC_DRAW);
        glGenBuffers(1, &m_nodes);
        glBindBuffer(GL_SHADER_STORAGE_BUFFER, m_nodes);
        glBufferData(GL_SHADER_STORAGE_BUFFER, GLsizeiptr{m_numNodes} * 12, nullptr, GL_DYNAMIC_COPY);
        glGenTextures(1, &m_heads);
        glBindTexture(GL_TEXTURE_2D, m_heads);
        glTexStorage2D(GL_TEXTURE_2D, 1, GL_R32UI, stage.target().width(), stage.target().height());
        glGenVertexArrays(1, &m_vertexArray);
        glUseProgram(m_blend.id());
        glUniform1i(glGetUniformLocation(m_blend.id(), "background"), 0);
        glUniform1i(glGetUniformLocation(m_blend.id(), "depth"), 1);
        glUseProgram(m_gather.id());
        glUniform1ui(glGetUniformLocation(m_gather.id(), "numNodes"), m_numNodes);
        glUseProgram(0);
    }
    ~Handwritten() {
        glDeleteVertexArrays(1, &m_vertexArray);
        glDeleteTextures(1, &m_heads);
        glDeleteBuffers(1, &m_nodes);
        glDeleteBuffers(1, &m_counter);
    }
    Handwritten(const Handwritten&) = delete;
    Handwritten& operator=(const Handwritten&) = delete;

    void gather() {
        constexpr GLuint zero = 0;
        glBindBufferBase(GL_ATOMIC_COUNTER_BUFFER, 0, m_counter);
        glBufferSubData(GL_ATOMIC_COUNTER_BUFFER, 0, sizeof zero, &zero);
        glClearTexImage(m_heads, 0, GL_RED_INTEGER, GL_UNSIGNED_INT, &endOfList);
        glBindImageTexture(0, m_heads, 0, GL_FALSE, 0, GL_READ_WRITE, GL_R32UI);
        glBindBufferBase(GL_SHADER_STORAGE_BUFFER, 0, m_nodes);
        glUseProgram(m_gather.id());
        m_stage.draw();
        glMemoryBarrier(GL_SHADER_IMAGE_ACCESS_BARRIER_BIT | GL_SHADER_STORAGE_BARRIER_BIT);
        glUseProgram(0);
    }
    void blend() {
        glActiveTexture(GL_TEXTURE1);
        glBindTexture(GL_TEXTURE_2D, m_stage.depth().id());
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, m_stage.background().id());
        glUseProgram(m_blend.id());
        glBindVertexArray(m_vertexArray);
        glDrawArrays(GL_TRIANGLES, 0, 3);
        glBindVertexArray(0);
        glUseProgram(0);
    }

private:
    const Stage& m_stage;
    GLuint m_numNodes;
    RawProgram m_gather;
    RawProgram m_blend;
    GLuint m_counter = 0;
    GLuint m_nodes = 0;
    GLuint m_heads = 0;
    GLuint m_vertexArray = 0;
};

constexpr int numQuads = 1000;
constexpr int nodesPerPixel = 23; // what one storage block holds at this size
constexpr int longestList = 64;

template<class Lists>
void reportError(benchmark::State& state, const Stage& stage, Lists& lists, const char* name) {
    lists.gather();
    lists.blend();
    const Error error =
        compare(stage.target().download<Eigen::Vector4f>(), renderExactly(makeQuads(numQuads)));
    state.counters[std::string(name) + " largest/255"] = error.largest;
    state.counters[std::string(name) + " mean/255"] = error.mean;
}

template<class Lists>
void timeFrames(benchmark::State& state, Lists& lists) {
    const auto frame = [&lists] {
        lists.gather();
        lists.blend();
        finish();
    };
    frame();
    for (auto _ : state)
        frame();
}

void transparencyFloor(benchmark::State& state) {
    const Triangles triangles = makeTriangles(makeQuads(numQuads));
    {
        const Stage stage(triangles, width, height, InternalFormat::RGBA32F);
        Handwritten lists(stage, nodesPerPixel, longestList);
        reportError(state, stage, lists, "float");
    }
    const Stage stage(triangles, width, height, InternalFormat::RGBA8);
    Handwritten lists(stage, nodesPerPixel, longestList);
    timeFrames(state, lists);
}
BENCHMARK(transparencyFloor)->Name("transparency/Floor")->MeasureProcessCPUTime()->UseRealTime();

void transparency(benchmark::State& state) {
    const Triangles triangles = makeTriangles(makeQuads(numQuads));
    {
        const Stage stage(triangles, width, height, InternalFormat::RGBA32F);
        Library lists(stage);
        reportError(state, stage, lists, "float");
    }
    const Stage stage(triangles, width, height, InternalFormat::RGBA8);
    Library lists(stage);
    reportError(state, stage, lists, "byte");
    timeFrames(state, lists);
}
BENCHMARK(transparency)->Name("transparency")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit transparencyLimit("transparency", "transparency/Floor", 1.15);

template<class Lists>
void timeGather(benchmark::State& state, Lists& lists) {
    const auto gather = [&lists] {
        lists.gather();
        finish();
    };
    gather();
    for (auto _ : state)
        gather();
}

void gatherFloor(benchmark::State& state) {
    const Stage stage(makeTriangles(makeQuads(numQuads)), width, height, InternalFormat::RGBA8);
    Handwritten lists(stage, nodesPerPixel, longestList);
    timeGather(state, lists);
}
BENCHMARK(gatherFloor)->Name("transparencyGather/Floor")->MeasureProcessCPUTime()->UseRealTime();

void gather(benchmark::State& state) {
    const Stage stage(makeTriangles(makeQuads(numQuads)), width, height, InternalFormat::RGBA8);
    Library lists(stage);
    timeGather(state, lists);
}
BENCHMARK(gather)->Name("transparencyGather")->MeasureProcessCPUTime()->UseRealTime();

// The blend pass alone, over as many full-screen layers as the argument says, drawn in random order.
constexpr int resolveEdge = 256;

Triangles makeLayers(int number) {
    Triangles triangles = makeTriangles(makeQuads(number));
    for (std::size_t i = 0; i < triangles.positions.size(); i += 6)
        for (std::size_t corner = 0; corner < 6; ++corner) {
            triangles.positions[i + corner].x() = corner == 1 || corner == 2 || corner == 4 ? 1.F : -1.F;
            triangles.positions[i + corner].y() = corner == 2 || corner == 4 || corner == 5 ? 1.F : -1.F;
            triangles.colors[i + corner].w() = 1 / static_cast<float>(number);
        }
    return triangles;
}

template<class Lists>
void timeResolve(benchmark::State& state, Lists& lists) {
    const auto resolve = [&lists] {
        lists.blend();
        finish();
    };
    lists.gather();
    resolve();
    for (auto _ : state)
        resolve();
}

void resolveFloor(benchmark::State& state) {
    const int layers = static_cast<int>(state.range(0));
    const Stage stage(makeLayers(layers), resolveEdge, resolveEdge, InternalFormat::RGBA8);
    Handwritten lists(stage, layers + 1, std::max(layers, longestList));
    timeResolve(state, lists);
}
BENCHMARK(resolveFloor)
    ->Name("transparencyResolve/Floor")
    ->ArgName("layers")
    ->RangeMultiplier(2)
    ->Range(4, 128)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

void resolve(benchmark::State& state) {
    const Stage stage(makeLayers(static_cast<int>(state.range(0))), resolveEdge, resolveEdge,
                      InternalFormat::RGBA8);
    Library lists(stage);
    timeResolve(state, lists);
}
BENCHMARK(resolve)
    ->Name("transparencyResolve")
    ->ArgName("layers")
    ->RangeMultiplier(2)
    ->Range(4, 128)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace

} // namespace Veltrand::GL
