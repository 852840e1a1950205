// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Program.h>

#include <string>

namespace Veltrand::Apps {

struct StageResult {
    bool compiled = false;
    std::string log; ///< in the driver's words
};

/// Compiles one stage alone. A stage that the context does not have is answered as an error in the log.
[[nodiscard]] StageResult compileStage(GL::Program::Stage stage, const std::string& source);

} // namespace Veltrand::Apps
