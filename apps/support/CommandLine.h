// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Span.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Veltrand::Apps {

/// A command line that cannot be understood; the text is one sentence.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

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

} // namespace Veltrand::Apps
