// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/InstanceManager.h>

namespace Veltrand::GL::Debug {

using DebugGL = Testing::GLFixture;
using Testing::LogLine;

namespace {

GLenum g_status = 0;

void message(MessageType type, MessageSeverity severity, unsigned int id = 7,
             MessageSource source = MessageSource::API) {
    defaultMessageCallback(source, type, id, severity, "text");
}

} // namespace

TEST_F(DebugGL, ErrorsAreReadOneAtATimeWithTheirTexts) {
    const Testing::ScopedEntryPoint faked(glad_glGetError,
                                          [] { return std::exchange(g_status, GLenum{GL_NO_ERROR}); });
    const std::pair<GLenum, const char*> cases[] = {
        {GL_INVALID_ENUM, "Invalid enum"},
        {GL_INVALID_OPERATION, "Invalid operation"},
        {GL_STACK_UNDERFLOW, "Stack underflow"},
        {GL_OUT_OF_MEMORY, "Out of memory"},
        {GL_INVALID_FRAMEBUFFER_OPERATION, "Invalid framebuffer operation"},
        {0xABC, "Unknown error 0xabc"},
    };
    for (const auto& [code, text] : cases) {
        g_status = code;
        EXPECT_EQ(static_cast<GLenum>(check(true, nullptr, 0)), code);
        EXPECT_TRUE(log().takeLine({Log::Error, "GL.Debug", std::string("OpenGL error: ") + text})) << text;
    }
    g_status = GL_INVALID_ENUM;
    check(false);
    EXPECT_EQ(check(true), Error::NoError);
    g_status = GL_OUT_OF_MEMORY;
    EXPECT_EQ(Testing::thrown([] { checkAndThrow(false, "scan.cpp", 7); }),
              "scan.cpp line 7, OpenGL error: Out of memory");
    EXPECT_NO_THROW(checkAndThrow(true));
    const auto severity = [](Error error) {
        const OpenGlException e("", error);
        return std::pair(e.isCritical(), e.isFatal());
    };
    EXPECT_EQ(severity(Error::StackUnderflow), std::pair(true, false));
    EXPECT_EQ(severity(Error::OutOfMemory), std::pair(false, true));
    EXPECT_EQ(severity(Error::InvalidOperation), std::pair(false, false));
}

TEST_F(DebugGL, FramebufferStatesHaveTexts) {
    const Testing::ScopedEntryPoint faked(glad_glCheckFramebufferStatus, [](GLenum) { return g_status; });
    const std::pair<GLenum, const char*> cases[] = {
        {GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT, "Incomplete attachment"},
        {GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT, "Missing attachment"},
        {GL_FRAMEBUFFER_UNSUPPORTED, "Framebuffer unsupported"},
        {GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE, "Incomplete multisample"},
        {GL_FRAMEBUFFER_INCOMPLETE_LAYER_TARGETS, "Incomplete layer targets"},
        {0xBEEF, "Unknown error 0xbeef"},
    };
    for (const auto& [status, text] : cases) {
        g_status = status;
        EXPECT_EQ(checkFramebufferStatus(true), status);
        EXPECT_TRUE(
            log().takeLine({Log::Error, "GL.Debug", std::string("OpenGL framebuffer error: ") + text}))
            << text;
    }
    EXPECT_EQ(checkFramebufferStatus(false), GLenum{0xBEEF});
}

TEST_F(DebugGL, DefaultCallbackChoosesLevelPrefixAndCategory) {
    using Type = MessageType;
    using Severity = MessageSeverity;
    using Source = MessageSource;
    const struct {
        Type type;
        Severity severity;
        Source source;
        LogLine line;
    } cases[] = {
        {Type::Performance, Severity::Medium, Source::API, {Log::Debug, "API", "Performance: "}},
        {Type::Performance,
         Severity::High,
         Source::WindowSystem,
         {Log::Warning, "Windowing System", "Performance: "}},
        {Type::DeprecatedBehavior,
         Severity::Medium,
         Source::ShaderCompiler,
         {Log::Info, "Shader Compiler", "Deprecated Behavior: "}},
        {Type::UndefinedBehavior,
         Severity::High,
         Source::ThirdParty,
         {Log::Warning, "3rd Party", "Undefined Behavior: "}},
        {Type::Portability,
         Severity::Medium,
         Source::Application,
         {Log::Info, "Application", "Portability: "}},
        {Type::Other, Severity::Medium, Source::Other, {Log::Info, "Other", "Other: "}},
    };
    for (const auto& c : cases) {
        message(c.type, c.severity, 7, c.source);
        EXPECT_TRUE(
            log().takeLine({c.line.level, "OpenGL Driver (" + c.line.category + ")", c.line.text + "text"}))
            << c.line;
    }
    message(Type::Error, Severity::Medium);
    const auto errors = log().take("OpenGL Driver (API)");
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].level, Log::Error);
    EXPECT_TRUE(errors[0].text.starts_with("Error: text\n")) << errors[0].text;
    EXPECT_NE(errors[0].text.find("DebugGLTest.cpp"), std::string::npos) << errors[0].text;
    message(Type::Error, Severity::Low);
    message(Type::Marker, Severity::High);
    message(Type::PopGroup, Severity::High);
    EXPECT_TRUE(log().take("OpenGL Driver (API)").empty());
}

