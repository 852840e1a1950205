// SPDX-License-Identifier: BSD-3-Clause
#include "VolumeWork.h"

#include <cmath>

namespace Veltrand::GL::VolumeWork {

namespace {

constexpr int checkStep = 23; // of the voxels that are checked

std::size_t indexOf(int x, int y, int z) {
    return (static_cast<std::size_t>(z) * edge + static_cast<std::size_t>(y)) * edge +
           static_cast<std::size_t>(x);
}

double meanAt(const std::vector<float>& input, int x, int y, int z) {
    double sum = 0;
    for (int dz = -1; dz <= 1; ++dz)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx)
                sum += static_cast<double>(input[indexOf(x + dx, y + dy, z + dz)]);
    return sum / 27;
}

template<class Expected>
bool agrees(const float* output, const Expected& expected) {
    constexpr double tolerance = 1e-3; // of values up to a thousand
    for (int z = 1; z < edge - 1; z += checkStep)
        for (int y = 1; y < edge - 1; y += checkStep)
            for (int x = 1; x < edge - 1; x += checkStep)
                if (!(std::abs(static_cast<double>(output[indexOf(x, y, z)]) - expected(x, y, z)) <
                      tolerance))
                    return false;
    return true;
}

} // namespace

std::vector<float> makeVolume() {
    std::vector<float> voxels(numVoxels);
    for (std::size_t i = 0; i < voxels.size(); ++i)
        voxels[i] = static_cast<float>(i * 7919 % 1000);
    return voxels;
}

const std::string thresholdStatements = "float value = texelFetch(volume, p, 0).r >= 500.0 ? 1.0 : 0.0;\n";
const std::string meanStatements =
    "ivec3 before = max(p - 1, ivec3(0));\n"
    "ivec3 after = min(p + 1, textureSize(volume, 0) - 1);\n"
    "ivec3 xs = ivec3(before.x, p.x, after.x);\n"
    "ivec3 ys = ivec3(before.y, p.y, after.y);\n"
    "ivec3 zs = ivec3(before.z, p.z, after.z);\n"
    "float value = 0.0;\n"
    "for (int z = 0; z < 3; ++z)\n"
    "    for (int y = 0; y < 3; ++y)\n"
    "        for (int x = 0; x < 3; ++x)\n"
    "            value += texelFetch(volume, ivec3(xs[x], ys[y], zs[z]), 0).r;\n"
    "value *= 1.0 / 27.0;\n";

const char* findThresholdError(const std::vector<float>& input, const float* output) {
    const auto expected = [&input](int x, int y, int z) {
        return input[indexOf(x, y, z)] >= threshold ? 1.0 : 0.0;
    };
    return agrees(output, expected) ? nullptr : "this is not the threshold";
}

const char* findMeanError(const std::vector<float>& input, const float* output) {
    const auto expected = [&input](int x, int y, int z) { return meanAt(input, x, y, z); };
    return agrees(output, expected) ? nullptr : "this is not the mean";
}

} // namespace Veltrand::GL::VolumeWork
