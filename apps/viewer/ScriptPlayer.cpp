// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/ScriptPlayer.h"

#include "support/NumberText.h"

#include <Veltrand/GL/Functions.h>

#include <chrono>
#include <iostream>
#include <string>

namespace Veltrand::Apps {

namespace {

void print(const ViewerState& state) {
    const Eigen::Vector3d& point = state.point;
    const LengthFormat lengths = state.study.volume.lengths();
    std::cout << "point " << lengths.number(point.x()) << ' ' << lengths.number(point.y()) << ' '
              << lengths.number(point.z());
    if (const std::optional<double> value = state.study.valueAt(point))
        std::cout << ", value " << shortNumber(*value);
    std::cout << ", window " << shortNumber(state.window.low) << ' ' << shortNumber(state.window.high);
    if (state.region != 0)
        std::cout << ", region " << state.region << ' ' << state.study.nameOf(state.region);
    if (state.answer)
        std::cout << ", answer " << state.answer->text;
    if (!state.measurements.empty())
        std::cout << ", distance " << lengths.millimetres(state.measurements.back().length());
    std::cout << std::endl;
}

/// Carries out one command after another.
class Player {
public:
    explicit Player(Viewer& viewer)
        : m_viewer(viewer) {}

    void operator()(const Input& input) {
        if (const auto* move = std::get_if<PointerMove>(&input))
            m_pointer = move->position;
        m_viewer.handle(input);
        m_viewer.update();
    }

    void operator()(const DragCommand& drag) {
        const Eigen::Vector2d start = m_pointer;
        (*this)(Input(ButtonChange{drag.button, true, drag.modifiers}));
        GL::finish();
        const auto begin = std::chrono::steady_clock::now();
        for (int frame = 1; frame <= drag.frames; ++frame) {
            const double part = static_cast<double>(frame) / drag.frames;
            (*this)(Input(PointerMove{start + part * (drag.target - start)}));
        }
        GL::finish();
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
        (*this)(Input(ButtonChange{drag.button, false, drag.modifiers}));
        std::cout << drag.frames << " frames in " << withDecimals(1000 * seconds.count(), 1)
                  << " ms: " << withDecimals(drag.frames / seconds.count(), 1) << " frames a second"
                  << std::endl;
    }

    void operator()(const ResizeCommand& command) {
        m_viewer.resize(command.size);
        m_viewer.update();
    }
    void operator()(const WaitForSurfaces&) { m_viewer.waitForSurfaces(); }
    void operator()(const SaveCommand& command) { m_viewer.save(command.file); }
    void operator()(const PrintCommand&) { print(m_viewer.state()); }
    void operator()(const QuitCommand&) { m_quits = true; }

    [[nodiscard]] bool isEnding() const { return m_quits || m_viewer.isEnding(); }

private:
    Viewer& m_viewer;
    Eigen::Vector2d m_pointer = Eigen::Vector2d::Zero(); ///< in points
    bool m_quits = false;
};

} // namespace

bool playScript(const std::vector<ScriptCommand>& commands, const std::filesystem::path& file,
                Viewer& viewer) {
    viewer.setIgnoresUser(true);
    Player player(viewer);
    viewer.update();
    for (const ScriptCommand& command : commands) {
        try {
            std::visit(player, command.action);
        } catch (const std::runtime_error& error) {
            throw ScriptError(file.string() + ":" + std::to_string(command.line) + ": " + error.what());
        }
        if (player.isEnding())
            return false;
    }
    viewer.setIgnoresUser(false);
    return true;
}

} // namespace Veltrand::Apps
