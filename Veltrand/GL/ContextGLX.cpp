// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ContextGLX.h>

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/detail/ContextTable.h>
#include <Veltrand/GL/detail/Endings.h>
#include <Veltrand/GL/detail/EntryPoints.h>
#include <Veltrand/GL/detail/LocalContexts.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/PreviousCurrent.h>
#include <Veltrand/GL/detail/ShareGroup.h>

// glad has to come before any header that includes the system's OpenGL header.
#include <glad/gl.h>

#include <GL/glx.h>
#include <GL/glxext.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr std::string_view category = "GL.ContextGLX";

struct XFreeDeleter {
    void operator()(void* data) const { XFree(data); }
};
template<class T>
using XPointer = std::unique_ptr<T, XFreeDeleter>;

ContextTable::Handle handleOf(GLXContext context) {
    return reinterpret_cast<ContextTable::Handle>(context);
}

// X errors are reported process-wide, asynchronously. While contexts are created, the errors of the display
// that creates are noted, and those of other displays go where they went before.
std::atomic<bool> ctxErrorOccurred{false};
std::atomic<Display*> g_creatingDisplay{nullptr};
std::atomic<XErrorHandler> g_previousErrorHandler{nullptr};

int ctxErrorHandler(Display* display, XErrorEvent* event) {
    if (display != g_creatingDisplay) {
        const XErrorHandler previous = g_previousErrorHandler;
        return previous ? previous(display, event) : 0;
    }
    ctxErrorOccurred = true;
    return 0;
}

class ErrorTrap {
public:
    explicit ErrorTrap(Display* display)
        : m_display(display) {
        g_creatingDisplay = display;
        ctxErrorOccurred = false;
        g_previousErrorHandler = XSetErrorHandler(&ctxErrorHandler);
    }
    ~ErrorTrap() {
        XSync(m_display, False);
        // A handler that someone has installed meanwhile stays.
        const XErrorHandler current = XSetErrorHandler(g_previousErrorHandler);
        if (current != &ctxErrorHandler)
            XSetErrorHandler(current);
        g_creatingDisplay = nullptr;
    }
    ErrorTrap(const ErrorTrap&) = delete;
    ErrorTrap& operator=(const ErrorTrap&) = delete;

    // Waits for the server; whether an error has arrived since the flag was cleared.
    [[nodiscard]] bool sync() const {
        XSync(m_display, False);
        return ctxErrorOccurred;
    }

private:
    Display* m_display;
};

// Before the calling thread lets go of what is current on it. A context that was left to it when OpenGL ended
// takes its instances along.
void letGoOf(GLXContext current) {
    if (ContextTable::get().takeLeft(handleOf(current)))
        InstanceManagerBase::deinitCurrent();
}

// The version of the current context, also before the entry points are loaded; -1.-1, logged, when the
// driver's text cannot be read.
Utils::Version currentVersion() {
    const EarlyEntryPoint string(glGetString, "glGetString");
    try {
        return versionInfo();
    } catch (const std::logic_error&) {
        logMessage(Log::Error, category,
                   [] { return "Unreadable OpenGL version \"" + getString(GL_VERSION) + "\""; });
        return {.major = -1, .minor = -1, .patch = 0, .preRelease = {}, .build = {}};
    }
}

// Of the current context, whose entry points are loaded.
bool hasExtension(std::string_view wanted) {
    for (GLuint i = 0; i < static_cast<GLuint>(getInt(GL_NUM_EXTENSIONS)); ++i)
        if (wanted == reinterpret_cast<const char*>(glGetStringi(GL_EXTENSIONS, i)))
            return true;
    return false;
}

// The name that connects to the screen of a context made elsewhere.
std::string displayNameOf(Display* display, GLXContext context) {
    std::string name = DisplayString(display);
    int screen = 0;
    const std::size_t colon = name.rfind(':');
    if (colon == std::string::npos || glXQueryContext(display, context, GLX_SCREEN, &screen) != Success)
        return name;
    name.resize(std::min(name.find('.', colon), name.size()));
    return name + "." + std::to_string(screen);
}

} // namespace

