// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/ShaderLineMap.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrand::GL::detail {

/// A line of a file, by the number of the file.
struct LinePlace {
    int file = -1; ///< -1 for no file
    int line = 0;  ///< from 1
};

/// A text under construction that knows where each of its lines comes from.
class PlacedText {
public:
    /// A position in a text that moves forward and counts lines on its way.
    class Cursor {
    public:
        explicit Cursor(const PlacedText& text)
            : m_text(&text) {}
        [[nodiscard]] std::size_t position() const { return m_position; }
        /// Where the line at the position comes from.
        [[nodiscard]] LinePlace place() const { return m_text->placeOf(m_line); }
        /// Moves on without passing the end.
        void moveTo(std::size_t position);

    private:
        friend class PlacedText;
        const PlacedText* m_text;
        std::size_t m_position = 0;
        int m_line = 0;
    };

    PlacedText() = default;
    /// @param first where the first line comes from; the others follow it
    PlacedText(std::string text, LinePlace first);

    [[nodiscard]] const std::string& text() const { return m_text; }
    /// Hands the text over.
    [[nodiscard]] std::string takeText() { return std::move(m_text); }
    [[nodiscard]] const std::vector<ShaderLineMap::Run>& runs() const { return m_runs; }
    [[nodiscard]] int lineCount() const { return m_line + 1; }
    [[nodiscard]] LinePlace placeOf(int line) const;

    void reserve(std::size_t size) { m_text.reserve(size); }
    /// Says where the line comes from that is written next. A line that has begun stays where it is.
    void place(LinePlace next);
    /// Appends lines that follow each other in their file.
    void append(std::string_view text);
    /// Appends what lies between the cursor and @p end, with its places, and moves the cursor there.
    void append(Cursor& cursor, std::size_t end);
    /// Appends all of @p other, with its places.
    void append(const PlacedText& other);

    /// Puts another text in place of this one, which it was made from in ways unknown. Lines are followed by
    /// their likeness; an added one has the place of that before it.
    void rewrite(std::string text);

private:
    std::string m_text;
    std::vector<ShaderLineMap::Run> m_runs;
    int m_line = 0; // that is being written, from 0
};

} // namespace Veltrand::GL::detail
