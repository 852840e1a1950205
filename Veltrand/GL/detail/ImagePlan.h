// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/AlignedBox.h>

#include <array>
#include <string>
#include <string_view>

namespace Veltrand::GL {

/// How long one draw of an image program may take at most, in milliseconds.
inline constexpr double imageTimeLimit = 4800;

/// The texels of an image that are computed.
struct ImageRegion {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int firstSlice = 0;
    int slices = 0;

    [[nodiscard]] bool isEmpty() const { return width <= 0 || height <= 0 || slices <= 0; }
    [[nodiscard]] friend bool operator==(const ImageRegion&, const ImageRegion&) = default;
};

/// The part of an image of @p size texels that lies in @p box, with edges rounded to whole texels; all of it
/// if the box is invalid, and none if the box lies beside the image.
[[nodiscard]] ImageRegion planRegion(const std::array<int, 3>& size, const Geometry::AlignedBox3d& box);

/// When and how the slices of an image are computed in several draws.
struct TimeoutSettings {
    int initialSlices = 50; ///< are computed first and timed
    int forcedChunks = 0;   ///< the chunks that `forceSplit` makes of the remaining slices
    bool forceSplit = false;
};

/// The draws for the slices that remain after the initial ones: `chunks` of `slicesPerChunk` slices, then
/// `lastChunk` slices.
struct ChunkPlan {
    double millisecondsPerSlice = 0;
    double estimate = 0; ///< milliseconds for all remaining slices
    int remaining = 0;
    int chunks = 0;
    int slicesPerChunk = 0;
    int lastChunk = 0;
    /// Slice by slice, the driver is waited for after this many slices.
    int finishInterval = 0;
};

/// @param slices all slices, including the initial ones
/// @param milliseconds what the initial slices took
[[nodiscard]] ChunkPlan planChunks(int slices, double milliseconds, const TimeoutSettings& settings);

/// Appends the line "#define NAME" unless @p defines has it already.
[[nodiscard]] std::string withDefine(std::string defines, std::string_view name);

} // namespace Veltrand::GL
