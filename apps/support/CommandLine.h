// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Span.h>

#include <Eigen/Core>
#include <array>
#include <charconv>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace Veltrand::Apps {

/// A command line that cannot be understood; the text is one sentence.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What every program can be asked for in place of its work.
enum class Question { None, Help, Version };

/// Whether an argument asks something; if so, @p question is what, unless an earlier argument has asked
/// already.
[[nodiscard]] bool takeQuestion(std::string_view argument, Question& question);

/// Walks along the arguments and hands out options and their values.
class Arguments {
public:
    /// @param arguments the command line without the program's name
    explicit Arguments(Utils::Span<const char* const> arguments)
        : m_arguments(arguments) {}

    [[nodiscard]] bool atEnd() const { return m_next == m_arguments.size(); }
    std::string_view take() { return m_arguments[m_next++]; }

    /// Whether @p argument is the option @p name; if so, @p value is what follows it, after '=' or as the
    /// next argument. Throws `UsageError` when nothing follows.
    bool takeValue(std::string_view argument, std::string_view name, std::string_view& value);

private:
    Utils::Span<const char* const> m_arguments;
    std::size_t m_next = 0;
};

/// Reads the whole of @p text as @p N numbers with @p separator between them.
template<class T, std::size_t N>
[[nodiscard]] bool parseNumbers(std::string_view text, char separator, std::array<T, N>& numbers) {
    const char* position = text.data();
    const char* const end = text.data() + text.size();
    for (std::size_t i = 0; i < N; ++i) {
        if (i > 0 && (position == end || *position++ != separator))
            return false;
        const auto [next, error] = std::from_chars(position, end, numbers[i]);
        if (error != std::errc())
            return false;
        position = next;
    }
    return position == end;
}

/// The value of an option that takes WIDTHxHEIGHT in pixels. Throws `UsageError`.
[[nodiscard]] Eigen::Vector2i parseSize(std::string_view option, std::string_view text);
/// The value of an option that takes a number. Throws `UsageError`.
[[nodiscard]] double parseNumber(std::string_view option, std::string_view text);

} // namespace Veltrand::Apps
