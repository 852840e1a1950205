// SPDX-License-Identifier: BSD-3-Clause
#include "support/ContextTest.h"

#include <barrier>
#include <sys/wait.h>
#include <unistd.h>

// Last: glad has to come before it, and its macros break other headers.
#include <GL/glx.h>

namespace Veltrand::GL {

namespace {

constexpr const char* category = "GL.ContextManager";

ContextManager& manager() {
    return ContextManager::get();
}

// OpenGL is started and stopped in each test.
class ContextManagerGL : public ContextTest {
protected:
    ContextManagerGL()
        : ContextTest(category) {}
    void TearDown() override {
        deinit();
        ContextTest::TearDown();
    }
    void start() {
        init();
        static_cast<void>(m_log.take("GL")); // warnings about a driver without memory extensions
    }
    // Leaves lines that other tests look at.
    void dropLines() { static_cast<void>(m_log.take(category)); }
};

} // namespace

TEST_F(ContextManagerGL, BeforeStartEverythingIsRefused) {
    manager().runWithOpenGL([] { ADD_FAILURE() << "was run"; }, false);
    expectLine(Log::Error, "Main OpenGL context and/or background OpenGL context not initialized.");
    EXPECT_FALSE(ContextManager::makeCurrent());
    expectLine(Log::Error, "Not initialized, cannot make context current.");
    EXPECT_FALSE(ContextManager::doneCurrent());
    expectLine(Log::Error, "Not initialized, cannot release context.");
    EXPECT_THROW(manager().ensureLocalContext(), std::runtime_error);
    dropLines();
}

TEST_F(ContextManagerGL, StartsStopsAndStartsAgain) {
    for (int life = 0; life < 2; ++life) {
        start();
        expectLine(Log::Debug, "Initializing OpenGl using a newly created offscreen context as main OpenGL "
                               "context.");
        std::string starts;
        for (const LogLine& line : m_log.take(category))
            if (line.level == Log::Info)
                starts += line.text.substr(0, 8);
        EXPECT_TRUE(starts.ends_with("OpenGL: Vendor: GPU:    ")) << starts;
        EXPECT_EQ(ContextManager::currentContextId(),
                  reinterpret_cast<std::uintptr_t>(manager().mainContext()->internalHandle()));
        EXPECT_THROW(init(), std::logic_error);

        deinit();
        EXPECT_EQ(manager().mainContext(), nullptr);
        // One line for each wait of a tenth of a second; a busy machine needs more than one.
        const LogLine waiting{Log::Trace, category, "Waiting for background thread to finish."};
        EXPECT_TRUE(m_log.takeLine(waiting));
        while (m_log.takeLine(waiting)) {
        }
        deinit();
        EXPECT_TRUE(m_log.take(category).empty());
    }
}

TEST_F(ContextManagerGL, FailedStartsThrowAndMayBeRepeated) {
    const std::pair<void (*)(WindowSystem&), const char*> cases[] = {
        {[](auto& ws) { ws.failOpenDisplay = true; }, "Could not create main OpenGL context."},
        // The main context's one request succeeds, its clone's do not.
        {[](auto& ws) {
             ws.newestVersion = {3, 3};
             ws.failRequestsAfter = 7;
         },
         "Could not enable background OpenGL context."},
        // Enough for both contexts, but not for the background thread.
        {[](auto& ws) { ws.failMakeCurrentAfter = 6; },
         "The background thread could not make its OpenGL context current."},
    };
    for (const auto& [arrange, text] : cases) {
        arrange(windowSystem());
        EXPECT_EQ(thrown([] { init(); }), text);
        EXPECT_EQ(manager().mainContext(), nullptr) << text;
        EXPECT_EQ(contextsAlive(), 0) << text;
        windowSystem() = {};
    }
    auto unused = Context::create({});
    unused->doneCurrent();
    EXPECT_THROW(init(std::move(unused)), OpenGLNotFoundException);
    static_cast<void>(m_log.take());

    auto context = Context::create({});
    Context* const given = context.get();
    init(std::move(context));
    EXPECT_EQ(manager().mainContext(), given);
    expectLine(Log::Debug, "Initializing OpenGL using provided context as main OpenGL context.");
    static_cast<void>(m_log.take());
    EXPECT_TRUE(ContextManager::hasCurrent());
}

TEST_F(ContextManagerGL, TasksOfAllThreadsRunHereOrInTheBackground) {
    start();
    CallCounter<glad_glFlush> flushes;
    std::thread::id thread;
    const auto note = [&thread] { thread = std::this_thread::get_id(); };
    manager().runWithOpenGL(note, false);
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_EQ(flushes.take(), 0);
    // Nested without forcing runs inline on the background thread.
    manager().runWithOpenGL([&note] { manager().runWithOpenGL(note, false); }, true);
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(flushes.take(), 1);
    EXPECT_THROW(manager().runWithOpenGL([] { throw 1; }, false), int);

    std::atomic<int> calls{0};
    onThreads(100, [&calls] { manager().runWithOpenGL([&calls] { ++calls; }, true); });
    EXPECT_EQ(calls, 400);
}

TEST_F(ContextManagerGL, BackgroundSurvivesWhateverATaskDoes) {
    start();
    constexpr const char* waits = "A task on the background thread asked for another one there, for which it "
                                  "would wait for ever; the function was not called.";
    const auto fail = [] { ADD_FAILURE() << "was run"; };
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[] { manager().mainContext()->doneCurrent(); }, nullptr},
        {[] {
             static_cast<void>(Context::create({}));
             throw std::runtime_error("x");
         },
         "Caught an exception while executing OpenGL code: x"},
        {[] { throw 42; }, "Caught an exception while executing OpenGL code: unknown exception"},
        {{}, "Caught an exception while executing OpenGL code: bad_function_call"},
        {[&fail] { manager().runWithOpenGL(fail, true); }, waits},
        {[&fail] {
             manager().mainContext()->doneCurrent();
             manager().runWithOpenGL(fail);
         },
         waits},
        {[] { deinit(); }, "GL::deinit() called by a task on the background thread, for which it would "
                           "wait."},
    };
    const auto background = [] {
        std::uintptr_t current = 0;
        manager().runWithOpenGL([&current] { current = ContextManager::currentContextId(); }, true);
        return current;
    };
    const std::uintptr_t expected = background();
    EXPECT_NE(expected, 0U);
    for (const auto& [task, text] : cases) {
        manager().runWithOpenGL(task, true);
        EXPECT_EQ(background(), expected);
        if (text)
            expectLine(Log::Error, text);
    }
}

