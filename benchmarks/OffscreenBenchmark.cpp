// SPDX-License-Identifier: BSD-3-Clause
#include "RawProgram.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>

#include <Eigen/Core>
#include <array>
#include <benchmark/benchmark.h>
#include <glad/gl.h>
#include <string>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr int edge = 512;

/// A framebuffer of the same formats as those that are lent.
class Target {
public:
    Target() {
        glGenTextures(2, m_textures.data());
        allocate(m_textures[0], GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE);
        allocate(m_textures[1], GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, GL_FLOAT);
        glGenFramebuffers(1, &m_framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
        glFramebufferTexture(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, m_textures[0], 0);
        glFramebufferTexture(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, m_textures[1], 0);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
    }
    ~Target() {
        glDeleteFramebuffers(1, &m_framebuffer);
        glDeleteTextures(2, m_textures.data());
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    [[nodiscard]] const std::array<GLuint, 2>& textures() const { return m_textures; }
    [[nodiscard]] GLuint framebuffer() const { return m_framebuffer; }

private:
    static void allocate(GLuint texture, GLint internalFormat, GLenum format, GLenum type) {
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, edge, edge, 0, format, type, nullptr);
    }

    std::array<GLuint, 2> m_textures{};
    GLuint m_framebuffer = 0;
};

// The clear is carried out within the measured time: drivers put it off until something needs it.
void lendFloor(benchmark::State& state) {
    const Target target;
    for (auto _ : state) {
        glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer());
        glViewport(0, 0, edge, edge);
        glClearColor(0, 0, 0, 0);
        glClearDepth(1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glViewport(0, 0, 100, 100);
        finish();
    }
}
BENCHMARK(lendFloor)->Name("lend512/Floor")->Unit(benchmark::kMicrosecond)->UseRealTime();

void lend(benchmark::State& state) {
    OffscreenRenderHelper helper;
    for (auto _ : state) {
        {
            const auto buffer = helper.create(Eigen::Vector2i(edge, edge), InternalFormat::RGBA8,
                                              InternalFormat::DepthComponent24);
            if (buffer.isEmpty())
                state.SkipWithError("nothing was lent");
        }
        finish();
    }
}
BENCHMARK(lend)->Name("lend512")->Unit(benchmark::kMicrosecond)->UseRealTime();

const std::vector<std::pair<GLenum, std::string>> blendStages{
    {GL_VERTEX_SHADER, "#version 330\nout vec2 texCoord;\nvoid main() {\n"
                       "    texCoord = vec2(gl_VertexID & 1, gl_VertexID >> 1);\n"
                       "    gl_Position = vec4(2 * texCoord - 1, 0, 1);\n}\n"},
    {GL_FRAGMENT_SHADER, "#version 330\nuniform sampler2D colors;\nuniform sampler2D depths;\n"
                         "in vec2 texCoord;\nout vec4 color;\nvoid main() {\n"
                         "    color = texture(colors, texCoord);\n"
                         "    gl_FragDepth = texture(depths, texCoord).r;\n}\n"}};

// One pass over the parent that blends and writes depth.
void blendFloor(benchmark::State& state) {
    const Target source;
    const Target parent;
    const RawProgram program(blendStages);
    glUseProgram(program.id());
    glUniform1i(glGetUniformLocation(program.id(), "depths"), 1);
    GLuint vertexArray = 0;
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);
    for (const GLuint unit : {1U, 0U}) {
        glActiveTexture(GL_TEXTURE0 + unit);
        glBindTexture(GL_TEXTURE_2D, source.textures()[unit]);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, parent.framebuffer());
    glViewport(0, 0, edge, edge);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    for (auto _ : state) {
        glEnable(GL_BLEND);
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_ALWAYS);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        glDisable(GL_DEPTH_TEST);
        glDisable(GL_BLEND);
        finish();
    }
    glDepthFunc(GL_LESS);
    glBlendFunc(GL_ONE, GL_ZERO);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glViewport(0, 0, 100, 100);
    glBindVertexArray(0);
    glDeleteVertexArrays(1, &vertexArray);
    glUseProgram(0);
}
BENCHMARK(blendFloor)->Name("blend512/Floor")->Unit(benchmark::kMicrosecond)->UseRealTime();

// Two passes: what has depth, and what has none.
void blend(benchmark::State& state) {
    const Target parent;
    glBindFramebuffer(GL_FRAMEBUFFER, parent.framebuffer());
    glViewport(0, 0, edge, edge);
    OffscreenRenderHelper helper;
    {
        auto buffer = helper.create(Eigen::Vector2i(edge, edge), InternalFormat::RGBA8,
                                    InternalFormat::DepthComponent24);
        clearColorBuffer(Eigen::Vector4f::Constant(0.5F));
        clearDepthBuffer(0.5);
        for (auto _ : state) {
            buffer.blendToParent();
            finish();
        }
    }
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glViewport(0, 0, 100, 100);
}
BENCHMARK(blend)->Name("blend512")->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

} // namespace Veltrand::GL
