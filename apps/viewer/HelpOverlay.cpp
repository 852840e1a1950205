// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/HelpOverlay.h"

#include "scene/Annotator.h"
#include "scene/BoxPainter.h"
#include "viewer/PaneOverlay.h"

#include <Veltrand/GL/Blending.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Veltrand::Apps {

namespace {

using AlignmentH = GL::TextRenderer::AlignmentH;
using AlignmentV = GL::TextRenderer::AlignmentV;

/// The lines as pairs of an input and what it does.
std::vector<std::pair<std::string, std::string>> helpLines() {
    std::vector<std::pair<std::string, std::string>> lines;
    for (const std::string& line : GL::TextRenderer::splitLines(std::string(inputHelp()))) {
        const std::size_t end = line.find("  ");
        const std::size_t start = line.find_first_not_of(' ', std::min(end, line.size()));
        if (start != std::string::npos)
            lines.emplace_back(line.substr(0, end), line.substr(start));
    }
    return lines;
}

} // namespace

std::string_view inputHelp() {
    return R"(left drag           slice: move the cross-hair; surfaces: rotate
click               name the region there, or its value
wheel               slice: go through slices; surfaces: zoom
ctrl + wheel        zoom at the pointer
middle drag         move the picture
right drag          window: across its width, up brighter
shift + left drag   measure a distance
m                   measure by left drags, or no longer
Delete              take back the last distance
o                   show or hide the regions in slices
t                   opaque or translucent surfaces
r                   first view again
s                   save a picture
h                   show or hide this help
q, Escape           quit
)";
}

void drawHelp(const Eigen::Vector2i& windowSize) {
    const GL::Viewport window{0, 0, windowSize.x(), windowSize.y()};
    const auto lines = helpLines();
    // In lines of text.
    const Eigen::Vector2d extent(36, 1.25 * (static_cast<double>(lines.size()) + 1.5));
    const Eigen::Vector2d wanted = extent * Annotator(window, TextPoints).lineHeight();
    const double fit = std::min(1.0, windowSize.cast<double>().cwiseQuotient(wanted).minCoeff());
    const Annotator annotator(window, std::max(5, static_cast<int>(fit * TextPoints)));

    const double height = 1.25 * annotator.lineHeight();
    const Eigen::Vector2d size = extent * annotator.lineHeight();
    const Eigen::Vector2d lowerLeft = (windowSize.cast<double>() - size) / 2;
    {
        const GL::Blending blending(GL::Blending::Preset::Alpha);
        const Eigen::Vector2i corner = lowerLeft.cast<int>();
        const Eigen::Vector2i pixels = size.cast<int>();
        BoxPainter::get()->fill({corner.x(), corner.y(), pixels.x(), pixels.y()}, {0.08F, 0.1F, 0.14F, 0.9F});
    }
    const auto input = annotator.font({1, 0.85, 0.25, 1});
    const auto meaning = annotator.font({0.92, 0.92, 0.92, 1});
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Eigen::Vector2d place =
            lowerLeft + Eigen::Vector2d(height, size.y() - (static_cast<double>(i) + 1.5) * height);
        annotator.text(lines[i].first, place, input, AlignmentH::Left, AlignmentV::Baseline);
        annotator.text(lines[i].second, place + Eigen::Vector2d(10 * annotator.lineHeight(), 0), meaning,
                       AlignmentH::Left, AlignmentV::Baseline);
    }
}

} // namespace Veltrand::Apps