TEST_F(ContextManagerGL, InstancesUnderConstructionWaitForNothing) {
    struct Waits : InstanceManager<Waits> {
        Waits() {
            manager().runWithOpenGL([] { ADD_FAILURE() << "was run"; }, true);
            deinit();
        }
        ~Waits() override {
            manager().runWithOpenGL([] { ADD_FAILURE() << "was run"; }, true);
        }
    };
    const auto expectRefusedTask = [this] {
        expectLine(Log::Error, "The constructor or destructor of a per-context instance asked for a task on "
                               "the background thread, which may wait for it for ever; the function was not "
                               "called.");
    };
    start();
    static_cast<void>(Waits::get());
    expectRefusedTask();
    expectLine(Log::Error, "GL::deinit() called by the constructor or destructor of a per-context instance, "
                           "for which it would wait.");
    deinit();
    expectRefusedTask();
}

// Capabilities are judged by the entry points that are there. In a process of its own: a driver that stays
// mapped reads the override once.
TEST_F(ContextManagerGL, OlderContextHasNoEntryPointsOfANewerOneBefore) {
    start();
    if (!glMemoryBarrier)
        GTEST_SKIP() << "already an old driver";
    deinit();
    setenv("MESA_GL_VERSION_OVERRIDE", "3.3", 1);
    start();
    EXPECT_EQ(versionInfo().major, 3);
    EXPECT_EQ(glMemoryBarrier, nullptr);
    EXPECT_EQ(glDebugMessageCallback != nullptr, GLAD_GL_KHR_debug != 0);
    deinit();

    setenv("MESA_GL_VERSION_OVERRIDE", "2.1", 1);
    windowSystem().hideCreateContext = true;
    ++windowSystem().contextsCreated; // made by glXCreateNewContext, which is not counted
    EXPECT_TRUE(thrown([] { init(); }).starts_with("The context has version \"2.1 "));
    EXPECT_EQ(manager().mainContext(), nullptr);
    static_cast<void>(m_log.take());
}

TEST_F(ContextManagerGL, MainAndBackgroundThreadGetNoLocalContext) {
    start();
    EXPECT_EQ(manager().createContext(), nullptr);
    expectLine(Log::Warning, "Attempted to create a new local context for the main thread!");
    manager().runWithOpenGL([] { EXPECT_EQ(manager().createContext(), nullptr); }, true);
    expectLine(Log::Warning, "Attempted to create a new local context for the background thread!");
    std::thread([] { EXPECT_FALSE(ContextManager::makeCurrent()); }).join();
    expectLine(Log::Error, "You must not call GlContextManager::makeCurrent() from a different thread than "
                           "the main thread.");
    ContextManager::doneCurrent();
    EXPECT_THROW(manager().ensureLocalContext(), std::runtime_error);
    dropLines();
    EXPECT_TRUE(ContextManager::makeCurrent());
}

