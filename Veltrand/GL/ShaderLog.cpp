// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ShaderLog.h>

#include <Veltrand/Core/String.h>

#include <boost/regex.hpp>
#include <charconv>
#include <cstddef>

namespace Veltrand::GL {

namespace {

using Lines = std::vector<std::string_view>;

Lines splitLines(std::string_view text) {
    Lines lines;
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n', begin)) {
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    lines.push_back(text.substr(begin));
    return lines;
}

// The lines of a log, where a newline ends a line rather than starting another one.
Lines splitLog(std::string_view log) {
    if (log.ends_with('\n'))
        log.remove_suffix(1);
    else if (log.empty())
        return {};
    return splitLines(log);
}

std::string_view view(const boost::csub_match& group) {
    return group.matched ? std::string_view(group.first, static_cast<std::size_t>(group.length()))
                         : std::string_view();
}

bool search(std::string_view line, boost::cmatch& match, const boost::regex& expression,
            boost::match_flag_type flags = boost::match_default) {
    return boost::regex_search(line.data(), line.data() + line.size(), match, expression, flags);
}

// The index that a driver's line number (from 1) stands for; nothing if there is no such line.
std::optional<std::size_t> lineIndex(std::string_view number, std::size_t lineCount) {
    std::size_t line = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), line);
    if (error != std::errc() || line == 0 || line > lineCount)
        return std::nullopt;
    return line - 1;
}

// Walks upward from the line to the START marker of the file that it belongs to, past whole files that were
// inserted in between: those stand for one line of this file, their directive.
std::optional<ShaderLocation> locate(const Lines& lines, std::size_t index) {
    static const boost::regex marker("// (START|END): (File|#pragma include|#pragma abstract_include|"
                                     "#pragma conditional_include) (?:([^ ]+) )?\"([^\"]*)\"");
    std::size_t depth = 0;
    std::size_t foreign = 0;
    boost::cmatch match;
    for (std::size_t i = index + 1; i-- > 0;) {
        const std::string_view line = lines[i];
        const bool candidate = line.find("// START: ") != std::string_view::npos ||
                               line.find("// END: ") != std::string_view::npos;
        if (!candidate || !search(line, match, marker)) {
            foreign += depth > 0 ? 1 : 0;
        } else if (view(match[1]) == "END") {
            ++depth;
            ++foreign;
        } else if (depth == 0) {
            return ShaderLocation{std::string(view(match[4])), static_cast<int>(index - i - foreign)};
        } else {
            --depth;
            foreign += depth > 0 ? 1 : 0;
        }
    }
    return std::nullopt;
}

std::string prefix(const ShaderLocation& location) {
    return "[" + location.file + ":" + std::to_string(location.line) + "] ";
}

} // namespace

std::optional<ShaderLocation> locateShaderLine(std::string_view source, int line) {
    const Lines lines = splitLines(source);
    if (line < 1 || static_cast<std::size_t>(line) > lines.size())
        return std::nullopt;
    return locate(lines, static_cast<std::size_t>(line) - 1);
}

std::string reformatShaderErrorLog(std::string_view log, std::string_view source) {
    static const boost::regex firstForm(R"([0-9]\(([0-9]+)\)\s:\s(error|warning)\s([C][0-9]{4}):(.*))");
    static const boost::regex secondForm(R"(.*[0-9]:([0-9]+):\s(error|warning)\s*\([#C][0-9]+\)\s(.*))");
    const Lines lines = splitLines(source);
    std::string result;
    boost::cmatch match;
    for (const std::string_view message : splitLog(log)) {
        if (!search(message, match, firstForm) && !search(message, match, secondForm)) {
            result.append(message).append("\n");
            continue;
        }
        const auto index = lineIndex(view(match[1]), lines.size());
        if (!index)
            continue;
        if (const auto location = locate(lines, *index)) {
            result.append(prefix(*location)).append(view(match[2])).append(" ").append(view(match[3]));
            // The second form has no code: its text is group 3, and the colon ends the line.
            result.append(":").append(match.size() > 4 ? view(match[4]) : std::string_view());
        } else {
            result.append(message);
        }
        result.append("\n> ").append(String::trimCopy(lines[*index], " \t\f\v\r\n")).append("\n");
    }
    return result;
}

std::vector<std::string> placeShaderMessages(std::string_view log, std::string_view source) {
    static const boost::regex form(R"([0-9]+:([0-9]+)\([0-9]+\): (?:preprocessor )?(?:error|warning): )");
    const Lines lines = splitLines(source);
    std::vector<std::string> placed;
    boost::cmatch match;
    for (const std::string_view message : splitLog(log)) {
        if (!search(message, match, form, boost::match_continuous))
            continue;
        const auto index = lineIndex(view(match[1]), lines.size());
        if (const auto location = index ? locate(lines, *index) : std::nullopt)
            placed.push_back(prefix(*location).append(message));
    }
    return placed;
}

std::vector<ShaderMessage> parseShaderLog(std::string_view log, std::string_view source) {
    // Each with the groups line, severity and text; (?|...) numbers them alike.
    static const boost::regex form(
        "(?|[0-9]+:([0-9]+)\\([0-9]+\\): (?:preprocessor )?(error|warning): (.*)"   // Mesa
        "|[0-9]+\\(([0-9]+)\\) ?: (error|warning) (.*)"                             // NVIDIA
        "|(?=(?:ERROR|WARNING): [0-9]+:([0-9]+): )(ERROR|WARNING): [0-9]+:[0-9]+: " // AMD
        "(?:(?:error|warning)\\(#[0-9]+\\) )?(.*))");
    const Lines lines = splitLines(source);
    std::vector<ShaderMessage> messages;
    boost::cmatch match;
    for (const std::string_view line : splitLog(log)) {
        if (line.empty())
            continue;
        ShaderMessage& message = messages.emplace_back();
        if (!search(line, match, form, boost::match_continuous)) {
            message.text = line;
            continue;
        }
        message.severity = String::toLowerCopy(view(match[2])) == "error" ? ShaderMessage::Severity::Error
                                                                          : ShaderMessage::Severity::Warning;
        if (const auto index = lineIndex(view(match[1]), lines.size()))
            message.location = locate(lines, *index);
        message.text = view(match[3]);
    }
    return messages;
}

} // namespace Veltrand::GL
