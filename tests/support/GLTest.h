// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the tests of OpenGL classes share.

#include "support/CallCounter.h"
#include "support/GLFixture.h"
#include "support/MapRepository.h"
#include "support/ScopedEntryPoint.h"
#include "support/Thrown.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <algorithm>
#include <array>
#include <glad/gl.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>
