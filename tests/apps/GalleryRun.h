// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace Veltrand::Testing {

struct RunResult {
    int status; ///< the exit status; -1 when the program did not end by itself
    std::string output;
    std::string errors;
};

inline std::string readFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

/// @param environment words for env(1), such as "NAME=value"
/// @param scratch a directory for the texts it prints
inline RunResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                            const std::filesystem::path& scratch,
                            const std::vector<std::string>& environment = {}) {
    std::string command = "env";
    for (const std::string& word : environment)
        command += ' ' + shellQuoted(word);
    command += ' ' + shellQuoted(program);
    for (const std::string& argument : arguments)
        command += ' ' + shellQuoted(argument);
    const std::filesystem::path output = scratch / "stdout.txt";
    const std::filesystem::path errors = scratch / "stderr.txt";
    command += " >" + shellQuoted(output.string()) + " 2>" + shellQuoted(errors.string());
    // The command is made of quoted words only.
    const int status = std::system(command.c_str()); // NOLINT(bugprone-command-processor)
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(output), readFile(errors)};
}

/// Runs the gallery that was built beside the tests.
inline RunResult runGalleryProgram(const std::vector<std::string>& arguments,
                                   const std::filesystem::path& scratch,
                                   const std::vector<std::string>& environment = {}) {
    return runProgram(VELTRAND_GALLERY_PROGRAM, arguments, scratch, environment);
}

} // namespace Veltrand::Testing
