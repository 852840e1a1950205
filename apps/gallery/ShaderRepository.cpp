// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/ShaderRepository.h"

#include <GalleryShaders.h>

namespace Veltrand::Apps {

ShaderRepository::ShaderRepository()
    : EmbeddedRepository("VeltrandGallery", GalleryShaders, GalleryShadersCount) {}

} // namespace Veltrand::Apps
