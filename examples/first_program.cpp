// SPDX-License-Identifier: BSD-3-Clause
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Texture.h>
#include <iostream>

int main() {
    Veltrand::GL::init(); // a hidden context: no window, no screen
    {
        Veltrand::GL::Texture image({64, 64, 1}, Veltrand::GL::InternalFormat::RGBA8);
        image.clear<float>({1.0F, 0.5F, 0.0F, 1.0F});
        std::cout << image.download<Eigen::Vector4f>().front().transpose() << '\n';
    }
    Veltrand::GL::deinit();
}
