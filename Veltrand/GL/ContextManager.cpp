// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ContextManager.h>

#include <Veltrand/Core/Platform.h>
#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/detail/EntryPoints.h>
#include <Veltrand/GL/detail/Glad.h>
#include <Veltrand/GL/detail/LogMessage.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <future>
#include <glad/gl.h>
#include <limits>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr std::string_view category = "GL.ContextManager";

using LocalContexts = std::unordered_map<std::thread::id, std::unique_ptr<Context>>;

} // namespace

/// One life of the manager, from `init` to `deinit`. The background thread holds it too, so that whichever of
/// the two threads is done first leaves it to the other.
struct ContextManagerState {
    bool initialized = false;
    std::unique_ptr<Context> mainContext;
    std::atomic<std::thread::id> mainThread{};
    std::atomic<std::thread::id> backgroundThreadId{};
    std::unique_ptr<Context> backgroundContext;
    std::function<void()> pendingTask;
    std::mutex callerMutex; // held by a caller from hand-over to completion
    std::thread backgroundThread;
    std::condition_variable taskSignal;
    std::mutex taskMutex; // guards the pending task; the background thread lets go of it only while it waits
    std::atomic<bool> stopRequested{false};
    std::atomic<bool> backgroundRunning{false};
    LocalContexts localContexts;
    std::mutex localContextMutex; // never held while another lock is waited for

    std::promise<bool> serving;           // set once: whether the background thread came to serve
    std::atomic<bool> hasContexts{false}; // both contexts exist; readable from any thread
    std::atomic<bool> closed{false};      // no local context may be added any more
    pid_t process = getpid();
};

namespace {

// The record of the present life. It outlives the manager: destructors of other static objects, and threads
// that end during exit, still ask.
class CurrentState {
public:
    static CurrentState& get() {
        static CurrentState* const instance = new CurrentState;
        return *instance;
    }

