// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The volume that image programs and their peers compute, and what has to come out.
namespace Veltrand::GL::VolumeWork {

constexpr int edge = 256;
constexpr std::size_t numVoxels = std::size_t{edge} * edge * edge;
constexpr float threshold = 500;

/// Values from 0 to 999.
std::vector<float> makeVolume();

/// GLSL statements that compute `value` from `sampler3D volume` at the voxel `ivec3 p`; coordinates beyond
/// the border read the border. The mean is over the 27 neighbours.
extern const std::string thresholdStatements;
extern const std::string meanStatements;

/// What differs from the expected result in voxels off the border, for `State::SkipWithError`; null if
/// nothing.
const char* findThresholdError(const std::vector<float>& input, const float* output);
const char* findMeanError(const std::vector<float>& input, const float* output);

} // namespace Veltrand::GL::VolumeWork
