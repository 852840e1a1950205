// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/GLFixture.h"

#include <Veltrand/Core/NotCopyable.h>

#include <vector>

namespace Veltrand::Testing {

/// State of a caller that would keep most draws from their work, or alter them. At the end of the scope what
/// is not as it was fails the test, and the defaults are set.
class AdverseState : private Utils::NotCopyable {
public:
    /// @param capabilities are switched on; what belongs to them (blend factors, scissor box, ...) is set
    /// @param masks whether colours, depth and stencil are masked and polygons drawn as points
    AdverseState(std::vector<int> capabilities, bool masks);
    ~AdverseState();

private:
    std::vector<int> m_capabilities;
    State m_before;
};

} // namespace Veltrand::Testing
