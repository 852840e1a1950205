// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/CommandLine.h"

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>

namespace Veltrand::Apps {

/// What a program says of itself.
struct ProgramText {
    std::string_view name;
    std::string_view usage; ///< one line
    std::string help;       ///< what --help prints after the usage line
    /// The exit status of what fails; a wrong command line ends with 2.
    int failure = 1;
};

/// The version of the library, to which its programs belong.
[[nodiscard]] std::string_view libraryVersion();

/// Prints what the user asks for; whether that is all there is to do.
[[nodiscard]] bool answer(const ProgramText& program, Question question);

/// Carries out what a program does and gives its exit status. What is thrown is printed on standard error,
/// with the usage where the command line is wrong. Text for `std::cout` that standard output does not take,
/// since its disk is full or nobody reads it, ends in a message and `ProgramText::failure` as well.
[[nodiscard]] int runProgram(const ProgramText& program, const std::function<int()>& body);

/// The whole of a main function.
/// @param parse gives options, with a `question`, for the command line without the program's name
/// @param run carries them out and gives the exit status
template<class Options>
[[nodiscard]] int runProgram(const ProgramText& program, int argc, char** argv,
                             Options (*parse)(Utils::Span<const char* const>), int (*run)(const Options&)) {
    return runProgram(program, [&] {
        const Options options = parse({argv + std::min(argc, 1), argv + argc});
        return answer(program, options.question) ? 0 : run(options);
    });
}

} // namespace Veltrand::Apps
