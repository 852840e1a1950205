// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "gallery/Options.h"

namespace Veltrand::Apps {

/// Makes the pictures and the page that shows them, and reports on standard output: a line for each picture,
/// then the driver, the number of OpenGL errors, which it returns, and where the page is. Throws an exception
/// with one sentence on failure; pictures that were finished before stay.
[[nodiscard]] int runGallery(const GalleryOptions& options);

} // namespace Veltrand::Apps
