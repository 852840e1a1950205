// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Log.h>
#include <Veltrand/Core/NotCopyable.h>

#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrand::Testing {

struct LogLine {
    int level;
    std::string category;
    std::string text;
    friend bool operator==(const LogLine&, const LogLine&) = default;
};
std::ostream& operator<<(std::ostream& out, const LogLine& line);

/// Collects all log lines of a scope, from level 0 up and from every thread, and keeps standard error quiet.
///
/// At the end of the scope a line of level 3 or above that the test has not taken fails the test.
class LogCapture : private Utils::NotCopyable {
public:
    LogCapture();
    ~LogCapture();

    /// Removes and returns every line so far, so that the test can compare them.
    [[nodiscard]] std::vector<LogLine> take();
    /// Removes and returns the lines of one category.
    [[nodiscard]] std::vector<LogLine> take(std::string_view category);
    /// Removes the first line equal to @p line; whether there was one.
    [[nodiscard]] bool takeLine(const LogLine& line);

private:
    mutable std::mutex m_mutex;
    std::vector<LogLine> m_lines;
    int m_previousLevel;
    Log::SinkId m_sink;
};

} // namespace Veltrand::Testing
