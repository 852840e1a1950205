// SPDX-License-Identifier: BSD-3-Clause
#include "PickingScene.h"
#include "RawProgram.h"
#include "tests/support/MapRepository.h"

#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <Eigen/Core>
#include <array>
#include <benchmark/benchmark.h>
#include <glad/gl.h>
#include <memory>
#include <string>
#include <vector>

namespace Veltrand::GL {

namespace {

using PickingScene::height;
using PickingScene::Infos;
using PickingScene::width;

void pickFloor(benchmark::State& state) {
    std::vector<GLuint> ids(std::size_t{width} * height * 2);
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RG32UI, width, height, 0, GL_RG_INTEGER, GL_UNSIGNED_INT, nullptr);
    for (auto _ : state) {
        glBindTexture(GL_TEXTURE_2D, texture);
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RG_INTEGER, GL_UNSIGNED_INT, ids.data());
        benchmark::ClobberMemory();
    }
    glDeleteTextures(1, &texture);
}
BENCHMARK(pickFloor)->Name("pick1024x768/Floor")->Unit(benchmark::kMicrosecond)->UseRealTime();

// One pixel, by a framebuffer that is ready.
void pickPixelFloor(benchmark::State& state) {
    ObjectPicking picking;
    Framebuffer framebuffer;
    picking.reset(framebuffer, Eigen::Vector2i(width, height), {});
    framebuffer.bind();
    glFramebufferTexture(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, picking.pickingTexture()->id(), 0);
    std::array<GLuint, 2> ids{};
    for (auto _ : state) {
        glReadPixels(width / 2, height / 2, 1, 1, GL_RG_INTEGER, GL_UNSIGNED_INT, ids.data());
        benchmark::ClobberMemory();
    }
    Framebuffer::unbind();
}
BENCHMARK(pickPixelFloor)->Name("pickPerPosition/Floor")->Unit(benchmark::kMicrosecond)->UseRealTime();

// Every position sees something else.
template<bool perPosition>
void pick(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    constexpr int objects[1]{};
    Framebuffer framebuffer;
    ObjectPicking picking;
    picking.reset(framebuffer, Eigen::Vector2i(width, height), {&objects[0]});
    std::vector<Eigen::Vector2i> positions;
    positions.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        positions.emplace_back(width * i / count, height * i / count);

    std::vector<GLuint> ids(std::size_t{width} * height * 2);
    for (std::size_t pixel = 0; pixel < ids.size() / 2; ++pixel)
        ids[2 * pixel + 1] = static_cast<GLuint>(ids.size() - pixel);
    picking.pickingTexture()->bind(0);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RG_INTEGER, GL_UNSIGNED_INT, ids.data());
    std::size_t found = 0;
    for (auto _ : state)
        found += perPosition ? picking.getPickingInfoPerPosition(positions, nullptr).size()
                             : picking.getPickingInfo(positions, nullptr).size();
    if (found != static_cast<std::size_t>(state.iterations() * count))
        state.SkipWithError("positions were lost");
}
BENCHMARK(pick<false>)
    ->Name("pick1024x768")
    ->ArgName("positions")
    ->Arg(1)
    ->Arg(100)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK(pick<true>)
    ->Name("pickPerPosition")
    ->ArgName("positions")
    ->Arg(1)
    ->Arg(100)
    ->Arg(10000)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

const std::string vertexShader = "#version 330\n"
                                 "layout(location = 0) in vec3 position;\n"
                                 "void main() { gl_Position = vec4(position, 1.0); }\n";

// What both draw, and what they draw it to.
class Stage {
public:
    Stage()
        : m_color(Texture::Target::Texture2D, {width, height, 1}, InternalFormat::RGBA8)
        , m_depth(Texture::Target::Texture2D, {width, height, 1}, InternalFormat::DepthComponent24)
        , m_guard(StateGuard::SaveFlags::All) {
        for (const PickingScene::Mesh& mesh : PickingScene::makeMeshes()) {
            m_meshes.push_back(
                {VertexBuffer(Buffer::Usage::StaticDraw), IndexBuffer(Buffer::Usage::StaticDraw)});
            m_meshes.back().vertices.setData(mesh);
            m_meshes.back().triangles.setData(PickingScene::makeTriangles());
        }
        m_framebuffer.bind();
        m_framebuffer.attach(m_color, 0);
        m_framebuffer.attach(m_depth, Framebuffer::Attachment::Depth);
        m_framebuffer.setDrawBuffers();
        glViewport(0, 0, width, height);
        glEnable(GL_DEPTH_TEST);
    }

    struct Mesh {
        VertexBuffer vertices;
        IndexBuffer triangles;
    };
    [[nodiscard]] const std::vector<Mesh>& meshes() const { return m_meshes; }
    [[nodiscard]] Framebuffer& framebuffer() { return m_framebuffer; }
    [[nodiscard]] const std::vector<Eigen::Vector2i>& positions() const { return m_positions; }

private:
    Texture m_color;
    Texture m_depth;
    StateGuard m_guard;
    Framebuffer m_framebuffer;
    std::vector<Mesh> m_meshes;
    std::vector<Eigen::Vector2i> m_positions = PickingScene::makePositions();
};

