// SPDX-License-Identifier: BSD-3-Clause
#include "support/Png.h"

#include "support/OutputFile.h"

#include <png.h>

namespace Veltrand::Apps {

void writePng(const std::filesystem::path& file, int width, int height,
              Utils::Span<const std::uint8_t> rgba) {
    OutputFile output(file);
    if (width < 1 || height < 1 ||
        rgba.size() != std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
        output.refuse("the pixels do not fill its size");
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGBA;
    // A negative stride: the first row in memory is the lowest one.
    if (png_image_write_to_stdio(&image, output.stream(), 0, rgba.data(), -4 * width, nullptr) == 0)
        output.refuse(image.message);
    output.keep();
}

} // namespace Veltrand::Apps
