// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <utility>

namespace Veltrand::Testing {

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << '{' << line.level << ", \"" << line.category << "\", \"" << line.text << "\"}";
}

LogCapture::LogCapture()
    : m_previousLevel(Log::globalLevel())
    , m_sink(Log::addSink([this](const Log::Message& message) {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back({message.level, std::string(message.category), std::string(message.text)});
    })) {
    Log::setDefaultSinkEnabled(false);
    Log::setGlobalLevel(Log::Trace);
}

LogCapture::~LogCapture() {
    Log::removeSink(m_sink);
    Log::setGlobalLevel(m_previousLevel);
    Log::setDefaultSinkEnabled(true);
    for (const LogLine& line : m_lines)
        if (line.level >= Log::Warning)
            ADD_FAILURE() << "unexpected log line " << line;
}

std::vector<LogLine> LogCapture::take() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_lines, {});
}

std::vector<LogLine> LogCapture::take(std::string_view category) {
    const std::lock_guard lock(m_mutex);
    const auto first = std::stable_partition(m_lines.begin(), m_lines.end(), [category](const LogLine& line) {
        return line.category != category;
    });
    std::vector<LogLine> taken(std::make_move_iterator(first), std::make_move_iterator(m_lines.end()));
    m_lines.erase(first, m_lines.end());
    return taken;
}

bool LogCapture::takeLine(const LogLine& line) {
    const std::lock_guard lock(m_mutex);
    const auto found = std::find(m_lines.begin(), m_lines.end(), line);
    if (found == m_lines.end())
        return false;
    m_lines.erase(found);
    return true;
}

} // namespace Veltrand::Testing
