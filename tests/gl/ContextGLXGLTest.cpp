// SPDX-License-Identifier: BSD-3-Clause
#include "support/ContextTest.h"

// Last: glad has to come before it, and its macros break other headers.
#include <GL/glx.h>
#include <GL/glxext.h>

namespace Veltrand::GL {

namespace {

// Contexts made without the manager, as if it had never loaded the entry points.
class ContextGLXGL : public ContextTest {
protected:
    ContextGLXGL()
        : ContextTest("GL.ContextGLX") {}
    void TearDown() override {
        ContextTest::TearDown();
        EXPECT_EQ(glad_glGetString, nullptr) << "an entry point loaded early was left behind";
        EXPECT_EQ(glad_glDebugMessageCallback, nullptr);
    }

private:
    ScopedEntryPoint<PFNGLGETSTRINGPROC> m_string{glad_glGetString, nullptr};
    ScopedEntryPoint<PFNGLGETSTRINGIPROC> m_indexedString{glad_glGetStringi, nullptr};
    ScopedEntryPoint<PFNGLGETINTEGERVPROC> m_integer{glad_glGetIntegerv, nullptr};
    ScopedEntryPoint<PFNGLENABLEPROC> m_enable{glad_glEnable, nullptr};
    ScopedEntryPoint<PFNGLDISABLEPROC> m_disable{glad_glDisable, nullptr};
    ScopedEntryPoint<PFNGLDEBUGMESSAGECALLBACKPROC> m_callback{glad_glDebugMessageCallback, nullptr};
};

} // namespace

TEST_F(ContextGLXGL, FailuresAreNamedAndLeaveNothing) {
    const std::pair<void (*)(WindowSystem&), const char*> cases[] = {
        {[](auto& ws) { ws.failOpenDisplay = true; }, "Failed to open X display"},
        {[](auto& ws) {
             ws.glxVersion = {1, 2};
         },
         "Invalid GLX version"},
        {[](auto& ws) { ws.failConfigs = true; }, "Failed to retrieve a framebuffer config"},
        {[](auto& ws) { ws.failWindow = true; }, "Failed to create window"},
        {[](auto& ws) {
             ws.newestVersion = {3, 2};
         },
         "Failed to create an OpenGL context"},
        {[](auto& ws) { ws.failMakeCurrentAfter = 0; }, "Failed to create an OpenGL context"},
    };
    for (const auto& [arrange, text] : cases) {
        arrange(windowSystem());
        EXPECT_EQ(Context::create({}), nullptr) << text;
        expectLine(Log::Error, text);
        TearDown();
        SetUp();
    }
}

TEST_F(ContextGLXGL, LadderSkipsFourFour) {
    windowSystem().newestVersion = {3, 3};
    ASSERT_TRUE(Context::create({.version = {}, .debug = true, .resetNotification = true}));
    EXPECT_EQ(windowSystem().requestedVersions(),
              (std::vector<std::pair<int, int>>{{4, 6}, {4, 5}, {4, 3}, {4, 2}, {4, 1}, {4, 0}, {3, 3}}));
    EXPECT_EQ(windowSystem().requests.back(),
              (std::vector<int>{GLX_CONTEXT_MAJOR_VERSION_ARB, 3, GLX_CONTEXT_MINOR_VERSION_ARB, 3,
                                GLX_CONTEXT_FLAGS_ARB, GLX_CONTEXT_DEBUG_BIT_ARB,
                                GLX_CONTEXT_PROFILE_MASK_ARB, GLX_CONTEXT_CORE_PROFILE_BIT_ARB,
                                GLX_CONTEXT_RESET_NOTIFICATION_STRATEGY_ARB, GLX_LOSE_CONTEXT_ON_RESET_ARB}));
    expectLine(Log::Info, "Direct GLX rendering context obtained");
}

TEST_F(ContextGLXGL, CompatibilityIsAskedForByNameAfterACoreAnswer) {
    // Where the named profile is refused, the first answer stands.
    for (const bool refuseNamed : {false, true}) {
        windowSystem() = {};
        windowSystem().failRequestsAfter = refuseNamed ? 1 : -1;
        Context::CreateInfo info;
        info.version.major = info.version.minor = 3;
        info.compatibility = true;
        const auto context = Context::create(info);
        ASSERT_TRUE(context);
        EXPECT_EQ((currentInt(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0,
                  !refuseNamed);
        EXPECT_EQ(windowSystem().requests.back().at(7), GLX_CONTEXT_COMPATIBILITY_PROFILE_BIT_ARB);
        EXPECT_EQ(contextsAlive(), 1);
    }
}

TEST_F(ContextGLXGL, SharingFallsBackToNoResetNotification) {
    const auto first = Context::create({});
    ASSERT_TRUE(first);
    windowSystem().failResetRequests = true;
    Context::CreateInfo info{
        .version = {}, .sharedContext = first->internalHandle(), .resetNotification = true};
    const auto second = Context::create(info);
    ASSERT_TRUE(second);
    expectLine(Log::Warning, "Shared context could only be created without RESET_NOTIFICATION support.");
    info.sharedContext = nullptr;
    EXPECT_FALSE(Context::create(info)) << "without sharing there is no second try";
    expectLine(Log::Error, "Failed to create an OpenGL context");
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

TEST_F(ContextGLXGL, ConnectionsStayOpenWhileTheShareGroupLives) {
    auto first = Context::create({});
    ASSERT_TRUE(first);
    auto second = first->clone();
    first.reset();
    // A connection without a context serves the next one of the group.
    auto third = second->clone();
    EXPECT_EQ(windowSystem().displaysOpened, 2);
    EXPECT_EQ(windowSystem().displaysClosed, 0);
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
    int raised = 0;
    std::jthread nuisance([&raised](const std::stop_token& end) {
        for (; !end.stop_requested(); ++raised) {
            XKillClient(foreign, 0x7fffffff);
            XSync(foreign, False);
        }
    });
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(Context::create({})) << "a foreign error was taken for ours";
    nuisance.request_stop();
    nuisance.join();
    EXPECT_EQ(foreignErrors, raised);
    XSetErrorHandler(previous);
    XCloseDisplay(foreign);
}

TEST_F(ContextGLXGL, CreationFromSeveralThreads) {
    std::atomic<int> created{0};
    onThreads(1, [&created] { created += Context::create({}) != nullptr; });
    EXPECT_EQ(created, 4);
}

} // namespace Veltrand::GL
