// SPDX-License-Identifier: BSD-3-Clause
#include "scene/EmbeddedRepository.h"
#include "scene/OpenGL.h"
#include "support/Nifti.h"
#include "support/Notices.h"
#include "support/Program.h"
#include "viewer/Options.h"
#include "viewer/ScriptPlayer.h"

#include <Veltrand/Core/Log.h>

#include <ViewerShaders.h>
#include <iostream>
#include <stdexcept>

namespace Veltrand::Apps {

namespace {

constexpr const char* Name = "veltrandgl-viewer";

std::vector<std::string> loadNames(const ViewerOptions& options, const std::filesystem::path& labels) {
    if (!options.names)
        return readRegionNames(namesBeside(labels));
    std::vector<std::string> names = readRegionNames(*options.names);
    if (names.empty())
        throw std::runtime_error("there are no names of regions in " + options.names->string() + ".");
    return names;
}

Study loadStudy(const ViewerOptions& options) {
    const std::filesystem::path file = options.volume.value_or(DefaultVolume);
    Study study{readNifti(file)};
    logNotices(noticesOf(study.volume, file.string()), "Viewer");
    std::optional<std::filesystem::path> labels = options.labels;
    if (!labels && !options.volume)
        labels = DefaultLabels;
    if (labels) {
        study.labels = readNifti(*labels);
        study.regionNames = loadNames(options, *labels);
        logNotices(noticesOfLabels(*study.labels, labels->string(), study.volume, file.string()), "Viewer");
    }
    return study;
}

int show(const ViewerOptions& options) {
    Log::setGlobalLevel(options.verbose ? Log::Debug : Log::Warning);
    std::vector<ScriptCommand> script;
    if (options.script)
        script = readScript(*options.script);
    const Study study = loadStudy(options);
    const std::filesystem::path file = options.volume.value_or(DefaultVolume);
    GlfwWindow window(options.size, file.filename().string() + " - veltrandgl-viewer");
    const OpenGL openGl(OpenGL::On::CurrentContext, options.verbose);
    const SceneShaders sharedShaders;
    const EmbeddedRepository shaders("VeltrandViewer", ViewerShaders, ViewerShadersCount);
    Viewer viewer(window, study, options.level);
    if (!options.script || playScript(script, *options.script, viewer))
        viewer.run();
    if (viewer.errors() > 0)
        std::cerr << Name << ": there were OpenGL errors: " << viewer.errors() << ".\n";
    return viewer.errors() > 0 ? 1 : 0;
}

/// Mistakes in scripts are told by place, for editors, and not by the program's name.
int showOrPlaceMistake(const ViewerOptions& options) {
    try {
        return show(options);
    } catch (const ScriptError& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}

} // namespace

} // namespace Veltrand::Apps

int main(int argc, char** argv) {
    using namespace Veltrand::Apps;
    const ProgramText program{Name, viewerUsage(), viewerHelp()};
    return runProgram<ViewerOptions>(program, argc, argv, parseViewerOptions, showOrPlaceMistake);
}
