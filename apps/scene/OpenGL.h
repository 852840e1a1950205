// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

namespace Veltrand::Apps {

/// The library's OpenGL for a scope, on the main thread.
class OpenGL : private Utils::NotCopyable {
public:
    enum class On {
        HiddenContext,  ///< one of its own
        CurrentContext, ///< that of a window, which outlives this
    };

    /// @param verbose shows what the library logs while it starts. Throws `std::runtime_error` with one
    /// sentence, which has the last error of the log as the reason.
    OpenGL(On context, bool verbose);
    ~OpenGL();
};

/// Reads all pending OpenGL errors, each of which is logged; how many there were, 100 at most, since a lost
/// context may report errors without end.
[[nodiscard]] int takeOpenGlErrors();

} // namespace Veltrand::Apps
