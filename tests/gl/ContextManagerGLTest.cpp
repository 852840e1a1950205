// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>

#include "support/LogCapture.h"
#include "support/WindowSystem.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <future>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace Veltrand::GL {

namespace {

using Testing::LogCapture;
using Testing::LogLine;
using Testing::windowSystem;

constexpr const char* category = "GL.ContextManager";

ContextManager& manager() {
    return ContextManager::get();
}

// Takes the warnings that the start on a driver without memory extensions is expected to give.
void takeMemoryWarnings(LogCapture& log) {
    static_cast<void>(log.take("GL"));
}

// OpenGL is started and stopped in each test; at its end, every connection and context has to be gone.
class ContextManagerGL : public ::testing::Test {
protected:
    void SetUp() override { windowSystem() = {}; }
    void TearDown() override {
        deinit();
        EXPECT_EQ(windowSystem().displaysClosed, windowSystem().displaysOpened);
        EXPECT_EQ(windowSystem().contextsDestroyed, windowSystem().contextsCreated);
        EXPECT_FALSE(ContextManager::hasCurrent());
    }
    void start() {
        init();
        takeMemoryWarnings(m_log);
    }

    LogCapture m_log;
};

// A thread that does what it is told, step by step.
class Worker {
public:
    Worker() = default;
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker() { finish(); }

