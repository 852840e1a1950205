// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Viewport.h>
#include <Veltrand/GL/detail/DrawCalls.h>
#include <Veltrand/GL/detail/Texels.h>

#include <Eigen/Core>
#include <bit>
#include <cmath>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <limits>

namespace Veltrand::GL {

TEST(Texels, SizesNeitherNarrowNorOverflow) {
    constexpr auto most = std::numeric_limits<std::size_t>::max();
    constexpr int longest = std::numeric_limits<int>::max();
    EXPECT_EQ(saturatingProduct({2048, 2048, 2048}), std::size_t{1} << 33U);
    EXPECT_EQ(saturatingProduct({longest, longest, longest}), most);
    EXPECT_EQ(rowAlignment(3, PixelFormat::RGB, PixelType::UByte), 1);
    EXPECT_EQ(rowAlignment(2, PixelFormat::RGBA, PixelType::UByte), 8);
    EXPECT_TRUE((Viewport{longest - 1, 0, 100, 1}.includesPoint({longest, 0})));
    EXPECT_FALSE((Viewport{10, 20, 100, 50}.includesPoint({110, 20})));
    EXPECT_EQ(saturatingProduct({5, -1, 4}), 0U);
    // 16384 squared texels of 16 bytes are 4 GiB; one row more has to show.
    EXPECT_EQ(imageSize(16384, 16385, PixelFormat::RGBA, PixelType::Float),
              (std::size_t{1} << 32U) + (std::size_t{1} << 18U));
    EXPECT_EQ(imageSize(longest, most, PixelFormat::RGBA, PixelType::Float), most);
    // Rows of a packed type are padded to 8 bytes, the last one ends with its last texel.
    EXPECT_EQ(imageSize(3, 2, PixelFormat::DepthStencil, PixelType::UInt248), 28U);
    EXPECT_EQ(imageSize(3, 2, PixelFormat::DepthStencil, PixelType::Float32UInt248Rev), 48U);
}

TEST(Texels, ClearValuesScaleColoursButNeitherDepthNorStencil) {
    const std::int8_t bytes[] = {127, -127, 0, 1};
    const auto color = clearValue(PixelFormat::RGBA, PixelType::Byte, bytes).color;
    EXPECT_EQ(color, (std::array<float, 4>{1.0F, -1.0F, 0.0F, 1.0F / 127}));
    const std::uint32_t words[] = {0x80000000, 3, 0, 0xFFFFFFFF};
    EXPECT_FLOAT_EQ(clearValue(PixelFormat::RGBA, PixelType::UInt, words).color[0], 0.5F);
    const float depth = 0.25F;
    EXPECT_EQ(clearValue(PixelFormat::DepthComponent, PixelType::Float, &depth).depth, 0.25F);
    const std::uint8_t stencil = 200;
    EXPECT_EQ(clearValue(PixelFormat::StencilIndex, PixelType::UByte, &stencil).stencil, 200);
}

TEST(Texels, DepthAndStencilArePackedAndClamped) {
    const auto word = [](double depth, double stencil) {
        return packDepthStencil(InternalFormat::Depth24Stencil8, depth, stencil).words[0];
    };
    EXPECT_EQ(word(1.0, 255), 0xFFFFFFFFU);
    EXPECT_EQ(word(0.5, 7), 0x80000007U);
    EXPECT_EQ(word(-2, 300), 0x000000FFU);
    EXPECT_EQ(word(std::nan(""), -1), 0U);
    const auto packed = packDepthStencil(InternalFormat::Depth32FStencil8, 0.25, 9);
    EXPECT_EQ(packed.type, PixelType::Float32UInt248Rev);
    EXPECT_EQ(packed.words, (std::array<std::uint32_t, 2>{std::bit_cast<std::uint32_t>(0.25F), 9}));
    EXPECT_EQ(toInt(-1e30), std::numeric_limits<int>::min());
    EXPECT_EQ(toInt(-1.9), -1);
    EXPECT_EQ(toUInt(5e9), 0xFFFFFFFFU);
    EXPECT_EQ(toUInt(std::nan("")), 0U);
}

TEST(Texels, OneDimensionalArrayClearsAreTrustedToRecentMesaOnly) {
    const std::pair<const char*, bool> cases[] = {
        {"4.5 (Core Profile) Mesa 22.3.6", false},
        {"4.6 Mesa 21.2", false},
        {"4.6 Mesa 21.1.9", true},
        {"4.6.0 NVIDIA 535.54", true},
        {"", true},
    };
    for (const auto& [version, needed] : cases)
        EXPECT_EQ(needsClear1DArrayWorkaround(version), needed) << version;
}

TEST(VertexRuns, EachRestartBeginsARunUnlessItGoesBack) {
    const struct {
        std::vector<unsigned long> restarts;
        std::vector<int> firsts, counts;
    } cases[] = {
        {{4, 4, 7}, {0, 4, 7}, {4, 3, 3}}, {{10}, {0}, {10}},           {{}, {0}, {10}},
        {{0, 5, 3}, {0, 5}, {5, 5}},       {{6, ~0UL}, {0, 6}, {6, 4}},
    };
    for (const auto& c : cases) {
        const VertexRuns runs = planVertexRuns(10, c.restarts);
        EXPECT_EQ(runs.firsts, c.firsts);
        EXPECT_EQ(runs.counts, c.counts);
    }
}

} // namespace Veltrand::GL
