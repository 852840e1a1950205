// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <mutex>
#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <utility>
#include <vector>

struct _XDisplay; // NOLINT(bugprone-reserved-identifier): Xlib's Display

namespace Veltrand::GL {

/// The display connections of contexts that share objects. They are closed together, when the last context is
/// gone; a connection whose context is gone serves the group's next context, so that threads that come and go
/// do not use up the server's connections.
class ShareGroup : private Utils::NotCopyable {
public:
    /// Connects to the display of that name; an empty one stands for the environment's.
    explicit ShareGroup(std::string displayName = {})
        : m_displayName(std::move(displayName)) {}
    ~ShareGroup();

    /// Null when the display cannot be opened.
    [[nodiscard]] _XDisplay* takeConnection();
    /// Waits for the server, so that no late error reaches the connection's next context.
    void returnConnection(_XDisplay* display);

private:
    std::string m_displayName;
    std::mutex m_mutex;
    std::vector<_XDisplay*> m_idle;
    pid_t m_process = getpid();
};

} // namespace Veltrand::GL