    [[nodiscard]] std::shared_ptr<ContextManagerState> state() {
        const std::lock_guard lock(m_mutex);
        // In a forked child the record belongs to the parent; not even its thread object may be destroyed. It
        // is kept where nothing destroys it.
        if (m_state->process != getpid()) {
            static auto* const kept = new std::vector<std::shared_ptr<ContextManagerState>>;
            kept->push_back(std::exchange(m_state, std::make_shared<ContextManagerState>()));
        }
        return m_state;
    }
    void renew() {
        const std::lock_guard lock(m_mutex);
        m_state = std::make_shared<ContextManagerState>();
    }

private:
    std::mutex m_mutex;
    std::shared_ptr<ContextManagerState> m_state = std::make_shared<ContextManagerState>();
};

std::shared_ptr<ContextManagerState> currentState() {
    return CurrentState::get().state();
}

// Local contexts that were current on living threads when OpenGL was shut down. Each waits for its thread.
struct AbandonedContexts {
    std::mutex mutex;
    std::unordered_map<std::thread::id, std::vector<std::unique_ptr<Context>>> contexts;
    std::atomic<std::size_t> count{0};
};

AbandonedContexts& abandonedContexts() {
    static AbandonedContexts* const instance = new AbandonedContexts;
    return *instance;
}

void abandon(std::thread::id thread, std::unique_ptr<Context> context) {
    AbandonedContexts& abandoned = abandonedContexts();
    const std::lock_guard lock(abandoned.mutex);
    abandoned.contexts[thread].push_back(std::move(context));
    ++abandoned.count;
}

void releaseAbandonedContextsOfThisThread() {
    AbandonedContexts& abandoned = abandonedContexts();
    if (abandoned.count == 0)
        return;
    std::vector<std::unique_ptr<Context>> mine;
    const std::lock_guard lock(abandoned.mutex);
    if (auto entry = abandoned.contexts.extract(std::this_thread::get_id())) {
        mine = std::move(entry.mapped());
        abandoned.count -= mine.size();
    }
}

// Releases the thread's local context when the thread ends: its id is reused at once.
struct LocalContextReleaser {
    LocalContextReleaser() = default;
    LocalContextReleaser(const LocalContextReleaser&) = delete;
    LocalContextReleaser& operator=(const LocalContextReleaser&) = delete;
    ~LocalContextReleaser() { ContextManager::get().releaseLocalContext(); }
};

void releaseAtThreadEnd() {
    static thread_local const LocalContextReleaser releaser;
}

bool isCurrentOnAnotherThread(const Context& context) {
    const auto* const glx = dynamic_cast<const ContextGLX*>(&context);
    return glx && glx->isCurrentOnSomeThread() &&
           reinterpret_cast<std::uintptr_t>(context.internalHandle()) != ContextManager::currentContextId();
}

// Destroys the local contexts, but takes none away from under a thread on which it is current.
void destroyLocalContexts(ContextManagerState& state) {
    LocalContexts contexts;
    std::size_t left = 0;
    {
        const std::lock_guard lock(state.localContextMutex);
        state.closed = true;
        contexts.swap(state.localContexts);
        // Under the lock, so that a thread which ends now finds its context in one place or the other.
        for (auto& [thread, context] : contexts) {
            if (isCurrentOnAnotherThread(*context)) {
                abandon(thread, std::move(context));
                ++left;
            }
        }
    }
    if (left > 0)
        logMessage(Log::Warning, category, [left] {
            return std::to_string(left) + " local OpenGL context(s) still current on a running thread; each "
                                          "is released when its thread releases it or ends.";
        });
}

// Whether the thread has stopped serving; at most @p maxPolls tenths of a second are waited.
bool stopBackgroundThread(ContextManagerState& state, int maxPolls) {
    for (int poll = 0; state.backgroundRunning && poll < maxPolls; ++poll) {
        state.stopRequested = true;
        state.taskSignal.notify_one();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        logMessage(Log::Trace, category, "Waiting for background thread to finish.");
    }
    return !state.backgroundRunning;
}

// What is left once the background thread has stopped.
void destroyContexts(ContextManagerState& state) {
    {
        const std::lock_guard lock(state.taskMutex);
        state.pendingTask = nullptr;
    }
    state.backgroundContext.reset();
    // At the end of the process another thread may still be using it.
    if (state.mainContext && isCurrentOnAnotherThread(*state.mainContext))
        abandon(state.mainThread, std::move(state.mainContext));
    state.mainContext.reset();
}

// A task may have made another context current, or left none.
void makeBackgroundContextCurrent(ContextManagerState& state) {
    const auto handle = reinterpret_cast<std::uintptr_t>(state.backgroundContext->internalHandle());
    if (ContextManager::currentContextId() != handle && !state.backgroundContext->makeCurrent())
        throw std::runtime_error("Could not make the background OpenGL context current.");
}

void GLAD_API_PTR clearDepthThroughDouble(GLfloat depth) {
    glClearDepth(depth);
}

void loadEntryPoints() {
    const std::lock_guard lock(entryPointMutex());
    if (!veltrandLoadGL(&lookupEntryPoint))
        throw OpenGLNotFoundException("Could not initialize glad.");
    if (!glClearDepthf)
        glad_glClearDepthf = &clearDepthThroughDouble;
}

void logDriver() {
    const PlatformInfo platform = platformInfo();
    const auto logLine = [](const char* prefix, const std::string& text) {
        if (!text.empty())
            logMessage(Log::Info, category, [&] { return prefix + text; });
    };
    logLine("OpenGL: ", platform.versionString);
    logLine("Vendor: ", platform.vendorString);
    logLine("GPU:    ", platform.rendererString);

    const MemoryInfo memory = memoryInfo();
    if (memory.currentAvailable > ByteSize())
        logMessage(Log::Info, category, [&memory] {
            std::string text = "Memory: " + memory.currentAvailable.toString();
            if (memory.totalAvailable > ByteSize())
                text += " of " + memory.totalAvailable.toString();
            return text + " available";
        });
    if (memory.dedicated > ByteSize())
        logMessage(Log::Info, category,
                   [&memory] { return "Dedicated GPU memory: " + memory.dedicated.toString(); });
}

std::unique_ptr<Context> createMainContext() {
    logMessage(Log::Debug, category,
               "Initializing OpenGl using a newly created offscreen context as main OpenGL context.");
    Context::CreateInfo info;
    info.compatibility = !ContextManager::useCoreContext();
    info.debug = !Platform::getEnvironmentVariable("VELTRAND_USE_OPENGL_DEBUG_CONTEXT").empty();
    return Context::create(std::move(info));
}

// Text of whatever was thrown; called inside a handler.
std::string currentExceptionText() {
    try {
        throw;
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "unknown exception";
    }
}

} // namespace

ContextManager& ContextManager::get() {
    static ContextManager mgr;
    return mgr;
}

ContextManager::ContextManager() = default;

ContextManager::~ContextManager() {
    const auto held = currentState();
    ContextManagerState& s = *held;
    if (s.mainContext || s.backgroundContext)
        logMessage(Log::Error, category,
                   "Did not cleanly deinitialize ContextManager: either the application crashed or it did "
                   "not call GL::deinit().");
    destroyLocalContexts(s);
    // The background thread destroys its context itself, since it may be in use there. If a task does not
    // come to an end, nothing is taken away from under it.
    constexpr int maxPolls = 10;
    if (stopBackgroundThread(s, maxPolls))
        destroyContexts(s);
    // A thread that was never joined or detached ends the process, here as everywhere.
    const std::thread unjoined = std::move(s.backgroundThread);
}

