// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/ShaderDirectives.h>

#include <algorithm>
#include <array>
#include <boost/regex.hpp>
#include <cctype>
#include <vector>

namespace Veltrand::GL::detail {

namespace {

constexpr std::string_view blanks = " \t\v\f";

// What stands behind a directive's keyword and the blank after it: a quoted name, perhaps with a word in
// front. The word is anything without a blank, so a quoted name may be one.
std::optional<IncludeDirective> parseName(std::string_view text) {
    const auto quoted = [text](std::size_t open) -> std::optional<std::string_view> {
        const auto close = open < text.size() && text[open] == '"' ? text.find('"', open + 1) : text.npos;
        return close == text.npos ? std::nullopt : std::optional(text.substr(open + 1, close - open - 1));
    };
    const auto blank = text.find(' ');
    if (blank != 0 && blank != text.npos)
        if (const auto name = quoted(blank + 1))
            return IncludeDirective{{}, text.substr(0, blank), *name};
    if (const auto name = quoted(0))
        return IncludeDirective{{}, {}, *name};
    return std::nullopt;
}

// The number of letters to insert, remove, exchange or swap with their neighbours.
int editDistance(std::string_view a, std::string_view b) {
    std::vector<std::vector<int>> distance(a.size() + 1, std::vector<int>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i)
        for (std::size_t j = 0; j <= b.size(); ++j) {
            int& best = distance[i][j];
            if (i == 0 || j == 0) {
                best = static_cast<int>(i + j);
                continue;
            }
            best = std::min({distance[i - 1][j] + 1, distance[i][j - 1] + 1,
                             distance[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                best = std::min(best, distance[i - 2][j - 2] + 1);
        }
    return distance[a.size()][b.size()];
}

// Takes the word that a text begins with off it, in lower case.
std::string takeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const auto isPart = [](unsigned char c) { return std::isalpha(c) || c == '_' || c == '-'; };
    const auto end = std::find_if_not(text.begin(), text.end(), isPart);
    std::string word(text.begin(), end);
    text.remove_prefix(word.size());
    std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::tolower(c); });
    return word;
}

} // namespace

std::optional<SignedWord> findSignedWord(std::string_view text, std::string_view word, std::size_t begin) {
    for (auto sign = text.find('#', begin); sign != text.npos; sign = text.find('#', sign + 1)) {
        const auto at = text.find_first_not_of(" \t", sign + 1);
        if (at != text.npos && text.substr(at).starts_with(word))
            return SignedWord{sign, at};
    }
    return std::nullopt;
}

std::optional<IncludeDirective> parseIncludeDirective(std::string_view line) {
    constexpr std::string_view start = "#pragma ";
    constexpr std::array<std::string_view, 3> keywords{"include ", "abstract_include ",
                                                       "conditional_include "};
    for (auto at = line.find(start); at != line.npos; at = line.find(start, at + 1)) {
        const std::string_view rest = line.substr(at + start.size());
        for (const std::string_view keyword : keywords) {
            if (!rest.starts_with(keyword))
                continue;
            if (auto directive = parseName(rest.substr(keyword.size()))) {
                directive->keyword = keyword.substr(0, keyword.size() - 1);
                return directive;
            }
        }
    }
    return std::nullopt;
}

bool resemblesIncludeDirective(std::string_view afterPragma) {
    constexpr std::array<std::string_view, 3> keywords{"include", "abstract_include", "conditional_include"};
    const std::string first = takeWord(afterPragma);
    const std::string both = first + '_' + takeWord(afterPragma);
    constexpr std::size_t longest = 32; // more than any misspelling has
    return std::any_of(keywords.begin(), keywords.end(), [&](std::string_view keyword) {
        const int tolerance = keyword.size() < 10 ? 1 : 2;
        return (first.size() < longest && editDistance(first, keyword) <= tolerance) ||
               (both.size() < longest && editDistance(both, keyword) <= tolerance);
    });
}

bool CommentScanner::startsLine(std::size_t position) {
    while (m_position < position) {
        const char c = m_text[m_position];
        const std::string_view pair = m_text.substr(m_position, 2);
        if (pair == "/*") {
            const auto end = m_text.find("*/", m_position + 2);
            m_position = end == m_text.npos ? m_text.size() : end + 2;
        } else if (pair == "//") {
            // A backslash at the end of a line goes on with it.
            auto end = m_text.find('\n', m_position);
            while (end != m_text.npos && m_text[end - 1] == '\\')
                end = m_text.find('\n', end + 1);
            m_position = std::min(end, m_text.size());
        } else {
            m_isBlank = c == '\n' || (m_isBlank && blanks.find(c) != blanks.npos);
            ++m_position;
        }
    }
    return m_position == position && m_isBlank;
}

std::optional<VersionDirective> findVersionDirective(std::string_view text, std::size_t begin,
                                                     CommentScanner& comments) {
    // As programs have always had it: anywhere, with single blanks, and without anything behind it.
    static const boost::regex strict("#version ([0-9]{3})(?: es)?(?: compatibility)?");
    // As GLSL has it, if it starts a line.
    static const boost::regex free(
        "#[ \\t]*version[ \\t]+([0-9]{3})(?:[ \\t]+(?:es|core|compatibility))?(?![\\w.])[ \\t]*");
    boost::cmatch match;
    for (auto at = findSignedWord(text, "version", begin); at;
         at = findSignedWord(text, "version", at->word)) {
        const std::size_t sign = at->sign;
        const auto search = [&](const boost::regex& expression) {
            return boost::regex_search(text.data() + sign, text.data() + text.size(), match, expression,
                                       boost::match_continuous);
        };
        const auto found = [&](std::size_t end, bool takesBlankLines) {
            const std::string_view number(match[1].first, static_cast<std::size_t>(match[1].length()));
            return VersionDirective{sign, end, number, takesBlankLines};
        };
        if (search(strict)) {
            const std::size_t end = sign + static_cast<std::size_t>(match.length());
            const auto next = std::min(text.find_first_not_of(" \t\n\v\f\r", end), text.size());
            const auto newline = next > end ? text.rfind('\n', next - 1) : text.npos;
            if (newline != text.npos && newline >= end)
                return found(newline + 1, true);
        }
        if (!search(free))
            continue;
        const std::size_t end = sign + static_cast<std::size_t>(match.length());
        const std::string_view rest = text.substr(end, 2);
        if ((rest.starts_with('\n') || rest == "//" || rest == "/*") && comments.startsLine(sign))
            return found(end, false);
    }
    return std::nullopt;
}

void normalizeNewlines(std::string& text) {
    std::size_t from = text.find('\r');
    if (from == text.npos)
        return;
    // The newline in front belongs to it in LF CR.
    if (from > 0 && text[from - 1] == '\n')
        --from;
    std::size_t to = from;
    for (; from < text.size(); ++from) {
        const char c = text[from];
        if (c != '\r' && c != '\n') {
            text[to++] = c;
            continue;
        }
        text[to++] = '\n';
        const char other = c == '\r' ? '\n' : '\r';
        if (from + 1 < text.size() && text[from + 1] == other)
            ++from;
    }
    text.resize(to);
}

std::string withoutLineDirectives(std::string text) {
    constexpr std::string_view word = "line";
    const auto isPart = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
    CommentScanner comments(text);
    std::string result;
    std::size_t copied = 0;
    for (auto at = findSignedWord(text, word, 0); at; at = findSignedWord(text, word, at->word)) {
        const std::size_t end = at->word + word.size();
        if ((end < text.size() && isPart(text[end])) || !comments.startsLine(at->sign))
            continue;
        result.append(text, copied, at->word - copied).append("pragma ");
        copied = at->word;
    }
    return copied == 0 ? text : result.append(text, copied);
}

} // namespace Veltrand::GL::detail