    void run(const std::function<void()>& step) {
        std::packaged_task<void()> task(step);
        auto done = task.get_future();
        {
            const std::lock_guard lock(m_mutex);
            m_task = std::move(task);
        }
        m_signal.notify_one();
        done.get();
    }
    void finish() {
        if (!m_thread.joinable())
            return;
        {
            const std::lock_guard lock(m_mutex);
            m_stop = true;
        }
        m_signal.notify_one();
        m_thread.join();
    }

private:
    void serve() {
        std::unique_lock lock(m_mutex);
        while (true) {
            m_signal.wait(lock, [this] { return m_stop || m_task.valid(); });
            if (!m_task.valid())
                return;
            auto task = std::exchange(m_task, {});
            lock.unlock();
            task();
            lock.lock();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_signal;
    std::packaged_task<void()> m_task;
    bool m_stop = false;
    std::thread m_thread{&Worker::serve, this};
};

} // namespace

TEST_F(ContextManagerGL, BeforeStartEverythingIsRefused) {
    bool called = false;
    manager().runWithOpenGL([&called] { called = true; }, false);
    EXPECT_FALSE(called);
    EXPECT_TRUE(m_log.takeLine(
        {Log::Error, category, "Main OpenGL context and/or background OpenGL context not initialized."}));
    EXPECT_FALSE(ContextManager::makeCurrent());
    EXPECT_TRUE(m_log.takeLine({Log::Error, category, "Not initialized, cannot make context current."}));
    EXPECT_FALSE(ContextManager::doneCurrent());
    EXPECT_TRUE(m_log.takeLine({Log::Error, category, "Not initialized, cannot release context."}));
    EXPECT_EQ(manager().mainContext(), nullptr);
    EXPECT_THROW(manager().ensureLocalContext(), std::runtime_error);
    EXPECT_FALSE(m_log.take(category).empty());
}

TEST_F(ContextManagerGL, StartsStopsAndStartsAgain) {
    for (int life = 0; life < 2; ++life) {
        init();
        const auto lines = m_log.take(category);
        ASSERT_GE(lines.size(), 4u);
        std::vector<std::string> starts;
        for (const LogLine& line : lines)
            if (line.level >= Log::Debug)
                starts.push_back(line.text.substr(0, line.level == Log::Debug ? std::string::npos : 8));
        EXPECT_EQ(std::vector(starts.end() - 3, starts.end()),
                  (std::vector<std::string>{"OpenGL: ", "Vendor: ", "GPU:    "}));
        EXPECT_TRUE(std::count(starts.begin(), starts.end(),
                               "Initializing OpenGl using a newly created offscreen context as main OpenGL "
                               "context."));
        takeMemoryWarnings(m_log);
        EXPECT_TRUE(ContextManager::hasCurrent());
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

TEST_F(ContextManagerGL, UsesTheContextItIsGiven) {
    auto context = Context::create({});
    ASSERT_TRUE(context);
    Context* const given = context.get();
    init(std::move(context));
    EXPECT_EQ(manager().mainContext(), given);
    EXPECT_TRUE(m_log.takeLine(
        {Log::Debug, category, "Initializing OpenGL using provided context as main OpenGL context."}));
    takeMemoryWarnings(m_log);
}

TEST_F(ContextManagerGL, FailedStartsThrowAndMayBeRepeated) {
    struct Case {
        void (*arrange)();
        const char* text;
    };
    const Case cases[] = {
        {[] { windowSystem().failOpenDisplay = true; }, "Could not create main OpenGL context."},
        // The main context's one request succeeds, its clone's do not.
        {[] {
             windowSystem().newestVersion = {3, 3};
             windowSystem().failRequestsAfter = 7;
         },
         "Could not enable background OpenGL context."},
        // Enough for both contexts, but not for the background thread.
        {[] { windowSystem().failMakeCurrentAfter = 6; },
         "The background thread could not make its OpenGL context current."},
    };
    for (const Case& c : cases) {
        c.arrange();
        try {
            init();
            ADD_FAILURE() << "nothing thrown: " << c.text;
        } catch (const OpenGLNotFoundException& exception) {
            EXPECT_STREQ(exception.what(), c.text);
        }
        static_cast<void>(m_log.take());
        windowSystem().failOpenDisplay = false;
        windowSystem().newestVersion = {9, 9};
        windowSystem().failRequestsAfter = -1;
        windowSystem().failMakeCurrentAfter = -1;
        EXPECT_EQ(manager().mainContext(), nullptr) << c.text;
    }
    start();
    EXPECT_TRUE(ContextManager::hasCurrent());
}

TEST_F(ContextManagerGL, EveryCallRunsFromTheFirstOn) {
    for (int life = 0; life < 2; ++life) {
        start();
        std::atomic<int> calls{0};
        std::vector<std::thread> threads;
        threads.reserve(4);
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&calls] {
                for (int i = 0; i < 250; ++i)
                    manager().runWithOpenGL([&calls] { ++calls; }, true);
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(calls, 1000);
        deinit();
    }
}

TEST_F(ContextManagerGL, RunsHereOrInTheBackground) {
    start();
    static int flushes = 0;
    static auto realFlush = glad_glFlush;
    realFlush = glad_glFlush;
    flushes = 0;
    glad_glFlush = [] {
        ++flushes;
        realFlush();
    };
    std::thread::id here;
    std::thread::id background;
    manager().runWithOpenGL([&here] { here = std::this_thread::get_id(); }, false);
    EXPECT_EQ(here, std::this_thread::get_id());
    EXPECT_EQ(flushes, 0);
    manager().runWithOpenGL([&background] { background = std::this_thread::get_id(); }, true);
    EXPECT_NE(background, std::this_thread::get_id());
    EXPECT_EQ(flushes, 1);
    glad_glFlush = realFlush;

    EXPECT_THROW(manager().runWithOpenGL([] { throw 1; }, false), int);
    // Nested without forcing runs inline on the background thread.
    bool nested = false;
    manager().runWithOpenGL([&nested] { manager().runWithOpenGL([&nested] { nested = true; }, false); },
                            true);
    EXPECT_TRUE(nested);
}

TEST_F(ContextManagerGL, WhatBackgroundTasksThrowIsLogged) {
    start();
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[] { throw std::runtime_error("x"); }, "x"},
        {[] { throw 42; }, "unknown exception"},
        {{}, "bad_function_call"},
    };
    for (const auto& [task, text] : cases) {
        manager().runWithOpenGL(task, true);
        EXPECT_TRUE(m_log.takeLine(
            {Log::Error, category, std::string("Caught an exception while executing OpenGL code: ") + text}));
    }
    bool alive = false;
    manager().runWithOpenGL([&alive] { alive = true; }, true);
    EXPECT_TRUE(alive);
}

TEST_F(ContextManagerGL, BackgroundContextIsCurrentWhateverATaskDoes) {
    start();
    std::uintptr_t background = 0;
    manager().runWithOpenGL([&background] { background = ContextManager::currentContextId(); }, true);
    const std::function<void()> tasks[] = {
        [] { static_cast<void>(Context::create({})); },
        [] { manager().mainContext()->doneCurrent(); },
        [] {
            static_cast<void>(Context::create({}));
            throw std::runtime_error("x");
        },
    };
    for (const auto& task : tasks) {
        manager().runWithOpenGL(task, true);
        std::uintptr_t after = 0;
        manager().runWithOpenGL([&after] { after = ContextManager::currentContextId(); }, true);
        EXPECT_EQ(after, background);
    }
    static_cast<void>(m_log.take(category));
}

TEST_F(ContextManagerGL, StartsAfterAContextThatWasOfNoUse) {
    auto context = Context::create({});
    ASSERT_TRUE(context);
    context->doneCurrent();
    EXPECT_THROW(init(std::move(context)), OpenGLNotFoundException);
    start();
    EXPECT_TRUE(ContextManager::hasCurrent());
}

// Capabilities are judged by the entry points that are there.
TEST_F(ContextManagerGL, OlderContextHasNoEntryPointsOfANewerOneBefore) {
    start();
    if (!glMemoryBarrier)
        GTEST_SKIP() << "already an old driver";
    deinit();
    setenv("MESA_GL_VERSION_OVERRIDE", "3.3", 1);
    start();
    unsetenv("MESA_GL_VERSION_OVERRIDE");
    if (versionInfo().major != 3)
        GTEST_SKIP() << "a driver that stays mapped reads the override once";
    EXPECT_EQ(glMemoryBarrier, nullptr);
    EXPECT_EQ(glDebugMessageCallback != nullptr, GLAD_GL_KHR_debug != 0);
}

TEST_F(ContextManagerGL, InstancesMayOwnContexts) {
    struct Owner : InstanceManager<Owner> {
        std::unique_ptr<Context> context;
    };
    start();
    manager().runWithOpenGL([] { Owner::get()->context = manager().mainContext()->clone(); }, true);
    EXPECT_EQ(windowSystem().contextsCreated - windowSystem().contextsDestroyed, 3);
}

TEST_F(ContextManagerGL, MainAndBackgroundThreadGetNoLocalContext) {
    start();
    EXPECT_EQ(manager().createContext(), nullptr);
    EXPECT_TRUE(m_log.takeLine(
        {Log::Warning, category, "Attempted to create a new local context for the main thread!"}));
    manager().runWithOpenGL([] { EXPECT_EQ(manager().createContext(), nullptr); }, true);
    EXPECT_TRUE(m_log.takeLine(
        {Log::Warning, category, "Attempted to create a new local context for the background thread!"}));
    Worker worker;
    worker.run([] { EXPECT_FALSE(ContextManager::makeCurrent()); });
    EXPECT_TRUE(
        m_log.takeLine({Log::Error, category,
                        "You must not call GlContextManager::makeCurrent() from a different thread than "
                        "the main thread."}));
    ContextManager::doneCurrent();
    EXPECT_THROW(manager().ensureLocalContext(), std::runtime_error);
    EXPECT_FALSE(m_log.take(category).empty());
    EXPECT_TRUE(ContextManager::makeCurrent());
}

TEST_F(ContextManagerGL, LocalContextIsMadeOnceAndReleased) {
    start();
    Worker worker;
    worker.run([] {
        EXPECT_FALSE(ContextManager::hasCurrent());
        manager().ensureLocalContext();
        const auto id = ContextManager::currentContextId();
        EXPECT_NE(id, 0u);
        manager().ensureLocalContext();
        EXPECT_EQ(ContextManager::currentContextId(), id);
        {
            // Another context in between: the local one is found again.
            const auto other = manager().createContext();
            ASSERT_TRUE(other);
            EXPECT_NE(ContextManager::currentContextId(), id);
        }
        EXPECT_FALSE(ContextManager::hasCurrent());
        manager().ensureLocalContext();
        EXPECT_EQ(ContextManager::currentContextId(), id);
        manager().releaseLocalContext();
        EXPECT_FALSE(ContextManager::hasCurrent());
        manager().releaseLocalContext();
    });
    EXPECT_EQ(windowSystem().contextsCreated - windowSystem().contextsDestroyed, 2);
}

TEST_F(ContextManagerGL, ThreadsThatEndReleaseTheirContexts) {
    start();
    for (int i = 0; i < 5; ++i)
        std::thread([] { manager().ensureLocalContext(); }).join();
    EXPECT_EQ(windowSystem().contextsCreated - windowSystem().contextsDestroyed, 2);
    EXPECT_EQ(windowSystem().displaysOpened, 3) << "connections are reused";
}

TEST_F(ContextManagerGL, ThreeThreadsShareOneTexture) {
    start();
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 4, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    finish();
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (GLint t = 0; t < 3; ++t)
        threads.emplace_back([t, texture] {
            manager().ensureLocalContext();
            const std::array<GLubyte, 4> color{GLubyte(t + 1), 2, 3, 4};
            glBindTexture(GL_TEXTURE_2D, texture);
            glTexSubImage2D(GL_TEXTURE_2D, 0, t, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, color.data());
            finish();
            EXPECT_EQ(Debug::check(false), Debug::Error::NoError);
        });
    for (std::thread& thread : threads)
        thread.join();
    std::array<std::array<GLubyte, 4>, 4> texels{};
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    for (std::size_t t = 0; t < 3; ++t)
        EXPECT_EQ(texels[t], (std::array<GLubyte, 4>{GLubyte(t + 1), 2, 3, 4}));
    glDeleteTextures(1, &texture);
}

// A context that is current on a living thread would crash that thread's next call if it were destroyed.
TEST_F(ContextManagerGL, ShutDownLeavesContextsToTheThreadsThatUseThem) {
    start();
    Worker user;
    Worker idle;
    user.run([] { manager().ensureLocalContext(); });
    std::unique_ptr<Context> other;
    idle.run([&other] {
        manager().ensureLocalContext();
        other = manager().createContext(); // the local context is not current any more
        other.reset();
    });
    deinit();
    EXPECT_TRUE(
        m_log.takeLine({Log::Warning, category,
                        "1 local OpenGL context(s) still current on a running thread; each is released "
                        "when its thread releases it or ends."}));
    user.run([] {
        EXPECT_TRUE(ContextManager::hasCurrent());
        glClear(GL_COLOR_BUFFER_BIT);
        finish();
    });
    // A new life does not mix with the old one's contexts.
    start();
    user.run([] {
        manager().ensureLocalContext();
        EXPECT_TRUE(ContextManager::hasCurrent());
    });
    EXPECT_EQ(windowSystem().contextsCreated - windowSystem().contextsDestroyed, 3);
    user.run([] { manager().releaseLocalContext(); });
}

TEST_F(ContextManagerGL, AbandonedContextDiesWithItsThread) {
    start();
    auto user = std::make_unique<Worker>();
    user->run([] { manager().ensureLocalContext(); });
    deinit();
    EXPECT_FALSE(m_log.take(category).empty());
    EXPECT_LT(windowSystem().displaysClosed, windowSystem().displaysOpened);
    user.reset();
    EXPECT_EQ(windowSystem().displaysClosed, windowSystem().displaysOpened);
}

TEST_F(ContextManagerGL, ShutDownWhileThreadsAskForContexts) {
    for (int life = 0; life < 3; ++life) {
        start();
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        threads.reserve(2);
        for (int t = 0; t < 2; ++t)
            threads.emplace_back([&stop] {
                while (!stop) {
                    try {
                        manager().ensureLocalContext();
                        manager().releaseLocalContext();
                    } catch (const std::runtime_error&) {
                        // OpenGL is being shut down.
                    }
                }
            });
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        deinit();
        stop = true;
        for (std::thread& thread : threads)
            thread.join();
        static_cast<void>(m_log.take());
    }
}

TEST_F(ContextManagerGL, InstancesDieWhileAContextIsCurrent) {
    struct NeedsContext : InstanceManager<NeedsContext> {
        NeedsContext() { glGenFramebuffers(1, &name); }
        ~NeedsContext() override {
            hadContext &= ContextManager::hasCurrent();
            glDeleteFramebuffers(1, &name);
            ++destroyed;
        }
        GLuint name = 0;
        static bool& flag() {
            static bool value = true;
            return value;
        }
        bool& hadContext = flag();
        int& destroyed = count();
        static int& count() {
            static int value = 0;
            return value;
        }
    };
    start();
    static_cast<void>(NeedsContext::get());
    manager().runWithOpenGL([] { static_cast<void>(NeedsContext::get()); }, true);
    Worker worker;
    worker.run([] {
        manager().ensureLocalContext();
        static_cast<void>(NeedsContext::get());
        static_cast<void>(manager().createContext());
    });
    deinit();
    EXPECT_TRUE(NeedsContext::flag());
    EXPECT_EQ(NeedsContext::count(), 3);
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
    EXPECT_EQ(Debug::check(false), Debug::Error::NoError);
    glClear(GL_COLOR_BUFFER_BIT);
    finish();
    bool ran = false;
    manager().runWithOpenGL([&ran] { ran = true; }, true);
    EXPECT_TRUE(ran);
}

TEST(ContextManagerDeathTest, ExitWithoutShutDownSaysSo) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            init();
            std::exit(0);
        },
        ::testing::KilledBySignal(SIGABRT),
        "Did not cleanly deinitialize ContextManager: either the application crashed or it did not call "
        "GL::deinit\\(\\)\\.");
}

