// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/SlicePanel.h"
#include "viewer/Study.h"

#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Texture.h>

#include <memory>
#include <optional>

namespace Veltrand::Apps {

/// All that the picture of a slice depends on.
struct SliceView {
    Eigen::Vector2i size;
    Eigen::Matrix4d panelToPatient;
    Window window;
    bool showsRegions;
    /// One that is drawn more strongly; 0 for none.
    unsigned region;

    [[nodiscard]] friend bool operator==(const SliceView&, const SliceView&) = default;
};

/// Draws slices of a study: its grey values, tinted by its regions.
class SliceRenderer {
public:
    /// Uploads the study. Throws `std::runtime_error` with one sentence when the driver cannot hold it, and
    /// what `GL::Program` throws.
    /// @param study outlives the object
    explicit SliceRenderer(const Study& study);

    /// Over all of the viewport.
    void draw(const SliceView& view) const;

private:
    void setRegionArguments(GL::Program& program, const SliceView& view) const;

    const Study& m_study;
    GL::Texture m_volume;
    std::optional<GL::Texture> m_labels;
    std::unique_ptr<GL::Program> m_plain;
    std::unique_ptr<GL::Program> m_tinted; ///< null without regions
};

} // namespace Veltrand::Apps