void ContextManager::init(std::unique_ptr<Context> context) {
    const auto s = currentState();
    if (s->initialized)
        throw std::logic_error("GL::init() called while OpenGL is initialized.");
    // What a failed start has left goes first: the end of a context leaves none current.
    if (std::exchange(s->mainContext, nullptr) && context)
        context->makeCurrent();
    if (context) {
        logMessage(Log::Debug, category,
                   "Initializing OpenGL using provided context as main OpenGL context.");
        s->mainContext = std::move(context);
    } else {
        s->mainContext = createMainContext();
    }
    if (!s->mainContext)
        throw OpenGLNotFoundException("Could not create main OpenGL context.");
    loadEntryPoints();
    logDriver();

    try {
        s->backgroundContext = s->mainContext->clone();
        if (!s->mainContext->makeCurrent())
            throw std::runtime_error("Could not make the main OpenGL context current.");
        s->hasContexts = true;
        s->backgroundThread = std::thread(&ContextManager::backgroundThread, s);
        s->mainThread = std::this_thread::get_id();
        if (!s->serving.get_future().get())
            throw std::runtime_error("The background thread could not make its OpenGL context current.");
    } catch (...) {
        const std::string reason = currentExceptionText();
        if (s->backgroundThread.joinable())
            s->backgroundThread.join();
        s->hasContexts = false;
        // A context that the caller has brought stays current.
        if (std::exchange(s->backgroundContext, nullptr))
            s->mainContext->makeCurrent();
        destroyContexts(*s);
        CurrentState::get().renew();
        throw OpenGLNotFoundException(reason);
    }
    s->initialized = true;
}

void ContextManager::backgroundThread(const std::shared_ptr<ContextManagerState>& state) {
    ContextManagerState& s = *state;
    if (s.backgroundContext)
        s.backgroundContext->moveToCurrentThread();
    std::unique_lock lock(s.taskMutex);
    bool served = false;
    if (s.backgroundContext) {
        s.backgroundRunning = true;
        s.backgroundThreadId = std::this_thread::get_id();
        served = run(s, lock);
        s.backgroundContext.reset();
    }
    s.hasContexts = false;
    s.backgroundRunning = false;
    if (!served)
        s.serving.set_value(false);
}

bool ContextManager::run(ContextManagerState& s, std::unique_lock<std::mutex>& lock) {
    bool serving = false;
    try {
        s.stopRequested = false;
        makeBackgroundContextCurrent(s);
        serving = true;
        s.serving.set_value(true);
        while (!s.stopRequested) {
            if (s.pendingTask) {
                s.pendingTask();
                s.pendingTask = nullptr;
            }
            if (!s.stopRequested)
                s.taskSignal.wait(lock);
        }
    } catch (...) {
        logMessage(Log::Error, category, [] {
            return "An unexpected exception occured while running the background ContextManager: " +
                   currentExceptionText();
        });
        logMessage(Log::Fatal, category,
                   "The exception is unrecoverable, ContextManager will no longer work.");
    }
    return serving;
}

void ContextManager::runWithOpenGL(const std::function<void()>& func, bool alwaysInBackground) {
    const auto s = currentState();
    const auto reportNotInitialized = [] {
        logMessage(Log::Error, category,
                   "Main OpenGL context and/or background OpenGL context not initialized.");
    };
    if (!s->hasContexts)
        return reportNotInitialized();
    releaseAbandonedContextsOfThisThread();
    if (!alwaysInBackground && hasCurrent())
        return func();

    const std::lock_guard callerLock(s->callerMutex);
    std::atomic<bool> done{false};
    {
        const std::lock_guard taskLock(s->taskMutex);
        s->pendingTask = [&func, &done, &s] {
            try {
                func();
            } catch (...) {
                logMessage(Log::Error, category, [] {
                    return "Caught an exception while executing OpenGL code: " + currentExceptionText();
                });
            }
            makeBackgroundContextCurrent(*s);
            flush();
            done = true;
        };
    }
    while (s->backgroundRunning && !done) {
        s->taskSignal.notify_one();
        sched_yield();
    }
    if (done)
        return;
    // The thread stopped before it came to the task, which refers to this call.
    reportNotInitialized();
    const std::lock_guard taskLock(s->taskMutex);
    s->pendingTask = nullptr;
}