class Library {
public:
    explicit Library(Stage& stage)
        : m_stage(stage)
        , m_files("BenchPicking", {{"mesh.vert", vertexShader},
                                   {"mesh.frag", "#version 330\n"
                                                 "#pragma include \"VeltrandGL/ObjectPicking.glh\"\n"
                                                 "layout(location = 0) out vec4 color;\n"
                                                 "void main() {\n"
                                                 "    color = vec4(1.0);\n"
                                                 "    writePickingInfo(uint(gl_PrimitiveID));\n"
                                                 "}\n"}})
        , m_program(Program::createVertexFragment("BenchPicking/mesh.vert", "BenchPicking/mesh.frag", "",
                                                  Program::Compilation::ImmediateThrow)) {
        for (const Stage::Mesh& mesh : stage.meshes())
            m_objects.push_back(&mesh);
    }

    Infos pick() {
        m_picking.reset(m_stage.framebuffer(), {width, height}, m_objects);
        clearColorBuffer({0, 0, 0, 1});
        clearDepthBuffer(1);
        m_program->enable();
        for (const Stage::Mesh& mesh : m_stage.meshes()) {
            m_picking.enable(*m_program, &mesh);
            mesh.vertices.draw(Primitive::Triangles, mesh.triangles);
        }
        m_program->disable();
        m_picking.disable();
        return m_picking.getPickingInfo(m_stage.positions(), nullptr);
    }

private:
    Stage& m_stage;
    Testing::MapRepository m_files;
    std::unique_ptr<Program> m_program;
    std::vector<const void*> m_objects;
    ObjectPicking m_picking;
};

// A vertex array for each mesh, and nothing in memory made twice.
class Handwritten {
public:
    explicit Handwritten(Stage& stage)
        : m_stage(stage)
        , m_program({{GL_VERTEX_SHADER, vertexShader},
                     {GL_FRAGMENT_SHADER, "#version 330\n"
                                          "uniform uint object;\n"
                                          "layout(location = 0) out vec4 color;\n"
                                          "layout(location = 1) out uvec2 ids;\n"
                                          "void main() {\n"
                                          "    color = vec4(1.0);\n"
                                          "    ids = uvec2(object, uint(gl_PrimitiveID));\n"
                                          "}\n"}})
        , m_object(glGetUniformLocation(m_program.id(), "object"))
        , m_texture(Texture::Target::Texture2D, {width, height, 1}, InternalFormat::RG32UI)
        , m_ids(std::size_t{width} * height)
        , m_vertexArrays(stage.meshes().size()) {
        stage.framebuffer().attach(m_texture, 1);
        stage.framebuffer().setDrawBuffers();
        glGenVertexArrays(static_cast<GLsizei>(m_vertexArrays.size()), m_vertexArrays.data());
        for (std::size_t i = 0; i < m_vertexArrays.size(); ++i) {
            glBindVertexArray(m_vertexArrays[i]);
            glBindBuffer(GL_ARRAY_BUFFER, stage.meshes()[i].vertices.id());
            glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, stage.meshes()[i].triangles.id());
            glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, nullptr);
            glEnableVertexAttribArray(0);
        }
        glBindVertexArray(0);
    }
    ~Handwritten() {
        glDeleteVertexArrays(static_cast<GLsizei>(m_vertexArrays.size()), m_vertexArrays.data());
    }
    Handwritten(const Handwritten&) = delete;
    Handwritten& operator=(const Handwritten&) = delete;

    Infos pick() {
        draw();
        glBindTexture(GL_TEXTURE_2D, m_texture.id());
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RG_INTEGER, GL_UNSIGNED_INT, m_ids.data());
        Infos infos;
        for (const Eigen::Vector2i& position : m_stage.positions()) {
            const auto& info = m_ids[static_cast<std::size_t>(position.x()) +
                                     static_cast<std::size_t>(position.y()) * width];
            if (info.objectId != ObjectPicking::Nothing)
                infos.push_back(info);
        }
        PickingScene::normalize(infos);
        return infos;
    }

private:
    void draw() const {
        constexpr std::array<GLfloat, 4> black{0, 0, 0, 1};
        constexpr std::array<GLuint, 4> nothing{ObjectPicking::Nothing, ObjectPicking::Nothing};
        constexpr GLfloat far = 1;
        glClearBufferfv(GL_COLOR, 0, black.data());
        glClearBufferuiv(GL_COLOR, 1, nothing.data());
        glClearBufferfv(GL_DEPTH, 0, &far);
        glUseProgram(m_program.id());
        for (GLuint object = 0; object < m_vertexArrays.size(); ++object) {
            const IndexBuffer& triangles = m_stage.meshes()[object].triangles;
            glBindVertexArray(m_vertexArrays[object]);
            glUniform1ui(m_object, object);
            glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(triangles.numElements()), triangles.type(),
                           nullptr);
        }
        glBindVertexArray(0);
        glUseProgram(0);
    }

    Stage& m_stage;
    RawProgram m_program;
    GLint m_object;
    Texture m_texture;
    Infos m_ids;
    std::vector<GLuint> m_vertexArrays;
};

template<class Picker>
void pickScene(benchmark::State& state) {
    Stage stage;
    Picker picker(stage);
    const Infos exact = PickingScene::pickExactly();
    state.counters["found"] = static_cast<double>(exact.size());
    if (picker.pick() != exact)
        state.SkipWithError("something else was picked");
    for (auto _ : state)
        benchmark::DoNotOptimize(picker.pick());
}
BENCHMARK(pickScene<Handwritten>)
    ->Name("pickScene/Floor")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(pickScene<Library>)
    ->Name("pickScene")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace

} // namespace Veltrand::GL
