// SPDX-License-Identifier: BSD-3-Clause
#include "info/Report.h"
#include "support/Program.h"

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/ContextManager.h>

#include <algorithm>
#include <exception>
#include <iostream>

using namespace Veltrand;
using namespace Veltrand::Apps;

namespace {

constexpr const char* usage = "usage: veltrandgl-info [--extensions] [--version] [--help]";
constexpr const char* help = R"(
Prints what a bug report about Veltrand GL needs: system, environment, driver, memory, limits, and which features
of the library this OpenGL serves.

  --extensions  also name the extensions of the driver
  --version     name and version
  --help        this text

Exit status: 0, 1 when OpenGL could not be started, which is reported too, or the report could not be written, 2
for a wrong command line.
)";

struct InfoOptions {
    bool extensions = false;
    Question question = Question::None;
};

InfoOptions parse(Utils::Span<const char* const> words) {
    InfoOptions options;
    for (Arguments line(words); !line.atEnd();) {
        const std::string_view argument = line.take();
        if (argument == "--extensions")
            options.extensions = true;
        else if (!takeQuestion(argument, options.question))
            throw UsageError("There is no argument '" + std::string(argument) + "'.");
    }
    return options;
}

/// Starts OpenGL; what the library logs meanwhile becomes a section. Empty when all went well, otherwise why
/// not.
std::string start(Section& log) {
    static constexpr const char* levels[] = {"trace", "debug", "info", "warning", "error", "fatal"};
    Log::setDefaultSinkEnabled(false);
    const auto sink = Log::addSink([&log](const Log::Message& message) {
        const auto level = static_cast<std::size_t>(std::clamp(message.level, 0, 5));
        log.add(std::string(message.category), std::string(levels[level]) + ": " + std::string(message.text));
    });
    std::string failure;
    if (GL::ContextManager::openGlDisabled()) {
        failure = "switched off by VELTRAND_DISABLE_OPENGL";
    } else {
        try {
            GL::init();
        } catch (const std::exception& error) {
            failure = error.what();
        }
    }
    Log::removeSink(sink);
    return failure;
}

bool report(const InfoOptions& options) {
    std::cout << systemSection().text() << '\n' << environmentSection().text() << '\n' << std::flush;
    Section log{"Log of the start"};
    if (const std::string failure = start(log); !failure.empty()) {
        std::cout << "OpenGL\n  could not be started: " << failure << "\n\n" << log.text();
        return false;
    }
    for (const auto& section :
         {driverSection(), windowSystemSection(), memorySection(), limitsSection(), featuresSection(), log})
        std::cout << section.text() << '\n';
    if (options.extensions)
        std::cout << extensionsSection().text();
    GL::deinit();
    return true;
}

} // namespace

int main(int argc, char** argv) {
    const ProgramText program{"veltrandgl-info", usage, help};
    return runProgram<InfoOptions>(program, argc, argv, parse,
                                   [](const InfoOptions& options) { return report(options) ? 0 : 1; });
}
