// SPDX-License-Identifier: BSD-3-Clause
#include "TransparencyScene.h"

#include <algorithm>
#include <random>

namespace Veltrand::GL::TransparencyScene {

std::vector<Quad> makeQuads(int number) {
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> unit(0, 1);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> opacity(25, 153);
    std::uniform_int_distribution<int> halfSize(20, 60);
    const auto channel = [&] { return static_cast<float>(byte(random)) / 255; };
    std::vector<Quad> quads;
    for (int i = 0; i < number; ++i) {
        const int halfWidth = halfSize(random);
        const int halfHeight = halfSize(random);
        const auto x = static_cast<int>(width * unit(random));
        const auto y = static_cast<int>(height * unit(random));
        const float alpha = static_cast<float>(opacity(random)) / 255;
        quads.push_back({{std::max(x - halfWidth, 0), std::max(y - halfHeight, 0),
                          std::min(x + halfWidth, width), std::min(y + halfHeight, height)},
                         (static_cast<float>(i) + 0.5F) / static_cast<float>(number),
                         {channel(), channel(), channel(), alpha}});
    }
    std::shuffle(quads.begin(), quads.end(), random);
    return quads;
}

Triangles makeTriangles(const std::vector<Quad>& quads) {
    Triangles triangles;
    for (const auto& [box, depth, color] : quads) {
        constexpr std::array<std::array<std::size_t, 2>, 6> corners{
            {{0, 1}, {2, 1}, {2, 3}, {0, 1}, {2, 3}, {0, 3}}};
        for (const auto& [x, y] : corners) {
            triangles.positions.emplace_back(2 * static_cast<float>(box[x]) / width - 1,
                                             2 * static_cast<float>(box[y]) / height - 1, 2 * depth - 1);
            triangles.colors.push_back(color);
        }
    }
    return triangles;
}

Picture renderExactly(std::vector<Quad> quads) {
    std::sort(quads.begin(), quads.end(), [](const Quad& a, const Quad& b) { return a.depth > b.depth; });
    std::vector<Eigen::Vector3d> sums(std::size_t{width} * height, Eigen::Vector3d::Zero());
    for (const auto& [box, depth, color] : quads) {
        const Eigen::Vector3d rgb = color.head<3>().cast<double>();
        const auto alpha = static_cast<double>(color.w());
        for (int y = box[1]; y < box[3]; ++y)
            for (int x = box[0]; x < box[2]; ++x) {
                Eigen::Vector3d& pixel =
                    sums[static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)];
                pixel = alpha * rgb + (1 - alpha) * pixel;
            }
    }
    Picture picture;
    picture.reserve(sums.size());
    for (const Eigen::Vector3d& sum : sums)
        picture.emplace_back(static_cast<float>(sum.x()), static_cast<float>(sum.y()),
                             static_cast<float>(sum.z()), 1.F);
    return picture;
}

Error compare(const Picture& picture, const Picture& exact) {
    Error error;
    for (std::size_t i = 0; i < exact.size(); ++i) {
        const Eigen::Vector3d difference = (picture[i] - exact[i]).head<3>().cast<double>().cwiseAbs() * 255;
        error.largest = std::max(error.largest, difference.maxCoeff());
        error.mean += difference.sum();
    }
    error.mean /= 3 * static_cast<double>(exact.size());
    return error;
}

} // namespace Veltrand::GL::TransparencyScene
