// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Volume.h"

#include <Veltrand/Core/Span.h>
#include <Veltrand/GL/GL.h>

#include <Eigen/Core>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrand::Apps {

class Canvas;

/// What pictures show.
struct Scene {
    /// The volume's, for people.
    std::string name;
    const Volume& volume;
    /// The volume as a 3D texture.
    const GL::Texture& texture;
    /// Region numbers in the same space; null if there are none.
    const Volume* labels;
    /// Where slices meet, in patient space.
    Eigen::Vector3d point;
    Window window;
    /// By region number; empty where there is none.
    std::vector<std::string> regionNames{};
    /// Where pictures may write further files.
    std::filesystem::path directory{};
};

/// A picture that the gallery can make. A new one is a function and a line in the table in Pictures.cpp.
struct Picture {
    /// Its name on the command line and, with ".png", that of its file.
    std::string_view name;
    /// One line for --list, and its heading on the page.
    std::string_view description;
    /// The file below apps/ whose marked lines stand beside it on the page.
    std::string_view source;
    /// Draws onto the canvas, which is bound and cleared, with the main context current. May leave any state
    /// behind. Gives what is to be seen, for those who cannot see it. Throws `std::runtime_error` with one
    /// sentence.
    std::string (*draw)(const Scene& scene, const Canvas& canvas);
    /// A file that it writes beside the picture; empty if there is none.
    std::string_view data{};
};

/// All pictures, in the order in which they are made.
[[nodiscard]] Utils::Span<const Picture> allPictures();

[[nodiscard]] std::string drawAnnotation(const Scene& scene, const Canvas& canvas);
[[nodiscard]] std::string drawComposited(const Scene& scene, const Canvas& canvas);
[[nodiscard]] std::string drawFiltered(const Scene& scene, const Canvas& canvas);
[[nodiscard]] std::string drawFixedFunction(const Scene& scene, const Canvas& canvas);
[[nodiscard]] std::string drawLines(const Scene& scene, const Canvas& canvas);
[[nodiscard]] std::string drawPicking(const Scene& scene, const Canvas& canvas);
[[nodiscard]] std::string drawProjection(const Scene& scene, const Canvas& canvas);
[[nodiscard]] std::string drawSlices(const Scene& scene, const Canvas& canvas);
[[nodiscard]] std::string drawText(const Scene& scene, const Canvas& canvas);
[[nodiscard]] std::string drawTransparency(const Scene& scene, const Canvas& canvas);

} // namespace Veltrand::Apps
