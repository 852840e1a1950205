// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/CodeMarkup.h"

#include <algorithm>
#include <array>

namespace Veltrand::Apps {

namespace {

constexpr std::string_view Library = "GL::";
constexpr std::array<std::string_view, 28> Keywords{
    "auto",     "bool",     "break",   "case",   "class",    "const",  "constexpr",
    "continue", "double",   "else",    "enum",   "false",    "float",  "for",
    "if",       "int",      "nullptr", "return", "short",    "static", "static_cast",
    "struct",   "template", "throw",   "true",   "unsigned", "using",  "void"};

struct Token {
    std::string_view kind; ///< the class of its span; empty for what needs none
    std::string_view text;
};

bool isWordCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

std::size_t wordLength(std::string_view code) {
    return static_cast<std::size_t>(std::ranges::find_if_not(code, isWordCharacter) - code.begin());
}

/// @param code starts with a quotation mark
std::size_t literalLength(std::string_view code) {
    std::size_t length = 1;
    while (length < code.size() && code[length] != code.front())
        length += code[length] == '\\' ? 2U : 1U;
    return std::min(length + 1, code.size());
}

/// The first token of code that is not empty.
Token firstToken(std::string_view code) {
    if (code.starts_with("//"))
        return {"comment", code.substr(0, code.find('\n'))};
    if (code.front() == '"' || code.front() == '\'')
        return {"literal", code.substr(0, literalLength(code))};
    if (!isWordCharacter(code.front()))
        return {"", code.substr(0, 1)};
    if (code.starts_with(Library))
        return {"library", code.substr(0, Library.size() + wordLength(code.substr(Library.size())))};
    const std::string_view word = code.substr(0, wordLength(code));
    if (word.front() >= '0' && word.front() <= '9')
        return {"literal", word};
    return {std::ranges::find(Keywords, word) != Keywords.end() ? "keyword" : "", word};
}

template<class Function>
void forEachToken(std::string_view code, const Function& function) {
    while (!code.empty()) {
        const Token token = firstToken(code);
        function(token);
        code.remove_prefix(token.text.size());
    }
}

} // namespace

std::string escapedHtml(std::string_view text) {
    std::string escaped;
    for (const char c : text)
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    return escaped;
}

std::string codeAsHtml(std::string_view code) {
    std::string html;
    forEachToken(code, [&html](const Token& token) {
        const std::string text = escapedHtml(token.text);
        html +=
            token.kind.empty() ? text : "<span class=\"" + std::string(token.kind) + "\">" + text + "</span>";
    });
    return html;
}

std::vector<std::string_view> libraryNames(std::string_view code) {
    std::vector<std::string_view> names;
    forEachToken(code, [&names](const Token& token) {
        if (token.kind == "library" && std::ranges::find(names, token.text) == names.end())
            names.push_back(token.text);
    });
    return names;
}

} // namespace Veltrand::Apps
