// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/PlacedText.h>

#include <Veltrand/Core/Span.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace Veltrand::GL::detail {

namespace {

using Run = ShaderLineMap::Run;
using Lines = std::vector<std::string_view>;

int countNewlines(std::string_view text) {
    int count = 0;
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string_view::npos; ++at)
        ++count;
    return count;
}

Lines splitLines(std::string_view text) {
    Lines lines;
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1))
        lines.push_back(text.substr(0, end));
    lines.push_back(text);
    return lines;
}

// The first run that begins after a line.
std::vector<Run>::const_iterator runAfter(const std::vector<Run>& runs, int line) {
    return std::upper_bound(runs.begin(), runs.end(), line,
                            [](int wanted, const Run& run) { return wanted < run.line; });
}

// The number of characters that two lines share at their ends, or none if that is less than half of them.
int likeness(std::string_view a, std::string_view b) {
    const auto front = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (front.first == a.end() && front.second == b.end())
        return static_cast<int>(a.size()) + 1;
    const auto shared = static_cast<std::size_t>(front.first - a.begin());
    const std::size_t rest = std::min(a.size(), b.size()) - shared;
    std::size_t back = 0;
    while (back < rest && a[a.size() - 1 - back] == b[b.size() - 1 - back])
        ++back;
    return 4 * (shared + back) < a.size() + b.size() ? 0 : static_cast<int>(shared + back);
}

// For each line of a text that was changed, the line that it was before, in the same order; -1 where none is
// like it. Chosen so that the likeness of all pairs together is largest.
std::vector<int> matchLines(Utils::Span<const std::string_view> before,
                            Utils::Span<const std::string_view> after) {
    constexpr std::size_t largestTable = 1U << 22;
    std::vector<int> matches(after.size(), -1);
    if (before.size() * after.size() > largestTable)
        return matches;
    // The best sum for what follows line b of before and line a of after.
    const std::size_t width = after.size() + 1;
    std::vector<int> best((before.size() + 1) * width, 0);
    for (std::size_t b = before.size(); b-- > 0;)
        for (std::size_t a = after.size(); a-- > 0;)
            best[b * width + a] = std::max({best[(b + 1) * width + a], best[b * width + a + 1],
                                            best[(b + 1) * width + a + 1] + likeness(before[b], after[a])});
    for (std::size_t b = 0, a = 0; b < before.size() && a < after.size();) {
        const int sum = best[b * width + a];
        if (sum == best[(b + 1) * width + a])
            ++b;
        else if (sum == best[b * width + a + 1])
            ++a;
        else
            matches[a++] = static_cast<int>(b++);
    }
    return matches;
}

// As matchLines, for every line: one that is like none follows the line before it as far as lines are left.
std::vector<int> followLines(const Lines& before, const Lines& after) {
    const auto front = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
    const auto back = std::mismatch(before.rbegin(), std::make_reverse_iterator(front.first), after.rbegin(),
                                    std::make_reverse_iterator(front.second));
    const auto equalFront = static_cast<std::size_t>(front.first - before.begin());
    const auto equalBack = static_cast<std::size_t>(back.first - before.rbegin());
    std::vector<int> lines(after.size());
    std::iota(lines.begin(), lines.end(), 0);
    const std::vector<int> middle =
        matchLines({before.data() + equalFront, before.data() + before.size() - equalBack},
                   {after.data() + equalFront, after.data() + after.size() - equalBack});
    for (std::size_t i = 0; i < middle.size(); ++i)
        lines[equalFront + i] = middle[i] < 0 ? -1 : middle[i] + static_cast<int>(equalFront);
    const int shift = static_cast<int>(before.size()) - static_cast<int>(after.size());
    for (std::size_t i = after.size() - equalBack; i < after.size(); ++i)
        lines[i] += shift;

    int next = static_cast<int>(before.size());
    std::vector<int> ends(after.size());
    for (std::size_t i = after.size(); i-- > 0;)
        next = ends[i] = lines[i] < 0 ? next : lines[i];
    int last = -1;
    for (std::size_t i = 0; i < after.size(); ++i)
        last = lines[i] = lines[i] < 0 ? std::max(0, std::min(last + 1, ends[i] - 1)) : lines[i];
    return lines;
}

} // namespace

void PlacedText::Cursor::moveTo(std::size_t position) {
    position = std::min(position, m_text->m_text.size());
    const std::string_view text = m_text->m_text;
    m_line = position == text.size() ? m_text->m_line
                                     : m_line + countNewlines(text.substr(m_position, position - m_position));
    m_position = position;
}

PlacedText::PlacedText(std::string text, LinePlace first)
    : m_text(std::move(text))
    , m_runs{{0, first.file, first.line}}
    , m_line(countNewlines(m_text)) {}

LinePlace PlacedText::placeOf(int line) const {
    const auto next = runAfter(m_runs, line);
    if (next == m_runs.begin())
        return {};
    const Run& run = *std::prev(next);
    return {run.file, run.fileLine + line - run.line};
}

void PlacedText::place(LinePlace next) {
    const bool hasBegun = !m_text.empty() && m_text.back() != '\n';
    const int line = hasBegun ? m_line + 1 : m_line;
    if (hasBegun)
        ++next.line;
    if (!m_runs.empty() && m_runs.back().line == line)
        m_runs.pop_back();
    const LinePlace expected = placeOf(line);
    if (next.file != expected.file || (next.file >= 0 && next.line != expected.line))
        m_runs.push_back({line, next.file, next.line});
}

void PlacedText::append(std::string_view text) {
    m_text.append(text);
    m_line += countNewlines(text);
}

void PlacedText::append(Cursor& cursor, std::size_t end) {
    const PlacedText& source = *cursor.m_text;
    const std::size_t begin = cursor.m_position;
    const int firstLine = cursor.m_line;
    place(cursor.place());
    cursor.moveTo(end);
    for (auto run = runAfter(source.m_runs, firstLine);
         run != source.m_runs.end() && run->line <= cursor.m_line; ++run)
        m_runs.push_back({m_line + run->line - firstLine, run->file, run->fileLine});
    m_text.append(source.m_text, begin, cursor.m_position - begin);
    m_line += cursor.m_line - firstLine;
}

void PlacedText::append(const PlacedText& other) {
    Cursor cursor(other);
    append(cursor, other.m_text.size());
}

void PlacedText::rewrite(std::string text) {
    // A substitution that leaves the number of lines alone has worked within them.
    if (countNewlines(text) != m_line) {
        PlacedText changed;
        for (const int line : followLines(splitLines(m_text), splitLines(text))) {
            changed.place(placeOf(line));
            ++changed.m_line;
        }
        m_runs = std::move(changed.m_runs);
        m_line = changed.m_line - 1;
    }
    m_text = std::move(text);
}

} // namespace Veltrand::GL::detail
