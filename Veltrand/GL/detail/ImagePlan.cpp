// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/ImagePlan.h>

#include <algorithm>
#include <cmath>

namespace Veltrand::GL {

namespace {

struct Extent {
    int begin;
    int length;
};

// Begin and length are rounded each for itself, which must not reach beyond the image.
Extent roundExtent(double begin, double length, int size) {
    const int first = static_cast<int>(std::lround(begin));
    return {first, std::min(static_cast<int>(std::lround(length)), size - first)};
}

} // namespace

ImageRegion planRegion(const std::array<int, 3>& size, const Geometry::AlignedBox3d& box) {
    const auto [width, height, depth] = size;
    if (!box.isValid())
        return {.width = width, .height = height, .slices = depth};
    const Eigen::Vector3d end = Eigen::Vector3i(width, height, depth).cast<double>();
    const auto inside = box.intersection({Eigen::Vector3d::Zero(), end});
    if (!inside.isValid())
        return {};
    const Eigen::Vector3d& begin = inside.min();
    const Eigen::Vector3d length = inside.size();
    const Extent x = roundExtent(begin.x(), length.x(), width);
    const Extent y = roundExtent(begin.y(), length.y(), height);
    const Extent z = depth > 1 ? roundExtent(begin.z(), length.z(), depth) : Extent{0, 1};
    return {x.begin, y.begin, x.length, y.length, z.begin, z.length};
}

ChunkPlan planChunks(int slices, double milliseconds, const TimeoutSettings& settings) {
    ChunkPlan plan;
    plan.millisecondsPerSlice = milliseconds / settings.initialSlices;
    plan.remaining = slices - settings.initialSlices;
    plan.estimate = plan.remaining * plan.millisecondsPerSlice;
    if (settings.forceSplit) {
        const int chunks = std::max(1, settings.forcedChunks);
        plan.slicesPerChunk = plan.remaining / chunks;
        plan.chunks = plan.slicesPerChunk > 0 ? chunks : 0;
        plan.lastChunk = plan.remaining % chunks;
        plan.finishInterval = chunks;
    } else if (plan.estimate > imageTimeLimit) {
        plan.slicesPerChunk = std::max(1, static_cast<int>(imageTimeLimit / plan.millisecondsPerSlice));
        plan.chunks = plan.remaining / plan.slicesPerChunk;
        plan.lastChunk = plan.remaining % plan.slicesPerChunk;
        plan.finishInterval = plan.chunks;
    } else {
        plan.lastChunk = plan.remaining;
        plan.finishInterval = slices;
    }
    return plan;
}

std::string withDefine(std::string defines, std::string_view name) {
    const std::string line = "#define " + std::string(name) + '\n';
    if (!defines.empty() && defines.back() != '\n')
        defines += '\n';
    if (!defines.starts_with(line) && defines.find('\n' + line) == std::string::npos)
        defines += line;
    return defines;
}

} // namespace Veltrand::GL