struct __attribute__((visibility("hidden"))) ContextGLX::Private {
    Display* display = nullptr;
    Window window = 0;
    GLXContext context = nullptr;
    Colormap colormap = 0;
    CreateInfo info;

    bool adopted = false; // display, drawables and context are someone else's
    GLXDrawable draw = 0;
    GLXDrawable read = 0;
    std::shared_ptr<ShareGroup> group;
    GLXFBConfig config = nullptr;
    pid_t process = getpid();

    Private() = default;
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;
    ~Private() { destroy(); }
    void destroy();
    [[nodiscard]] bool isOutOfReach() const { return process != getpid() || isProcessEnding(); }

    bool adopt();
    void rememberDrawables();

    bool connect();
    bool chooseConfig();
    bool createWindow(const ErrorTrap& trap);
    bool createContext(const ErrorTrap& trap);

    GLXContext attempt(const CreateInfo& wanted) const;
    GLXContext requestContext(const std::vector<int>& attributes) const;
    GLXContext requestWithOptionalReset(std::vector<int> attributes, const CreateInfo& wanted) const;
    GLXContext preferCompatibility(GLXContext context, std::vector<int> attributes,
                                   const CreateInfo& wanted) const;
    void discard(GLXContext candidate) const;
    bool isCoreProfile(GLXContext candidate) const;
    bool reachesVersion(GLXContext candidate, const CreateInfo& wanted) const;
};

// In a forked child the connection, the window and the context are still the parent's.
void ContextGLX::Private::destroy() {
    if (!display || isOutOfReach())
        return;
    if (context)
        ContextTable::get().remove(handleOf(context));
    if (adopted)
        return;
    if (context)
        glXDestroyContext(display, std::exchange(context, nullptr));
    if (window)
        XDestroyWindow(display, std::exchange(window, 0));
    if (colormap)
        XFreeColormap(display, std::exchange(colormap, 0));
    group->returnConnection(std::exchange(display, nullptr));
}

bool ContextGLX::Private::connect() {
    group = ContextTable::get().groupOf(reinterpret_cast<ContextTable::Handle>(info.sharedContext));
    display = group->takeConnection();
    if (!display) {
        logMessage(Log::Error, category, "Failed to open X display");
        return false;
    }
    int major = 0;
    int minor = 0;
    if (!glXQueryVersion(display, &major, &minor) || major < 1 || (major == 1 && minor <= 2)) {
        logMessage(Log::Error, category, "Invalid GLX version");
        return false;
    }
    return true;
}

bool ContextGLX::Private::chooseConfig() {
    static constexpr int visual_attribs[] = {GLX_X_RENDERABLE,
                                             True,
                                             GLX_DRAWABLE_TYPE,
                                             GLX_WINDOW_BIT,
                                             GLX_RENDER_TYPE,
                                             GLX_RGBA_BIT,
                                             GLX_RED_SIZE,
                                             8,
                                             GLX_GREEN_SIZE,
                                             8,
                                             GLX_BLUE_SIZE,
                                             8,
                                             GLX_ALPHA_SIZE,
                                             8,
                                             None};
    logMessage(Log::Debug, category, "Getting matching framebuffer configs");
    int count = 0;
    const XPointer<GLXFBConfig> configs(
        glXChooseFBConfig(display, DefaultScreen(display), visual_attribs, &count));
    if (!configs) {
        logMessage(Log::Error, category, "Failed to retrieve a framebuffer config");
        return false;
    }
    logMessage(Log::Debug, category,
               [count] { return "Found " + std::to_string(count) + " matching FB configs."; });

    int bestSamples = 0;
    for (int i = 0; i < count; ++i) {
        const GLXFBConfig candidate = configs.get()[i];
        if (!XPointer<XVisualInfo>(glXGetVisualFromFBConfig(display, candidate)))
            continue;
        int sampleBuffers = 0;
        int samples = 0;
        glXGetFBConfigAttrib(display, candidate, GLX_SAMPLE_BUFFERS, &sampleBuffers);
        glXGetFBConfigAttrib(display, candidate, GLX_SAMPLES, &samples);
        if (!config || (sampleBuffers > 0 && samples > bestSamples)) {
            config = candidate;
            bestSamples = samples;
        }
    }
    if (!config)
        logMessage(Log::Error, category, "Failed to retrieve a framebuffer config");
    return config != nullptr;
}

