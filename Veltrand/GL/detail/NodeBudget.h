// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Veltrand::GL {

/// How many list nodes order-independent transparency may have. Pure arithmetic, which does not overflow.
struct NodeBudget {
    static constexpr std::int64_t bytesPerNode = 12;
    /// Shaders number the three words of all nodes with 32 bits.
    static constexpr std::int64_t largestCapacity = 0x55555555;

    std::int64_t maxNodes = 0;

    /// What fits into one storage block.
    static constexpr NodeBudget fromBlockSize(std::int64_t bytes) {
        return {std::clamp<std::int64_t>(bytes / bytesPerNode, 0, largestCapacity)};
    }

    /// The capacity for an image of this many pixels.
    [[nodiscard]] constexpr unsigned capacity(std::int64_t imagePixels, int nodesPerPixel) const {
        if (nodesPerPixel <= 0 || imagePixels <= 0)
            return 0;
        if (imagePixels > maxNodes / nodesPerPixel)
            return static_cast<unsigned>(maxNodes);
        return static_cast<unsigned>(imagePixels * nodesPerPixel);
    }

    /// Nodes per pixel after a frame of @p framePixels asked for @p demand nodes, with one to spare. Never
    /// fewer than @p current; more only as far as the image's capacity follows.
    [[nodiscard]] int grownNodesPerPixel(unsigned demand, std::int64_t framePixels, std::int64_t imagePixels,
                                         int current) const {
        if (framePixels <= 0 || imagePixels <= 0)
            return current;
        const auto wanted = static_cast<std::int64_t>(
                                std::ceil(static_cast<float>(demand) / static_cast<float>(framePixels))) +
                            1;
        const std::int64_t affordable = maxNodes / imagePixels;
        return std::max(current, static_cast<int>(std::min(wanted, affordable)));
    }

    /// The most that the capacity of an image can come to by growing from @p current nodes per pixel.
    [[nodiscard]] constexpr unsigned largestGrowth(std::int64_t imagePixels, int current) const {
        if (imagePixels <= 0)
            return 0;
        return capacity(imagePixels, std::max(current, static_cast<int>(maxNodes / imagePixels)));
    }
};

} // namespace Veltrand::GL
