// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "viewer/Input.h"

#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <variant>
#include <vector>

namespace Veltrand::Apps {

/// A script that cannot be understood or followed; the text begins with file and line.
class ScriptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One press, many moves, each of which is drawn, and a release.
struct DragCommand {
    Button button;
    Eigen::Vector2d target; ///< in points
    int frames;
    Modifiers modifiers{};
};
struct ResizeCommand {
    Eigen::Vector2i size; ///< in points
};
struct WaitForSurfaces {};
struct SaveCommand {
    std::filesystem::path file;
};
/// Tells the state on standard output.
struct PrintCommand {};
struct QuitCommand {};

struct ScriptCommand {
    int line;
    std::variant<Input, DragCommand, ResizeCommand, WaitForSurfaces, SaveCommand, PrintCommand, QuitCommand>
        action;
};

/// @param file names the script in messages
/// Throws `ScriptError`.
[[nodiscard]] std::vector<ScriptCommand> parseScript(std::string_view text,
                                                     const std::filesystem::path& file);
/// Throws `std::runtime_error` with one sentence when the file cannot be read, and `ScriptError`.
[[nodiscard]] std::vector<ScriptCommand> readScript(const std::filesystem::path& file);

/// The commands, a line each.
[[nodiscard]] std::string_view scriptHelp();

} // namespace Veltrand::Apps