bool ContextGLX::Private::createWindow(const ErrorTrap& trap) {
    const XPointer<XVisualInfo> visual(glXGetVisualFromFBConfig(display, config));
    if (!visual) {
        logMessage(Log::Error, category, "Failed to create window");
        return false;
    }
    logMessage(Log::Debug, category, [&visual] {
        std::array<char, 16> digits{};
        const auto end =
            std::to_chars(digits.data(), digits.data() + digits.size(), visual->visualid, 16).ptr;
        return "Chosen visual ID = 0x" + std::string(digits.data(), end);
    });

    const Window root = RootWindow(display, visual->screen);
    colormap = XCreateColormap(display, root, visual->visual, AllocNone);
    XSetWindowAttributes attributes{};
    attributes.colormap = colormap;
    attributes.background_pixmap = None;
    attributes.border_pixel = 0;
    attributes.event_mask = StructureNotifyMask;
    window = XCreateWindow(display, root, 0, 0, 100, 100, 0, visual->depth, InputOutput, visual->visual,
                           CWBorderPixel | CWColormap | CWEventMask, &attributes);
    if (trap.sync()) {
        logMessage(Log::Error, category, "Failed to create window");
        return false;
    }
    XStoreName(display, window, "OpenGL Context");
    draw = read = window;
    return true;
}

GLXContext ContextGLX::Private::requestContext(const std::vector<int>& attributes) const {
    static const auto create =
        reinterpret_cast<PFNGLXCREATECONTEXTATTRIBSARBPROC>(lookupEntryPoint("glXCreateContextAttribsARB"));
    return create(display, config, static_cast<GLXContext>(info.sharedContext), True, attributes.data());
}

GLXContext ContextGLX::Private::requestWithOptionalReset(std::vector<int> attributes,
                                                         const CreateInfo& wanted) const {
    const std::size_t sizeWithoutReset = attributes.size();
    if (wanted.resetNotification) {
        attributes.push_back(GLX_CONTEXT_RESET_NOTIFICATION_STRATEGY_ARB);
        attributes.push_back(GLX_LOSE_CONTEXT_ON_RESET_ARB);
    }
    attributes.push_back(None);
    GLXContext candidate = requestContext(attributes);
    if (candidate || !wanted.resetNotification || !wanted.sharedContext)
        return candidate;

    attributes.resize(sizeWithoutReset);
    attributes.push_back(None);
    XSync(display, False);
    ctxErrorOccurred = false;
    candidate = requestContext(attributes);
    if (candidate)
        logMessage(Log::Warning, category,
                   "Shared context could only be created without RESET_NOTIFICATION support.");
    return candidate;
}

// An error that the server has for it arrives before the next attempt.
void ContextGLX::Private::discard(GLXContext candidate) const {
    glXDestroyContext(display, candidate);
    XSync(display, False);
}