TEST_F(ContextManagerGL, LocalContextIsMadeOnceAndReleased) {
    start();
    GLuint texture = 0;
    std::thread([&texture] {
        EXPECT_FALSE(ContextManager::hasCurrent());
        manager().ensureLocalContext();
        const auto id = ContextManager::currentContextId();
        // Another context in between: the local one is found again.
        auto other = manager().createContext();
        EXPECT_NE(ContextManager::currentContextId(), id);
        other.reset();
        manager().ensureLocalContext();
        EXPECT_EQ(ContextManager::currentContextId(), id);
        manager().releaseLocalContext();
        EXPECT_FALSE(ContextManager::hasCurrent());
        manager().ensureLocalContext();
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        finish();
    }).join(); // which releases the context
    EXPECT_EQ(contextsAlive(), 2);
    EXPECT_LE(windowSystem().displaysOpened, 4) << "connections are reused";
    EXPECT_TRUE(glIsTexture(texture)) << "textures are shared";
    glDeleteTextures(1, &texture);
}

TEST_F(ContextManagerGL, ShutDownLeavesContextsToTheThreadsThatUseThem) {
    start();
    std::barrier step(3);
    std::promise<void> end;
    std::thread idle([&] {
        manager().ensureLocalContext();
        manager().createContext().reset(); // the local context is not current any more
        step.arrive_and_drop();
        end.get_future().wait();
    });
    std::thread user([&step] {
        const auto wait = [&step] {
            step.arrive_and_wait();
            step.arrive_and_wait();
        };
        manager().ensureLocalContext();
        wait(); // for the first shut-down
        EXPECT_TRUE(ContextManager::hasCurrent());
        glClear(GL_COLOR_BUFFER_BIT);
        finish();
        const std::uintptr_t kept = ContextManager::currentContextId();
        manager().ensureLocalContext();
        wait(); // for the second start
        manager().ensureLocalContext();
        EXPECT_EQ(ContextManager::currentContextId(), kept);
        bool here = false;
        const auto note = [&, thread = std::this_thread::get_id()] {
            here = thread == std::this_thread::get_id();
        };
        manager().runWithOpenGL(note);
        EXPECT_TRUE(here);
        manager().releaseLocalContext();
        manager().ensureLocalContext();
        wait(); // for the second shut-down
    });
    step.arrive_and_wait();
    deinit();
    expectLine(Log::Warning, "1 local OpenGL context(s) still current on a running thread; each is released "
                             "when its thread releases it or ends.");
    step.arrive_and_wait();
    step.arrive_and_wait();
    start();
    step.arrive_and_wait();
    step.arrive_and_wait();
    EXPECT_EQ(contextsAlive(), 3) << "a new life does not mix with the old one's contexts";
    deinit();
    dropLines();
    EXPECT_EQ(contextsAlive(), 1);
    step.arrive_and_wait();
    user.join(); // the abandoned context dies with its thread
    EXPECT_EQ(contextsAlive(), 0);
    end.set_value();
    idle.join();
}

// Whether the context is the thread's local one or its own, and whether the thread releases it or ends.
// Another life of OpenGL does not matter to it.
TEST_F(ContextManagerGL, LeftContextsKeepTheirInstancesUntilTheirThreadLetsGo) {
    static std::atomic<int> gone{0};
    struct Kept : InstanceManager<Kept> {
        ~Kept() override {
            EXPECT_EQ(std::this_thread::get_id(), thread);
            EXPECT_TRUE(ContextManager::hasCurrent());
            ++gone;
        }
        const std::thread::id thread = std::this_thread::get_id();
    };
    const std::pair<bool, bool> cases[] = {{true, true}, {true, false}, {false, true}, {false, false}};
    for (const auto& [local, releases] : cases) {
        gone = 0;
        start();
        std::atomic<bool> draws{false};
        std::atomic<bool> stop{false};
        std::unique_ptr<Context> own;
        std::thread user([&, isLocal = local, isReleased = releases] {
            if (isLocal)
                manager().ensureLocalContext();
            else
                own = manager().createContext();
            const Kept* const kept = Kept::get();
            for (; !stop; draws = true) {
                EXPECT_EQ(Kept::get(), kept);
                clearDepthBuffer(1);
            }
            if (!isReleased)
                return;
            if (isLocal)
                manager().releaseLocalContext();
            else
                own->doneCurrent();
            EXPECT_EQ(gone, 1);
        });
        while (!draws)
            std::this_thread::yield();
        deinit();
        start();
        deinit();
        EXPECT_EQ(gone, 0) << local << releases;
        stop = true;
        user.join();
        EXPECT_EQ(gone, 1) << local << releases;
    }
    dropLines();
}

