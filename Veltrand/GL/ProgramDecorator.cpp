// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ProgramDecorator.h>

namespace Veltrand::GL {

ProgramDecorator::~ProgramDecorator() = default;

} // namespace Veltrand::GL
