// SPDX-License-Identifier: BSD-3-Clause
// A picture without a window: a triangle, drawn offscreen and written to a file, whose name may be given as
// the argument.
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>
#include <array>
#include <fstream>
#include <iostream>
#include <vector>

namespace GL = Veltrand::GL;

namespace {

constexpr int Width = 320;
constexpr int Height = 240;

// Into whatever is bound.
void drawTriangle() {
    const std::array<Eigen::Vector2f, 3> corners{{{-1.5F, -1.0F}, {1.5F, -1.0F}, {0.0F, 1.2F}}};
    const std::array<Eigen::Vector3f, 0> noTextureCoordinates{};
    const std::array<Eigen::Vector3f, 3> colors{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    GL::VertexBuffer triangle(GL::Buffer::Usage::StaticDraw);
    triangle.setData(corners, noTextureCoordinates, colors);

    const GL::ViewState view({0, 0, Width, Height}, GL::createOrtho(-2, 2, -1.5, 1.5, -1, 1),
                             Eigen::Matrix4d::Identity());
    GL::FixedFunctionPipeline& pipeline = *GL::FixedFunctionPipeline::get();
    pipeline.enable(view, GL::FixedFunctionPipeline::ShaderSelection::Plain, nullptr);
    triangle.draw(GL::Primitive::Triangles);
    pipeline.disable();
}

// As a portable pixel map, which begins with the top row; a texture begins with the bottom one.
bool write(const GL::Texture& image, const char* name) {
    using Color = Eigen::Matrix<unsigned char, 3, 1>;
    const std::vector<Color> pixels = image.download<Color>();
    std::ofstream file(name, std::ios::binary);
    file << "P6\n" << Width << ' ' << Height << "\n255\n";
    for (auto row = pixels.end(); row != pixels.begin();) {
        row -= Width;
        file.write(reinterpret_cast<const char*>(row->data()), Width * sizeof(Color));
    }
    return file.flush().good();
}

} // namespace

int main(int argc, char** argv) {
    const char* const name = argc > 1 ? argv[1] : "first_picture.ppm";
    bool written = false;
    GL::init();
    {
        GL::OffscreenRenderHelper helper;
        const auto target =
            helper.create({Width, Height}, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent24);
        drawTriangle();
        written = write(target.colorTexture(), name);
    }
    GL::deinit();
    std::cout << (written ? "wrote " : "could not write ") << name << '\n';
    return written ? 0 : 1;
}