TEST_F(ContextManagerGL, ContextsAreNotTakenAwayFromOtherThreads) {
    start();
    std::unique_ptr<Context> context;
    std::barrier step(2);
    std::thread user([&] {
        context = manager().createContext();
        step.arrive_and_wait();
        step.arrive_and_wait();
        clearDepthBuffer(1);
        EXPECT_EQ(Debug::check(false), Debug::Error::NoError);
    });
    step.arrive_and_wait();
    EXPECT_FALSE(context->makeCurrent());
    EXPECT_TRUE(m_log.takeLine(
        {Log::Error, "GL.ContextGLX",
         "Cannot make a context current that is current on another thread; release it there first."}));
    context.reset();
    EXPECT_TRUE(m_log.takeLine(
        {Log::Error, "GL.ContextGLX",
         "A context was destroyed while current on another thread, to which it is left until that "
         "thread ends."}));
    EXPECT_EQ(contextsAlive(), 3);
    step.arrive_and_wait();
    user.join();
    EXPECT_EQ(contextsAlive(), 2);
}

TEST_F(ContextManagerGL, OnlyTheMainThreadEndsWhileItLives) {
    start();
    std::thread([] { deinit(); }).join();
    expectLine(Log::Error, "You must not call GL::deinit() from a different thread than the main thread.");
    EXPECT_NE(manager().mainContext(), nullptr);
    deinit();
    EXPECT_EQ(contextsAlive(), 0);
    std::thread([this] { start(); }).join();
    EXPECT_FALSE(ContextManager::makeCurrent());
    dropLines();
    std::thread([] { deinit(); }).join();
    EXPECT_EQ(contextsAlive(), 0);
}

TEST_F(ContextManagerGL, ThreadsThatStartAndEndAtOnceAreRefusedInTurn) {
    std::atomic<int> starts{0};
    std::atomic<int> refused{0};
    onThreads(5, [&] {
        try {
            init();
            ++starts;
        } catch (const std::logic_error&) {
            ++refused;
        }
        manager().runWithOpenGL([] {});
        static_cast<void>(manager().mainContext());
        ContextManager::makeCurrent();
        ContextManager::doneCurrent();
        deinit();
    });
    EXPECT_GT(starts, 0);
    EXPECT_EQ(starts + refused, 20);
    EXPECT_EQ(contextsAlive(), 0);
    static_cast<void>(m_log.take());
}

TEST_F(ContextManagerGL, ShutDownWhileThreadsAskForContexts) {
    for (int life = 0; life < 2; ++life) {
        start();
        std::atomic<int> made{0};
        const auto ask = [&made](const std::stop_token& end) {
            while (!end.stop_requested())
                try {
                    manager().ensureLocalContext();
                    ++made;
                    manager().releaseLocalContext();
                } catch (const std::runtime_error&) { // OpenGL is being shut down
                }
        };
        {
            const std::jthread first(ask);
            const std::jthread second(ask);
            while (made == 0)
                std::this_thread::yield();
            deinit();
        }
        static_cast<void>(m_log.take());
    }
}

TEST_F(ContextManagerGL, InstancesDieWhileAContextIsCurrent) {
    static std::atomic<int> withContext{0};
    withContext = 0;
    struct NeedsContext : InstanceManager<NeedsContext> {
        ~NeedsContext() override { withContext += ContextManager::hasCurrent(); }
    };
    start();
    static_cast<void>(NeedsContext::get());
    manager().runWithOpenGL([] { static_cast<void>(NeedsContext::get()); }, true);
    std::promise<void> made;
    std::promise<void> end;
    std::thread other([&] {
        manager().ensureLocalContext();
        static_cast<void>(NeedsContext::get());
        static_cast<void>(manager().createContext());
        made.set_value();
        end.get_future().wait();
    });
    made.get_future().wait();
    deinit();
    end.set_value();
    other.join();
    EXPECT_EQ(withContext, 3);

    struct OwnsContext : InstanceManager<OwnsContext> {
        std::unique_ptr<Context> context;
    };
    start();
    manager().runWithOpenGL([] { OwnsContext::get()->context = manager().mainContext()->clone(); }, true);
    EXPECT_EQ(contextsAlive(), 3);
}

