// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ContextManager.h>

#include <Veltrand/Core/Platform.h>
#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/detail/ContextManagerState.h>
#include <Veltrand/GL/detail/ContextTable.h>
#include <Veltrand/GL/detail/Endings.h>
#include <Veltrand/GL/detail/EntryPoints.h>
#include <Veltrand/GL/detail/Glad.h>
#include <Veltrand/GL/detail/LocalContexts.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/PreviousCurrent.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <glad/gl.h>
#include <optional>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr std::string_view category = "GL.ContextManager";

// The thread's id is given out again at once.
void endThread() {
    ContextManager::get().releaseLocalContext();
    std::thread::id ended = std::this_thread::get_id();
    currentState()->mainThread.compare_exchange_strong(ended, std::thread::id());
}

std::uintptr_t handleOf(const Context& context) {
    return reinterpret_cast<std::uintptr_t>(context.internalHandle());
}

// Destroys the local contexts, but takes none away from under a thread on which it is current.
void destroyLocalContexts(ContextManagerState& state) {
    if (const std::size_t left = state.localContexts.close(); left > 0)
        logMessage(Log::Warning, category, [left] {
            return std::to_string(left) + " local OpenGL context(s) still current on a running thread; each "
                                          "is released when its thread releases it or ends.";
        });
}

void stopBackgroundThread(ContextManagerState& state) {
    while (state.backgroundRunning) {
        state.stopRequested = true;
        state.taskSignal.notify_one();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        logMessage(Log::Trace, category, "Waiting for background thread to finish.");
    }
}

// What is left once the background thread has stopped.
void destroyContexts(ContextManagerState& state) {
    {
        const std::lock_guard lock(state.taskMutex);
        state.pendingTask = nullptr;
    }
    state.backgroundContext.reset();
    std::unique_ptr<Context> main = state.mainContext.take();
    if (!main)
        return;
    const std::thread::id thread = ContextTable::get().threadOf(handleOf(*main));
    if (thread != std::thread::id() && thread != std::this_thread::get_id())
        leaveToThread(thread, std::move(main));
}

// The containers of a context can be deleted, and what was installed in it taken out, only while it is
// current; and one of another share group gives the same names to other objects. Contexts of other threads
// are left alone, since those may be about to use or destroy them.
void destroyInstancesOfOwnContexts(ContextManagerState& state) {
    ContextTable& table = ContextTable::get();
    std::vector<Context*> contexts = table.ownersOfThisThread();
    Context* const main = state.mainContext.get();
    if (std::find(contexts.begin(), contexts.end(), main) == contexts.end() &&
        !table.isCurrentOnAnotherThread(handleOf(*main)))
        contexts.push_back(main);
    const PreviousCurrent previous;
    for (Context* const context : contexts)
        context->deinitialize();
}

// Why OpenGL cannot be ended by the calling thread; empty if it can.
std::string_view reasonAgainstEnding(const ContextManagerState& state) {
    const std::thread::id thread = std::this_thread::get_id();
    const std::thread::id mainThread = state.mainThread;
    if (thread == state.backgroundThreadId)
        return "GL::deinit() called by a task on the background thread, for which it would wait.";
    if (InstanceManagerBase::isInsideInstance())
        return "GL::deinit() called by the constructor or destructor of a per-context instance, for which it "
               "would wait.";
    if (thread != mainThread && mainThread != std::thread::id())
        return "You must not call GL::deinit() from a different thread than the main thread.";
    return {};
}

// Why the calling thread cannot wait for a task on the background thread; empty if it can.
std::string_view reasonAgainstWaiting(const ContextManagerState& state) {
    if (std::this_thread::get_id() == state.backgroundThreadId)
        return "A task on the background thread asked for another one there, for which it would wait for "
               "ever; the function was not called.";
    if (InstanceManagerBase::isInsideInstance())
        return "The constructor or destructor of a per-context instance asked for a task on the background "
               "thread, which may wait for it for ever; the function was not called.";
    return {};
}

// A task may have made another context current, or left none.
void makeBackgroundContextCurrent(ContextManagerState& state) {
    if (ContextManager::currentContextId() != handleOf(*state.backgroundContext) &&
        !state.backgroundContext->makeCurrent())
        throw std::runtime_error("Could not make the background OpenGL context current.");
}

void GLAD_API_PTR clearDepthThroughDouble(GLfloat depth) {
    glClearDepth(depth);
}

// Names the driver and version of the current context.
std::string driverText() {
    const EarlyEntryPoint string(glGetString, "glGetString");
    return getString(GL_VERSION) + '\n' + getString(GL_VENDOR) + '\n' + getString(GL_RENDERER);
}

