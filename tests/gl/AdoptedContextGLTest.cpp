// SPDX-License-Identifier: BSD-3-Clause
#include "support/ContextTest.h"

#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexArrayObject.h>

#include <Eigen/Core>
#include <csignal>
#include <optional>

// Last: glad has to come before it, and its macros break other headers.
#include <GL/glx.h>
#include <GL/glxext.h>

namespace Veltrand::GL {

namespace {

// A window with a context as a toolkit would make it, current while it lives.
class ToolkitWindow {
public:
    explicit ToolkitWindow(std::vector<int> attributes) {
        const int wanted[] = {GLX_DOUBLEBUFFER, True, GLX_RED_SIZE, 8, None};
        int count = 0;
        GLXFBConfig* const configs = glXChooseFBConfig(display, DefaultScreen(display), wanted, &count);
        XVisualInfo* const visual = glXGetVisualFromFBConfig(display, configs[0]);
        XSetWindowAttributes settings{};
        settings.colormap = XCreateColormap(display, DefaultRootWindow(display), visual->visual, AllocNone);
        window = XCreateWindow(display, DefaultRootWindow(display), 0, 0, 32, 32, 0, visual->depth,
                               InputOutput, visual->visual, CWColormap | CWBorderPixel, &settings);
        attributes.push_back(None);
        const auto create = entryPoint<PFNGLXCREATECONTEXTATTRIBSARBPROC>("glXCreateContextAttribsARB");
        context = create(display, configs[0], nullptr, True, attributes.data());
        glXMakeCurrent(display, window, context);
        XFree(visual);
        XFree(configs);
    }
    ToolkitWindow(const ToolkitWindow&) = delete;
    ToolkitWindow& operator=(const ToolkitWindow&) = delete;
    ~ToolkitWindow() {
        glXMakeCurrent(display, None, nullptr);
        glXDestroyContext(display, context);
        XCloseDisplay(display);
    }

