// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/NodeBudget.h>

#include <gtest/gtest.h>

namespace Veltrand::GL {

namespace {

constexpr std::int64_t mebibyte = std::int64_t{1} << 20;
constexpr std::int64_t vga = std::int64_t{800} * 600;

TEST(NodeBudget, StaysWithinAStorageBlockAndThirtyTwoBits) {
    struct Case {
        std::int64_t blockSize, pixels;
        int nodesPerPixel;
        unsigned capacity;
    };
    for (const Case& c : {
             Case{128 * mebibyte, vga, 23, 11'040'000},
             Case{128 * mebibyte, vga, 24, 11'184'810},
             // 2^28 pixels with 16 nodes each would wrap around to none.
             Case{std::int64_t{1} << 62, std::int64_t{1} << 28, 16, 0x55555555},
             Case{mebibyte, std::int64_t{1} << 62, 2'147'483'647, 87381},
         })
        EXPECT_EQ(NodeBudget::fromBlockSize(c.blockSize).capacity(c.pixels, c.nodesPerPixel), c.capacity)
            << c.pixels << " pixels with " << c.nodesPerPixel;
}

TEST(NodeBudget, GrowsByWhatAFrameAskedFor) {
    struct Case {
        unsigned demand;
        std::int64_t framePixels, imagePixels;
        int current, grown;
    };
    for (const Case& c : {
             Case{5'000'000, vga, vga, 4, 12}, Case{1'920'001, vga, vga, 4, 6},
             Case{10'000'000, vga, vga, 4, 22},
             Case{11'000'000, vga, vga, 4, 23},          // 24 would be one more than the driver can hold
             Case{0xFFFFFFFF, 1, vga, 4, 23},            //
             Case{5'000'000, 0, vga, 4, 4},              // a frame without pixels
             Case{5'000'000, vga, 0, 4, 4},              // no image yet
             Case{20'000'000, vga, 20 * vga, 4, 4},      // not even one per pixel
             Case{12'000'000, 2 * vga, 2 * vga, 23, 23}, // never fewer
         })
        EXPECT_EQ(NodeBudget::fromBlockSize(128 * mebibyte)
                      .grownNodesPerPixel(c.demand, c.framePixels, c.imagePixels, c.current),
                  c.grown)
            << c.demand << " in " << c.framePixels;
}

} // namespace

} // namespace Veltrand::GL
