// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/NodeBudget.h>

#include <gtest/gtest.h>

namespace Veltrand::GL {

constexpr std::int64_t mebibyte = std::int64_t{1} << 20;
constexpr std::int64_t vga = std::int64_t{800} * 600;

TEST(NodeBudget, StaysWithinAStorageBlockAndThirtyTwoBits) {
    const struct {
        std::int64_t blockSize, pixels;
        int nodesPerPixel;
        unsigned capacity;
    } cases[] = {
        {128 * mebibyte, vga, 23, 11'040'000},
        {128 * mebibyte, vga, 24, 11'184'810},
        // 2^28 pixels with 16 nodes each would wrap around to none.
        {std::int64_t{1} << 62, std::int64_t{1} << 28, 16, 0x55555555},
    };
    for (const auto& c : cases)
        EXPECT_EQ(NodeBudget::fromBlockSize(c.blockSize).capacity(c.pixels, c.nodesPerPixel), c.capacity)
            << c.pixels << " pixels with " << c.nodesPerPixel;
}

TEST(NodeBudget, GrowsByWhatAFrameAskedFor) {
    const struct {
        unsigned demand;
        std::int64_t framePixels, imagePixels;
        int current, grown;
    } cases[] = {
        {1'920'001, vga, vga, 4, 6},
        {11'000'000, vga, vga, 4, 23},          // 24 would be one more than the driver can hold
        {0xFFFFFFFF, 1, vga, 4, 23},            // one pixel that asks for all there are
        {5'000'000, 0, vga, 4, 4},              // a frame without pixels
        {5'000'000, vga, 0, 4, 4},              // no image yet
        {20'000'000, vga, 20 * vga, 4, 4},      // not even one per pixel
        {12'000'000, 2 * vga, 2 * vga, 23, 23}, // never fewer
    };
    for (const auto& c : cases)
        EXPECT_EQ(NodeBudget::fromBlockSize(128 * mebibyte)
                      .grownNodesPerPixel(c.demand, c.framePixels, c.imagePixels, c.current),
                  c.grown)
            << c.demand << " in " << c.framePixels;
}

} // namespace Veltrand::GL
