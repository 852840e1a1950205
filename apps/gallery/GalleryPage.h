// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "gallery/Pictures.h"

#include <Eigen/Core>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace Veltrand::Apps {

/// A web page of pictures beside the lines of source that make them. It holds all that it shows and needs no
/// network and no scripts, so that it can be moved or mailed as one file.
struct GalleryPage {
    struct Entry {
        const Picture* picture;
        /// The PNG file; its bytes go into the page.
        std::filesystem::path file;
        Eigen::Vector2i size; ///< in pixels
        double seconds;
        /// What is to be seen, for those who cannot see it.
        std::string alternative;
    };

    /// What is to be known about the run: names and values.
    std::vector<std::pair<std::string, std::string>> facts;
    std::vector<Entry> entries;

    /// Throws `std::runtime_error` with one sentence when the file of a picture cannot be read.
    [[nodiscard]] std::string html() const;
};

} // namespace Veltrand::Apps
