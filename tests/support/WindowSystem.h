// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <utility>
#include <vector>

namespace Veltrand::Testing {

/// What the test executable's own XOpenDisplay, glXChooseFBConfig and so on do before they call the real
/// ones: they count, record, and fail on demand.
struct WindowSystem {
    int displaysOpened = 0;
    int displaysClosed = 0;
    int contextsCreated = 0;
    int contextsDestroyed = 0;
    int windowsCreated = 0;
    int windowsDestroyed = 0;
    std::vector<std::vector<int>> requests; ///< attribute lists asked for, without the terminator

    bool failOpenDisplay = false;
    bool failConfigs = false;
    bool failWindow = false;
    bool failResetRequests = false;
    bool hideCreateContext = false; ///< as if GLX_ARB_create_context did not exist
    int failMakeCurrentAfter = -1;  ///< number of calls that still succeed; -1 for all
    std::pair<int, int> glxVersion{1, 4};
    std::pair<int, int> newestVersion{9, 9}; ///< newer requests are refused with an X error
    int failRequestsAfter = -1;              ///< number of requests that still succeed; -1 for all

    /// The versions of the recorded requests.
    [[nodiscard]] std::vector<std::pair<int, int>> requestedVersions() const;
};

WindowSystem& windowSystem();

} // namespace Veltrand::Testing
