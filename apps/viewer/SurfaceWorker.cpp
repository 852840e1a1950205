// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/SurfaceWorker.h"

#include "viewer/CoarseMesh.h"

#include <exception>
#include <utility>

namespace Veltrand::Apps {

namespace {

/// A volume's surface is made of steps of this part of its longest edge.
constexpr double Steps = 128;
/// Steps that become one in coarse surfaces.
constexpr float CoarseEdge = 2.5F;

} // namespace

SurfaceWorker::SurfaceWorker(const Study& study, std::optional<double> level, std::function<void()> notify)
    : m_study(study)
    , m_level(level)
    , m_notify(std::move(notify))
    , m_thread([this](const std::stop_token& stop) { run(stop); }) {}

SurfaceWorker::~SurfaceWorker() = default;

SurfaceWorker::Progress SurfaceWorker::progress() const {
    const std::lock_guard lock(m_mutex);
    return m_progress;
}

bool SurfaceWorker::takeNews() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_hasNews, false);
}

std::optional<StudySurfaces> SurfaceWorker::take() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_surfaces, {});
}

void SurfaceWorker::run(const std::stop_token& stop) {
    const auto report = [&](std::size_t done, std::size_t total) {
        {
            const std::lock_guard lock(m_mutex);
            m_progress.done = done;
            m_progress.total = total;
            m_hasNews = true;
        }
        m_notify();
        return !stop.stop_requested();
    };
    std::optional<StudySurfaces> surfaces;
    std::string failure;
    try {
        surfaces.emplace(StudySurfaces{make(report), {}});
        surfaces->coarse = coarseTriangles(surfaces->mesh, CoarseEdge * detail());
    } catch (const std::exception& error) {
        failure = error.what();
    }
    {
        const std::lock_guard lock(m_mutex);
        m_surfaces = std::move(surfaces);
        m_progress.isRunning = false;
        m_progress.failure = failure;
        m_hasNews = true;
    }
    m_notify();
}

float SurfaceWorker::detail() const {
    return static_cast<float>(m_study.volume.bounds().sizes().maxCoeff() / Steps);
}

RegionMesh SurfaceWorker::make(const MeshProgress& report) const {
    if (m_study.labels)
        return meshRegions(*m_study.labels, report);
    const auto level = m_level ? std::optional(static_cast<float>(*m_level)) : std::nullopt;
    return meshVolume(m_study.volume, detail(), level, 0, report);
}

} // namespace Veltrand::Apps
