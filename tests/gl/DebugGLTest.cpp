// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/InstanceManager.h>

namespace Veltrand::GL::Debug {

using DebugGL = Testing::GLFixture;

namespace {

GLenum g_status = 0;

void message(MessageType type, MessageSeverity severity, unsigned int id = 7,
             MessageSource source = MessageSource::API) {
    defaultMessageCallback(source, type, id, severity, "text");
}

} // namespace

TEST_F(DebugGL, ErrorsAndFramebufferStatesHaveTexts) {
    const Testing::ScopedEntryPoint error(glad_glGetError,
                                          [] { return std::exchange(g_status, GLenum{GL_NO_ERROR}); });
    const Testing::ScopedEntryPoint status(glad_glCheckFramebufferStatus, [](GLenum) { return g_status; });
    const auto general = [] { return static_cast<GLenum>(check(true, nullptr, 0)); };
    const auto framebuffer = [] { return checkFramebufferStatus(true); };
    const struct {
        GLenum (*ask)();
        GLenum code;
        const char* text;
    } cases[] = {
        {general, GL_INVALID_ENUM, "error: Invalid enum"},
        {general, GL_INVALID_OPERATION, "error: Invalid operation"},
        {general, GL_STACK_UNDERFLOW, "error: Stack underflow"},
        {general, GL_OUT_OF_MEMORY, "error: Out of memory"},
        {general, GL_INVALID_FRAMEBUFFER_OPERATION, "error: Invalid framebuffer operation"},
        {general, 0xABC, "error: Unknown error 0xabc"},
        {framebuffer, GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT, "framebuffer error: Incomplete attachment"},
        {framebuffer, GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT, "framebuffer error: Missing attachment"},
        {framebuffer, GL_FRAMEBUFFER_UNSUPPORTED, "framebuffer error: Framebuffer unsupported"},
        {framebuffer, GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE, "framebuffer error: Incomplete multisample"},
        {framebuffer, GL_FRAMEBUFFER_INCOMPLETE_LAYER_TARGETS, "framebuffer error: Incomplete layer targets"},
        {framebuffer, 0xBEEF, "framebuffer error: Unknown error 0xbeef"},
    };
    for (const auto& [ask, code, text] : cases) {
        g_status = code;
        EXPECT_EQ(ask(), code);
        expectLine(Log::Error, "GL.Debug", std::string("OpenGL ") + text);
    }
    EXPECT_EQ(checkFramebufferStatus(false), g_status); // says nothing
    check(false);
    EXPECT_EQ(check(true), Error::NoError);
}

TEST_F(DebugGL, ExceptionsSayWhereAndHowBad) {
    const Testing::ScopedEntryPoint faked(glad_glGetError,
                                          [] { return std::exchange(g_status, GLenum{GL_NO_ERROR}); });
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

TEST_F(DebugGL, DefaultCallbackChoosesLevelPrefixAndCategory) {
    using Type = MessageType;
    using Severity = MessageSeverity;
    using Source = MessageSource;
    const auto expect = [this](int level, const char* category, const std::string& prefix) {
        const LogLine line{level, std::string("OpenGL Driver (") + category + ")", prefix + ": text"};
        EXPECT_TRUE(log().takeLine(line)) << line;
    };
    message(Type::Performance, Severity::Medium);
    expect(Log::Debug, "API", "Performance");
    message(Type::Performance, Severity::High, 7, Source::WindowSystem);
    expect(Log::Warning, "Windowing System", "Performance");
    message(Type::DeprecatedBehavior, Severity::Medium, 7, Source::ShaderCompiler);
    expect(Log::Info, "Shader Compiler", "Deprecated Behavior");
    message(Type::UndefinedBehavior, Severity::High, 7, Source::ThirdParty);
    expect(Log::Warning, "3rd Party", "Undefined Behavior");
    message(Type::Portability, Severity::Medium, 7, Source::Application);
    expect(Log::Info, "Application", "Portability");
    message(Type::Other, Severity::Medium, 7, Source::Other);
    expect(Log::Info, "Other", "Other");
    message(Type::Error, Severity::Medium);
    const auto errors = log().take("OpenGL Driver (API)");
    EXPECT_EQ(errors.at(0).level, Log::Error);
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
}

TEST_F(DebugGL, LongTextsAreCutBetweenCharacters) {
    if (!glDebugMessageCallback)
        GTEST_SKIP() << "no KHR_debug";
    std::string received;
    setMessageCallback([&](auto, auto, auto, auto, const std::string& text) { received = text; }, true);
    const auto most = static_cast<std::size_t>(getInt(GL_MAX_DEBUG_MESSAGE_LENGTH)) - 1;
    for (const auto& [letters, end, expected] : {std::tuple(most, "", most),
                                                 {most, "a", most},
                                                 {most - 1, "é", most - 1},
                                                 {most - 2, "€", most - 2}}) {
        const std::string text = std::string(letters, 'a') + end;
        insertMessage(text);
        EXPECT_TRUE(std::exchange(received, {}) == text.substr(0, expected)) << text.size();
        const Group group(text);
        EXPECT_TRUE(received == text.substr(0, expected)) << text.size();
        EXPECT_EQ(getInt(GL_DEBUG_GROUP_STACK_DEPTH), 2);
    }
    EXPECT_EQ(getInt(GL_DEBUG_GROUP_STACK_DEPTH), 1);
    setMessageCallback({}, true);
}

TEST_F(DebugGL, OnlyGroupsThatWereOpenedAreClosed) {
    if (!glPushDebugGroup)
        GTEST_SKIP() << "no KHR_debug";
    const auto depth = [] { return getInt(GL_DEBUG_GROUP_STACK_DEPTH); };
    std::vector<std::unique_ptr<Group>> groups(std::size_t(getInt(GL_MAX_DEBUG_GROUP_STACK_DEPTH)) + 2);
    for (auto& group : groups)
        group = std::make_unique<Group>("nested");
    groups.resize(2);
    EXPECT_EQ(depth(), 3);
    {
        const auto context = Context::create({});
        const Group own("of another context");
        groups.pop_back();
        EXPECT_EQ(depth(), 2);
    }
    ASSERT_TRUE(ContextManager::makeCurrent());
    groups.clear();
    EXPECT_EQ(depth(), 2);
    glPopDebugGroup(); // which nobody else does now
}

// The holder of the main context's callback may be destroyed while another context is current, as at
// shut-down; the driver then still has its pointer.
TEST_F(DebugGL, DriverMayCallAfterTheHolderIsGone) {
    if (!glDebugMessageCallback)
        GTEST_SKIP() << "no KHR_debug";
    // The holder alone goes there: when a program with a geometry stage is deleted in another context,
    // llvmpipe crashes at the next one that is drawn with here.
    InstanceManagerBase::deinitCurrent();
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