TEST_F(ContextManagerGL, ForkedChildLeavesTheParentAlone) {
    static int instancesDestroyed = 0;
    instancesDestroyed = 0;
    struct Counted : InstanceManager<Counted> {
        ~Counted() override { ++instancesDestroyed; }
    };
    start();
    static_cast<void>(Counted::get());
    auto context = manager().mainContext()->clone();
    ContextManager::makeCurrent();
    const int contextsDestroyed = windowSystem().contextsDestroyed;
    const pid_t child = fork();
    if (child == 0) {
        deinit(); // nothing of ours in this process
        InstanceManagerBase::deinitAll();
        context.reset();
        if (instancesDestroyed != 0 || windowSystem().contextsDestroyed != contextsDestroyed)
            _exit(1);
        std::exit(17); // runs static destructors
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 17) << status;
    bool ran = false;
    manager().runWithOpenGL([&ran] { ran = true; }, true);
    EXPECT_TRUE(ran);
    EXPECT_EQ(Debug::check(false), Debug::Error::NoError);
}

// By whichever thread, which may be inside the window system or hold a context.
TEST(ContextManagerDeathTest, ExitWithoutShutDownSaysSo) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto end = [] { std::exit(0); };
    const std::function<void()> cases[] = {
        end,
        [&end] { manager().runWithOpenGL(end, true); },
        [&end] {
            std::thread([&end] {
                manager().ensureLocalContext();
                end();
            }).join();
        },
        [] {
            XSetErrorHandler([](Display*, XErrorEvent*) -> int { std::exit(0); });
            Display* const display = glXGetCurrentDisplay();
            XKillClient(display, 0x7fffffff);
            XSync(display, False);
        },
    };
    for (const auto& exitsBy : cases)
        EXPECT_EXIT(
            (init(), exitsBy()), ::testing::KilledBySignal(SIGABRT),
            "Did not cleanly deinitialize ContextManager: either the application crashed or it did not call "
            "GL::deinit\\(\\)\\.");
}

// Run once per environment.
TEST(ContextEnvironment, DecidesProfileDebugAndUse) {
    LogCapture log;
    const bool disabled = std::getenv("VELTRAND_DISABLE_OPENGL") != nullptr;
    const bool compatibility = std::getenv("VELTRAND_USE_OPENGL_COMPATIBILITY") != nullptr;
    const char* const debugValue = std::getenv("VELTRAND_USE_OPENGL_DEBUG_CONTEXT");
    const bool debug = debugValue && *debugValue;

    EXPECT_EQ(ContextManager::openGlDisabled(), disabled);
    EXPECT_EQ(ContextManager::useCoreContext(), !compatibility);
    std::vector<LogLine> expected{
        compatibility ? LogLine{Log::Info, category,
                                "Using OpenGL compatibility context since VELTRAND_USE_OPENGL_COMPATIBILITY "
                                "environment variable is defined."}
                      : LogLine{Log::Debug, category,
                                "Using OpenGL core context since VELTRAND_USE_OPENGL_COMPATIBILITY "
                                "environment variable is not defined."}};
    if (disabled)
        expected.insert(expected.begin(), {Log::Info, category,
                                           "Skipped initialization of OpenGL since VELTRAND_DISABLE_OPENGL "
                                           "environment variable is defined."});
    EXPECT_EQ(log.take(category), expected);

    init();
    static_cast<void>(log.take("GL"));
    EXPECT_EQ((getInt(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0, compatibility);
    EXPECT_EQ((getInt(GL_CONTEXT_FLAGS) & GL_CONTEXT_FLAG_DEBUG_BIT) != 0, debug);
    if (debug && !glDebugMessageCallback) {
        for (int context = 0; context < 2; ++context)
            EXPECT_TRUE(log.takeLine({Log::Warning, "GL.Debug",
                                      "Can not set debug message callback due to missing OpenGL extension"}));
    } else if (debug) {
        glDebugMessageInsert(GL_DEBUG_SOURCE_APPLICATION, GL_DEBUG_TYPE_OTHER, 7, GL_DEBUG_SEVERITY_MEDIUM,
                             -1, "text");
        EXPECT_FALSE(log.take("OpenGL Driver (Application)").empty());
        glEnable(GL_NONE); // the first error, which is no noise
        const auto errors = log.take("OpenGL Driver (API)");
        EXPECT_TRUE(errors.size() == 1 && errors[0].level == Log::Error) << errors.size();
        EXPECT_EQ(Debug::check(false), Debug::Error::InvalidEnum);
    }
    deinit();
}

} // namespace Veltrand::GL
