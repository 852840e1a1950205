// SPDX-License-Identifier: BSD-3-Clause
#include "support/StacktraceProbe.h"
#include "support/Threads.h"

#include <Veltrand/Core/Platform.h>
#include <Veltrand/Core/String.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <regex>
#include <string>

namespace Veltrand {

namespace {

std::string trace;
int traceLine = 0;

__attribute__((noinline)) void traceHere() {
    traceLine = __LINE__ + 1;
    trace = Platform::stacktrace();
}

} // namespace

TEST(Platform, TracesThroughASharedLibrary) {
    Testing::callThroughLibrary(traceHere);
    const auto lines = String::split(trace, "\n");
    ASSERT_GE(lines.size(), 4u);
    const std::string here = "PlatformTest\\.cpp:";
    const std::string expected[] = {
        R"(#0 Veltrand::\(anonymous namespace\)::traceHere\(\) \(.*)" + here + std::to_string(traceLine) +
            "\\)",
        R"(#1 Veltrand::Testing::callThroughLibrary\(void \(\*\)\(\)\) \(.*StacktraceProbe\.cpp:\d+\))",
        R"(#2 Veltrand::Platform_TracesThroughASharedLibrary_Test::TestBody\(\) \(.*)" + here + "\\d+\\)",
    };
    for (std::size_t i = 0; i < std::size(expected); ++i)
        EXPECT_TRUE(std::regex_match(lines[i], std::regex(expected[i]))) << lines[i];
    // Below main are functions of the C library that only its debug symbols name.
    const std::size_t main = trace.find(" main ");
    ASSERT_NE(main, std::string::npos);
    EXPECT_GE(trace.find("??"), main) << trace;
}

TEST(Platform, TracesThroughAModuleLoadedAfterTheFirstTrace) {
    traceHere();
    void* const module = dlopen(STACKTRACE_MODULE, RTLD_NOW);
    ASSERT_NE(module, nullptr) << dlerror();
    const auto call = reinterpret_cast<void (*)(void (*)())>(dlsym(module, "callThroughModule"));
    call(traceHere);
    dlclose(module);
    EXPECT_TRUE(
        std::regex_search(trace, std::regex(R"(#1 callThroughModule \(.*StacktraceModule\.cpp:\d+\))")))
        << trace;
}

TEST(Platform, NamesTheModuleOfCodeWithoutDebugInformation) {
    Testing::callWithoutDebugInformation(traceHere);
    const auto lines = String::split(trace, "\n");
    ASSERT_GE(lines.size(), 2u);
    EXPECT_TRUE(std::regex_match(
        lines[1],
        std::regex(
            R"(#1 Veltrand::Testing::callWithoutDebugInformation\(void \(\*\)\(\)\) \(.*StacktraceProbe\.so\+0x[0-9a-f]+\))")))
        << lines[1];
}

TEST(Platform, TracesFromSeveralThreadsAtOnce) {
    Testing::onThreads(
        1, [] { EXPECT_NE(Platform::stacktrace().find("PlatformTest.cpp:"), std::string::npos); });
}

} // namespace Veltrand
