// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/GlyphPacking.h>
#include <Veltrand/GL/detail/TextPlacement.h>

#include <gtest/gtest.h>
#include <vector>

namespace Veltrand::GL {

namespace {

using Cell = GlyphPacking::Cell;
using AlignmentH = TextRenderer::AlignmentH;
using AlignmentV = TextRenderer::AlignmentV;

} // namespace

TEST(GlyphPacking, FillsRowsFromTheTop) {
    struct Request {
        int width;
        int height;
        std::optional<Cell> cell;
    };
    const struct {
        int pixelSize;
        std::vector<Request> requests;
    } cases[] = {
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

TEST(TextPlacement, PutsThePenWhereTheAlignmentSays) {
    const LineBox first({0, -4}, {31, 11});
    const LineBox last({0, -3}, {20, 9});
    EXPECT_EQ(horizontalOffset(AlignmentH::Left, first), 0);
    EXPECT_EQ(horizontalOffset(AlignmentH::Center, first), -15.5);
    EXPECT_EQ(horizontalOffset(AlignmentH::Right, first), -31);
    EXPECT_EQ(verticalOffset(AlignmentV::Top, first, last, 20, 3), -11);
    EXPECT_EQ(verticalOffset(AlignmentV::Center, first, last, 20, 3), 16); // 16.5 in whole pixels
    EXPECT_EQ(verticalOffset(AlignmentV::Baseline, first, last, 20, 3), 0);
    EXPECT_EQ(verticalOffset(AlignmentV::Bottom, first, last, 20, 3), 43);
    EXPECT_EQ(underlineY(100.25, first), 97.5);
    EXPECT_EQ(strikeThroughY(100.25, first), 104.5);
}

TEST(TextPlacement, ScalesSizesForTheDisplay) {
    const struct {
        int points;
        double dpiScale;
        int pixels;
    } cases[] = {{12, 1, 16},  {12, 1.25, 20}, {12, 2, 32}, {10, 1, 13}, {-1, 1, 16},
                 {-1, 3, 16},  {1, 1, 2},      {0, 1, 2},   {-7, 1, 2},  {2000000000, 8, 0xFFFF},
                 {12, NAN, 2}, {12, 0, 2}};
    for (const auto& [points, dpiScale, pixels] : cases)
        EXPECT_EQ(fontPixelSize(effectiveSize(points, dpiScale)), pixels) << points << " at " << dpiScale;
}

} // namespace Veltrand::GL