// Run for several vendors, as far as the environment can make this driver another.
TEST_F(DebugGL, KnownNoiseIsDropped) {
    using Ids = std::vector<unsigned int>;
    const GpuVendor vendor = platformInfo().vendor;
    const Ids noise = vendor == GpuVendor::Nvidia  ? Ids{131154, 131186, 131218}
                      : vendor == GpuVendor::Amd   ? Ids{2, 100}
                      : vendor == GpuVendor::Intel ? Ids{1, 2, 3}
                      : vendor == GpuVendor::Mesa  ? Ids{1}
                                                   : Ids{};
    Ids dropped;
    for (unsigned int id : {1U, 2U, 3U, 7U, 100U, 131154U, 131186U, 131218U}) {
        message(MessageType::Other, MessageSeverity::High, id);
        if (log().take("OpenGL Driver (API)").empty())
            dropped.push_back(id);
    }
    EXPECT_EQ(dropped, noise);
}

TEST_F(DebugGL, CallbackReceivesMessagesUntilItRemovesItself) {
    if (!glDebugMessageCallback)
        GTEST_SKIP() << "no KHR_debug";
    std::string received;
    const auto token = std::make_shared<int>();
    setMessageCallback(
        [&received, token](auto, auto, auto, auto, const std::string& text) {
            setMessageCallback({}, true);
            received += text;
        },
        true);
    insertMessage("once ");
    insertMessage("twice");
    EXPECT_EQ(received, "once ");
    EXPECT_EQ(token.use_count(), 1) << "a removed callback is destroyed";
    {
        const Group outer("outer");
        const Group inner("inner");
        EXPECT_EQ(getInt(GL_DEBUG_GROUP_STACK_DEPTH), 3);
    }
    EXPECT_EQ(getInt(GL_DEBUG_GROUP_STACK_DEPTH), 1);
}

// The holder of the main context's callback may be destroyed while another context is current, as at
// shut-down; the driver then still has its pointer.
TEST_F(DebugGL, DriverMayCallAfterTheHolderIsGone) {
    if (!glDebugMessageCallback)
        GTEST_SKIP() << "no KHR_debug";
    int calls = 0;
    setMessageCallback([&calls](auto, auto, auto, auto, const std::string&) { ++calls; }, true);
    ContextManager::get().runWithOpenGL([] { InstanceManagerBase::deinitAll(); }, true);
    insertMessage("late");
    EXPECT_EQ(calls, 0);
    setMessageCallback({}, true);
}

TEST_F(DebugGL, MissingEntryPointsWarnAndDoNothing) {
    const Testing::ScopedEntryPoint noCallback(glad_glDebugMessageCallback, nullptr);
    const Testing::ScopedEntryPoint noInsert(glad_glDebugMessageInsert, nullptr);
    const Testing::ScopedEntryPoint noPush(glad_glPushDebugGroup, nullptr);
    const Testing::ScopedEntryPoint noPop(glad_glPopDebugGroup, nullptr);
    setMessageCallback([](auto, auto, auto, auto, const std::string&) {}, true);
    insertMessage("nobody hears");
    { const Group group("nobody sees"); }
    EXPECT_EQ(
        log().take("GL.Debug"),
        (std::vector<LogLine>{
            {Log::Warning, "GL.Debug", "Can not set debug message callback due to missing OpenGL extension"},
            {Log::Warning, "GL.Debug", "OpenGL KHR_debug functions are not available"}}));
}

} // namespace Veltrand::GL::Debug
