// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Span.h>

#include <cstdint>
#include <filesystem>

namespace Veltrand::Apps {

/// Writes a picture as PNG. The file appears under its name whole or not at all.
/// @param rgba four bytes a pixel, rows from the bottom up as OpenGL delivers them
///
/// Throws `std::runtime_error` with one sentence that names the file and the reason.
void writePng(const std::filesystem::path& file, int width, int height, Utils::Span<const std::uint8_t> rgba);

} // namespace Veltrand::Apps
