// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

struct _XDisplay; // NOLINT(bugprone-reserved-identifier): Xlib's Display

namespace Veltrand::GL {

/// Makes the context that is current on the calling thread, if there is one, current again at the end of the
/// scope.
class PreviousCurrent : private Utils::NotCopyable {
public:
    PreviousCurrent();
    ~PreviousCurrent();

    /// Another context stays instead.
    void forget();

private:
    _XDisplay* m_display;
    unsigned long m_draw;
    unsigned long m_read;
    void* m_context;
};

} // namespace Veltrand::GL
