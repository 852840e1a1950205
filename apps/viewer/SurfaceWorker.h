// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/RegionMesh.h"
#include "viewer/Study.h"

#include <Veltrand/Core/NotCopyable.h>

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Veltrand::Apps {

/// Surfaces, and fewer triangles of them that are quicker to draw.
struct StudySurfaces {
    RegionMesh mesh;
    std::vector<Eigen::Vector3i> coarse;
};

/// Makes the surfaces of a study on a thread of its own: those of its regions, or that of the volume.
class SurfaceWorker : private Utils::NotCopyable {
public:
    struct Progress {
        std::size_t done = 0;
        std::size_t total = 0; ///< 0 as long as it is not known
        bool isRunning = true;
        /// Why there are no surfaces; empty if nothing went wrong.
        std::string failure{};
    };

    /// @param study outlives the worker
    /// @param level of the volume's surface; the best one if not given
    /// @param notify called on the worker's thread after each step
    SurfaceWorker(const Study& study, std::optional<double> level, std::function<void()> notify);
    /// Ends the work at the next step.
    ~SurfaceWorker();

    [[nodiscard]] Progress progress() const;
    /// Whether there has been progress since the last question.
    [[nodiscard]] bool takeNews();
    /// The surfaces, once, when they are ready.
    [[nodiscard]] std::optional<StudySurfaces> take();

private:
    void run(const std::stop_token& stop);
    /// Millimetres between the vertices of a volume's surface.
    [[nodiscard]] float detail() const;
    [[nodiscard]] RegionMesh make(const MeshProgress& report) const;

    const Study& m_study;
    std::optional<double> m_level;
    std::function<void()> m_notify;
    mutable std::mutex m_mutex;
    Progress m_progress;
    std::optional<StudySurfaces> m_surfaces;
    bool m_hasNews = false;
    std::jthread m_thread; ///< last, so that it ends before what it uses
};

} // namespace Veltrand::Apps
