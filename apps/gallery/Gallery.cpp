// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Gallery.h"

#include "gallery/Canvas.h"
#include "gallery/GalleryPage.h"
#include "gallery/Pictures.h"
#include "gallery/ShaderRepository.h"
#include "scene/OpenGL.h"
#include "scene/RegionNames.h"
#include "scene/VolumeTexture.h"
#include "support/Nifti.h"
#include "support/Notices.h"
#include "support/OutputFile.h"
#include "support/Png.h"
#include "support/Program.h"

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/Functions.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <optional>
#include <system_error>
#include <thread>

#include <unistd.h>

namespace Veltrand::Apps {

namespace {

std::vector<const Picture*> choosePictures(const std::vector<std::string>& names) {
    std::vector<const Picture*> chosen;
    for (const std::string& name : names) {
        const auto found = std::find_if(allPictures().begin(), allPictures().end(),
                                        [&name](const Picture& picture) { return picture.name == name; });
        if (found == allPictures().end())
            throw UsageError("There is no picture '" + name + "', see --list.");
        chosen.push_back(&*found);
    }
    if (names.empty())
        for (const Picture& picture : allPictures())
            chosen.push_back(&picture);
    return chosen;
}

void listPictures() {
    for (const Picture& picture : allPictures())
        std::cout << picture.name << "  " << picture.description << '\n';
}

/// Fails early, before anything is read or drawn, when no picture could be written.
void prepareDirectory(const std::filesystem::path& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (!error && !std::filesystem::is_directory(directory, error) && !error)
        error = std::make_error_code(std::errc::not_a_directory);
    if (!error && ::access(directory.c_str(), W_OK | X_OK) != 0)
        error = std::error_code(errno, std::generic_category());
    if (error)
        throw std::runtime_error("cannot write to " + directory.string() + ": " + error.message() + ".");
}

Eigen::Vector3d choosePoint(const GalleryOptions& options, const Volume& volume) {
    const Eigen::AlignedBox3d bounds = volume.bounds();
    if (!options.point)
        return bounds.center();
    if (!bounds.contains(*options.point))
        throw std::runtime_error("cannot show " + options.volume.string() +
                                 " there: the point given lies outside the volume.");
    return *options.point;
}

/// The file of region numbers that was asked for, or the one that belongs to the volume shown unless told
/// otherwise; empty if there is none.
std::filesystem::path labelsFile(const GalleryOptions& options) {
    if (options.labels)
        return *options.labels;
    return options.volume == GalleryOptions().volume ? std::filesystem::path(DefaultLabels)
                                                     : std::filesystem::path();
}

std::string shownName(const GalleryOptions& options, const Volume& volume) {
    const std::string file = options.volume.filename().string();
    return volume.series == 1 ? file : file + " (the first of " + std::to_string(volume.series) + " volumes)";
}

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Makes one picture and prints its line.
GalleryPage::Entry makePicture(const Picture& picture, const Scene& scene, const GalleryOptions& options) {
    const Clock::time_point start = Clock::now();
    const std::filesystem::path file = options.directory / (std::string(picture.name) + ".png");
    Canvas canvas(options.size);
    canvas.begin();
    const std::string alternative = picture.draw(scene, canvas);
    writePng(file, options.size.x(), options.size.y(), canvas.read());
    const double seconds = secondsSince(start);
    std::array<char, 64> line{};
    std::snprintf(line.data(), line.size(), "%-13s %6.2f s  ", std::string(picture.name).c_str(), seconds);
    std::cout << line.data() << file.string() << std::endl;
    return {&picture, file, options.size, seconds, alternative};
}

std::string localTime() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    std::array<char, 32> text{};
    if (::localtime_r(&now, &parts) != nullptr)
        (void)std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M %Z", &parts);
    return text.data();
}

std::string describeTime(double seconds, std::size_t pictures) {
    std::ostringstream text;
    text << std::round(10 * seconds) / 10 << " s for " << pictures
         << (pictures == 1 ? " picture" : " pictures");
    return text.str();
}

std::vector<std::pair<std::string, std::string>> describeRun(const GalleryOptions& options,
                                                             const std::string& volume,
                                                             const GL::PlatformInfo& driver, int errors) {
    const std::filesystem::path labels = labelsFile(options);
    return {{"Library", "Veltrand GL " + std::string(libraryVersion())},
            {"Driver", driver.rendererString},
            {"OpenGL", driver.versionString},
            {"OpenGL errors", std::to_string(errors)},
            {"Processors", std::to_string(std::thread::hardware_concurrency())},
            {"Volume", volume + (labels.empty() ? "" : ", regions of " + labels.filename().string())},
            {"Made", localTime()}};
}

} // namespace

int runGallery(const GalleryOptions& options) {
    const Clock::time_point start = Clock::now();
    Log::setGlobalLevel(options.verbose ? Log::Debug : Log::Warning);
    const std::vector<const Picture*> pictures = choosePictures(options.pictures);
    if (options.list) {
        listPictures();
        return 0;
    }
    prepareDirectory(options.directory);
    const Volume volume = readNifti(options.volume);
    std::optional<Volume> labels;
    const std::filesystem::path labelsPath = labelsFile(options);
    if (!labelsPath.empty())
        labels = readNifti(labelsPath);
    const Eigen::Vector3d point = choosePoint(options, volume);

    const SceneShaders sharedShaders;
    const ShaderRepository shaders;
    const OpenGL openGl(OpenGL::On::HiddenContext, options.verbose);
    const GL::Texture texture = uploadVolume(volume);
    const Scene scene{shownName(options, volume),
                      volume,
                      texture,
                      labels ? &*labels : nullptr,
                      point,
                      percentileWindow(volume, 1, 99.5),
                      readRegionNames(namesBeside(labelsPath)),
                      options.directory};
    logNotices(noticesOf(volume, options.volume.string()), "Gallery");
    if (labels)
        logNotices(noticesOfLabels(*labels, labelsPath.string(), volume, options.volume.string()), "Gallery");
    int errors = takeOpenGlErrors();
    GalleryPage page;
    for (const Picture* picture : pictures) {
        page.entries.push_back(makePicture(*picture, scene, options));
        errors += takeOpenGlErrors();
    }
    const GL::PlatformInfo driver = GL::platformInfo();
    std::cout << "driver: " << driver.rendererString << ", OpenGL " << driver.versionString
              << "\nOpenGL errors: " << errors << std::endl;

    page.facts = describeRun(options, scene.name, driver, errors);
    page.facts.emplace_back("Time", describeTime(secondsSince(start), pictures.size()));
    const std::filesystem::path file = options.directory / "index.html";
    writeText(file, page.html());
    std::cout << "page: " << file.string() << std::endl;
    return errors;
}

} // namespace Veltrand::Apps
