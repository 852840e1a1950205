// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ShaderLog.h>

#include <Veltrand/Core/String.h>
#include <Veltrand/GL/ShaderSource.h>

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

// A driver's line number, counted from 1; 0 for what is none.
int parseLine(std::string_view number) {
    int line = 0;
    const auto error = std::from_chars(number.data(), number.data() + number.size(), line).ec;
    return error == std::errc() ? line : 0;
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

// Finds the files of lines by the markers in the text.
class MarkerReader {
public:
    explicit MarkerReader(std::string_view source)
        : m_lines(splitLines(source)) {}
    std::optional<ShaderLocation> operator()(int line) const {
        if (line < 1 || static_cast<std::size_t>(line) > m_lines.size())
            return std::nullopt;
        return locate(m_lines, static_cast<std::size_t>(line) - 1);
    }

private:
    Lines m_lines;
};

std::string prefix(const ShaderLocation& location) {
    return "[" + location.file + ":" + std::to_string(location.line) + "] ";
}

template<class Locate>
std::string reformat(std::string_view log, std::string_view source, const Locate& locate) {
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
        const int line = parseLine(view(match[1]));
        if (line < 1 || static_cast<std::size_t>(line) > lines.size())
            continue;
        if (const std::optional<ShaderLocation> location = locate(line)) {
            result.append(prefix(*location)).append(view(match[2])).append(" ").append(view(match[3]));
            // The second form has no code: its text is group 3, and the colon ends the line.
            result.append(":").append(match.size() > 4 ? view(match[4]) : std::string_view());
        } else {
            result.append(message);
        }
        const std::string_view quoted = lines[static_cast<std::size_t>(line) - 1];
        result.append("\n> ").append(String::trimCopy(quoted, " \t\f\v\r\n")).append("\n");
    }
    return result;
}

template<class Locate>
std::vector<std::string> place(std::string_view log, const Locate& locate) {
    static const boost::regex form(R"([0-9]+:([0-9]+)\([0-9]+\): (?:preprocessor )?(?:error|warning): )");
    std::vector<std::string> placed;
    boost::cmatch match;
    for (const std::string_view message : splitLog(log)) {
        if (!search(message, match, form, boost::match_continuous))
            continue;
        if (const std::optional<ShaderLocation> location = locate(parseLine(view(match[1]))))
            placed.push_back(prefix(*location).append(message));
    }
    return placed;
}

template<class Locate>
std::vector<ShaderMessage> parse(std::string_view log, const Locate& locate) {
    // Each with the groups line, severity and text; (?|...) numbers them alike.
    static const boost::regex form(
        "(?|[0-9]+:([0-9]+)\\([0-9]+\\): (?:preprocessor )?(error|warning): (.*)"   // Mesa
        "|[0-9]+\\(([0-9]+)\\) ?: (error|warning) (.*)"                             // NVIDIA
        "|(?=(?:ERROR|WARNING): [0-9]+:([0-9]+): )(ERROR|WARNING): [0-9]+:[0-9]+: " // AMD
        "(?:(?:error|warning)\\(#[0-9]+\\) )?(.*))");
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
        message.location = locate(parseLine(view(match[1])));
        message.text = view(match[3]);
    }
    return messages;
}

auto reader(const ShaderLineMap& lines) {
    return [&lines](int line) { return lines.locate(line); };
}

} // namespace

std::optional<ShaderLocation> locateShaderLine(std::string_view source, int line) {
    return MarkerReader(source)(line);
}

std::string reformatShaderErrorLog(std::string_view log, std::string_view source) {
    return reformat(log, source, MarkerReader(source));
}

std::string reformatShaderErrorLog(std::string_view log, const ShaderSource& source) {
    return reformat(log, source.text, [&](int line) { return source.lines.locateAsNamed(line); });
}

std::vector<std::string> placeShaderMessages(std::string_view log, std::string_view source) {
    return place(log, MarkerReader(source));
}

std::vector<std::string> placeShaderMessages(std::string_view log, const ShaderLineMap& lines) {
    return place(log, reader(lines));
}

std::vector<ShaderMessage> parseShaderLog(std::string_view log, std::string_view source) {
    return parse(log, MarkerReader(source));
}

std::vector<ShaderMessage> parseShaderLog(std::string_view log, const ShaderLineMap& lines) {
    return parse(log, reader(lines));
}

} // namespace Veltrand::GL
