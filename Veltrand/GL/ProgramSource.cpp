// SPDX-License-Identifier: BSD-3-Clause
// The shader preprocessor: everything of a program that turns names into GLSL text, without OpenGL.
#include <Veltrand/GL/Program.h>

#include <Veltrand/Core/Resource.h>
#include <Veltrand/GL/ShaderSource.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/PlacedText.h>
#include <Veltrand/GL/detail/ShaderDirectives.h>

#include <algorithm>
#include <boost/regex.hpp>
#include <charconv>
#include <cstddef>
#include <optional>

namespace Veltrand::GL {

// What the expansion of a stage keeps beside its text.
struct detail::IncludeTrail {
    std::vector<ShaderLineMap::File> files;
    std::vector<ShaderMessage> warnings;
    LinePlace place;      // of the line that is being expanded
    int depth = 0;        // of the file that is being expanded
    std::size_t size = 0; // of all that was inserted

    [[nodiscard]] std::optional<ShaderLocation> location() const {
        if (place.file < 0)
            return std::nullopt;
        return ShaderLocation{files[static_cast<std::size_t>(place.file)].name, place.line};
    }
};

namespace {

using detail::CommentScanner;
using detail::IncludeTrail;
using detail::LinePlace;
using detail::PlacedText;

constexpr std::string_view category = "GL.Program";

// No real shader is nested as deeply, and the stack of any thread has room for it.
constexpr int maxIncludeDepth = 256;
// More than any driver compiles. Only abstract includes that insert each other again and again get there.
constexpr std::size_t maxSourceSize = std::size_t(1) << 26;
constexpr std::size_t maxFiles = 65536;

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

std::string placed(const std::optional<ShaderLocation>& location, const std::string& text) {
    return location ? "[" + location->file + ":" + std::to_string(location->line) + "] " + text : text;
}

void warn(IncludeTrail& trail, std::optional<ShaderLocation> location, const std::string& text) {
    logMessage(Log::Warning, category, text);
    trail.warnings.push_back({ShaderMessage::Severity::Warning, std::move(location), text});
}

[[noreturn]] void fail(const IncludeTrail& trail, const std::string& what, const std::string& text) {
    throw ShaderSourceError(what, {ShaderMessage::Severity::Error, trail.location(), text});
}

// The text of an include and the name that it was found under.
struct IncludeFile {
    std::string name;
    std::string text;
};

IncludeFile queryInclude(const std::string& name, const std::string& shaderName, IncludeTrail& trail) {
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
        const std::string text = "OpenGL shader " + shaderName + ": include " + file.name + " not found!";
        logMessage(Log::Error, category, text);
        fail(trail, "Missing shader include", text);
    }
    warn(trail, trail.location(),
         "Detected deprecated style #pragma include \"" + name + "\". Please use \"" + file.name +
             "\" instead.");
    return file;
}

// Notes a file, whose text gets the form that its lines are counted in.
PlacedText placeFile(std::string text, ShaderLineMap::File file, IncludeTrail& trail) {
    if (text.starts_with("\xEF\xBB\xBF"))
        text.erase(0, 3);
    detail::normalizeNewlines(text);
    trail.files.push_back(std::move(file));
    return {std::move(text), {static_cast<int>(trail.files.size()) - 1, 1}};
}

enum class VersionLine { None, Valid, Invalid };

// Reads the number of the first version line of a file into version, and takes out all of them.
VersionLine extractVersion(PlacedText& file, int& version) {
    VersionLine found = VersionLine::None;
    CommentScanner comments(file.text());
    PlacedText rest;
    PlacedText::Cursor cursor(file);
    while (const auto directive = detail::findVersionDirective(file.text(), cursor.position(), comments)) {
        if (found == VersionLine::None) {
            const std::string_view number = directive->number;
            const auto error = std::from_chars(number.data(), number.data() + number.size(), version).ec;
            found = error == std::errc() ? VersionLine::Valid : VersionLine::Invalid;
        }
        rest.append(cursor, directive->begin);
        if (directive->takesBlankLines)
            rest.append("\n");
        cursor.moveTo(directive->end);
    }
    if (found == VersionLine::None)
        return found;
    rest.append(cursor, file.text().size());
    file = std::move(rest);
    return found;
}

// The file of an include without its version, which widens the range of versions.
PlacedText loadInclude(const std::string& path, std::string directive, const std::string& shaderName,
                       int& minVersion, int& maxVersion, IncludeTrail& trail) {
    if (trail.depth == maxIncludeDepth) {
        const std::string text =
            "Includes are nested more than " + std::to_string(maxIncludeDepth) + " levels deep.";
        fail(trail, placed(trail.location(), text), text);
    }
    auto [name, text] = queryInclude(path, shaderName, trail);
    trail.size += text.size();
    if (trail.size > maxSourceSize || trail.files.size() > maxFiles) {
        const std::string reason = "Includes insert more than " + std::to_string(maxFiles) + " files or " +
                                   std::to_string(maxSourceSize) + " bytes.";
        fail(trail, placed(trail.location(), reason), reason);
    }
    PlacedText file = placeFile(std::move(text), {name, std::move(directive)}, trail);
    int version = 0;
    const VersionLine versionLine = extractVersion(file, version);
    if (versionLine == VersionLine::Valid) {
        minVersion = std::min(minVersion, version);
        maxVersion = std::max(maxVersion, version);
    } else if (versionLine == VersionLine::Invalid) {
        warn(trail, ShaderLocation{name, 1},
             "OpenGL shader " + shaderName + ": include " + name + " has invalid version!");
    }
    if (versionLine != VersionLine::None && !file.text().empty() && file.text().back() != '\n')
        warn(trail, ShaderLocation{name, file.placeOf(file.lineCount() - 1).line},
             name + " does not end with a newline.");
    return file;
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

// Every directive has this word, so text without it is copied without looking at its lines.
constexpr std::string_view pragma = "pragma";

// Warns of a line that was meant for an include directive: a driver ignores a pragma that it does not know.
void warnOfNearMiss(std::string_view line, std::size_t lineBegin, CommentScanner& comments,
                    IncludeTrail& trail) {
    for (auto at = detail::findSignedWord(line, pragma, 0); at;
         at = detail::findSignedWord(line, pragma, at->word)) {
        if (!detail::resemblesIncludeDirective(line.substr(at->word + pragma.size())) ||
            !comments.startsLine(lineBegin + at->sign))
            continue;
        const std::string text = "'" + std::string(line) +
                                 "' is left to the driver: an include directive has single blanks, a keyword "
                                 "and a name in double quotes.";
        logMessage(Log::Warning, category, [&] { return placed(trail.location(), text); });
        trail.warnings.push_back({ShaderMessage::Severity::Warning, trail.location(), text});
        return;
    }
}

// Appends every line of source followed by a newline; a line for which expand(line) returns text is replaced
// by that text between markers. A final newline starts one more, empty line, as String::split has it.
template<class Expand>
void appendExpanded(PlacedText& out, const PlacedText& source, IncludeTrail& trail, const Expand& expand) {
    const std::string_view text = source.text();
    CommentScanner comments(text);
    PlacedText::Cursor cursor(source);
    for (auto hit = detail::findSignedWord(text, pragma, 0); hit;
         hit = detail::findSignedWord(text, pragma, cursor.position())) {
        const std::size_t lineBegin = text.rfind('\n', hit->sign) + 1;
        const std::size_t lineEnd = std::min(text.find('\n', hit->sign), text.size());
        const std::string_view line = text.substr(lineBegin, lineEnd - lineBegin);
        out.append(cursor, lineBegin);
        const LinePlace place = cursor.place();
        trail.place = place;
        if (const PlacedText expansion = expand(line); expansion.text().empty()) {
            warnOfNearMiss(line, lineBegin, comments, trail);
            out.append(cursor, lineEnd);
            out.append("\n");
        } else {
            out.place(place);
            out.append("// START: " + std::string(line) + "\n");
            out.append(expansion);
            out.place(place);
            out.append("// END: " + std::string(line) + "\n");
        }
        if (lineEnd == text.size())
            return;
        cursor.moveTo(lineEnd + 1);
    }
    out.append(cursor, text.size());
    out.append("\n");
}

} // namespace

std::string Program::loadShaderSource(const ShaderInfo& shaderInfo, bool expandDefines,
                                      const AbstractIncludes& abstractIncludes, const std::string& defines,
                                      const std::vector<std::string>& requiredExtensions) {
    return assembleShader(shaderInfo, expandDefines, abstractIncludes, defines, requiredExtensions).text;
}

ShaderSource Program::assembleShader(const ShaderInfo& shaderInfo, bool expandDefines,
                                     const AbstractIncludes& abstractIncludes, const std::string& defines,
                                     const std::vector<std::string>& requiredExtensions) {
    const std::string& name = shaderInfo.name;
    IncludeTrail trail;
    std::string text = queryShaderSource(name);
    if (text.empty()) {
        const std::string message = "OpenGL shader " + name + " not found!";
        logMessage(Log::Error, category, message);
        fail(trail, "Missing shader", message);
    }
    PlacedText file = placeFile(std::move(text), {name, name}, trail);

    int version = 0;
    if (extractVersion(file, version) == VersionLine::Invalid)
        warn(trail, std::nullopt, "OpenGL shader " + name + ": invalid version!");
    int minVersion = version;
    int maxVersion = version;

    PlacedText source; // whose lines are expanded
    PlacedText body;
    const std::string prefix = std::string(stageMacro(shaderInfo.stage)) + defines;
    if (expandDefines)
        source.append(prefix + "\n");
    else
        body.append(prefix);
    source.append("// START: File \"" + name + "\"\n");
    source.append(file);
    std::string abstractDefines;
    std::vector<std::string> includedFiles;
    body.reserve(body.text().size() + 2 * source.text().size());
    appendExpanded(body, source, trail, [&](std::string_view line) {
        return expandInclude(line, abstractDefines, minVersion, maxVersion, includedFiles, name,
                             abstractIncludes, defines, {}, trail);
    });

    PlacedText result;
    result.append(determineVersion(minVersion, maxVersion, name) + "\n");
    for (const std::string& extension : requiredExtensions)
        result.append("#extension " + extension + " : require\n");
    result.append(abstractDefines);
    result.append(body);
    if (minVersion < 330 && maxVersion >= 330)
        convertLegacyCodeToModernGlsl(result, shaderInfo.stage);
    ShaderLineMap lines(std::move(trail.files), result.runs(), result.lineCount());
    return {result.takeText(), std::move(lines), std::move(trail.warnings)};
}

detail::PlacedText
Program::expandInclude(std::string_view line, std::string& abstractDefines, int& minVersion, int& maxVersion,
                       std::vector<std::string>& includedFiles, const std::string& shaderName,
                       const AbstractIncludes& abstractIncludes, const std::string& defines,
                       const std::string& keyPrefix, detail::IncludeTrail& trail) {
    const auto directive = detail::parseIncludeDirective(line);
    if (!directive)
        return {};
    const auto skipped = [&trail] { return PlacedText(" ", trail.place); };
    std::string path(directive->name);
    std::string innerPrefix = keyPrefix;
    const AbstractIncludeStruct* definition = nullptr;
    if (directive->keyword == "abstract_include") {
        innerPrefix += path;
        const auto found = abstractIncludes.find(innerPrefix);
        if (found == abstractIncludes.end())
            return skipped();
        definition = &found->second;
        abstractDefines.append("#define ").append(path).append("\n");
        path = definition->includePath;
    } else {
        const std::string condition = "#define " + std::string(directive->word);
        if (directive->keyword == "conditional_include" &&
            abstractDefines.find(condition) == std::string::npos &&
            defines.find(condition) == std::string::npos)
            return skipped();
        if (std::find(includedFiles.begin(), includedFiles.end(), path) != includedFiles.end())
            return skipped();
    }
    includedFiles.push_back(path);

    PlacedText file =
        loadInclude(path, std::string(directive->name), shaderName, minVersion, maxVersion, trail);
    PlacedText expanded;
    expanded.reserve(file.text().size() + 1);
    ++trail.depth;
    appendExpanded(expanded, file, trail, [&](std::string_view innerLine) {
        return expandInclude(innerLine, abstractDefines, minVersion, maxVersion, includedFiles, shaderName,
                             abstractIncludes, defines, innerPrefix, trail);
    });
    --trail.depth;
    if (definition && definition->codeSubstitution)
        expanded.rewrite(definition->codeSubstitution(expanded.text()));
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

void Program::convertLegacyCodeToModernGlsl(detail::PlacedText& source, Stage stage) {
    static const boost::regex expression(R"((varying)(\s+[\w\d]+\s+[\w\d]+;\s*\n))", boost::regex::icase);
    if (stage != Stage::Vertex && stage != Stage::Fragment)
        return;
    const std::string word = stage == Stage::Vertex ? "out" : "in";
    const std::string& text = source.text();
    PlacedText converted;
    PlacedText::Cursor cursor(source);
    for (boost::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match) {
        converted.append(cursor, static_cast<std::size_t>(match->position(1)));
        const LinePlace declaration = cursor.place();
        converted.append(word);
        cursor.moveTo(static_cast<std::size_t>(match->position(2)));
        converted.append(cursor, cursor.position() + static_cast<std::size_t>(match->length(2)));
        converted.place(declaration);
        converted.append(" // automatic conversion to GLSL 3.30: replaced 'varying' with '" + word + "'\n");
    }
    converted.append(cursor, text.size());
    source = std::move(converted);
}

std::string Program::joinShaderNames() const {
    std::string names;
    for (const ShaderInfo& shader : m_shaders)
        names.append(names.empty() ? "" : ", ").append(shader.name);
    return names;
}

} // namespace Veltrand::GL
