// SPDX-License-Identifier: BSD-3-Clause
#include "shadercheck/LinkLog.h"

#include <Veltrand/Core/String.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>

namespace Veltrand::Apps {

namespace {

using Severity = GL::ShaderMessage::Severity;

bool isPartOfWord(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

bool containsWord(std::string_view line, std::string_view word) {
    for (auto at = line.find(word); at != line.npos; at = line.find(word, at + 1)) {
        const auto end = at + word.size();
        if ((at == 0 || !isPartOfWord(line[at - 1])) && (end == line.size() || !isPartOfWord(line[end])))
            return true;
    }
    return false;
}

bool isDeclaration(std::string_view line) {
    constexpr std::array<std::string_view, 5> qualifiers{"in", "out", "uniform", "buffer", "shared"};
    return std::any_of(qualifiers.begin(), qualifiers.end(),
                       [line](std::string_view qualifier) { return containsWord(line, qualifier); });
}

// Names stand in quotes, or behind the word "varying".
std::vector<std::string> namesIn(std::string_view text) {
    constexpr std::string_view varying = "varying ";
    constexpr std::string_view quotes = "`'\"";
    std::vector<std::string> names;
    if (const auto at = text.find(varying); at != text.npos) {
        const std::string_view rest = text.substr(at + varying.size());
        names.emplace_back(rest.begin(), std::find_if_not(rest.begin(), rest.end(), isPartOfWord));
    }
    for (auto open = text.find_first_of(quotes); open != text.npos;) {
        const auto close = text.find_first_of(quotes, open + 1);
        if (close == text.npos)
            break;
        names.emplace_back(text.substr(open + 1, close - open - 1));
        open = text.find_first_of(quotes, close + 1);
    }
    std::erase(names, "");
    return names;
}

LinkMessage parseLine(std::string line) {
    Severity severity = Severity::Note;
    for (const auto& [prefix, meaning] :
         {std::pair("error: ", Severity::Error), std::pair("warning: ", Severity::Warning)})
        if (line.starts_with(prefix)) {
            severity = meaning;
            line.erase(0, std::string_view(prefix).size());
        }
    // An error by the language, of which Mesa only warns.
    if (line.find(" not written by ") != std::string::npos)
        severity = Severity::Error;
    std::vector<std::string> names = namesIn(line);
    return {severity, std::move(line), std::move(names)};
}

} // namespace

std::vector<LinkMessage> parseLinkLog(std::string_view log) {
    std::vector<std::string> seen;
    std::vector<LinkMessage> messages;
    for (std::string& line : String::split(log, "\n")) {
        // Mesa ends some messages by a newline and a full stop.
        if (line.starts_with('.'))
            line.erase(0, 1);
        if (line.empty() || std::find(seen.begin(), seen.end(), line) != seen.end())
            continue;
        seen.push_back(line);
        messages.push_back(parseLine(std::move(line)));
    }
    return messages;
}

std::optional<GL::ShaderLocation> findDeclaration(const GL::ShaderSource& source, std::string_view name) {
    std::optional<GL::ShaderLocation> first;
    int number = 0;
    for (const std::string& text : String::split(source.text, "\n")) {
        const std::string_view line = std::string_view(text).substr(0, text.find("//"));
        ++number;
        if (!containsWord(line, name))
            continue;
        if (isDeclaration(line))
            return source.lines.locate(number);
        if (!first)
            first = source.lines.locate(number);
    }
    return first;
}

} // namespace Veltrand::Apps
