// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/PixelBlocks.h>

#include <limits>

namespace Veltrand::GL {

namespace {

constexpr std::size_t densePixels = 16; // for each position

} // namespace

std::size_t PixelBlocks::Block::numPixels() const {
    return static_cast<std::size_t>(size().x()) * static_cast<std::size_t>(size().y());
}

PixelBlocks::PixelBlocks(const std::vector<Eigen::Vector2i>& positions) {
    if (positions.empty())
        return;
    Block whole;
    for (const Eigen::Vector2i& position : positions)
        whole.box.extend(position);
    // Where positions are dense, sorting them costs more than reading what is between.
    if (whole.numPixels() > densePixels * positions.size())
        for (const Eigen::Vector2i& position : positions)
            m_blocks[key(position)].box.extend(position);
    if (whole.numPixels() <= m_blocks.size() * squareSide * squareSide || m_blocks.empty()) {
        m_side = std::numeric_limits<int>::max();
        m_blocks = {{{0, 0}, whole}};
    }
    for (auto& [key, block] : m_blocks) {
        block.first = m_numPixels;
        m_numPixels += block.numPixels();
    }
}

std::array<int, 2> PixelBlocks::key(const Eigen::Vector2i& position) const {
    return {position.y() / m_side, position.x() / m_side};
}

std::size_t PixelBlocks::indexOf(const Eigen::Vector2i& position) const {
    const Block& block = m_blocks.at(key(position));
    const Eigen::Vector2i offset = position - block.box.min();
    return block.first + static_cast<std::size_t>(offset.x()) +
           static_cast<std::size_t>(offset.y()) * static_cast<std::size_t>(block.size().x());
}

} // namespace Veltrand::GL
