// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>
#include <array>
#include <vector>

/// Translucent rectangles that overlap, and the picture that exact sorting makes of them.
namespace Veltrand::GL::TransparencyScene {

struct Quad {
    std::array<int, 4> box; ///< left, bottom, right, top in pixels
    float depth;            ///< window depth, from 0 to 1; no two are alike
    Eigen::Vector4f color;  ///< the alpha is the opacity; multiples of 1/255
};
using Picture = std::vector<Eigen::Vector4f>;

constexpr int width = 800;
constexpr int height = 600;

/// In random order.
std::vector<Quad> makeQuads(int number);

/// The corners in clip space as two triangles for each quad, and a colour for each corner.
struct Triangles {
    std::vector<Eigen::Vector3f> positions;
    std::vector<Eigen::Vector4f> colors;
};
Triangles makeTriangles(const std::vector<Quad>& quads);

/// The quads over opaque black, sorted and blended in double precision; width times height pixels.
Picture renderExactly(std::vector<Quad> quads);

/// Differences of red, green and blue, in parts of 255.
struct Error {
    double largest = 0;
    double mean = 0;
};
Error compare(const Picture& picture, const Picture& exact);

} // namespace Veltrand::GL::TransparencyScene
