// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the tests of programs share.

#include "apps/GalleryRun.h"
#include "apps/NiftiFile.h"
#include "apps/PngPicture.h"
#include "support/Thrown.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <numbers>
#include <numeric>
#include <random>
#include <sstream>

namespace Veltrand {

using namespace Testing;
using Eigen::Vector2d;
using Eigen::Vector2i;
using Eigen::Vector3d;
using Eigen::Vector3i;

} // namespace Veltrand
