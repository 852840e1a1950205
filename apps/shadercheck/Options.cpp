// SPDX-License-Identifier: BSD-3-Clause
#include "shadercheck/Options.h"

#include <utility>

namespace Veltrand::Apps {

namespace {

using Stage = GL::Program::Stage;

std::optional<Stage> stageOfExtension(std::string_view extension) {
    constexpr std::pair<std::string_view, Stage> stages[] = {
        {"vert", Stage::Vertex},
        {"frag", Stage::Fragment},
        {"geom", Stage::Geometry},
        {"tesc", Stage::TessellationControl},
        {"tese", Stage::TessellationEvaluation},
        {"comp", Stage::Compute},
    };
    for (const auto& [name, stage] : stages)
        if (name == extension)
            return stage;
    return std::nullopt;
}

Stage parseStage(std::string_view text) {
    if (const auto stage = stageOfExtension(text))
        return *stage;
    throw UsageError("--stage takes vert, frag, geom, tesc, tese or comp, not '" + std::string(text) + "'.");
}

std::string parseDefine(std::string_view text) {
    const auto equals = text.find('=');
    std::string line = "#define " + std::string(text.substr(0, equals));
    if (equals != std::string_view::npos)
        line.append(" ").append(text.substr(equals + 1));
    return line + "\n";
}

// NAME=VALUE, neither of them empty.
std::pair<std::string, std::string> parsePair(std::string_view option, std::string_view text) {
    const auto equals = text.find('=');
    if (equals == 0 || equals == std::string_view::npos || equals + 1 == text.size())
        throw UsageError(std::string(option) + " takes NAME=VALUE, not '" + std::string(text) + "'.");
    return {std::string(text.substr(0, equals)), std::string(text.substr(equals + 1))};
}

void addInclude(GL::Program::AbstractIncludes& includes, std::string_view text) {
    auto [name, file] = parsePair("--include", text);
    GL::Program::AbstractIncludeStruct include;
    include.name = name;
    include.includePath = std::move(file);
    includes.insert_or_assign(std::move(name), std::move(include));
}

} // namespace

std::optional<Stage> stageOfFile(std::string_view name) {
    const auto dot = name.rfind('.');
    return dot == std::string_view::npos ? std::nullopt : stageOfExtension(name.substr(dot + 1));
}

CheckOptions parseCheckOptions(Utils::Span<const char* const> arguments) {
    CheckOptions options;
    Arguments line(arguments);
    bool onlyShaders = false;
    while (!line.atEnd()) {
        const std::string_view argument = line.take();
        std::string_view value;
        if (onlyShaders || argument.empty() || argument.front() != '-') {
            options.shaders.emplace_back(argument);
        } else if (argument == "--") {
            onlyShaders = true;
        } else if (line.takeValue(argument, "--define", value)) {
            options.defines += parseDefine(value);
        } else if (line.takeValue(argument, "--stage", value)) {
            options.stage = parseStage(value);
        } else if (line.takeValue(argument, "--dir", value)) {
            auto [name, path] = parsePair("--dir", value);
            options.directories.push_back({std::move(name), std::move(path)});
        } else if (line.takeValue(argument, "--include", value)) {
            addInclude(options.includes, value);
        } else if (argument == "--print") {
            options.print = true;
        } else if (!takeQuestion(argument, options.question)) {
            throw UsageError("There is no option '" + std::string(argument) + "'.");
        }
    }
    if (options.question != Question::None)
        return options;
    if (options.shaders.empty())
        throw UsageError("No shader is named.");
    for (const std::string& shader : options.shaders)
        if (!options.stage && !stageOfFile(shader))
            throw UsageError("The name '" + shader + "' does not tell the stage, give it with --stage.");
    return options;
}

std::string_view checkUsage() {
    return "usage: veltrandgl-shadercheck [--dir NAME=PATH] [--define NAME[=VALUE]] [--include NAME=FILE] "
           "[--stage STAGE] [--print] [--version] [--help] SHADER...";
}

std::string_view checkHelp() {
    return R"(
Puts shaders together as the library does, includes and all, compiles them with the OpenGL of this machine and
prints what is wrong with them, one line each, in the form that editors and make know:

  shaders/light.glh:3: error: `missing' undeclared

SHADER is a resource name, a repository and a path: VeltrandGL/LineRenderer.vert, or My/shade.frag with --dir My=DIR.
Its extension tells the stage: .vert, .frag, .geom, .tesc, .tese or .comp.

Stages that make a program are linked too. A vertex shader makes one with the others if no stage is named twice, and
otherwise with those named as it is but for the extension: My/shade.vert with My/shade.frag. A compute shader is a
program by itself. With --stage, nothing is linked.

  --dir NAME=PATH        serve the files in the directory PATH as the repository NAME; with the name VeltrandGL,
                         they stand in for the library's own. May be repeated, the last one counts first
  --define NAME[=VALUE]  define a macro, as a program's defines do; may be repeated
  --include NAME=FILE    fill the abstract include NAME with the resource FILE; may be repeated. The NAME of one inside
                         the file for another is both names joined: AB=FILE for B in the file for A
  --stage STAGE          the stage of all shaders named: vert, frag, geom, tesc, tese or comp
  --print                print the text that the compiler gets, too
  --version              name and version
  --help                 this text

Exit status: 0 when all shaders compile and link, 1 when one does not, 2 for a wrong command line, without OpenGL,
or when the messages cannot be written.
)";
}

} // namespace Veltrand::Apps
