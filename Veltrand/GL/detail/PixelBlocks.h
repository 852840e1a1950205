// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Geometry>
#include <array>
#include <cstddef>
#include <map>
#include <vector>

namespace Veltrand::GL {

/// The pixels that are read to know those at some positions: boxes around positions that are close to each
/// other, one after the other in memory. A further call costs about as much as some hundred further pixels.
class PixelBlocks {
public:
    struct Block {
        Eigen::AlignedBox2i box;
        std::size_t first = 0; ///< index of its first pixel in memory

        [[nodiscard]] Eigen::Vector2i size() const { return box.sizes() + Eigen::Vector2i::Ones(); }
        [[nodiscard]] std::size_t numPixels() const;
    };
    using Blocks = std::map<std::array<int, 2>, Block>;

    /// @param positions of which none is negative
    explicit PixelBlocks(const std::vector<Eigen::Vector2i>& positions);

    [[nodiscard]] const Blocks& blocks() const { return m_blocks; }
    [[nodiscard]] std::size_t numPixels() const { return m_numPixels; }
    /// The index in memory of the pixel at one of the positions.
    [[nodiscard]] std::size_t indexOf(const Eigen::Vector2i& position) const;

private:
    [[nodiscard]] std::array<int, 2> key(const Eigen::Vector2i& position) const;

    static constexpr int squareSide = 32;

    int m_side = squareSide; ///< of the squares whose positions share a block
    Blocks m_blocks;
    std::size_t m_numPixels = 0;
};

} // namespace Veltrand::GL
