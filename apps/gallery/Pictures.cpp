// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Pictures.h"

#include <array>

namespace Veltrand::Apps {

namespace {

constexpr std::array<Picture, 10> AllPictures{{
    {"slices", "axial, coronal and sagittal slices through one point",
     "Three slices through a head in grey, with letters for the sides of the patient around each and "
     "coloured lines where the other two slices cross it.",
     "gallery/SlicesPicture.cpp", drawSlices},
    {"projection", "the brightest voxels along three axes",
     "A head seen through from above, from the front and from the side, in grey like fine mist.",
     "gallery/ProjectionPicture.cpp", drawProjection},
    {"filtered", "a detail raw, after a 3x3x3 mean, and as the length of its gradient",
     "Three squares of the same detail: raw, softened, and as bright outlines on black.",
     "gallery/FilteredPicture.cpp", drawFiltered},
    {"transparency", "regions within the head as translucent surfaces, by two ways of drawing",
     "A glassy brain with coloured structures in its midst, twice and alike: unsorted and "
     "order-independent on the left, sorted and blended on the right.",
     "gallery/TransparencyPicture.cpp", drawTransparency},
    {"lines", "a test card of wide lines: widths, joins, stipples, colours",
     "Bars of growing width, corners from flat to acute, closed loops, dashed waves, a spiral in all "
     "colours, and a grid on the ground that runs up to the eye.",
     "gallery/LinesPicture.cpp", drawLines},
    {"text", "sizes, styles, scripts, alignments, decorations and shadows of text",
     "Sentences in sizes from 8 to 96 pixels, in four styles, in Latin, Greek and Cyrillic letters, placed "
     "around cross-hairs, and with outlines on white, black and noise.",
     "gallery/TextPicture.cpp", drawText},
    {"fixedfunction", "legacy drawing on a core context, and by the driver's own pipeline",
     "Points, lines, dashes, a colour cube and a textured slice in a box, twice: as the library draws them "
     "on the left, and as the driver does on the right.",
     "gallery/FixedFunctionPicture.cpp", drawFixedFunction},
    {"picking", "the regions under a grid of clicks, on a slice and on surfaces; also as picking.json",
     "A slice and a brain whose regions are coloured, with dots in a grid and the name of the region "
     "under each.",
     "gallery/PickingPicture.cpp", drawPicking, "picking.json"},
    {"composited", "surfaces, lines and text, drawn apart and put together in several ways",
     "The regions of a brain within the edges of a box, four times: unchanged, grey, in the colours of a "
     "flame, and with a yellow outline.",
     "gallery/CompositedPicture.cpp", drawComposited},
    {"annotation", "slices through a region with its contour, a distance and labels",
     "Three slices around the left hippocampus, whose contour is dashed in green, named and measured; "
     "below them specimens of styles and alignments of text.",
     "scene/Annotator.cpp", drawAnnotation},
}};

} // namespace

Utils::Span<const Picture> allPictures() {
    return AllPictures;
}

} // namespace Veltrand::Apps
