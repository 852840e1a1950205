// SPDX-License-Identifier: BSD-3-Clause
// Uploads while the main thread goes on: the background thread fills a texture, and a fence says when the
// main context may read it without waiting for everything else.
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/SyncObject.h>
#include <Veltrand/GL/Texture.h>
#include <cstddef>
#include <future>
#include <iostream>
#include <memory>
#include <numeric>
#include <vector>

namespace GL = Veltrand::GL;

namespace {

struct Upload {
    std::unique_ptr<GL::Texture> texture;
    std::unique_ptr<GL::SyncObject> done;
};

// On the background thread, with its context current. Objects are shared by all contexts.
Upload upload() {
    std::vector<unsigned short> voxels(std::size_t{32} * 32 * 32);
    std::iota(voxels.begin(), voxels.end(), static_cast<unsigned short>(0));
    Upload result;
    result.texture = std::make_unique<GL::Texture>(Eigen::Vector3i(32, 32, 32), GL::InternalFormat::R16UI);
    result.texture->upload(voxels);
    result.done = std::make_unique<GL::SyncObject>();
    return result;
}

} // namespace

int main() {
    GL::init();
    {
        // runWithOpenGL waits for its task, so a thread that may wait hands it over.
        auto pending = std::async(std::launch::async, [] {
            Upload result;
            GL::ContextManager::get().runWithOpenGL([&result] { result = upload(); }, true);
            return result;
        });
        // ... the main thread draws frames here ...
        const Upload result = pending.get();
        result.done->wait();
        const auto voxels = result.texture->download<unsigned short>();
        std::cout << voxels.size() << " voxels, the last is " << voxels.back() << '\n';
    }
    GL::deinit();
}
