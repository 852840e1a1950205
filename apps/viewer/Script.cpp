// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/Script.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <system_error>

namespace Veltrand::Apps {

namespace {

constexpr int MaxSize = 8192;
constexpr int MaxFrames = 100000;

/// Takes one line of a script apart.
class LineParser {
public:
    LineParser(std::string_view line, std::string place)
        : m_rest(line)
        , m_place(std::move(place)) {}

    /// The command of the line; nothing on a line without one.
    std::optional<decltype(ScriptCommand::action)> parse() {
        const std::string_view command = word();
        if (command.empty() || command.front() == '#')
            return std::nullopt;
        auto action = parse(command);
        if (!word().empty())
            fail("too many words for '" + std::string(command) + "'");
        return action;
    }

private:
    decltype(ScriptCommand::action) parse(std::string_view command) {
        if (command == "move")
            return Input(PointerMove{position()});
        if (command == "press" || command == "release")
            return Input(change(command == "press"));
        if (command == "wheel") {
            const double steps = number();
            return Input(WheelTurn{steps, modifiers()});
        }
        if (command == "key")
            return Input(KeyPress{key()});
        if (command == "drag")
            return drag();
        if (command == "resize") {
            const int width = integer(1, MaxSize);
            return ResizeCommand{{width, integer(1, MaxSize)}};
        }
        if (command == "wait-surfaces")
            return WaitForSurfaces{};
        if (command == "save")
            return SaveCommand{fileName()};
        if (command == "print")
            return PrintCommand{};
        if (command == "quit")
            return QuitCommand{};
        fail("there is no command '" + std::string(command) + "'");
    }

    ButtonChange change(bool isPressed) {
        const Button which = button();
        return {which, isPressed, isPressed ? modifiers() : Modifiers{}};
    }

    DragCommand drag() {
        const Button which = button();
        const Eigen::Vector2d target = position();
        const int frames = integer(1, MaxFrames);
        return {which, target, frames, modifiers()};
    }

    Button button() {
        const std::string_view name = word();
        if (name == "left")
            return Button::Left;
        if (name == "middle")
            return Button::Middle;
        if (name == "right")
            return Button::Right;
        fail("a button is left, middle or right, not '" + std::string(name) + "'");
    }

    /// Those at the end of the line.
    Modifiers modifiers() {
        Modifiers held;
        for (std::string_view name = word(); !name.empty(); name = word()) {
            if (name == "shift")
                held.shift = true;
            else if (name == "ctrl")
                held.control = true;
            else
                fail("what is held is shift or ctrl, not '" + std::string(name) + "'");
        }
        return held;
    }

    char key() {
        const std::string_view name = word();
        if (name.size() == 1 && name.front() >= 'a' && name.front() <= 'z')
            return name.front();
        if (name == "escape")
            return KeyPress::Escape;
        if (name == "delete")
            return KeyPress::Delete;
        fail("a key is a lower-case letter, escape or delete, not '" + std::string(name) + "'");
    }

    Eigen::Vector2d position() {
        const double x = number();
        return {x, number()};
    }

    double number() {
        const std::string_view text = word();
        double value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
            fail(text.empty() ? "a number is missing" : "'" + std::string(text) + "' is no number");
        return value;
    }

    int integer(int low, int high) {
        const double value = number();
        if (value < low || value > high || value != std::floor(value))
            fail("a whole number from " + std::to_string(low) + " to " + std::to_string(high) +
                 " is wanted here");
        return static_cast<int>(value);
    }

    /// The rest of the line, which may hold blanks.
    std::filesystem::path fileName() {
        skipBlanks();
        const std::string_view name = m_rest;
        m_rest = {};
        if (name.empty())
            fail("the name of a file is missing");
        return name.substr(0, name.find_last_not_of(" \t\r") + 1);
    }

    /// The next word; empty at the end of the line.
    std::string_view word() {
        skipBlanks();
        const std::string_view found = m_rest.substr(0, m_rest.find_first_of(" \t\r"));
        m_rest.remove_prefix(found.size());
        return found;
    }

    void skipBlanks() {
        const std::size_t start = m_rest.find_first_not_of(" \t\r");
        m_rest = start == std::string_view::npos ? std::string_view() : m_rest.substr(start);
    }

    [[noreturn]] void fail(const std::string& reason) const {
        throw ScriptError(m_place + ": " + reason + ".");
    }

    std::string_view m_rest;
    std::string m_place;
};

} // namespace

std::vector<ScriptCommand> parseScript(std::string_view text, const std::filesystem::path& file) {
    std::vector<ScriptCommand> commands;
    for (int line = 1; !text.empty(); ++line) {
        const std::string_view content = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(content.size() + 1, text.size()));
        if (auto action = LineParser(content, file.string() + ":" + std::to_string(line)).parse())
            commands.push_back({line, std::move(*action)});
    }
    return commands;
}

std::vector<ScriptCommand> readScript(const std::filesystem::path& file) {
    std::error_code ignored;
    std::ifstream stream(file, std::ios::binary);
    if (!stream || std::filesystem::is_directory(file, ignored))
        throw std::runtime_error("cannot read the script " + file.string() + ".");
    return parseScript(std::string(std::istreambuf_iterator<char>(stream), {}), file);
}

std::string_view scriptHelp() {
    return R"(move X Y                      the pointer goes there, in points from the upper left corner
press BUTTON [shift] [ctrl]   BUTTON is left, middle or right
release BUTTON
drag BUTTON X Y FRAMES [shift] [ctrl]
                              press, move there in so many steps, each drawn, and release; prints the frames
                              per second
wheel STEPS [ctrl]            positive away from the user
key KEY                       KEY is a letter, escape or delete
resize WIDTH HEIGHT           of the window, in points
wait-surfaces                 until the surfaces are there
save FILE                     the window as a PNG file
print                         the cross-hair's place, value and region, the window, the last distance
quit                          without it, the window stays open after the last command
)";
}

} // namespace Veltrand::Apps
