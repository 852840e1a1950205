// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/ObjectPicking.h>

#include <Eigen/Core>
#include <vector>

/// Many small meshes that overlap, and what is seen of them at some pixels.
namespace Veltrand::GL::PickingScene {

constexpr int width = 1024;
constexpr int height = 768;

/// The corners in clip space of a cone that points at the viewer. All cones have the same triangles.
using Mesh = std::vector<Eigen::Vector3f>;
std::vector<Mesh> makeMeshes();
std::vector<Eigen::Vector3i> makeTriangles();

/// A hundred pixels, from the lower left.
std::vector<Eigen::Vector2i> makePositions();

using Infos = std::vector<ObjectPicking::PickingInfo>;

/// Sorted, each once.
void normalize(Infos& infos);

/// The nearest mesh and its triangle at each position, computed in double precision, normalised.
Infos pickExactly();

} // namespace Veltrand::GL::PickingScene
