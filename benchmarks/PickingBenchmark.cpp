// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <benchmark/benchmark.h>
#include <glad/gl.h>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr int width = 1024;
constexpr int height = 768;

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

// Every position sees something else.
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
        found += picking.getPickingInfo(positions, nullptr).size();
    if (found != static_cast<std::size_t>(state.iterations() * count))
        state.SkipWithError("positions were lost");
}
BENCHMARK(pick)
    ->Name("pick1024x768")
    ->ArgName("positions")
    ->Arg(1)
    ->Arg(100)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

} // namespace

} // namespace Veltrand::GL
