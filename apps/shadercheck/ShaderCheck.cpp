// SPDX-License-Identifier: BSD-3-Clause
#include "shadercheck/ShaderCheck.h"

#include "shadercheck/LinkLog.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace Veltrand::Apps {

namespace {

using Severity = GL::ShaderMessage::Severity;

const char* severityName(Severity severity) {
    switch (severity) {
    case Severity::Error:
        return "error";
    case Severity::Warning:
        return "warning";
    case Severity::Note:
        break;
    }
    return "note";
}

int pipelinePosition(GL::Program::Stage stage) {
    using Stage = GL::Program::Stage;
    constexpr std::array<Stage, 6> pipeline{Stage::Vertex,
                                            Stage::TessellationControl,
                                            Stage::TessellationEvaluation,
                                            Stage::Geometry,
                                            Stage::Fragment,
                                            Stage::Compute};
    return static_cast<int>(std::find(pipeline.begin(), pipeline.end(), stage) - pipeline.begin());
}

/// Shaders of one program have the same name without the extension.
std::string_view stem(std::string_view shader) {
    return shader.substr(0, shader.rfind('.'));
}

} // namespace

ShaderCheck::ShaderCheck(CheckOptions options, std::ostream& out)
    : m_options(std::move(options))
    , m_out(out) {
    // One that is named twice, as patterns of a shell may do, is one stage of its program.
    std::vector<std::string> shaders;
    for (std::string& shader : std::exchange(m_options.shaders, {}))
        if (std::find(shaders.begin(), shaders.end(), shader) == shaders.end())
            shaders.push_back(std::move(shader));
    m_options.shaders = std::move(shaders);
    for (const NamedDirectory& given : m_options.directories)
        m_directories.push_back(
            {given, std::make_unique<Resource::DirectoryRepository>(given.name, given.path)});
}

ShaderCheck::~ShaderCheck() = default;

GL::Program::Stage ShaderCheck::stageOf(const std::string& shader) const {
    if (m_options.stage)
        return *m_options.stage;
    if (const auto stage = stageOfFile(shader))
        return *stage;
    throw std::runtime_error("the stage of " + shader + " is not known");
}

ShaderCheck::Shader ShaderCheck::compile(const std::string& name) const {
    Shader shader{name, stageOf(name), {}, {}};
    GL::Program::ShaderInfo info;
    info.stage = shader.stage;
    info.name = name;
    try {
        shader.source = GL::Program::assembleShader(info, false, m_options.includes, m_options.defines, {});
    } catch (const GL::ShaderSourceError& error) {
        print(name, error.message());
        return shader;
    }
    for (const GL::ShaderMessage& warning : shader.source.warnings)
        print(name, warning);
    const std::string text = shader.source.driverText();
    if (m_options.print)
        m_out << text;
    shader.compiled.emplace(shader.stage, text);
    bool explained = false;
    for (const GL::ShaderMessage& message : GL::parseShaderLog(shader.compiled->log(), shader.source.lines)) {
        print(name, message);
        explained |= message.severity == Severity::Error;
    }
    if (!shader.isGood() && !explained)
        print(name, {Severity::Error, {}, "the shader does not compile, and the driver does not say why"});
    return shader;
}

/// The programs that shaders make, each in the order of the pipeline. Parts of a program are left out.
std::vector<ShaderCheck::Shaders> ShaderCheck::programsOf(const std::vector<Shader>& shaders) {
    using Stage = GL::Program::Stage;
    Shaders sorted;
    for (const Shader& shader : shaders)
        sorted.push_back(&shader);
    std::stable_sort(sorted.begin(), sorted.end(), [](const Shader* a, const Shader* b) {
        return pipelinePosition(a->stage) < pipelinePosition(b->stage);
    });
    const bool isOne = std::adjacent_find(sorted.begin(), sorted.end(), [](const Shader* a, const Shader* b) {
                           return a->stage == b->stage && a->stage != Stage::Compute;
                       }) == sorted.end();
    std::vector<Shaders> programs;
    for (const Shader* const shader : sorted) {
        const auto takesShader = [&](const Shaders& program) {
            return shader->stage != Stage::Compute &&
                   (isOne || stem(program.front()->name) == stem(shader->name));
        };
        const auto program = std::find_if(programs.begin(), programs.end(), takesShader);
        (program == programs.end() ? programs.emplace_back() : *program).push_back(shader);
    }
    std::erase_if(programs, [](const Shaders& program) {
        const Stage first = program.front()->stage;
        return first != Stage::Compute && (first != Stage::Vertex || program.size() == 1);
    });
    return programs;
}

/// A message is told of the line that declares what it speaks of, or else of the last stage.
bool ShaderCheck::link(const Shaders& program) const {
    std::vector<const CompiledStage*> stages;
    std::string names;
    for (const Shader* const shader : program) {
        if (!shader->isGood())
            return false;
        stages.push_back(&*shader->compiled);
        names.append(names.empty() ? "" : " + ").append(shader->name);
    }
    const LinkResult result = linkStages(stages);
    bool hasError = false;
    for (const LinkMessage& message : parseLinkLog(result.log)) {
        std::optional<GL::ShaderLocation> location;
        for (const std::string& name : message.names)
            for (auto shader = program.rbegin(); shader != program.rend() && !location; ++shader)
                location = findDeclaration((*shader)->source, name);
        print(program.back()->name, {message.severity, location, names + ": " + message.text});
        hasError |= message.severity == Severity::Error;
    }
    if (!result.linked && !hasError)
        print(program.back()->name, {Severity::Error, {}, names + ": the stages do not link"});
    return result.linked && !hasError;
}

bool ShaderCheck::run() {
    bool good = true;
    std::vector<Shader> shaders;
    for (const std::string& name : m_options.shaders) {
        shaders.push_back(compile(name));
        good = shaders.back().isGood() && good;
    }
    // Files whose names do not tell a stage are often parts of shaders.
    if (!m_options.stage)
        for (const Shaders& program : programsOf(shaders))
            good = link(program) && good;
    return good;
}

void ShaderCheck::print(const std::string& shader, const GL::ShaderMessage& message) const {
    // What belongs to no file (the version line, the defines) is told of the first line of the shader.
    const GL::ShaderLocation location = message.location.value_or(GL::ShaderLocation{shader, 1});
    m_out << fileOf(location.file) << ':' << location.line << ": " << severityName(message.severity) << ": "
          << message.text << '\n';
}

/// The file behind a resource of a directory, so that an editor can open it; other resources keep their
/// names.
std::string ShaderCheck::fileOf(const std::string& resource) const {
    for (auto directory = m_directories.rbegin(); directory != m_directories.rend(); ++directory) {
        const std::string prefix = directory->given.name + "/";
        const std::string path = resource.starts_with(prefix) ? resource.substr(prefix.size()) : resource;
        if (directory->repository->contains(path))
            return (directory->given.path / path).string();
    }
    return resource;
}

} // namespace Veltrand::Apps
