// SPDX-License-Identifier: BSD-3-Clause
#include "apps/GalleryRun.h"
#include "apps/NiftiFile.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace Veltrand {
namespace {

using Testing::NiftiFile;

// A head of two halves, of which the patient's left is region 1 and the right is region 2.
TEST(PickingGL, AnswersWithTheRegionsUnderTheClicks) {
    constexpr int Edge = 12;
    NiftiFile file;
    file.dimensions = {3, Edge, Edge, Edge, 1, 1, 1, 1};
    file.sformCode = 1;
    file.sform = {4, 0, 0, -22, 0, 4, 0, -22, 0, 0, 4, -22};
    std::vector<std::uint8_t> voxels;
    for (int i = 0; i < Edge * Edge * Edge; ++i)
        voxels.push_back(i % Edge < Edge / 2 ? 1 : 2);
    file.setVoxels(voxels);
    const Testing::TemporaryDirectory directory;
    const std::string head = directory.write("head.nii", file.plain()).string();
    (void)directory.write("head.nii.txt", "1 Left 2001\r\n");
    const auto result =
        Testing::runGalleryProgram({"--volume", head, "--labels", head, "--out", directory.path().string(),
                                    "--size", "901x480", "picking", "composited"},
                                   directory.path());
    ASSERT_EQ(result.status, 0) << result.errors;

    std::istringstream answers(Testing::readFile(directory.path() / "picking.json"));
    std::map<int, int> onSlice;
    std::map<int, int> onSurfaces;
    std::string line;
    while (std::getline(answers, line)) {
        int x = 0;
        int y = 0;
        int region = 0;
        if (std::sscanf(line.c_str(), R"( {"panel": "slice", "point": [%d, %d], "region": %d)", &x, &y,
                        &region) >= 2) {
            ++onSlice[region];
            EXPECT_EQ(region, x < 225 ? 2 : 1) << line; // the patient's right is on the left
            EXPECT_NE(line.find(region == 1 ? R"("name": "Left")" : R"("name": "2")"), std::string::npos);
        } else if (std::sscanf(line.c_str(), R"( {"panel": "surfaces", "point": [%d, %d], "region": %d)", &x,
                               &y, &region) >= 2) {
            ++onSurfaces[region];
        }
    }
    EXPECT_EQ(onSlice[1], onSlice[2]);
    EXPECT_EQ(onSlice[0], 0);
    EXPECT_GT(onSurfaces[0], 5);
    EXPECT_GT(onSurfaces[1], onSurfaces[2]); // seen from the patient's left
    EXPECT_GT(onSurfaces[2], 5);
}

} // namespace
} // namespace Veltrand
