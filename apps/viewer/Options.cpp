// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/Options.h"

#include "viewer/HelpOverlay.h"
#include "viewer/Script.h"

namespace Veltrand::Apps {

namespace {

/// The lines of a text, each moved to the right.
std::string indented(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n') + 1);
        result.append("  ").append(line);
        text.remove_prefix(line.size());
    }
    return result;
}

} // namespace

ViewerOptions parseViewerOptions(Utils::Span<const char* const> arguments) {
    ViewerOptions options;
    Arguments line(arguments);
    bool onlyFiles = false;
    while (!line.atEnd()) {
        const std::string_view argument = line.take();
        std::string_view value;
        if (onlyFiles || argument.empty() || argument.front() != '-') {
            if (options.volume)
                throw UsageError("There is more than one FILE.");
            options.volume = argument;
        } else if (argument == "--")
            onlyFiles = true;
        else if (line.takeValue(argument, "--labels", value))
            options.labels = value;
        else if (line.takeValue(argument, "--names", value))
            options.names = value;
        else if (line.takeValue(argument, "--level", value))
            options.level = parseNumber("--level", value);
        else if (line.takeValue(argument, "--size", value))
            options.size = parseSize("--size", value);
        else if (line.takeValue(argument, "--script", value))
            options.script = value;
        else if (argument == "--verbose")
            options.verbose = true;
        else if (!takeQuestion(argument, options.question))
            throw UsageError("There is no option '" + std::string(argument) + "'.");
    }
    if (options.names && options.volume && !options.labels)
        throw UsageError("--names needs --labels.");
    return options;
}

std::string_view viewerUsage() {
    return "usage: veltrandgl-viewer [--labels FILE] [--names FILE] [--level VALUE] [--size WxH] [--script "
           "FILE] [--verbose] [--version] [--help] [FILE]";
}

std::string viewerHelp() {
    return R"(
Shows a volume in a window: three slices and surfaces that can be turned.

  FILE            a NIfTI-1 file, plain or gzip compressed; by default the brain template of Debian's package
                  mricron-data with its atlas. Of several volumes in it the first is shown
  --labels FILE   a NIfTI-1 file in the same space, of any voxels, with the numbers of regions, whose surfaces are
                  shown; without it the surface of the volume is
  --names FILE    the regions' names, lines of a number and a name; by default the text file beside the labels,
                  atlas.nii.txt for atlas.nii.gz
  --level VALUE   the value at which the volume's surface runs; by default the one that parts background from
                  foreground best
  --size WxH      of the window; by default 1024x768
  --script FILE   do what the script says
  --verbose       show what the library logs on standard error, not only its warnings
  --version       name and version
  --help          this text

Mouse and keys:

)" + indented(inputHelp()) +
           R"(
Slices follow the radiological convention, the patient's right on the viewer's left; letters mark the sides
(L left, R right, A anterior, P posterior, S superior, I inferior; '?' where the file does not say).

A script has a command on each line; '#' starts a comment:

)" + indented(scriptHelp()) +
           R"(
Exit status: 0 when the viewer was quit, 1 after an error, OpenGL's own included, 2 for a wrong command line.
)";
}

} // namespace Veltrand::Apps
