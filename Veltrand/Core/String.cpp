// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/String.h>

#include <algorithm>

namespace Veltrand::String {

namespace {

std::string_view trimmed(std::string_view text, std::string_view characters) {
    const auto first = text.find_first_not_of(characters);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(characters) - first + 1);
}

} // namespace

std::vector<std::string> split(std::string_view text, std::string_view delimiters,
                               Flags<SplitOption> options) {
    std::vector<std::string> pieces;
    for (std::size_t begin = 0; begin <= text.size();) {
        // A single delimiter is found many characters at a time.
        const std::size_t hit = delimiters.size() == 1 ? text.find(delimiters.front(), begin)
                                                       : text.find_first_of(delimiters, begin);
        const std::size_t end = std::min(hit, text.size());
        std::string_view piece = text.substr(begin, end - begin);
        if (options.test(SplitOption::Trim))
            piece = trimmed(piece, " \t\f\v\r\n");
        if (!piece.empty() || !options.test(SplitOption::SkipEmpty))
            pieces.emplace_back(piece);
        begin = end + 1;
    }
    return pieces;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.starts_with(prefix);
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

std::string trimCopy(std::string_view text, std::string_view characters) {
    return std::string(trimmed(text, characters));
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    text = replaceAllCopy(text, from, to);
}

std::string replaceAllCopy(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty())
        return std::string(text);
    std::string result;
    std::size_t begin = 0;
    for (std::size_t hit = text.find(from); hit != std::string_view::npos; hit = text.find(from, begin)) {
        result.append(text, begin, hit - begin).append(to);
        begin = hit + from.size();
    }
    return result.append(text, begin);
}

std::string toLowerCopy(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return result;
}

std::string toUpperCopy(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return result;
}

} // namespace Veltrand::String
