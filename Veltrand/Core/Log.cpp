// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Log.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Veltrand {

namespace {

struct SinkEntry {
    Log::SinkId id;
    Log::Sink sink;
    std::mutex mutex; // serialises the calls and lets removal wait for the one in flight
    std::atomic<std::thread::id> caller{};
    bool removed = false;
};

using Sinks = std::vector<std::shared_ptr<SinkEntry>>;

struct State {
    std::atomic<int> globalLevel{Log::Info};
    std::atomic<bool> defaultSinkEnabled{true};

    std::atomic<bool> hasCategoryLevels{false};
    std::shared_mutex categoryMutex;
    std::map<std::string, int, std::less<>> categoryLevels;

    std::mutex sinkMutex;
    std::shared_ptr<const Sinks> sinks = std::make_shared<Sinks>();
    Log::SinkId nextId = 1;
};

// Never destroyed: destructors of other static objects may still log.
State& state() {
    static State* const instance = new State;
    return *instance;
}

// A trivial type, so that it can be read while a thread is being torn down.
thread_local bool t_insideSink = false;

// Asked anew for each message: applications redirect the descriptor while they run.
bool standardErrorIsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

bool terminalHasColors() {
    const char* const term = std::getenv("TERM");
    const char* const noColor = std::getenv("NO_COLOR");
    return term && std::string_view(term) != "dumb" && (!noColor || *noColor == '\0');
}

struct LevelStyle {
    std::string_view name;
    std::string_view color;
};

LevelStyle levelStyle(int level) {
    static constexpr std::array<LevelStyle, 6> styles{{{"TRACE", "\033[2m"},
                                                       {"DEBUG", "\033[36m"},
                                                       {"INFO ", "\033[32m"},
                                                       {"WARN ", "\033[33m"},
                                                       {"ERROR", "\033[31m"},
                                                       {"FATAL", "\033[1;31m"}}};
    const int last = static_cast<int>(styles.size()) - 1;
    return styles[static_cast<std::size_t>(level < 0 ? 0 : level > last ? last : level)];
}

std::string timeText(std::chrono::system_clock::time_point time, bool withDate) {
    using namespace std::chrono;
    const auto seconds = floor<std::chrono::seconds>(time);
    const std::time_t clock = system_clock::to_time_t(seconds);
    std::tm parts{};
    if (withDate)
        gmtime_r(&clock, &parts);
    else
        localtime_r(&clock, &parts);
    std::array<char, 32> text{};
    const std::size_t length =
        std::strftime(text.data(), text.size(), withDate ? "%Y-%m-%dT%H:%M:%S" : "%H:%M:%S", &parts);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03d%s",
                  static_cast<int>(duration_cast<milliseconds>(time - seconds).count()), withDate ? "Z" : "");
    return std::string(text.data(), length) + fraction.data();
}

std::string formatted(const Log::Message& message, bool terminal) {
    const auto [name, color] = levelStyle(message.level);
    std::string out = timeText(message.time, !terminal);
    out += ' ';
    if (terminal && terminalHasColors())
        out.append(color).append(name).append("\033[0m");
    else
        out += name;
    out += ' ';
    if (!message.category.empty())
        out.append(message.category).append(": ");
    std::string_view text = message.text;
    while (!text.empty() && text.back() == '\n')
        text.remove_suffix(1);
    for (const char c : text) {
        out += c;
        if (c == '\n')
            out += "    ";
    }
    if (!message.file.empty())
        out.append(" (").append(message.file).append(":").append(std::to_string(message.line)).append(")");
    out += '\n';
    return out;
}

// The whole message goes out in one write, so that lines of several threads and processes do not mix.
void writeToStandardError(const Log::Message& message) {
    try {
        const std::string out = formatted(message, standardErrorIsTerminal());
        std::fwrite(out.data(), 1, out.size(), stderr);
    } catch (const std::bad_alloc&) {
        std::fwrite(message.text.data(), 1, message.text.size(), stderr);
    }
}

void deliver(SinkEntry& entry, const Log::Message& message) {
    const std::lock_guard lock(entry.mutex);
    if (entry.removed)
        return;
    entry.caller = std::this_thread::get_id();
    t_insideSink = true;
    try {
        entry.sink(message);
    } catch (...) {
        // A sink that fails must not take down the code that logs.
    }
    t_insideSink = false;
    entry.caller = std::thread::id{};
}

} // namespace

bool Log::isAccepted(int level, std::string_view category) {
    State& s = state();
    if (s.hasCategoryLevels.load(std::memory_order_acquire)) {
        const std::shared_lock lock(s.categoryMutex);
        if (const auto found = s.categoryLevels.find(category); found != s.categoryLevels.end())
            return level >= found->second;
    }
    return level >= s.globalLevel.load(std::memory_order_relaxed);
}

void Log::log(int level, std::string_view category, std::string_view text, std::string_view file,
              int line) noexcept {
    if (!isAccepted(level, category))
        return;
    const int error = errno; // callers log between a failed call and the look at its reason
    State& s = state();
    const Message message{level, category, text, file, line, std::chrono::system_clock::now()};
    if (s.defaultSinkEnabled)
        writeToStandardError(message);
    if (!t_insideSink) {
        const std::shared_ptr<const Sinks> sinks = [&s] {
            const std::lock_guard lock(s.sinkMutex);
            return s.sinks;
        }();
        for (const auto& entry : *sinks)
            deliver(*entry, message);
    }
    errno = error;
}

void Log::setGlobalLevel(int level) {
    state().globalLevel = level;
}

int Log::globalLevel() {
    return state().globalLevel;
}

void Log::setCategoryLevel(std::string_view category, int level) {
    State& s = state();
    const std::unique_lock lock(s.categoryMutex);
    s.categoryLevels.insert_or_assign(std::string(category), level);
    s.hasCategoryLevels.store(true, std::memory_order_release);
}

void Log::resetCategoryLevel(std::string_view category) {
    State& s = state();
    const std::unique_lock lock(s.categoryMutex);
    if (const auto found = s.categoryLevels.find(category); found != s.categoryLevels.end())
        s.categoryLevels.erase(found);
    s.hasCategoryLevels.store(!s.categoryLevels.empty(), std::memory_order_release);
}

Log::SinkId Log::addSink(Sink sink) {
    State& s = state();
    auto entry = std::make_shared<SinkEntry>();
    entry->sink = std::move(sink);
    const std::lock_guard lock(s.sinkMutex);
    entry->id = s.nextId++;
    auto sinks = std::make_shared<Sinks>(*s.sinks);
    sinks->push_back(entry);
    s.sinks = std::move(sinks);
    return entry->id;
}

void Log::removeSink(SinkId id) {
    State& s = state();
    std::shared_ptr<SinkEntry> removed;
    {
        const std::lock_guard lock(s.sinkMutex);
        auto sinks = std::make_shared<Sinks>();
        for (const auto& entry : *s.sinks) {
            if (entry->id == id)
                removed = entry;
            else
                sinks->push_back(entry);
        }
        s.sinks = std::move(sinks);
    }
    if (!removed)
        return;
    // A sink may remove itself from inside its own call, where its mutex is held by this thread already.
    if (removed->caller.load() == std::this_thread::get_id()) {
        removed->removed = true;
        return;
    }
    Sink dead; // destroyed unlocked: what it holds may log
    const std::lock_guard lock(removed->mutex);
    removed->removed = true;
    dead.swap(removed->sink);
}

void Log::setDefaultSinkEnabled(bool enabled) {
    state().defaultSinkEnabled = enabled;
}

} // namespace Veltrand