// Run once per environment.
TEST(ContextEnvironment, DecidesProfileDebugAndUse) {
    windowSystem() = {};
    LogCapture log;
    const bool disabled = std::getenv("VELTRAND_DISABLE_OPENGL") != nullptr;
    const bool compatibility = std::getenv("VELTRAND_USE_OPENGL_COMPATIBILITY") != nullptr;
    const char* const debugValue = std::getenv("VELTRAND_USE_OPENGL_DEBUG_CONTEXT");
    const bool debug = debugValue && *debugValue;

    for (int call = 0; call < 2; ++call) {
        EXPECT_EQ(ContextManager::openGlDisabled(), disabled);
        EXPECT_EQ(ContextManager::useCoreContext(), !compatibility);
    }
    std::vector<LogLine> expected;
    if (disabled)
        expected.push_back(
            {Log::Info, category,
             "Skipped initialization of OpenGL since VELTRAND_DISABLE_OPENGL environment variable "
             "is defined."});
    if (compatibility)
        expected.push_back({Log::Info, category,
                            "Using OpenGL compatibility context since VELTRAND_USE_OPENGL_COMPATIBILITY "
                            "environment variable is defined."});
    else
        expected.push_back({Log::Debug, category,
                            "Using OpenGL core context since VELTRAND_USE_OPENGL_COMPATIBILITY environment "
                            "variable is not defined."});
    EXPECT_EQ(log.take(category), expected);

    init();
    takeMemoryWarnings(log);
    const int profile = getInt(GL_CONTEXT_PROFILE_MASK);
    EXPECT_EQ((profile & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0, compatibility);
    EXPECT_EQ((getInt(GL_CONTEXT_FLAGS) & GL_CONTEXT_FLAG_DEBUG_BIT) != 0, debug);
    if (debug && !glDebugMessageCallback) {
        for (int context = 0; context < 2; ++context)
            EXPECT_TRUE(log.takeLine({Log::Warning, "GL.Debug",
                                      "Can not set debug message callback due to missing OpenGL extension"}));
    } else if (debug) {
        // This driver numbers its kinds of messages by first occurrence, and number 1 is known noise: a
        // compiler error takes it, so that OpenGL errors get another.
        const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
        const char* const source = "nonsense";
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        glDeleteShader(shader);
        glViewport(0, 0, -1, -1);
        EXPECT_EQ(Debug::check(false), Debug::Error::InvalidValue);
        const auto messages = log.take("OpenGL Driver (API)");
        EXPECT_FALSE(messages.empty());
        for (const LogLine& message : messages) {
            EXPECT_EQ(message.level, Log::Error);
            EXPECT_EQ(message.text.rfind("Error: ", 0), 0u) << message.text;
        }
    }
    // Contexts made after the full loading leave it alone.
    EXPECT_NE(glad_glEnable, nullptr);
    EXPECT_NE(glad_glGetString, nullptr);
    deinit();
}

} // namespace Veltrand::GL
