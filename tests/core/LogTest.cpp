// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"
#include "support/Threads.h"

#include <Veltrand/Core/Log.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <pty.h>
#include <regex>
#include <stdexcept>
#include <unistd.h>

namespace Veltrand {

namespace {

using Testing::LogCapture;

// What is written to standard error while that leads to the second end of a pipe or of a terminal. Closes
// both.
std::string written(const std::array<int, 2>& ends, void (*body)()) {
    const int previous = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    body();
    dup2(previous, STDERR_FILENO);
    std::array<char, 4096> text{};
    const ssize_t length = read(ends[0], text.data(), text.size());
    for (const int descriptor : {previous, ends[0], ends[1]})
        close(descriptor);
    return {text.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

} // namespace

TEST(Log, WorksDuringExit) {
    const auto exitWhileLogging = [] {
        static const std::shared_ptr<void> early(
            nullptr, [](std::nullptr_t) { Log::log(Log::Error, "Test.Exit", "static destructor"); });
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
    for (const char* const category : {"GL.Loud", "GL.Quiet"})
        Log::resetCategoryLevel(category);
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
    Testing::CallInFlight call;
    const auto sink = Log::addSink([&](const Log::Message&) { call(); });
    call.expectWait([] { Log::log(Log::Info, "Test", "text"); }, {[&] { Log::removeSink(sink); }});
}

TEST(Log, TakesSinksInAndOutWhileThreadsLog) {
    LogCapture log;
    const auto addAndRemove = [] {
        bool removed = false; // a call after removal would touch the dead variable
        const auto sink = Log::addSink([&removed](const Log::Message&) { EXPECT_FALSE(removed); });
        Log::removeSink(sink);
        removed = true;
    };
    Testing::onThreads(
        200, [] { Log::log(Log::Info, "Test.Threads", "text"); }, addAndRemove);
    EXPECT_EQ(log.take("Test.Threads").size(), 4U * 200);
}

TEST(Log, WritesFullLinesToAFile) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_NONBLOCK), 0);
    const std::string text = written(ends, [] {
        Log::log(Log::Info, "GL.Program", "first\nsecond\n\n", "Program.cpp", 7);
        Log::log(Log::Fatal, "", "bare");
        Log::setDefaultSinkEnabled(false);
        Log::log(Log::Fatal, "", "silent");
        Log::setDefaultSinkEnabled(true);
    });
    const std::string time = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z )";
    EXPECT_TRUE(
        std::regex_match(text, std::regex(time + "INFO  GL.Program: first\n    second \\(Program.cpp:7\\)\n" +
                                          time + "FATAL bare\n")))
        << text;
}

TEST(Log, WritesShortLinesToATerminalWithColoursWhereWanted) {
    const std::string term = std::getenv("TERM") ? std::getenv("TERM") : "";
    unsetenv("NO_COLOR");
    for (const auto& [terminalName, level] :
         {std::pair("xterm", "\033\\[33mWARN \033\\[0m"), {"dumb", "WARN "}}) {
        std::array<int, 2> ends{};
        if (openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) != 0)
            GTEST_SKIP() << "there are no pseudo-terminals";
        setenv("TERM", terminalName, 1);
        const std::string text = written(ends, [] { Log::log(Log::Warning, "GL", "text"); });
        const std::string line = std::string(R"(\d\d:\d\d:\d\d\.\d{3} )") + level + " GL: text\r\n";
        EXPECT_TRUE(std::regex_match(text, std::regex(line))) << text;
    }
    term.empty() ? unsetenv("TERM") : setenv("TERM", term.c_str(), 1);
}

} // namespace Veltrand
