// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <benchmark/benchmark.h>
#include <glad/gl.h>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr int edge = 256;
constexpr std::size_t voxels = std::size_t{edge} * edge * edge;
constexpr std::int64_t volumeBytes = std::int64_t{voxels} * std::int64_t{sizeof(float)};

GLuint createRawVolume() {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_3D, texture);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexImage3D(GL_TEXTURE_3D, 0, GL_R32F, edge, edge, edge, 0, GL_RED, GL_FLOAT, nullptr);
    return texture;
}

void uploadFloor(benchmark::State& state) {
    const std::vector<float> data(voxels, 0.5F);
    GLuint texture = createRawVolume();
    for (auto _ : state) {
        glBindTexture(GL_TEXTURE_3D, texture);
        glTexSubImage3D(GL_TEXTURE_3D, 0, 0, 0, 0, edge, edge, edge, GL_RED, GL_FLOAT, data.data());
        finish();
    }
    glDeleteTextures(1, &texture);
    state.SetBytesProcessed(state.iterations() * volumeBytes);
}
BENCHMARK(uploadFloor)->Name("upload256/Floor")->MeasureProcessCPUTime()->UseRealTime();

void upload(benchmark::State& state) {
    const std::vector<float> data(voxels, 0.5F);
    Texture texture({edge, edge, edge}, InternalFormat::R32F);
    for (auto _ : state) {
        texture.upload(data);
        finish();
    }
    state.SetBytesProcessed(state.iterations() * volumeBytes);
}
BENCHMARK(upload)->Name("upload256")->MeasureProcessCPUTime()->UseRealTime();

void downloadFloor(benchmark::State& state) {
    std::vector<float> data(voxels);
    GLuint texture = createRawVolume();
    for (auto _ : state) {
        glBindTexture(GL_TEXTURE_3D, texture);
        glGetTexImage(GL_TEXTURE_3D, 0, GL_RED, GL_FLOAT, data.data());
        benchmark::ClobberMemory();
    }
    glDeleteTextures(1, &texture);
    state.SetBytesProcessed(state.iterations() * volumeBytes);
}
BENCHMARK(downloadFloor)->Name("download256/Floor")->MeasureProcessCPUTime()->UseRealTime();

void download(benchmark::State& state) {
    std::vector<float> data(voxels);
    const Texture texture({edge, edge, edge}, InternalFormat::R32F);
    for (auto _ : state) {
        texture.downloadTo(data);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * volumeBytes);
}
BENCHMARK(download)->Name("download256")->MeasureProcessCPUTime()->UseRealTime();

} // namespace

} // namespace Veltrand::GL