    Display* display = XOpenDisplay(nullptr);
    Window window = None;
    GLXContext context = nullptr;
};

const std::vector<int> core33{GLX_CONTEXT_MAJOR_VERSION_ARB, 3, GLX_CONTEXT_MINOR_VERSION_ARB, 3};

// Profile, flags and reset strategy of the current context.
std::array<int, 3> settings() {
    return {currentInt(GL_CONTEXT_PROFILE_MASK), currentInt(GL_CONTEXT_FLAGS),
            currentInt(GL_RESET_NOTIFICATION_STRATEGY)};
}

// Owns a container, which can be deleted only while its context is current.
struct MakesArray : InstanceManager<MakesArray> {
    MakesArray() { vertices.bind(); }
    VertexArrayObject vertices;
};

void expectRefusal(LogCapture& log, const char* text) {
    EXPECT_EQ(ContextGLX::adoptCurrent(), nullptr) << text;
    EXPECT_TRUE(log.takeLine({Log::Error, "GL.ContextGLX", text})) << text;
}

} // namespace

TEST(AdoptedContextGL, RefusesWhatItCannotServe) {
    LogCapture log;
    expectRefusal(log, "Cannot adopt a context: no GLX context is current on this thread, and one made "
                       "through EGL does not count");
    {
        const auto ours = Context::create({});
        expectRefusal(log, "Cannot adopt a context that is this library's already");
    }
    const ToolkitWindow plain(core33);
    const auto adopted = ContextGLX::adoptCurrent();
    expectRefusal(log, "Cannot adopt a context that is this library's already");
    const ToolkitWindow es(
        {GLX_CONTEXT_PROFILE_MASK_ARB, GLX_CONTEXT_ES2_PROFILE_BIT_EXT, GLX_CONTEXT_MAJOR_VERSION_ARB, 2});
    EXPECT_EQ(ContextGLX::adoptCurrent(), nullptr);
    EXPECT_EQ(log.take("GL.ContextGLX").back().text.rfind("Cannot adopt a context of version \"OpenGL ES", 0),
              0u);
}

TEST(AdoptedContextGL, ClonesMatchAndWhatIsTheToolkitsStays) {
    for (const int profile : {GLX_CONTEXT_CORE_PROFILE_BIT_ARB, GLX_CONTEXT_COMPATIBILITY_PROFILE_BIT_ARB})
        for (const int flags : {0, GLX_CONTEXT_DEBUG_BIT_ARB})
            for (const int reset : {GLX_NO_RESET_NOTIFICATION_ARB, GLX_LOSE_CONTEXT_ON_RESET_ARB}) {
                LogCapture log;
                std::vector<int> attributes = core33;
                attributes.insert(attributes.end(),
                                  {GLX_CONTEXT_PROFILE_MASK_ARB, profile, GLX_CONTEXT_FLAGS_ARB, flags,
                                   GLX_CONTEXT_RESET_NOTIFICATION_STRATEGY_ARB, reset});
                const ToolkitWindow toolkit(attributes);
                const auto wanted = settings();
                auto adopted = ContextGLX::adoptCurrent();
                ASSERT_TRUE(adopted);
                const auto clone = adopted->clone();
                EXPECT_NE(glXGetCurrentContext(), toolkit.context);
                EXPECT_EQ(settings(), wanted);

                EXPECT_TRUE(adopted->makeCurrent());
                EXPECT_EQ(glXGetCurrentDrawable(), toolkit.window);
                EXPECT_TRUE(adopted->doneCurrent());
                EXPECT_FALSE(ContextGLX::hasCurrent());
                EXPECT_TRUE(clone->makeCurrent());
                adopted.reset();
                EXPECT_EQ(glXGetCurrentContext(), clone->internalHandle()) << "put back what was current";
                EXPECT_TRUE(glXMakeCurrent(toolkit.display, toolkit.window, toolkit.context));
                EXPECT_EQ(settings(), wanted);
            }
}

// The toolkit's context is left holding a texture whose memory belongs to a connection of ours, and nothing
// else of ours.
TEST(AdoptedContextGL, ServesTheManagerAndOutlivesIt) {
    const ToolkitWindow toolkit(core33);
    GLuint array = 0;
    for (int life = 0; life < 3; ++life) {
        LogCapture log;
        windowSystem() = {};
        init(ContextGLX::adoptCurrent());
        static_cast<void>(log.take("GL"));
        std::optional<Texture> texture;
        const auto inBackground = [](const auto& task) { ContextManager::get().runWithOpenGL(task, true); };
        inBackground([&texture] { texture.emplace(Eigen::Vector3i(4, 4, 1), InternalFormat::RGBA8); });
        glBindTexture(GL_TEXTURE_2D, texture->id());
        inBackground([&texture] { texture.reset(); });
        auto other = Context::create({}); // of another share group, with an array of the same name
        const GLuint otherArray = MakesArray::get()->vertices.id();
        ContextManager::makeCurrent();
        array = MakesArray::get()->vertices.id();
        Debug::setMessageCallback([](auto...) { ADD_FAILURE() << "called after the end"; }, true);
        const bool released = life == 2;
        if (released)
            ContextManager::doneCurrent();
        deinit();
        EXPECT_EQ(glXGetCurrentContext(), released ? nullptr : toolkit.context);
        EXPECT_TRUE(other->makeCurrent());
        EXPECT_FALSE(glIsVertexArray(otherArray));
        other.reset();
        glXMakeCurrent(toolkit.display, toolkit.window, toolkit.context);
        glXMakeCurrent(toolkit.display, toolkit.window, toolkit.context);
        EXPECT_FALSE(glIsVertexArray(array));
        glDisable(GL_INVALID_ENUM); // a message, if anybody listens
        EXPECT_EQ(glGetError(), GLenum{GL_INVALID_ENUM});
        EXPECT_EQ(windowSystem().displaysClosed, 1) << "the other group's";
        if (life > 0) {
            EXPECT_EQ(windowSystem().displaysOpened, 1) << "connections of earlier lives serve again";
        }
        EXPECT_EQ(windowSystem().contextsDestroyed, 2) << "the other and the background one";
    }
}

// Without the end of OpenGL, its contexts are there when static objects are destroyed, but not their display.
TEST(AdoptedContextDeathTest, ToolkitsDisplayMayBeClosedAtExit) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [](bool closed) {
        auto* const toolkit = new ToolkitWindow(core33);
        init(ContextGLX::adoptCurrent());
        static_cast<void>(MakesArray::get());
        if (closed)
            delete toolkit;
        std::exit(0);
    };
    // Nobody has asked for the manager here.
    const auto runWithoutStart = [] {
        static std::unique_ptr<Context> kept;
        {
            const ToolkitWindow toolkit(core33);
            kept = ContextGLX::adoptCurrent();
        }
        std::exit(0);
    };
    EXPECT_EXIT(runWithoutStart(), ::testing::ExitedWithCode(0), "");
    for (const bool closed : {true, false})
        EXPECT_EXIT(run(closed), ::testing::KilledBySignal(SIGABRT), "Did not cleanly deinitialize")
            << closed;
}

} // namespace Veltrand::GL
