// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/CommandLine.h"

#include <Veltrand/GL/Program.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrand::Apps {

/// A repository over a directory.
struct NamedDirectory {
    std::string name;
    std::filesystem::path path;
};

struct CheckOptions {
    std::vector<std::string> shaders;
    std::string defines;                     ///< lines of GLSL
    std::optional<GL::Program::Stage> stage; ///< of all shaders; by their file names if not given
    std::vector<NamedDirectory> directories; ///< the last one is looked into first
    GL::Program::AbstractIncludes includes;  ///< what fills abstract includes
    bool print = false;
    Question question = Question::None;
};

/// @param arguments the command line without the program's name
/// Throws `UsageError`.
[[nodiscard]] CheckOptions parseCheckOptions(Utils::Span<const char* const> arguments);

/// The stage of a file by its extension; nothing for any other, such as `.glh`.
[[nodiscard]] std::optional<GL::Program::Stage> stageOfFile(std::string_view name);

/// One line.
[[nodiscard]] std::string_view checkUsage();
/// What --help prints after the usage line.
[[nodiscard]] std::string_view checkHelp();

} // namespace Veltrand::Apps