std::unique_ptr<Context> ContextManager::createContext() {
    const auto s = currentState();
    if (std::this_thread::get_id() == s->mainThread) {
        logMessage(Log::Warning, category, "Attempted to create a new local context for the main thread!");
        return nullptr;
    }
    if (std::this_thread::get_id() == s->backgroundThreadId) {
        logMessage(Log::Warning, category,
                   "Attempted to create a new local context for the background thread!");
        return nullptr;
    }
    std::unique_ptr<Context> context;
    runWithOpenGL(
        [&context, &s] {
            context = s->backgroundContext->clone();
            makeBackgroundContextCurrent(*s);
            context->detachFromCurrentThread();
        },
        true);
    if (context) {
        context->moveToCurrentThread();
        if (!context->makeCurrent())
            context.reset();
    }
    return context;
}

void ContextManager::ensureLocalContext() {
    releaseAbandonedContextsOfThisThread();
    if (hasCurrent())
        return;
    const auto s = currentState();
    const auto thread = std::this_thread::get_id();
    const std::runtime_error failure("Could not create local context for current thread.");
    {
        const std::lock_guard lock(s->localContextMutex);
        if (const auto found = s->localContexts.find(thread); found != s->localContexts.end()) {
            if (!found->second->makeCurrent())
                throw failure;
            return;
        }
    }
    // Without the mutex: creation waits for the background thread, whose shut-down task takes the mutex.
    std::unique_ptr<Context> context = createContext();
    const std::lock_guard lock(s->localContextMutex);
    if (!context || s->closed)
        throw failure;
    releaseAtThreadEnd();
    s->localContexts.emplace(thread, std::move(context));
}

void ContextManager::releaseLocalContext() {
    const auto s = currentState();
    {
        LocalContexts::node_type released; // destroyed after the lock is given up
        const std::lock_guard lock(s->localContextMutex);
        released = s->localContexts.extract(std::this_thread::get_id());
    }
    // Second, since shut-down moves contexts from the one place to the other.
    releaseAbandonedContextsOfThisThread();
}

bool ContextManager::makeCurrent() {
    const auto s = currentState();
    if (!s->mainContext) {
        logMessage(Log::Error, category, "Not initialized, cannot make context current.");
        return false;
    }
    if (std::this_thread::get_id() != s->mainThread) {
        logMessage(Log::Error, category,
                   "You must not call GlContextManager::makeCurrent() from a different thread than the main "
                   "thread.");
        return false;
    }
    return s->mainContext->makeCurrent();
}

bool ContextManager::doneCurrent() {
    const auto s = currentState();
    if (!s->mainContext) {
        logMessage(Log::Error, category, "Not initialized, cannot release context.");
        return false;
    }
    return s->mainContext->doneCurrent();
}

Context* ContextManager::mainContext() const {
    return currentState()->mainContext.get();
}

bool ContextManager::hasCurrent() {
    return ContextGLX::hasCurrent();
}

std::uintptr_t ContextManager::currentContextId() {
    return ContextGLX::current();
}

bool ContextManager::openGlDisabled() {
    static const bool glDisabled = [] {
        const bool defined = std::getenv("VELTRAND_DISABLE_OPENGL") != nullptr;
        if (defined)
            logMessage(Log::Info, category,
                       "Skipped initialization of OpenGL since VELTRAND_DISABLE_OPENGL environment variable "
                       "is defined.");
        return defined;
    }();
    return glDisabled;
}

bool ContextManager::useCoreContext() {
    static const bool useCore = [] {
        const bool core = std::getenv("VELTRAND_USE_OPENGL_COMPATIBILITY") == nullptr;
        if (core)
            logMessage(Log::Debug, category,
                       "Using OpenGL core context since VELTRAND_USE_OPENGL_COMPATIBILITY environment "
                       "variable is not defined.");
        else
            logMessage(Log::Info, category,
                       "Using OpenGL compatibility context since VELTRAND_USE_OPENGL_COMPATIBILITY "
                       "environment variable is defined.");
        return core;
    }();
    return useCore;
}

void ContextManager::deinit() {
    const auto s = currentState();
    if (!s->initialized)
        return;
    runWithOpenGL(
        [&s] {
            s->backgroundContext->makeCurrent();
            destroyLocalContexts(*s);
            // Destroying a context leaves none current.
            s->backgroundContext->makeCurrent();
            InstanceManagerBase::deinitAll();
        },
        true);
    stopBackgroundThread(*s, std::numeric_limits<int>::max());
    // Only if the background thread had failed is there anything left to do here.
    destroyLocalContexts(*s);
    s->backgroundThread.detach();
    s->initialized = false;
    CurrentState::get().renew();
    // Other threads may still hold the old record, so its contexts are destroyed here and now.
    destroyContexts(*s);
}

void init(std::unique_ptr<Context> context) {
    ContextManager::get().init(std::move(context));
}

void deinit() {
    ContextManager::get().deinit();
}

void (*entryPoint(const char* name))() {
    return lookupEntryPoint(name);
}

} // namespace Veltrand::GL
