// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

namespace Veltrand::GL {

/// Adjusts a program each time it is enabled, such as by setting the uniforms of an effect that many programs
/// share. A program keeps its decorators without owning them.
class VELTRAND_GL_API ProgramDecorator {
public:
    virtual ~ProgramDecorator();

    /// Called with @p program in use, on the thread that enabled it.
    virtual void decorate(Program& program) = 0;
};

} // namespace Veltrand::GL