bool ContextGLX::Private::isCoreProfile(GLXContext candidate) const {
    if (!glXMakeCurrent(display, window, candidate))
        return false;
    const EarlyEntryPoint integer(glGetIntegerv, "glGetIntegerv");
    const bool core = (getInt(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_CORE_PROFILE_BIT) != 0;
    glXMakeCurrent(display, None, nullptr);
    return core;
}

// Some drivers answer a request without a profile with a core context. Then the profile is asked for by name;
// a driver that has no such profile leaves the first answer standing.
GLXContext ContextGLX::Private::preferCompatibility(GLXContext context_, std::vector<int> attributes,
                                                    const CreateInfo& wanted) const {
    attributes.push_back(GLX_CONTEXT_PROFILE_MASK_ARB);
    attributes.push_back(GLX_CONTEXT_COMPATIBILITY_PROFILE_BIT_ARB);
    XSync(display, False);
    const bool errorBefore = ctxErrorOccurred;
    const GLXContext compatible = requestWithOptionalReset(std::move(attributes), wanted);
    XSync(display, False);
    ctxErrorOccurred = errorBefore;
    if (!compatible)
        return context_;
    if (!reachesVersion(compatible, wanted) || isCoreProfile(compatible)) {
        discard(compatible);
        return context_;
    }
    discard(context_);
    return compatible;
}

bool ContextGLX::Private::reachesVersion(GLXContext candidate, const CreateInfo& wanted) const {
    if (!glXMakeCurrent(display, window, candidate))
        return false;
    const bool reached = currentVersion() >= wanted.version;
    glXMakeCurrent(display, None, nullptr);
    return reached;
}

GLXContext ContextGLX::Private::attempt(const CreateInfo& wanted) const {
    std::vector<int> attributes;
    if (wanted.version.major >= 1)
        attributes = {GLX_CONTEXT_MAJOR_VERSION_ARB, wanted.version.major, GLX_CONTEXT_MINOR_VERSION_ARB,
                      wanted.version.minor};
    attributes.push_back(GLX_CONTEXT_FLAGS_ARB);
    attributes.push_back(wanted.debug ? GLX_CONTEXT_DEBUG_BIT_ARB : 0);
    if (!wanted.compatibility) {
        attributes.push_back(GLX_CONTEXT_PROFILE_MASK_ARB);
        attributes.push_back(GLX_CONTEXT_CORE_PROFILE_BIT_ARB);
    }
    const GLXContext candidate = requestWithOptionalReset(attributes, wanted);
    if (!candidate)
        return nullptr;
    if (!reachesVersion(candidate, wanted)) {
        discard(candidate);
        return nullptr;
    }
    if (wanted.compatibility && isCoreProfile(candidate))
        return preferCompatibility(candidate, std::move(attributes), wanted);
    return candidate;
}

bool ContextGLX::Private::createContext(const ErrorTrap& trap) {
    const char* const extensions = glXQueryExtensionsString(display, DefaultScreen(display));
    const bool hasCreateContext = extensions && isExtensionSupported(extensions, "GLX_ARB_create_context") &&
                                  lookupEntryPoint("glXCreateContextAttribsARB");
    if (!hasCreateContext) {
        logMessage(Log::Warning, "GL::ContextGLX",
                   "glXCreateContextAttribsARB() not available, falling back to using old-style GLX context");
        context = glXCreateNewContext(display, config, GLX_RGBA_TYPE,
                                      static_cast<GLXContext>(info.sharedContext), True);
    } else if (info.version.major >= 1) {
        context = attempt(info);
    } else {
        static constexpr std::pair<int, int> versions[] = {{4, 6}, {4, 5}, {4, 3}, {4, 2},
                                                           {4, 1}, {4, 0}, {3, 3}};
        for (const auto& [major, minor] : versions) {
            CreateInfo wanted = info;
            wanted.version.major = major;
            wanted.version.minor = minor;
            ctxErrorOccurred = false;
            context = attempt(wanted);
            const bool failed = trap.sync();
            if (context && !failed)
                break;
            if (context)
                discard(std::exchange(context, nullptr));
        }
    }
    if (trap.sync() || !context) {
        logMessage(Log::Error, category, "Failed to create an OpenGL context");
        return false;
    }
    return true;
}

std::unique_ptr<Context> ContextGLX::create(CreateInfo info) {
    static_cast<void>(ContextManager::get()); // notes the end of the process
    // Needed with older Xlib, where each thread has a connection of its own but the library shares tables.
    static const bool threads = XInitThreads() != 0;
    static_cast<void>(threads);

    const std::lock_guard lock(entryPointMutex());
    PreviousCurrent previous;
    auto data = std::make_unique<Private>();
    data->info = std::move(info);
    if (!data->connect() || !data->chooseConfig())
        return nullptr;
    {
        ErrorTrap trap(data->display);
        if (!data->createWindow(trap) || !data->createContext(trap)) {
            data->destroy(); // while the trap catches the errors of what was never made
            return nullptr;
        }
    }
    logMessage(Log::Info, category,
               glXIsDirect(data->display, data->context) ? "Direct GLX rendering context obtained"
                                                         : "Indirect GLX rendering context obtained");
    ContextTable::get().add(handleOf(data->context), data->group);
    std::unique_ptr<ContextGLX> context(new ContextGLX(std::move(data)));
    if (!context->makeCurrent()) {
        logMessage(Log::Error, category, "Failed to create an OpenGL context");
        return nullptr;
    }
    previous.forget();
    if (context->m_data->info.debug)
        installDefaultDebugMessageHandler();
    return context;
}

// Takes over what clones of the current context have to match; whether the library can work with it. Asks for
// nothing that the context lacks, because an error would be left to its owner.
bool ContextGLX::Private::adopt() {
    const EarlyEntryPoint string(glGetString, "glGetString");
    const EarlyEntryPoint indexedString(glGetStringi, "glGetStringi");
    const EarlyEntryPoint integer(glGetIntegerv, "glGetIntegerv");
    const Utils::Version version = currentVersion();
    const auto atLeast = [&version](int major, int minor) {
        return version.major > major || (version.major == major && version.minor >= minor);
    };
    const std::string text = getString(GL_VERSION);
    if (!atLeast(3, 3) || text.starts_with("OpenGL ES")) {
        logMessage(Log::Error, category, [&text] {
            return "Cannot adopt a context of version \"" + text + "\", OpenGL 3.3 is needed";
        });
        return false;
    }
    const int flags = getInt(GL_CONTEXT_FLAGS);
    if ((flags & GL_CONTEXT_FLAG_NO_ERROR_BIT) != 0) {
        logMessage(Log::Error, category, "Cannot adopt a context that was made without error checking");
        return false;
    }
    info.debug = (flags & GL_CONTEXT_FLAG_DEBUG_BIT) != 0;
    info.compatibility = (getInt(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_CORE_PROFILE_BIT) == 0;
    if (atLeast(4, 5) || hasExtension("GL_KHR_robustness") || hasExtension("GL_ARB_robustness"))
        info.resetNotification = getInt(GL_RESET_NOTIFICATION_STRATEGY) == GL_LOSE_CONTEXT_ON_RESET;
    rememberDrawables();
    return true;
}

// The owner may have moved an adopted context to another of its windows.
void ContextGLX::Private::rememberDrawables() {
    draw = glXGetCurrentDrawable();
    read = glXGetCurrentReadDrawable();
}

std::unique_ptr<Context> ContextGLX::adoptCurrent() {
    static_cast<void>(ContextManager::get()); // notes the end of the process
    const GLXContext current = glXGetCurrentContext();
    if (!current) {
        logMessage(Log::Error, category,
                   "Cannot adopt a context: no GLX context is current on this thread, and one made through "
                   "EGL does not count");
        return nullptr;
    }
    const std::lock_guard lock(entryPointMutex());
    auto data = std::make_unique<Private>();
    data->adopted = true;
    if (!data->adopt())
        return nullptr;
    Display* const display = glXGetCurrentDisplay();
    ContextTable& table = ContextTable::get();
    data->group = table.foreignGroup(displayNameOf(display, current));
    if (!table.add(handleOf(current), data->group)) {
        logMessage(Log::Error, category, "Cannot adopt a context that is this library's already");
        return nullptr;
    }
    table.noteCurrent(handleOf(current));
    data->display = display;
    data->context = current;
    return std::unique_ptr<Context>(new ContextGLX(std::move(data)));
}

ContextGLX::ContextGLX(std::unique_ptr<Private> data)
    : m_data(std::move(data)) {
    ContextTable::get().setOwner(handleOf(m_data->context), *this);
}

ContextGLX::~ContextGLX() {
    cleanup();
}

void ContextGLX::cleanup() {
    if (m_data->isOutOfReach())
        return;
    const std::thread::id thread = ContextTable::get().threadOf(handleOf(m_data->context));
    if (!m_data->adopted && thread != std::thread::id() && thread != std::this_thread::get_id()) {
        logMessage(Log::Error, category,
                   "A context was destroyed while current on another thread, to which it is left until that "
                   "thread ends.");
        return leaveToThread(thread, std::unique_ptr<Context>(new ContextGLX(std::move(m_data))));
    }
    if (m_data->adopted) {
        // Its owner, who may not ask what is current, goes on with what it was.
        const PreviousCurrent previous;
        deinitialize();
    } else {
        deinitialize();
        glXMakeCurrent(m_data->display, None, nullptr);
    }
    m_data.reset();
}

bool ContextGLX::makeCurrent() const {
    // Not every driver refuses. Where a toolkit moves its context to is not seen.
    if (!m_data->adopted && ContextTable::get().isCurrentOnAnotherThread(handleOf(m_data->context))) {
        logMessage(Log::Error, category,
                   "Cannot make a context current that is current on another thread; release it there "
                   "first.");
        return false;
    }
    const GLXContext previous = glXGetCurrentContext();
    if (previous != m_data->context)
        letGoOf(previous);
    if (m_data->adopted && previous == m_data->context)
        m_data->rememberDrawables();
    else if (!(m_data->draw == m_data->read
                   ? glXMakeCurrent(m_data->display, m_data->draw, m_data->context)
                   : glXMakeContextCurrent(m_data->display, m_data->draw, m_data->read, m_data->context)))
        return false;
    if (previous != m_data->context)
        ContextTable::get().noteReleased(handleOf(previous));
    ContextTable::get().noteCurrent(handleOf(m_data->context));
    return true;
}

bool ContextGLX::doneCurrent() const {
    const GLXContext previous = glXGetCurrentContext();
    letGoOf(previous);
    if (m_data->adopted && previous == m_data->context)
        m_data->rememberDrawables();
    if (!glXMakeCurrent(m_data->display, None, nullptr))
        return false;
    ContextTable& table = ContextTable::get();
    table.noteReleased(handleOf(previous));
    // A toolkit may have put its own context in this one's place.
    if (!table.isCurrentOnAnotherThread(handleOf(m_data->context)))
        table.noteReleased(handleOf(m_data->context));
    return true;
}

void* ContextGLX::internalHandle() const {
    return m_data->context;
}

std::unique_ptr<Context> ContextGLX::clone() {
    CreateInfo info = m_data->info;
    info.sharedContext = m_data->context;
    auto context = create(std::move(info));
    if (!context || !context->makeCurrent())
        throw std::runtime_error("Could not enable background OpenGL context.");
    return context;
}

bool ContextGLX::hasCurrent() {
    return glXGetCurrentContext() != nullptr;
}

std::uintptr_t ContextGLX::current() {
    return reinterpret_cast<std::uintptr_t>(glXGetCurrentContext());
}

bool ContextGLX::isExtensionSupported(const char* extensionList, const char* extension) {
    const std::string_view list(extensionList);
    const std::string_view name(extension);
    if (name.empty() || name.find(' ') != std::string_view::npos)
        return false;
    for (std::size_t hit = list.find(name); hit != std::string_view::npos; hit = list.find(name, hit + 1)) {
        const std::size_t end = hit + name.size();
        if ((hit == 0 || list[hit - 1] == ' ') && (end == list.size() || list[end] == ' '))
            return true;
    }
    return false;
}

bool ContextGLX::isCurrentOnSomeThread() const {
    return ContextTable::get().threadOf(handleOf(m_data->context)) != std::thread::id();
}

std::mutex& entryPointMutex() {
    static std::mutex mutex;
    return mutex;
}

EntryPoint lookupEntryPoint(const char* name) {
    return glXGetProcAddressARB(reinterpret_cast<const GLubyte*>(name));
}

} // namespace Veltrand::GL
