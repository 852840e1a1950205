// SPDX-License-Identifier: BSD-3-Clause
// Threads that compute side by side, each with a context of its own. What they make is shared: the main
// thread reads their textures.
#include "StringRepository.h"
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/Texture.h>
#include <iostream>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

namespace GL = Veltrand::GL;

namespace {

const StringRepository shaders("My", {{"fill.frag", R"(#version 330
uniform float level;
out float value;
void main() { value = level; }
)"}});

// On a thread of its own.
void compute(int index, std::unique_ptr<GL::Texture>& result) {
    GL::ContextManager::get().ensureLocalContext(); // goes with the thread, or by releaseLocalContext()
    GL::ImageProgram program("My/fill.frag");
    auto image = std::make_unique<GL::Texture>(Eigen::Vector3i(64, 64, 16), GL::InternalFormat::R32F);
    program.enable();
    program.setArgument("level", static_cast<float>(index));
    program.compute(*image, GL::ImageProgram::Cuboid());
    program.disable();
    GL::finish(); // other contexts see the texels of finished commands
    result = std::move(image);
}

} // namespace

int main() {
    GL::init();
    {
        std::vector<std::unique_ptr<GL::Texture>> results(4);
        std::vector<std::thread> threads;
        threads.reserve(results.size());
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(
                [i, &result = results[static_cast<std::size_t>(i)]] { compute(i + 1, result); });
        for (std::thread& thread : threads)
            thread.join();
        for (const auto& image : results) {
            const auto voxels = image->download<float>();
            std::cout << std::accumulate(voxels.begin(), voxels.end(), 0.0) /
                             static_cast<double>(voxels.size())
                      << '\n';
        }
    }
    GL::deinit();
}
