// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <filesystem>
#include <png.h>
#include <stdexcept>
#include <vector>

namespace Veltrand::Testing {

/// A picture read back from its file.
struct PngPicture {
    png_image image{};
    std::vector<std::uint8_t> pixels;

    explicit PngPicture(const std::filesystem::path& file) {
        image.version = PNG_IMAGE_VERSION;
        if (png_image_begin_read_from_file(&image, file.c_str()) == 0)
            throw std::runtime_error("no picture");
        image.format = PNG_FORMAT_RGBA;
        pixels.resize(PNG_IMAGE_SIZE(image));
        if (png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) == 0)
            throw std::runtime_error("no pixels");
    }

    /// One channel, green unless told otherwise; the origin is the lower left corner.
    [[nodiscard]] int at(int x, int y, std::size_t channel = 1) const {
        const auto row = static_cast<std::size_t>(static_cast<int>(image.height) - 1 - y);
        return pixels.at(4 * (row * image.width + static_cast<std::size_t>(x)) + channel);
    }
};

} // namespace Veltrand::Testing
