// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Pictures.h"

#include <array>

namespace Veltrand::Apps {

namespace {

constexpr std::array<Picture, 10> AllPictures{{
    {"slices", "axial, coronal and sagittal slices through one point", "gallery/SlicesPicture.cpp",
     drawSlices},
    {"projection", "the brightest voxels along three axes", "gallery/ProjectionPicture.cpp", drawProjection},
    {"filtered", "a detail raw, after a 3x3x3 mean, and as the length of its gradient",
     "gallery/FilteredPicture.cpp", drawFiltered},
    {"transparency", "translucent surfaces one within another, by two ways of drawing",
     "gallery/TransparencyPicture.cpp", drawTransparency},
    {"lines", "a test card of wide lines: widths, joins, stipples, colours", "gallery/LinesPicture.cpp",
     drawLines},
    {"text", "sizes, styles, scripts, alignments, decorations and shadows of text", "gallery/TextPicture.cpp",
     drawText},
    {"fixedfunction", "legacy drawing on a core context, and by the driver's own pipeline",
     "gallery/FixedFunctionPicture.cpp", drawFixedFunction},
    {"picking", "the regions under a grid of clicks, on a slice and on surfaces; also as picking.json",
     "gallery/PickingPicture.cpp", drawPicking, "picking.json"},
    {"composited", "surfaces, lines and text, drawn apart and put together in several ways",
     "gallery/CompositedPicture.cpp", drawComposited},
    {"annotation", "slices through a region with its contour, a distance and labels", "scene/Annotator.cpp",
     drawAnnotation},
}};

} // namespace

Utils::Span<const Picture> allPictures() {
    return AllPictures;
}

} // namespace Veltrand::Apps
