// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/GlyphPacking.h>
#include <Veltrand/GL/detail/TextPlacement.h>

#include <gtest/gtest.h>
#include <vector>

namespace Veltrand::GL {

TEST(GlyphPacking, FillsRowsFromTheTop) {
    using Cell = GlyphPacking::Cell;
    using Request = std::tuple<int, int, std::optional<Cell>>;
    const std::pair<int, std::vector<Request>> cases[] = {
        {16, {{300, 10, Cell{1, 1}}, {300, 20, Cell{303, 1}}, {161, 5, Cell{605, 1}}, {1, 5, Cell{0, 23}}}},
        {16, {{0, 0, Cell{1, 1}}, {763, 9, Cell{3, 1}}}},
        {700,
         {{400, 700, Cell{1, 1}}, {300, 600, Cell{403, 1}}, {400, 9, std::nullopt}, {9, 9, std::nullopt}}},
        {768, {{9, 9, std::nullopt}}},
        // Glyphs higher than the size of their font end before the texture does.
        {700, {{9, 767, std::nullopt}, {9, 766, Cell{1, 1}}}},
        {500, {{767, 9, std::nullopt}, {766, 9, Cell{0, 3}}}},
    };
    for (const auto& [pixelSize, requests] : cases) {
        GlyphPacking packing(pixelSize);
        for (const auto& [width, height, cell] : requests)
            EXPECT_EQ(packing.place(width, height), cell) << pixelSize << ": " << width << " x " << height;
    }
}

TEST(TextPlacement, ScalesSizesForTheDisplay) {
    EXPECT_EQ(fontPixelSize(effectiveSize(12, 1.25)), 20);
    EXPECT_EQ(fontPixelSize(effectiveSize(10, 1)), 13);
    EXPECT_EQ(fontPixelSize(effectiveSize(-1, 3)), 16); // the default
    for (const int points : {1, 0, -7})
        EXPECT_EQ(fontPixelSize(effectiveSize(points, 1)), 2);
    EXPECT_EQ(fontPixelSize(effectiveSize(2000000000, 8)), 0xFFFF);
}

TEST(TextPlacement, DecoratesBelowTheBaselineAndThroughTheMiddle) {
    const LineBox reference({0, -4}, {10, 12}); // of letters with both kinds of stems
    EXPECT_EQ(underlineY(20.4, reference), 17.5);
    EXPECT_EQ(strikeThroughY(20.4, reference), 25.5);
}

} // namespace Veltrand::GL
