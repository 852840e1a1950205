// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

namespace Veltrand::GL {

/// A way from nothing to a first line of text, timed in processes of their own as the benchmark
/// "coldStart" or "coldStart/NAME". Make it at namespace scope.
class FirstLine {
public:
    /// @param name empty for the library's own
    /// @param draw returns when the text is drawn
    FirstLine(const std::string& name, void (*draw)());

    /// In a process that was started to be timed, draws, prints the seconds and ends the process.
    static void runIfAsked(int argc, char** argv);
};

} // namespace Veltrand::GL
