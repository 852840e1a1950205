// SPDX-License-Identifier: BSD-3-Clause
#include "shadercheck/ShaderCheck.h"

#include "shadercheck/StageCompiler.h"

#include <Veltrand/Core/Log.h>
#include <Veltrand/Core/Resource.h>
#include <Veltrand/Core/String.h>

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace Veltrand::Apps {

namespace {

using Severity = GL::ShaderMessage::Severity;

/// Collects what the preprocessor has to say about a shader.
class PreprocessorLog : private Utils::NotCopyable {
public:
    PreprocessorLog()
        : m_sink(Log::addSink([this](const Log::Message& message) {
            if (message.level >= Log::Warning && message.category == "GL.Program")
                m_lines.emplace_back(message.level, message.text);
        })) {}
    ~PreprocessorLog() { Log::removeSink(m_sink); }

    [[nodiscard]] const std::vector<std::pair<int, std::string>>& lines() const { return m_lines; }

private:
    std::vector<std::pair<int, std::string>> m_lines;
    Log::SinkId m_sink;
};

std::optional<ByteBuffer> readShader(const std::string& name) {
    const auto slash = name.find('/');
    if (slash != std::string::npos)
        if (auto bytes = Resource::query(name.substr(0, slash), name.substr(slash + 1)))
            return bytes;
    return Resource::query({}, name);
}

/// Where the include @p wanted is named, in @p file or in what that includes.
std::optional<GL::ShaderLocation> findInclude(const std::string& file, const std::string& wanted,
                                              std::vector<std::string>& visited) {
    const auto bytes = readShader(file);
    if (!bytes || std::find(visited.begin(), visited.end(), file) != visited.end())
        return std::nullopt;
    visited.push_back(file);
    int number = 0;
    for (const std::string& line : String::split(bytes->view().toStringView(), "\n")) {
        ++number;
        const auto open = line.find('"');
        const auto close = line.rfind('"');
        if (line.find("#pragma ") == std::string::npos || open == close)
            continue;
        const std::string included = line.substr(open + 1, close - open - 1);
        if (included == wanted)
            return GL::ShaderLocation{file, number};
        if (auto found = findInclude(included, wanted, visited))
            return found;
    }
    return std::nullopt;
}

/// What a line of the preprocessor's log says, placed where an include is missing.
GL::ShaderMessage messageOf(const std::string& shader, int level, const std::string& text) {
    GL::ShaderMessage message{level >= Log::Error ? Severity::Error : Severity::Warning, {}, text};
    const std::string prefix = "OpenGL shader " + shader + ": include ";
    const std::string suffix = " not found!";
    if (text.starts_with(prefix) && text.ends_with(suffix)) {
        const auto name = text.substr(prefix.size(), text.size() - prefix.size() - suffix.size());
        std::vector<std::string> visited;
        message.location = findInclude(shader, name, visited);
    }
    return message;
}

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

} // namespace

ShaderCheck::ShaderCheck(CheckOptions options, std::ostream& out)
    : m_options(std::move(options))
    , m_out(out) {
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

/// Empty when a file is missing, which is printed.
std::string ShaderCheck::assemble(const std::string& shader) const {
    const PreprocessorLog log;
    std::string source;
    std::string failure;
    try {
        GL::Program::ShaderInfo info;
        info.stage = stageOf(shader);
        info.name = shader;
        source = GL::Program::loadShaderSource(info, false, m_options.includes, m_options.defines, {});
    } catch (const std::exception& error) {
        failure = error.what();
    }
    bool explained = false;
    for (const auto& [level, text] : log.lines()) {
        print(shader, messageOf(shader, level, text));
        explained |= level >= Log::Error;
    }
    if (!failure.empty() && !explained)
        print(shader, {Severity::Error, {}, failure});
    return source;
}

bool ShaderCheck::check(const std::string& shader) {
    const std::string source = assemble(shader);
    if (source.empty())
        return false;
    if (m_options.print)
        m_out << source;
    const StageResult result = compileStage(stageOf(shader), source);
    bool explained = false;
    for (const GL::ShaderMessage& message : GL::parseShaderLog(result.log, source)) {
        print(shader, message);
        explained |= message.severity == Severity::Error;
    }
    if (!result.compiled && !explained)
        print(shader, {Severity::Error, {}, "the shader does not compile, and the driver does not say why"});
    return result.compiled;
}

void ShaderCheck::print(const std::string& shader, const GL::ShaderMessage& message) const {
    // What belongs to no file (the version line, the defines) is told of the first line of the shader.
    GL::ShaderLocation location = message.location.value_or(GL::ShaderLocation{shader, 1});
    // In an abstract include, the file is named by its directive.
    if (const auto found = m_options.includes.find(location.file); found != m_options.includes.end())
        location.file = found->second.includePath;
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
