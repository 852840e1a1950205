// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Options.h"

#include <array>
#include <cmath>

namespace Veltrand::Apps {

namespace {

Eigen::Vector3d parsePoint(std::string_view text) {
    std::array<double, 3> point{};
    if (!parseNumbers(text, ',', point) || !std::isfinite(point[0] + point[1] + point[2]))
        throw UsageError("--point takes X,Y,Z in millimetres, not '" + std::string(text) + "'.");
    return {point[0], point[1], point[2]};
}

} // namespace

GalleryOptions parseOptions(Utils::Span<const char* const> arguments) {
    GalleryOptions options;
    Arguments line(arguments);
    bool onlyPictures = false;
    while (!line.atEnd()) {
        const std::string_view argument = line.take();
        std::string_view value;
        if (onlyPictures || argument.empty() || argument.front() != '-')
            options.pictures.emplace_back(argument);
        else if (argument == "--")
            onlyPictures = true;
        else if (line.takeValue(argument, "--volume", value))
            options.volume = value;
        else if (line.takeValue(argument, "--labels", value))
            options.labels = value;
        else if (line.takeValue(argument, "--out", value))
            options.directory = value;
        else if (line.takeValue(argument, "--size", value))
            options.size = parseSize("--size", value);
        else if (line.takeValue(argument, "--point", value))
            options.point = parsePoint(value);
        else if (argument == "--list")
            options.list = true;
        else if (argument == "--verbose")
            options.verbose = true;
        else if (!takeQuestion(argument, options.question))
            throw UsageError("There is no option '" + std::string(argument) + "'.");
    }
    return options;
}

std::string_view usage() {
    return "usage: veltrandgl-gallery [--volume FILE] [--labels FILE] [--out DIR] [--size WxH] [--point "
           "X,Y,Z] [--list] [--verbose] [--version] [--help] [PICTURE...]";
}

std::string_view help() {
    return R"(
Makes pictures of a volume with OpenGL and writes them as PNG files; all of them unless some are named. Beside
them goes a page, index.html, that holds each with its time and the lines of source that draw it.

  --volume FILE   a NIfTI-1 file, plain or gzip compressed; by default the brain template of Debian's
                  package mricron-data, /usr/share/mricron/templates/ch2better.nii.gz. Of several volumes in it
                  the first is shown
  --labels FILE   a NIfTI-1 file in the same space, of any voxels, with the numbers of regions, counted as in the
                  AAL atlas; by default that atlas, aal.nii.gz beside the brain template, if the template is shown
  --out DIR       where the files go, made if it is not there; by default gallery
  --size WxH      pixels of a picture; by default 1600x720
  --point X,Y,Z   where slices meet, in millimetres to the patient's right, front and head; by default the
                  middle of the volume; the slices of annotation meet in its region
  --list          name the pictures and end
  --verbose       show what the library logs on standard error, not only its warnings
  --version       name and version
  --help          this text

Slices follow the radiological convention, the patient's right on the viewer's left; letters mark the sides
(L left, R right, A anterior, P posterior, S superior, I inferior). Black is the 1st and white the 99.5th
percentile of the voxels above the volume's lowest value.

Exit status: 0 when all pictures were made without an OpenGL error, 1 otherwise, 2 for a wrong command line.
)";
}

} // namespace Veltrand::Apps
