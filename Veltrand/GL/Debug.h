// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

namespace Veltrand::GL {

/// Thrown when a process finds no usable OpenGL context or entry points.
class VELTRAND_GL_API OpenGLNotFoundException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~OpenGLNotFoundException() override;
};

/// OpenGL errors and driver messages, made readable.
namespace Debug {

/// What glGetError answers.
enum class Error : GLenum {
    NoError = 0,                          // GL_NO_ERROR
    InvalidEnum = 0x0500,                 // GL_INVALID_ENUM
    InvalidValue = 0x0501,                // GL_INVALID_VALUE
    InvalidOperation = 0x0502,            // GL_INVALID_OPERATION
    StackOverflow = 0x0503,               // GL_STACK_OVERFLOW
    StackUnderflow = 0x0504,              // GL_STACK_UNDERFLOW
    OutOfMemory = 0x0505,                 // GL_OUT_OF_MEMORY
    InvalidFramebufferOperation = 0x0506, // GL_INVALID_FRAMEBUFFER_OPERATION
};

/// Who speaks.
enum class MessageSource : GLenum {
    API = 0x8246,            // GL_DEBUG_SOURCE_API
    WindowSystem = 0x8247,   // GL_DEBUG_SOURCE_WINDOW_SYSTEM
    ShaderCompiler = 0x8248, // GL_DEBUG_SOURCE_SHADER_COMPILER
    ThirdParty = 0x8249,     // GL_DEBUG_SOURCE_THIRD_PARTY
    Application = 0x824A,    // GL_DEBUG_SOURCE_APPLICATION
    Other = 0x824B,          // GL_DEBUG_SOURCE_OTHER
};

/// What a driver message is about.
enum class MessageType : GLenum {
    Error = 0x824C,              // GL_DEBUG_TYPE_ERROR
    DeprecatedBehavior = 0x824D, // GL_DEBUG_TYPE_DEPRECATED_BEHAVIOR
    UndefinedBehavior = 0x824E,  // GL_DEBUG_TYPE_UNDEFINED_BEHAVIOR
    Portability = 0x824F,        // GL_DEBUG_TYPE_PORTABILITY
    Performance = 0x8250,        // GL_DEBUG_TYPE_PERFORMANCE
    Other = 0x8251,              // GL_DEBUG_TYPE_OTHER
    Marker = 0x8268,             // GL_DEBUG_TYPE_MARKER
    PushGroup = 0x8269,          // GL_DEBUG_TYPE_PUSH_GROUP
    PopGroup = 0x826A,           // GL_DEBUG_TYPE_POP_GROUP
};

/// How much the driver makes of it.
enum class MessageSeverity : GLenum {
    High = 0x9146,         // GL_DEBUG_SEVERITY_HIGH
    Medium = 0x9147,       // GL_DEBUG_SEVERITY_MEDIUM
    Low = 0x9148,          // GL_DEBUG_SEVERITY_LOW
    Notification = 0x826B, // GL_DEBUG_SEVERITY_NOTIFICATION
};

/// An OpenGL error as an exception.
class VELTRAND_GL_API OpenGlException : public std::runtime_error {
public:
    /// @p message is what `what()` answers.
    OpenGlException(const std::string& message, Error error);
    ~OpenGlException() override;

    /// The error that was found.
    [[nodiscard]] Error error() const { return m_error; }
    /// True for a stack overflow or underflow.
    [[nodiscard]] bool isCritical() const;
    /// True when OpenGL ran out of memory: its state is undefined from then on.
    [[nodiscard]] bool isFatal() const;

private:
    Error m_error;
};

/// Reads one pending OpenGL error (there may be more) and logs it if @p log.
/// @param file source file to name in the text, null for none
/// GL: glGetError, 1.0. Needs a current context.
VELTRAND_GL_API Error check(bool log = true, const char* file = nullptr, int line = 0);

/// As `check`; an error is thrown as `OpenGlException`.
VELTRAND_GL_API void checkAndThrow(bool log = true, const char* file = nullptr, int line = 0);

/// The status of the bound framebuffer, GL_FRAMEBUFFER_COMPLETE or a reason, which is logged if @p log.
/// GL: glCheckFramebufferStatus, 3.0. Needs a current context.
VELTRAND_GL_API GLenum checkFramebufferStatus(bool log = true);

/// Puts a marker into the command stream for external debuggers. A text that is longer than the driver takes
/// (GL_MAX_DEBUG_MESSAGE_LENGTH) is cut between characters of UTF-8. Where KHR_debug is missing, a warning is
/// logged once. GL: glDebugMessageInsert, 4.3 or KHR_debug
VELTRAND_GL_API void insertMessage(const std::string& text);

/// Groups the commands of a scope for external debuggers. The scope ends with the context current in which it
/// began; on another one, or none, nothing is closed. GL: glPushDebugGroup, glPopDebugGroup, 4.3 or KHR_debug
class VELTRAND_GL_API Group {
public:
    /// Opens the group, unless as many are open as the driver takes (GL_MAX_DEBUG_GROUP_STACK_DEPTH). The
    /// name is cut as by `insertMessage`. Where KHR_debug is missing, a warning is logged once.
    explicit Group(const std::string& name);
    /// Closes the group, if it was opened.
    ~Group();
    Group(const Group&) = delete;
    Group& operator=(const Group&) = delete;

private:
    std::optional<std::uintptr_t> m_context; ///< in which it was opened
};

/// Source, type, id, severity and text of a message; ids are numbered by the driver.
using CallbackType = std::function<void(MessageSource, MessageType, unsigned int id, MessageSeverity,
                                        const std::string& message)>;

/// Sends the current context's driver messages to @p callback; an empty one switches them off. The callback
/// lasts until it is replaced, the context is destroyed, or OpenGL is shut down, which each wait for calls on
/// other threads; what it throws propagates out of the driver's call. Needs a current context. A missing
/// KHR_debug is logged and nothing is installed.
/// @param synchronous call back on the thread and inside the call that caused the message
/// GL: glDebugMessageCallback, 4.3 or KHR_debug
VELTRAND_GL_API void setMessageCallback(const CallbackType& callback, bool synchronous);

/// The callback that debug contexts start with: drops what is known to be noise and logs the rest under
/// "OpenGL Driver" and its source, errors with a stack trace.
VELTRAND_GL_API void defaultMessageCallback(MessageSource source, MessageType type, unsigned int id,
                                            MessageSeverity severity, const std::string& message);

} // namespace Debug

} // namespace Veltrand::GL
