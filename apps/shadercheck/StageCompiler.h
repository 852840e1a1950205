// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/Core/Span.h>
#include <Veltrand/GL/Program.h>

#include <string>

namespace Veltrand::Apps {

/// One stage that has been handed to the driver. Needs a current context for as long as it lives.
class CompiledStage : private Utils::NotCopyable {
public:
    /// A stage that the context does not have is answered as an error in the log.
    CompiledStage(GL::Program::Stage stage, const std::string& text);
    CompiledStage(CompiledStage&& other) noexcept;
    ~CompiledStage();

    [[nodiscard]] GL::GLuint id() const { return m_id; }
    [[nodiscard]] bool isCompiled() const { return m_isCompiled; }
    /// In the driver's words.
    [[nodiscard]] const std::string& log() const { return m_log; }

private:
    GL::GLuint m_id = 0;
    bool m_isCompiled = false;
    std::string m_log;
};

struct LinkResult {
    bool linked = false;
    std::string log; ///< in the driver's words
};

/// Links stages that have compiled.
[[nodiscard]] LinkResult linkStages(Utils::Span<const CompiledStage* const> stages);

} // namespace Veltrand::Apps
