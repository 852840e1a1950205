// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>

namespace Veltrand::GL {

/// Places glyph bitmaps in a square texture, row below row. Right and below each lie two free texels, so that
/// a quad may reach one texel further without showing a neighbour.
class GlyphPacking {
public:
    /// Edge of the texture, in texels.
    static constexpr int textureSize = 768;

    /// The texel of a bitmap's first column and row.
    struct Cell {
        int x;
        int y;
        [[nodiscard]] friend bool operator==(const Cell&, const Cell&) = default;
    };

    /// @param pixelSize the height that every row must have room for
    explicit GlyphPacking(int pixelSize)
        : m_pixelSize(pixelSize) {}

    /// Room for a bitmap of this size; nothing where there is none. A bitmap that is too wide for the current
    /// row closes it.
    [[nodiscard]] std::optional<Cell> place(int width, int height) {
        if (width >= lastColumn)
            return std::nullopt;
        if (width + m_x + 1 > lastColumn) {
            m_x = 0;
            m_y += m_rowHeight + gap;
            m_rowHeight = 0;
        }
        if (isFull() || m_y + height >= textureSize)
            return std::nullopt;
        const Cell cell{m_x, m_y};
        m_x += width + gap;
        if (height > m_rowHeight)
            m_rowHeight = height;
        return cell;
    }

    /// Whether nothing fits any more.
    [[nodiscard]] bool isFull() const { return m_pixelSize > textureSize - m_y; }

private:
    static constexpr int lastColumn = textureSize - 1;
    static constexpr int gap = 2;

    int m_pixelSize;
    int m_x = 1;
    int m_y = 1;
    int m_rowHeight = 0;
};

} // namespace Veltrand::GL