// A thread to which a context was left may be calling the entry points, so that they are written only where
// they change.
void loadEntryPoints() {
    const std::lock_guard lock(entryPointMutex());
    static std::string loadedFor;
    if (std::string driver = driverText(); driver != loadedFor) {
        if (!veltrandLoadGL(&lookupEntryPoint))
            throw OpenGLNotFoundException("Could not initialize glad.");
        if (!glClearDepthf)
            glad_glClearDepthf = &clearDepthThroughDouble;
        loadedFor = std::move(driver);
    }
    // Where contexts are made the old way, the driver's oldest version may be what comes.
    const Utils::Version version = versionInfo();
    if (version.major < 3 || (version.major == 3 && version.minor < 3))
        throw OpenGLNotFoundException("The context has version \"" + getString(GL_VERSION) +
                                      "\", OpenGL 3.3 is needed.");
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

// Everything that `init` does before the background thread starts.
void start(ContextManagerState& state, std::unique_ptr<Context> context) {
    if (context)
        logMessage(Log::Debug, category,
                   "Initializing OpenGL using provided context as main OpenGL context.");
    else
        context = createMainContext();
    if (!context)
        throw OpenGLNotFoundException("Could not create main OpenGL context.");
    state.mainContext.set(std::move(context));
    loadEntryPoints();
    logDriver();

    Context& main = *state.mainContext.get();
    state.backgroundContext = main.clone();
    if (!main.makeCurrent())
        throw std::runtime_error("Could not make the main OpenGL context current.");
    state.mainThread = std::this_thread::get_id();
    callAtThreadEnd(&endThread);
    state.hasContexts = true;
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

// Reached with OpenGL started only when the process ends without `deinit`. Nothing of it is destroyed, since
// destructors would call the window system and the driver; the contexts end with the process.
ContextManager::~ContextManager() {
    noteProcessEnd();
    const auto state = currentState();
    if (state->mainContext.get())
        logMessage(Log::Error, category,
                   "Did not cleanly deinitialize ContextManager: either the application crashed or it did "
                   "not call GL::deinit().");
    // A thread that was never joined or detached ends the process, here as everywhere.
    const std::thread unjoined = std::move(state->backgroundThread);
}

void ContextManager::init(std::unique_ptr<Context> context) {
    const auto s = currentState();
    auto phase = ContextManagerState::Phase::Unborn;
    if (!s->phase.compare_exchange_strong(phase, ContextManagerState::Phase::Starting))
        throw std::logic_error(phase == ContextManagerState::Phase::Started
                                   ? "GL::init() called while OpenGL is initialized."
                                   : "GL::init() called while another thread starts or ends OpenGL.");
    destroyLeftContexts();
    try {
        start(*s, std::move(context));
        s->backgroundThread = std::thread(&ContextManager::backgroundThread, s);
        if (!s->serving.get_future().get())
            throw std::runtime_error("The background thread could not make its OpenGL context current.");
    } catch (...) {
        const std::string reason = currentExceptionText();
        if (s->backgroundThread.joinable())
            s->backgroundThread.join();
        s->hasContexts = false;
        // A context that the caller has brought stays current.
        if (std::exchange(s->backgroundContext, nullptr))
            s->mainContext.get()->makeCurrent();
        destroyContexts(*s);
        renewState();
        throw OpenGLNotFoundException(reason);
    }
    s->phase = ContextManagerState::Phase::Started;
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
    s.backgroundThreadId = std::thread::id();
    if (!served)
        s.serving.set_value(false);
    callThreadEndActions();
    keepLibraryUntilThreadEnd();
    s.backgroundRunning = false;
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
    destroyLeftContexts(LeftCurrent::Kept);
    if (!alwaysInBackground && hasCurrent())
        return func();
    if (const std::string_view reason = reasonAgainstWaiting(*s); !reason.empty())
        return logMessage(Log::Error, category, reason);

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
    // The thread stopped before it came to the task, which refers to this call; or it starts, and comes to it
    // before it lets go of the lock.
    {
        const std::lock_guard taskLock(s->taskMutex);
        s->pendingTask = nullptr;
    }
    if (!done)
        reportNotInitialized();
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
    destroyLeftContexts(LeftCurrent::Kept);
    if (hasCurrent())
        return;
    const auto s = currentState();
    const std::runtime_error failure("Could not create local context for current thread.");
    if (const std::optional<bool> present = s->localContexts.makeCurrent()) {
        if (!*present)
            throw failure;
        return;
    }
    std::unique_ptr<Context> context = createContext();
    if (!context || !s->localContexts.add(std::move(context)))
        throw failure;
    callAtThreadEnd(&endThread);
}

void ContextManager::releaseLocalContext() {
    currentState()->localContexts.take().reset();
    // Second, since shut-down moves contexts from the one place to the other.
    destroyLeftContexts();
}

bool ContextManager::makeCurrent() {
    const auto s = currentState();
    Context* const main = s->mainContext.get();
    if (!main) {
        logMessage(Log::Error, category, "Not initialized, cannot make context current.");
        return false;
    }
    if (std::this_thread::get_id() != s->mainThread) {
        logMessage(Log::Error, category,
                   "You must not call GlContextManager::makeCurrent() from a different thread than the main "
                   "thread.");
        return false;
    }
    return main->makeCurrent();
}

bool ContextManager::doneCurrent() {
    const std::optional<bool> released = currentState()->mainContext.doneCurrent();
    if (!released)
        logMessage(Log::Error, category, "Not initialized, cannot release context.");
    return released.value_or(false);
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
    if (s->phase != ContextManagerState::Phase::Started)
        return;
    if (const std::string_view reason = reasonAgainstEnding(*s); !reason.empty())
        return logMessage(Log::Error, category, reason);
    // Where the main thread has ended, several others may come.
    auto phase = ContextManagerState::Phase::Started;
    if (!s->phase.compare_exchange_strong(phase, ContextManagerState::Phase::Ending))
        return;

    destroyInstancesOfOwnContexts(*s);
    runWithOpenGL(
        [&s, caller = std::this_thread::get_id()] {
            s->backgroundContext->makeCurrent();
            destroyLocalContexts(*s);
            // Destroying a context leaves none current.
            s->backgroundContext->makeCurrent();
            InstanceManagerBase::deinitAllExcept([caller](std::uintptr_t context) {
                return ContextTable::get().leaveToItsThread(context, caller);
            });
        },
        true);
    stopBackgroundThread(*s);
    // Only if the background thread had failed is there anything left to do here.
    destroyLocalContexts(*s);
    s->backgroundThread.detach();
    // Other threads may still hold the old record, so its contexts are destroyed here and now.
    destroyContexts(*s);
    renewState();
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
