// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// What the shader preprocessor recognises in GLSL. Every search takes time in proportion to the text.
namespace Veltrand::GL::detail {

/// A number sign and the word behind it, blanks between them left out.
struct SignedWord {
    std::size_t sign = 0;
    std::size_t word = 0;
};
/// The first number sign from @p begin on that has @p word behind it. Signs are rare in GLSL, which makes
/// this faster than to look for the word.
[[nodiscard]] std::optional<SignedWord> findSignedWord(std::string_view text, std::string_view word,
                                                       std::size_t begin);

/// An include directive: `#pragma KEYWORD WORD "NAME"`, the word being optional.
struct IncludeDirective {
    std::string_view keyword; ///< include, abstract_include or conditional_include
    std::string_view word;
    std::string_view name;
};
/// The first include directive of a line, wherever it stands.
[[nodiscard]] std::optional<IncludeDirective> parseIncludeDirective(std::string_view line);

/// Whether what follows `#pragma` was meant for an include directive: one of its keywords, perhaps misspelt.
[[nodiscard]] bool resemblesIncludeDirective(std::string_view afterPragma);

/// A version directive that stands in a text, from its number sign to the end of what is replaced.
struct VersionDirective {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::string_view number;
    /// Whether the rest of its lines up to the next text goes with it. Otherwise the line stays, without it.
    bool takesBlankLines = false;
};

/// Walks through a text and tells code from comments.
class CommentScanner {
public:
    explicit CommentScanner(std::string_view text)
        : m_text(text) {}
    /// Whether nothing but blanks and comments stand between a position and the start of its line. Positions
    /// may not decrease from call to call.
    [[nodiscard]] bool startsLine(std::size_t position);

private:
    std::string_view m_text;
    std::size_t m_position = 0;
    bool m_isBlank = true;
};

/// The version directive that comes first from @p begin on.
[[nodiscard]] std::optional<VersionDirective> findVersionDirective(std::string_view text, std::size_t begin,
                                                                   CommentScanner& comments);

/// Ends lines as the driver counts them by one newline each: CR LF, LF CR and CR.
void normalizeNewlines(std::string& text);

/// The text with each `#line` made a `#pragma line`, so that a driver goes on counting the lines of the text.
[[nodiscard]] std::string withoutLineDirectives(std::string text);

} // namespace Veltrand::GL::detail
