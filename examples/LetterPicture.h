// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>
#include <Veltrand/GL/Texture.h>
#include <algorithm>
#include <cstddef>
#include <iostream>
#include <string_view>
#include <vector>

/// Prints an image as rows of characters, the brighter the denser, from the top down.
inline void printLetters(const Veltrand::GL::Texture& image) {
    constexpr std::string_view shades = " .:-=+*%@#";
    const std::vector<Eigen::Vector3f> texels = image.download<Eigen::Vector3f>();
    for (auto row = texels.end(); row != texels.begin();) {
        row -= image.width();
        for (auto texel = row; texel != row + image.width(); ++texel)
            std::cout << shades[static_cast<std::size_t>(std::clamp(texel->maxCoeff(), 0.0F, 1.0F) * 9.0F)];
        std::cout << '\n';
    }
}
