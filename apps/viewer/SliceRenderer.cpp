// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/SliceRenderer.h"

#include "scene/VolumeTexture.h"

#include <Veltrand/GL/FullscreenSquare.h>

namespace Veltrand::Apps {

namespace {

std::unique_ptr<GL::Program> makeProgram(const char* defines) {
    return GL::Program::createVertexFragment("VeltrandScene/Panel.vert", "VeltrandViewer/Slice.frag", defines,
                                             GL::Program::Compilation::ImmediateThrow);
}

} // namespace

SliceRenderer::SliceRenderer(const Study& study)
    : m_study(study)
    , m_volume(uploadVolume(study.volume))
    , m_plain(makeProgram("")) {
    if (!study.labels)
        return;
    m_labels.emplace(uploadVolume(*study.labels));
    m_tinted = makeProgram("#define WITH_REGIONS\n");
}

void SliceRenderer::draw(const SliceView& view) const {
    const bool isTinted = m_tinted && view.showsRegions;
    GL::Program& program = isTinted ? *m_tinted : *m_plain;
    const Window window = textureWindow(m_study.volume, view.window);
    program.enable();
    program.setArgument("volume", m_volume);
    program.setArgument("panelToTexture",
                        (patientToTexture(m_study.volume).matrix() * view.panelToPatient).eval());
    program.setArgument("window", Eigen::Vector2d(window.low, window.high));
    if (isTinted)
        setRegionArguments(program, view);
    GL::FullscreenSquare::get()->drawFilled();
    program.disable();
}

void SliceRenderer::setRegionArguments(GL::Program& program, const SliceView& view) const {
    const Window numbers = textureWindow(*m_study.labels, {0, 1});
    program.setArgument("labels", *m_labels);
    program.setArgument("panelToLabels",
                        (patientToTexture(*m_study.labels).matrix() * view.panelToPatient).eval());
    program.setArgument("labelWindow", Eigen::Vector2d(numbers.low, numbers.high));
    program.setArgument("chosenRegion", static_cast<float>(view.region));
}

} // namespace Veltrand::Apps
