// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/EmbeddedRepository.h"

namespace Veltrand::Apps {

/// The gallery's own shaders, under the name "VeltrandGallery".
class ShaderRepository final : public EmbeddedRepository {
public:
    ShaderRepository();
};

} // namespace Veltrand::Apps
