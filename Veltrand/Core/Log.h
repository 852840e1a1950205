// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string_view>

namespace Veltrand {

/// The toolkit's log. Every operation may be called from any thread, before `main` and during exit.
///
/// A message that is costly to build is built only when it will be read:
/// `if (Log::isAccepted(Log::Info, "GL.Foo")) Log::log(Log::Info, "GL.Foo", "built " + text);`
class VELTRAND_CORE_API Log {
public:
    /// How grave a message is. Levels are numbers, so others may lie beyond these.
    enum Level : int { Trace = 0, Debug = 1, Info = 2, Warning = 3, Error = 4, Fatal = 5 };

    /// What a sink receives.
    struct Message {
        int level;                 ///< as given to `log`
        std::string_view category; ///< such as "GL.Program"; may be empty
        std::string_view text;     ///< one or more lines, without a newline at the end unless given so
        std::string_view file;     ///< source file, empty when not given
        int line;                  ///< source line, -1 when not given
        std::chrono::system_clock::time_point time; ///< when it was logged
    };
    /// Receives each accepted message on the thread that logged it, one call at a time. The views of the
    /// message are good during the call only. What a sink itself logs goes to the default sink alone; what it
    /// throws is dropped. A sink must not wait for a lock under which another thread logs.
    using Sink = std::function<void(const Message&)>;
    /// Names a sink until it is removed; never used again.
    using SinkId = std::uint64_t;

    /// Whether a message of @p level in @p category is handed on: whether it reaches the category's own level
    /// if that has been set, the global level otherwise.
    [[nodiscard]] static bool isAccepted(int level, std::string_view category);

    /// Hands a message to every sink if it is accepted. Leaves `errno` as it was.
    static void log(int level, std::string_view category, std::string_view text, std::string_view file = {},
                    int line = -1) noexcept;

    /// Messages below @p level are dropped; `Info` at start.
    static void setGlobalLevel(int level);
    /// The level that `setGlobalLevel` was last given.
    [[nodiscard]] static int globalLevel();
    /// Gives one category (the whole name, such as "GL.Program") a level of its own.
    static void setCategoryLevel(std::string_view category, int level);
    /// Puts a category back under the global level.
    static void resetCategoryLevel(std::string_view category);

    /// Hands messages from now on to @p sink too.
    static SinkId addSink(Sink sink);
    /// Returns once no other thread is inside the sink; inside its own call it returns at once. An unknown id
    /// is no error.
    static void removeSink(SinkId id);

    /// The sink on standard error, on at start. On a terminal it writes short, coloured lines (plain ones
    /// when `NO_COLOR` is not empty or `TERM` is "dumb"), otherwise lines with the full UTC date;
    /// continuation lines of a message are indented.
    static void setDefaultSinkEnabled(bool enabled);
};

} // namespace Veltrand
