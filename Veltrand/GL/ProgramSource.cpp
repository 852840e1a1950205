// SPDX-License-Identifier: BSD-3-Clause
// The shader preprocessor: everything of a program that turns names into GLSL text, without OpenGL.
#include <Veltrand/GL/Program.h>

#include <Veltrand/Core/Resource.h>
#include <Veltrand/GL/detail/LogMessage.h>

#include <algorithm>
#include <boost/regex.hpp>
#include <charconv>
#include <cstddef>
#include <optional>
#include <stdexcept>

namespace Veltrand::GL {

namespace {

constexpr std::string_view category = "GL.Program";

std::string textOf(const std::optional<ByteBuffer>& data) {
    return data ? data->view().toString() : std::string();
}

std::string queryShaderSource(const std::string& name) {
    if (const auto slash = name.find('/'); slash != std::string::npos) {
        const auto repository = std::string_view(name).substr(0, slash);
        const auto path = std::string_view(name).substr(slash + 1);
        // The query goes by name again because that keeps the repository registered while it is read.
        if (Resource::locate(repository, path))
            return textOf(Resource::query(repository, path));
    }
    if (const auto data = Resource::query({}, name))
        return textOf(data);
    logMessage(Log::Debug, category, [&] { return "Could not query shader source for '" + name + "'"; });
    return {};
}

// The text of an include and the name that it was found under.
struct IncludeFile {
    std::string name;
    std::string text;
};

IncludeFile queryInclude(const std::string& name, const std::string& shaderName) {
    constexpr std::string_view deprecatedPrefix = "Veltrand/";
    IncludeFile file{name, queryShaderSource(name)};
    if (!file.text.empty())
        return file;
    if (name.starts_with(deprecatedPrefix)) {
        file.name = name.substr(deprecatedPrefix.size());
        file.text = queryShaderSource(file.name);
        if (file.text.empty() && file.name.find('/') != std::string::npos) {
            file.name.insert(0, "Veltrand");
            file.text = queryShaderSource(file.name);
        }
    }
    if (file.text.empty()) {
        logMessage(Log::Error, category,
                   [&] { return "OpenGL shader " + shaderName + ": include " + file.name + " not found!"; });
        throw std::runtime_error("Missing shader include");
    }
    logMessage(Log::Warning, category, [&] {
        return "Detected deprecated style #pragma include \"" + name + "\". Please use \"" + file.name +
               "\" instead.";
    });
    return file;
}

void removeByteOrderMark(std::string& text) {
    if (text.starts_with("\xEF\xBB\xBF"))
        text.erase(0, 3);
}

enum class VersionLine { None, Valid, Invalid };

// Reads the number of the first version line of a text into version, and replaces every version line, with
// the blank lines that follow it, by one newline. Matches are tried only where the literal start of the
// expression stands, which leaves the rest of the text to the much faster search for it.
VersionLine extractVersion(std::string& text, int& version) {
    constexpr std::string_view start = "#version ";
    static const boost::regex expression(R"(#version ([0-9]{3})( es)?( compatibility)?(\s)*\n)");
    VersionLine found = VersionLine::None;
    std::string rest;
    std::size_t copied = 0;
    boost::cmatch match;
    for (auto at = text.find(start); at != std::string::npos; at = text.find(start, at)) {
        if (!boost::regex_search(text.c_str() + at, text.c_str() + text.size(), match, expression,
                                 boost::match_continuous)) {
            at += start.size();
            continue;
        }
        if (found == VersionLine::None) {
            const auto error = std::from_chars(match[1].first, match[1].second, version).ec;
            found = error == std::errc() ? VersionLine::Valid : VersionLine::Invalid;
        }
        rest.append(text, copied, at - copied).append("\n");
        at += static_cast<std::size_t>(match.length());
        copied = at;
    }
    if (found != VersionLine::None)
        text = rest.append(text, copied);
    return found;
}

std::string_view stageMacro(Program::Stage stage) {
    switch (stage) {
    case Program::Stage::Vertex:
        return "#define VELTRAND_VERTEX_SHADER\n";
    case Program::Stage::Fragment:
        return "#define VELTRAND_FRAGMENT_SHADER\n";
    case Program::Stage::Geometry:
        return "#define VELTRAND_GEOMETRY_SHADER\n";
    case Program::Stage::TessellationEvaluation:
        return "#define VELTRAND_TESSELATION_EVALUATION_SHADER\n";
    case Program::Stage::TessellationControl:
        return "#define VELTRAND_TESSELATION_CONTROL_SHADER\n";
    case Program::Stage::Compute:
        return "#define VELTRAND_COMPUTE_SHADER\n";
    }
    return {};
}

// Every directive contains this word, so text without it is copied without looking at its lines.
constexpr std::string_view directiveWord = "#pragma";

// Appends every line of text followed by a newline; a line for which expand(line) returns text is replaced by
// that text between markers. A final newline starts one more, empty line, as String::split has it.
template<class Expand>
void appendExpanded(std::string& out, std::string_view text, const Expand& expand) {
    std::size_t begin = 0;
    for (auto hit = text.find(directiveWord); hit != std::string_view::npos;
         hit = text.find(directiveWord, begin)) {
        const std::size_t lineBegin = text.rfind('\n', hit) + 1;
        const std::size_t lineEnd = std::min(text.find('\n', hit), text.size());
        const std::string_view line = text.substr(lineBegin, lineEnd - lineBegin);
        out.append(text, begin, lineBegin - begin);
        if (const std::string expansion = expand(line); expansion.empty())
            out.append(line).append("\n");
        else
            out.append("// START: ")
                .append(line)
                .append("\n")
                .append(expansion)
                .append("// END: ")
                .append(line)
                .append("\n");
        begin = lineEnd + 1;
        if (begin > text.size())
            return;
    }
    out.append(text.substr(begin)).append("\n");
}

} // namespace

std::string Program::loadShaderSource(const ShaderInfo& shaderInfo, bool expandDefines,
                                      const AbstractIncludes& abstractIncludes, const std::string& defines,
                                      const std::vector<std::string>& requiredExtensions) {
    const std::string& name = shaderInfo.name;
    std::string source = queryShaderSource(name);
    if (source.empty()) {
        logMessage(Log::Error, category, [&] { return "OpenGL shader " + name + " not found!"; });
        throw std::runtime_error("Missing shader");
    }
    removeByteOrderMark(source);

    int version = 0;
    if (extractVersion(source, version) == VersionLine::Invalid)
        logMessage(Log::Warning, category, [&] { return "OpenGL shader " + name + ": invalid version!"; });
    int minVersion = version;
    int maxVersion = version;
    source.insert(0, "// START: File \"" + name + "\"\n");

    std::string body;
    std::string prefix = std::string(stageMacro(shaderInfo.stage)) + defines;
    if (expandDefines)
        source.insert(0, prefix.append("\n"));
    else
        body = std::move(prefix);
    std::string abstractDefines;
    std::vector<std::string> includedFiles;
    body.reserve(body.size() + 2 * source.size());
    appendExpanded(body, source, [&](std::string_view line) {
        return expandInclude(line, abstractDefines, minVersion, maxVersion, includedFiles, name,
                             abstractIncludes, defines, {});
    });

    std::string result = determineVersion(minVersion, maxVersion, name) + "\n";
    for (const std::string& extension : requiredExtensions)
        result.append("#extension ").append(extension).append(" : require\n");
    result.append(abstractDefines).append(body);
    if (minVersion < 330 && maxVersion >= 330)
        convertLegacyCodeToModernGlsl(result, shaderInfo.stage);
    return result;
}

std::string Program::expandInclude(std::string_view line, std::string& abstractDefines, int& minVersion,
                                   int& maxVersion, std::vector<std::string>& includedFiles,
                                   const std::string& shaderName, const AbstractIncludes& abstractIncludes,
                                   const std::string& defines, const std::string& keyPrefix) {
    static const boost::regex directiveExpression(
        "(#pragma) (include|abstract_include|conditional_include) (?:([^ ]+) )?\"([^\"]*)\"");
    constexpr const char* skipped = " ";

    boost::cmatch match;
    if (!boost::regex_search(line.data(), line.data() + line.size(), match, directiveExpression))
        return {};
    const std::string directive = match[2].str();
    std::string path = match[4].str();
    std::string innerPrefix = keyPrefix;
    const AbstractIncludeStruct* definition = nullptr;
    if (directive == "abstract_include") {
        innerPrefix += path;
        const auto found = abstractIncludes.find(innerPrefix);
        if (found == abstractIncludes.end())
            return skipped;
        definition = &found->second;
        abstractDefines.append("#define ").append(path).append("\n");
        path = definition->includePath;
    } else {
        const std::string condition = "#define " + match[3].str();
        if (directive == "conditional_include" && abstractDefines.find(condition) == std::string::npos &&
            defines.find(condition) == std::string::npos)
            return skipped;
        if (std::find(includedFiles.begin(), includedFiles.end(), path) != includedFiles.end())
            return skipped;
    }
    includedFiles.push_back(path);

    auto [name, text] = queryInclude(path, shaderName);
    removeByteOrderMark(text);
    int version = 0;
    const VersionLine versionLine = extractVersion(text, version);
    if (versionLine == VersionLine::Valid) {
        minVersion = std::min(minVersion, version);
        maxVersion = std::max(maxVersion, version);
    } else if (versionLine == VersionLine::Invalid) {
        logMessage(Log::Warning, category, [&, &include = name] {
            return "OpenGL shader " + shaderName + ": include " + include + " has invalid version!";
        });
    }
    if (versionLine != VersionLine::None && !text.empty() && text.back() != '\n')
        logMessage(Log::Warning, category,
                   [&include = name] { return include + " does not end with a newline."; });

    std::string expanded;
    expanded.reserve(text.size() + 1);
    appendExpanded(expanded, text, [&](std::string_view innerLine) {
        return expandInclude(innerLine, abstractDefines, minVersion, maxVersion, includedFiles, shaderName,
                             abstractIncludes, defines, innerPrefix);
    });
    if (definition && definition->codeSubstitution)
        return definition->codeSubstitution(expanded);
    return expanded;
}

std::string Program::determineVersion(int minVersion, int maxVersion, const std::string& shaderName) {
    bool compatibility = false;
    if (minVersion != maxVersion) {
        logMessage(Log::Trace, category, [&] {
            return "OpenGL shader " + shaderName + ": different GLSL versions detected, using higher one";
        });
        compatibility = minVersion < 300 && maxVersion >= 330;
    }
    if (maxVersion == 0)
        return {};
    // 3.00 exists only as the ES dialect; the desktop version that it corresponds to is 3.30.
    const int version = maxVersion == 300 ? 330 : maxVersion;
    return "#version " + std::to_string(version) + (compatibility ? " compatibility" : "");
}

void Program::convertLegacyCodeToModernGlsl(std::string& source, Stage stage) {
    static const boost::regex expression(R"((varying)(\s+[\w\d]+\s+[\w\d]+;\s*\n))", boost::regex::icase);
    if (stage == Stage::Vertex)
        source = boost::regex_replace(
            source, expression,
            "out${2} // automatic conversion to GLSL 3.30: replaced 'varying' with 'out'\n");
    else if (stage == Stage::Fragment)
        source = boost::regex_replace(
            source, expression,
            "in${2} // automatic conversion to GLSL 3.30: replaced 'varying' with 'in'\n");
}

std::string Program::joinShaderNames() const {
    std::string names;
    for (const ShaderInfo& shader : m_shaders)
        names.append(names.empty() ? "" : ", ").append(shader.name);
    return names;
}

} // namespace Veltrand::GL
