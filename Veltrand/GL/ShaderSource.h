// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/ShaderLineMap.h>
#include <Veltrand/GL/ShaderLog.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Veltrand::GL {

/// The assembled text of one stage, and what is known about it.
struct ShaderSource {
    std::string text;                    ///< as `Program::loadShaderSource` gives it
    ShaderLineMap lines;                 ///< where the lines of the text come from
    std::vector<ShaderMessage> warnings; ///< what the log was warned of while the files were put together

    /// What the driver is given: the text with each `#line` made a `#pragma line`, which it ignores, so that
    /// its messages count the lines of the text.
    [[nodiscard]] VELTRAND_GL_API std::string driverText() const;
};

/// Thrown where the files of a stage cannot be put together.
class VELTRAND_GL_API ShaderSourceError : public std::runtime_error {
public:
    /// @param what as `what()` tells it
    ShaderSourceError(const std::string& what, ShaderMessage message);
    ~ShaderSourceError() override;

    /// The same in full, with the file and line of the directive that has failed.
    [[nodiscard]] const ShaderMessage& message() const noexcept { return m_message; }

private:
    ShaderMessage m_message;
};

} // namespace Veltrand::GL
