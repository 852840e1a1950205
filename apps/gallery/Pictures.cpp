// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Pictures.h"

#include <array>

namespace Veltrand::Apps {

namespace {

constexpr std::array<Picture, 10> AllPictures{{
    {"slices", "axial, coronal and sagittal slices through one point", drawSlices},
    {"projection", "the brightest voxels along three axes", drawProjection},
    {"filtered", "a detail raw, after a 3x3x3 mean, and as the length of its gradient", drawFiltered},
    {"transparency", "regions within the head as translucent surfaces, by two ways of drawing",
     drawTransparency},
    {"lines", "a test card of wide lines: widths, joins, stipples, colours", drawLines},
    {"text", "sizes, styles, scripts, alignments, decorations and shadows of text", drawText},
    {"fixedfunction", "legacy drawing on a core context, and by the driver's own pipeline",
     drawFixedFunction},
    {"picking", "the regions under a grid of clicks, on a slice and on surfaces; also as picking.json",
     drawPicking},
    {"composited", "surfaces, lines and text, drawn apart and put together in several ways", drawComposited},
    {"annotation", "slices through a region with its contour, a distance and labels", drawAnnotation},
}};

} // namespace

Utils::Span<const Picture> allPictures() {
    return AllPictures;
}

} // namespace Veltrand::Apps
