// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/ImagePlan.h>

#include <gtest/gtest.h>
#include <limits>

namespace Veltrand::GL {

namespace {

using Geometry::AlignedBox3d;

AlignedBox3d box(double x0, double y0, double z0, double x1, double y1, double z1) {
    return {{x0, y0, z0}, {x1, y1, z1}};
}

} // namespace

TEST(ImagePlan, RegionIsTheRoundedPartOfTheBoxInTheImage) {
    constexpr double huge = std::numeric_limits<double>::max();
    const struct {
        const char* what;
        std::array<int, 3> size;
        AlignedBox3d box;
        ImageRegion region;
    } cases[] = {
        {"no box", {8, 6, 4}, {}, {0, 0, 8, 6, 0, 4}},
        {"beyond all faces", {8, 6, 4}, box(-huge, -9, -1, huge, 9, 5), {0, 0, 8, 6, 0, 4}},
        {"beyond the upper corner", {8, 6, 4}, box(6, 4, 3, 20, 20, 20), {6, 4, 2, 2, 3, 1}},
        {"origin and size are rounded", {8, 6, 4}, box(0.4, 1.6, 0.4, 2.8, 3.4, 1.6), {0, 2, 2, 2, 0, 1}},
        {"rounded up to the last texel", {8, 6, 4}, box(0.5, 0.5, 0.5, 8, 6, 4), {1, 1, 7, 5, 1, 3}},
        {"one slice ignores z inside it", {8, 6, 1}, box(1, 1, 0.9, 3, 3, 1.7), {1, 1, 2, 2, 0, 1}},
        {"beside the image", {8, 6, 4}, box(8, 0, 0, 9, 6, 4), {}},
        {"rounded to no slice", {8, 6, 4}, box(2, 2, 2, 4, 4, 2.4), {}},
        {"without width", {8, 6, 4}, box(2, 2, 2, 2, 4, 4), {}},
        {"behind one slice", {8, 6, 1}, box(0, 0, 2, 8, 6, 3), {}},
    };
    for (const auto& c : cases) {
        const ImageRegion region = planRegion(c.size, c.box);
        EXPECT_EQ(region.isEmpty() ? ImageRegion{} : region, c.region) << c.what;
    }
}

TEST(ImagePlan, ChunksStayBelowTheTimeLimit) {
    const struct {
        const char* what;
        int slices;
        double milliseconds;
        TimeoutSettings settings;
        std::array<int, 4> plan; // chunks, slices per chunk, last chunk, finish interval
    } cases[] = {
        {"split", 1050, 1000, {}, {4, 240, 40, 4}},
        {"nothing left", 50, 9000, {}, {0, 0, 0, 50}},
        {"estimate exactly at the limit", 290, 1000, {}, {0, 0, 240, 290}},
        {"one slice more", 291, 1000, {}, {1, 240, 1, 1}},
        {"a slice takes longer than the limit", 52, 500000, {}, {2, 1, 0, 2}},
        {"too fast to be measured", 5000, 0, {}, {0, 0, 4950, 5000}},
        {"forced", 60, 1, {.initialSlices = 50, .forcedChunks = 3, .forceSplit = true}, {3, 3, 1, 3}},
        {"forced into more than there are", 52, 1, {50, 3, true}, {0, 0, 2, 3}},
        {"forced into none", 60, 1, {50, 0, true}, {1, 10, 0, 1}},
    };
    for (const auto& c : cases) {
        const ChunkPlan plan = planChunks(c.slices, c.milliseconds, c.settings);
        EXPECT_EQ((std::array{plan.chunks, plan.slicesPerChunk, plan.lastChunk, plan.finishInterval}), c.plan)
            << c.what;
    }
}

TEST(ImagePlan, DefineIsALineOfItsOwn) {
    const std::pair<std::string, std::string> cases[] = {
        {"#define B 1\n", "#define B 1\n#define A\n"},
        {"#define B 1", "#define B 1\n#define A\n"},
        {"#define A", "#define A\n"},
        {"#define B\n#define A\n#define C\n", "#define B\n#define A\n#define C\n"},
        {"#define AB\n", "#define AB\n#define A\n"},
    };
    for (const auto& [defines, expected] : cases)
        EXPECT_EQ(withDefine(defines, "A"), expected);
}

} // namespace Veltrand::GL
