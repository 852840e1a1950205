// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/ShaderSource.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrand::Apps {

/// What a driver says when it links.
struct LinkMessage {
    GL::ShaderMessage::Severity severity = GL::ShaderMessage::Severity::Note;
    std::string text;
    std::vector<std::string> names; ///< that the text speaks of
};

/// Takes the log of a program apart, and leaves repetitions out.
[[nodiscard]] std::vector<LinkMessage> parseLinkLog(std::string_view log);

/// The line where a text declares an input, output or other interface of this name, or else has it first.
[[nodiscard]] std::optional<GL::ShaderLocation> findDeclaration(const GL::ShaderSource& source,
                                                                std::string_view name);

} // namespace Veltrand::Apps
