// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/ContextManager.h>

#include "support/LogCapture.h"
#include "support/Thrown.h"
#include "support/WindowSystem.h"

#include <atomic>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// Last: glad has to come before it, and its macros break other headers.
#include <GL/glx.h>
#include <GL/glxext.h>

namespace Veltrand::GL {

namespace {

using Testing::LogCapture;
using Testing::windowSystem;

// Contexts made without the manager, on a window system that fails on demand.
class ContextGLXGL : public ::testing::Test {
protected:
    void SetUp() override { windowSystem() = {}; }
    void TearDown() override {
        EXPECT_FALSE(ContextGLX::hasCurrent());
        EXPECT_EQ(windowSystem().displaysClosed, windowSystem().displaysOpened);
        EXPECT_EQ(windowSystem().contextsDestroyed, windowSystem().contextsCreated);
        EXPECT_EQ(windowSystem().windowsDestroyed, windowSystem().windowsCreated);
        EXPECT_EQ(glad_glGetString, nullptr) << "an entry point loaded early was left behind";
        windowSystem() = {};
    }

    LogCapture m_log;
};

using Versions = std::vector<std::pair<int, int>>;

} // namespace

TEST_F(ContextGLXGL, FailuresAreNamedAndLeaveNothing) {
    const std::pair<void (*)(), const char*> cases[] = {
        {[] { windowSystem().failOpenDisplay = true; }, "Failed to open X display"},
        {[] {
             windowSystem().glxVersion = {1, 2};
         },
         "Invalid GLX version"},
        {[] { windowSystem().failConfigs = true; }, "Failed to retrieve a framebuffer config"},
        {[] { windowSystem().failWindow = true; }, "Failed to create window"},
        {[] {
             windowSystem().newestVersion = {3, 2};
         },
         "Failed to create an OpenGL context"},
        {[] { windowSystem().failMakeCurrentAfter = 0; }, "Failed to create an OpenGL context"},
    };
    for (const auto& [arrange, text] : cases) {
        arrange();
        EXPECT_EQ(Context::create({}), nullptr) << text;
        EXPECT_TRUE(m_log.takeLine({Log::Error, "GL.ContextGLX", text})) << text;
        SetUp();
    }
}

TEST_F(ContextGLXGL, LadderSkipsFourFour) {
    windowSystem().newestVersion = {3, 3};
    Context::CreateInfo info;
    info.debug = true;
    info.resetNotification = true;
    ASSERT_TRUE(Context::create(info));
    EXPECT_EQ(windowSystem().requestedVersions(),
              (Versions{{4, 6}, {4, 5}, {4, 3}, {4, 2}, {4, 1}, {4, 0}, {3, 3}}));
    EXPECT_EQ(windowSystem().requests.back(),
              (std::vector<int>{GLX_CONTEXT_MAJOR_VERSION_ARB, 3, GLX_CONTEXT_MINOR_VERSION_ARB, 3,
                                GLX_CONTEXT_FLAGS_ARB, GLX_CONTEXT_DEBUG_BIT_ARB,
                                GLX_CONTEXT_PROFILE_MASK_ARB, GLX_CONTEXT_CORE_PROFILE_BIT_ARB,
                                GLX_CONTEXT_RESET_NOTIFICATION_STRATEGY_ARB, GLX_LOSE_CONTEXT_ON_RESET_ARB}));
    EXPECT_TRUE(m_log.takeLine({Log::Info, "GL.ContextGLX", "Direct GLX rendering context obtained"}));
}

TEST_F(ContextGLXGL, CompatibilityIsAskedForByNameAfterACoreAnswer) {
    Context::CreateInfo info;
    info.version = {.major = 3, .minor = 3, .patch = 0, .preRelease = {}, .build = {}};
    info.compatibility = true;
    // Where the named profile is refused, the first answer stands.
    for (const bool refuseNamed : {false, true}) {
        windowSystem() = {};
        if (refuseNamed)
            windowSystem().failRequestsAfter = 1;
        const auto context = Context::create(info);
        ASSERT_TRUE(context);
        GLint profile = 0;
        reinterpret_cast<void (*)(GLenum, GLint*)>(entryPoint("glGetIntegerv"))(GL_CONTEXT_PROFILE_MASK,
                                                                                &profile);
        EXPECT_EQ((profile & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0, !refuseNamed);
        EXPECT_EQ(windowSystem().requests.back().at(7), GLX_CONTEXT_COMPATIBILITY_PROFILE_BIT_ARB);
    }
}

TEST_F(ContextGLXGL, SharingFallsBackToNoResetNotification) {
    const auto first = Context::create({});
    ASSERT_TRUE(first);
    windowSystem().requests.clear();
    windowSystem().failResetRequests = true;
    Context::CreateInfo info;
    info.resetNotification = true;
    info.sharedContext = first->internalHandle();
    const auto second = Context::create(info);
    ASSERT_TRUE(second);
    EXPECT_TRUE(m_log.takeLine({Log::Warning, "GL.ContextGLX",
                                "Shared context could only be created without RESET_NOTIFICATION support."}));
    info.sharedContext = nullptr;
    EXPECT_FALSE(Context::create(info)) << "without sharing there is no second try";
    EXPECT_TRUE(m_log.takeLine({Log::Error, "GL.ContextGLX", "Failed to create an OpenGL context"}));
    EXPECT_EQ(ContextGLX::current(), reinterpret_cast<std::uintptr_t>(second->internalHandle()))
        << "a failed creation puts back what was current";
}

TEST_F(ContextGLXGL, OldStyleContextsWhereTheExtensionIsMissing) {
    windowSystem().hideCreateContext = true;
    ++windowSystem().contextsCreated; // made by glXCreateNewContext, which is not counted
    EXPECT_TRUE(Context::create({}));
    EXPECT_TRUE(windowSystem().requests.empty());
    EXPECT_TRUE(m_log.takeLine(
        {Log::Warning, "GL::ContextGLX",
         "glXCreateContextAttribsARB() not available, falling back to using old-style GLX context"}));
}

TEST_F(ContextGLXGL, CloneThatFailsThrows) {
    const auto context = Context::create({});
    ASSERT_TRUE(context);
    windowSystem().failRequestsAfter = 0;
    EXPECT_EQ(Testing::thrown([&] { static_cast<void>(context->clone()); }),
              "Could not enable background OpenGL context.");
    EXPECT_TRUE(m_log.takeLine({Log::Error, "GL.ContextGLX", "Failed to create an OpenGL context"}));
}

TEST_F(ContextGLXGL, ConnectionsStayOpenWhileTheShareGroupLives) {
    auto first = Context::create({});
    ASSERT_TRUE(first);
    auto second = first->clone();
    first.reset();
    EXPECT_EQ(windowSystem().displaysClosed, 0);
    // A connection without a context serves the next one of the group.
    auto third = second->clone();
    EXPECT_EQ(windowSystem().displaysOpened, 2);
    second.reset();
    third.reset();
    EXPECT_EQ(windowSystem().displaysClosed, 2);
}

TEST_F(ContextGLXGL, ErrorsOfOtherDisplaysReachTheirHandler) {
    static std::atomic<int> foreignErrors{0};
    foreignErrors = 0;
    static Display* foreign = nullptr;
    foreign = XOpenDisplay(nullptr);
    const XErrorHandler previous = XSetErrorHandler([](Display* display, XErrorEvent*) {
        foreignErrors += display == foreign;
        return 0;
    });
    std::atomic<bool> stop{false};
    int raised = 0;
    std::thread nuisance([&stop, &raised] {
        for (; !stop; ++raised) {
            XKillClient(foreign, 0x7fffffff);
            XSync(foreign, False);
        }
    });
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(Context::create({})) << "a foreign error was taken for ours";
    stop = true;
    nuisance.join();
    EXPECT_EQ(foreignErrors, raised);
    XSetErrorHandler(previous);
    XCloseDisplay(foreign);
}

TEST_F(ContextGLXGL, CreationFromSeveralThreads) {
    std::vector<int> created(4);
    std::vector<std::thread> threads;
    threads.reserve(created.size());
    for (int& result : created)
        threads.emplace_back([&result] { result = Context::create({}) != nullptr; });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(created, (std::vector<int>{1, 1, 1, 1}));
}

} // namespace Veltrand::GL
