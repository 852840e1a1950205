// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"

#include <Veltrand/Core/Log.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <future>
#include <gtest/gtest.h>
#include <pty.h>
#include <regex>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace Veltrand {

namespace {

using Testing::LogCapture;

// What runs while descriptor 2 leads to @p descriptor, which is closed.
template<class Body>
void withStandardError(int descriptor, Body&& body) {
    const int previous = dup(STDERR_FILENO);
    dup2(descriptor, STDERR_FILENO);
    body();
    dup2(previous, STDERR_FILENO);
    close(previous);
    close(descriptor);
}

std::string readSome(int descriptor) {
    std::array<char, 4096> text{};
    const ssize_t length = read(descriptor, text.data(), text.size());
    return {text.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

struct LogsWhenDestroyed {
    LogsWhenDestroyed() = default;
    LogsWhenDestroyed(const LogsWhenDestroyed&) = delete;
    LogsWhenDestroyed& operator=(const LogsWhenDestroyed&) = delete;
    ~LogsWhenDestroyed() { Log::log(Log::Error, "Test.Exit", "static destructor"); }
};

} // namespace

TEST(Log, WorksDuringExit) {
    const auto exitWhileLogging = [] {
        static const LogsWhenDestroyed early;
        std::atexit([] { Log::log(Log::Error, "Test.Exit", "exit handler"); });
        std::exit(7);
    };
    EXPECT_EXIT(exitWhileLogging(), ::testing::ExitedWithCode(7), "exit handler(.|\n)*static destructor");
}

TEST(Log, AcceptsByCategoryLevelOrElseByGlobalLevel) {
    const int before = Log::globalLevel();
    Log::setGlobalLevel(Log::Warning);
    Log::setCategoryLevel("GL.Loud", Log::Trace);
    Log::setCategoryLevel("GL.Quiet", Log::Fatal);
    EXPECT_FALSE(Log::isAccepted(Log::Info, "GL") || Log::isAccepted(Log::Info, "GL.Louder"));
    EXPECT_TRUE(Log::isAccepted(Log::Warning, "GL") && Log::isAccepted(Log::Trace, "GL.Loud"));
    EXPECT_TRUE(!Log::isAccepted(Log::Error, "GL.Quiet") && Log::isAccepted(Log::Fatal, "GL.Quiet"));
    Log::resetCategoryLevel("GL.Loud");
    Log::resetCategoryLevel("GL.Quiet");
    EXPECT_FALSE(Log::isAccepted(Log::Info, "GL.Loud"));
    Log::setGlobalLevel(before);
}

TEST(Log, HandsSinksTheWholeMessage) {
    LogCapture log;
    int calls = 0;
    const auto sink = Log::addSink([&](const Log::Message& message) {
        ++calls;
        EXPECT_EQ(message.level, Log::Warning);
        EXPECT_EQ(message.category, "Test");
        EXPECT_EQ(message.text, std::string_view("a\0b", 3));
        EXPECT_EQ(message.file, "file.cpp");
        EXPECT_EQ(message.line, 12);
        errno = EBADF;
    });
    errno = ENOENT;
    Log::log(Log::Warning, "Test", std::string_view("a\0b", 3), "file.cpp", 12);
    EXPECT_EQ(errno, ENOENT);
    Log::removeSink(sink);
    Log::removeSink(sink);
    Log::log(Log::Info, "Test", "nobody listens");
    EXPECT_EQ(calls, 1);
    static_cast<void>(log.take());
}

TEST(Log, SurvivesSinksThatThrowLogOrRemoveThemselves) {
    LogCapture log;
    const auto throwing = Log::addSink([](const Log::Message&) { throw std::runtime_error("sink"); });
    const auto logging = Log::addSink([](const Log::Message&) { Log::log(Log::Info, "Test", "nested"); });
    int calls = 0;
    Log::SinkId once = 0;
    once = Log::addSink([&](const Log::Message&) {
        ++calls;
        Log::removeSink(once);
    });
    Log::log(Log::Info, "Test", "first");
    Log::log(Log::Info, "Test", "second");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(log.take(),
              (std::vector<Testing::LogLine>{{Log::Info, "Test", "first"}, {Log::Info, "Test", "second"}}));
    Log::removeSink(throwing);
    Log::removeSink(logging);
}

TEST(Log, RemovalWaitsForTheCallInFlight) {
    LogCapture log;
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::atomic<bool> left{false};
    const auto sink = Log::addSink([&](const Log::Message&) {
        entered.set_value();
        mayLeave.get_future().wait();
        left = true;
    });
    std::thread logger([] { Log::log(Log::Info, "Test", "text"); });
    entered.get_future().wait();
    auto removal = std::async(std::launch::async, [&] {
        Log::removeSink(sink);
        return left.load();
    });
    EXPECT_EQ(removal.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    mayLeave.set_value();
    EXPECT_TRUE(removal.get());
    logger.join();
}

TEST(Log, TakesSinksInAndOutWhileThreadsLog) {
    constexpr int threadCount = 4;
    constexpr int messageCount = 200;
    LogCapture log;
    std::atomic<int> running{threadCount};
    std::vector<std::thread> loggers;
    loggers.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread)
        loggers.emplace_back([&] {
            for (int i = 0; i < messageCount; ++i)
                Log::log(Log::Info, "Test.Threads", "text");
            --running;
        });
    while (running > 0) {
        bool removed = false; // a call after removal would touch the dead variable
        const auto sink = Log::addSink([&removed](const Log::Message&) { EXPECT_FALSE(removed); });
        Log::removeSink(sink);
        removed = true;
    }
    for (std::thread& logger : loggers)
        logger.join();
    EXPECT_EQ(log.take("Test.Threads").size(), std::size_t{threadCount} * messageCount);
}

TEST(Log, WritesFullLinesToAFile) {
    std::array<int, 2> pipeEnds{};
    ASSERT_EQ(pipe(pipeEnds.data()), 0);
    withStandardError(pipeEnds[1], [] {
        Log::log(Log::Info, "GL.Program", "first\nsecond\n\n", "Program.cpp", 7);
        Log::log(Log::Fatal, "", "bare");
        Log::setDefaultSinkEnabled(false);
        Log::log(Log::Fatal, "", "silent");
        Log::setDefaultSinkEnabled(true);
    });
    const std::string text = readSome(pipeEnds[0]);
    close(pipeEnds[0]);
    const std::string time = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z )";
    EXPECT_TRUE(
        std::regex_match(text, std::regex(time + "INFO  GL.Program: first\n    second \\(Program.cpp:7\\)\n" +
                                          time + "FATAL bare\n")))
        << text;
}

TEST(Log, WritesShortLinesToATerminalWithColoursWhereWanted) {
    const std::string term = std::getenv("TERM") ? std::getenv("TERM") : "";
    for (const auto& [terminalName, level] :
         {std::pair("xterm", "\033\\[33mWARN \033\\[0m"), {"dumb", "WARN "}}) {
        int master = -1;
        int terminal = -1;
        ASSERT_EQ(openpty(&master, &terminal, nullptr, nullptr, nullptr), 0);
        setenv("TERM", terminalName, 1);
        unsetenv("NO_COLOR");
        const int spare = dup(terminal); // what was written goes with the last open end
        withStandardError(terminal, [] { Log::log(Log::Warning, "GL", "text"); });
        const std::string text = readSome(master);
        close(spare);
        close(master);
        EXPECT_TRUE(std::regex_match(
            text, std::regex(std::string(R"(\d\d:\d\d:\d\d\.\d{3} )") + level + " GL: text\r\n")))
            << text;
    }
    term.empty() ? unsetenv("TERM") : setenv("TERM", term.c_str(), 1);
}

} // namespace Veltrand
