// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Debug.h>

#include <Veltrand/Core/Platform.h>
#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/detail/EntryPoints.h>
#include <Veltrand/GL/detail/LogMessage.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <condition_variable>
#include <cstdint>
#include <glad/gl.h>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Veltrand::GL {

OpenGLNotFoundException::~OpenGLNotFoundException() = default;

namespace Debug {

static_assert(GLenum(Error::InvalidEnum) == GL_INVALID_ENUM &&
              GLenum(Error::InvalidValue) == GL_INVALID_VALUE &&
              GLenum(Error::InvalidOperation) == GL_INVALID_OPERATION &&
              GLenum(Error::StackOverflow) == GL_STACK_OVERFLOW &&
              GLenum(Error::StackUnderflow) == GL_STACK_UNDERFLOW &&
              GLenum(Error::OutOfMemory) == GL_OUT_OF_MEMORY &&
              GLenum(Error::InvalidFramebufferOperation) == GL_INVALID_FRAMEBUFFER_OPERATION);
static_assert(GLenum(MessageSource::API) == GL_DEBUG_SOURCE_API &&
              GLenum(MessageSource::WindowSystem) == GL_DEBUG_SOURCE_WINDOW_SYSTEM &&
              GLenum(MessageSource::ShaderCompiler) == GL_DEBUG_SOURCE_SHADER_COMPILER &&
              GLenum(MessageSource::ThirdParty) == GL_DEBUG_SOURCE_THIRD_PARTY &&
              GLenum(MessageSource::Application) == GL_DEBUG_SOURCE_APPLICATION &&
              GLenum(MessageSource::Other) == GL_DEBUG_SOURCE_OTHER);
static_assert(GLenum(MessageType::Error) == GL_DEBUG_TYPE_ERROR &&
              GLenum(MessageType::DeprecatedBehavior) == GL_DEBUG_TYPE_DEPRECATED_BEHAVIOR &&
              GLenum(MessageType::UndefinedBehavior) == GL_DEBUG_TYPE_UNDEFINED_BEHAVIOR &&
              GLenum(MessageType::Portability) == GL_DEBUG_TYPE_PORTABILITY &&
              GLenum(MessageType::Performance) == GL_DEBUG_TYPE_PERFORMANCE &&
              GLenum(MessageType::Other) == GL_DEBUG_TYPE_OTHER &&
              GLenum(MessageType::Marker) == GL_DEBUG_TYPE_MARKER &&
              GLenum(MessageType::PushGroup) == GL_DEBUG_TYPE_PUSH_GROUP &&
              GLenum(MessageType::PopGroup) == GL_DEBUG_TYPE_POP_GROUP);
static_assert(GLenum(MessageSeverity::High) == GL_DEBUG_SEVERITY_HIGH &&
              GLenum(MessageSeverity::Medium) == GL_DEBUG_SEVERITY_MEDIUM &&
              GLenum(MessageSeverity::Low) == GL_DEBUG_SEVERITY_LOW &&
              GLenum(MessageSeverity::Notification) == GL_DEBUG_SEVERITY_NOTIFICATION);

namespace {

constexpr std::string_view category = "GL.Debug";
constexpr int longestCharacter = 4; // in bytes of UTF-8

std::string unknownCode(GLenum code) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), code, 16).ptr;
    return "Unknown error 0x" + std::string(digits.data(), end);
}

std::string errorText(Error error) {
    switch (error) {
    case Error::InvalidEnum:
        return "Invalid enum";
    case Error::InvalidValue:
        return "Invalid value";
    case Error::InvalidOperation:
        return "Invalid operation";
    case Error::StackOverflow:
        return "Stack overflow";
    case Error::StackUnderflow:
        return "Stack underflow";
    case Error::OutOfMemory:
        return "Out of memory";
    case Error::InvalidFramebufferOperation:
        return "Invalid framebuffer operation";
    case Error::NoError:
        break;
    }
    return unknownCode(static_cast<GLenum>(error));
}

std::string errorToString(const char* file, int line, Error error) {
    std::string text;
    if (file)
        text.append(file).append(" line ").append(std::to_string(line)).append(", ");
    return text + "OpenGL error: " + errorText(error);
}

std::string framebufferStatusText(GLenum status) {
    switch (status) {
    case GL_FRAMEBUFFER_UNDEFINED:
        return "Framebuffer undefined";
    case GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT:
        return "Incomplete attachment";
    case GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT:
        return "Missing attachment";
    case GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER:
        return "Incomplete draw buffer";
    case GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER:
        return "Incomplete read buffer";
    case GL_FRAMEBUFFER_UNSUPPORTED:
        return "Framebuffer unsupported";
    case GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE:
        return "Incomplete multisample";
    case GL_FRAMEBUFFER_INCOMPLETE_LAYER_TARGETS:
        return "Incomplete layer targets";
    default:
        return unknownCode(status);
    }
}

void warnOnce() {
    static std::atomic<bool> warned{false};
    if (!warned.exchange(true))
        logMessage(Log::Warning, category, "OpenGL KHR_debug functions are not available");
}

// The text, or as much of it as the driver takes, which is less than its limit; a character of UTF-8 is not
// cut in two.
std::string_view shortened(const std::string& text) {
    const int limit = getInt(GL_MAX_DEBUG_MESSAGE_LENGTH);
    if (limit < 1 || text.size() < static_cast<std::size_t>(limit))
        return text;
    const auto continues = [&text](std::size_t i) {
        return (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
    };
    std::size_t length = static_cast<std::size_t>(limit) - 1;
    for (int byte = 1; byte < longestCharacter && length > 0 && continues(length); ++byte)
        --length;
    return std::string_view(text).substr(0, length);
}

// Mesa numbers messages in the order in which they first occur in the process, and all OpenGL errors have one
// number together. If they came first, that number would be one that the table of noise drops, and no error
// would ever be seen. What a shader that does not compile has to say takes these numbers up.
void takeNumbersOfNoise() {
    static std::atomic<bool> taken{false};
    const EarlyEntryPoint string(glGetString, "glGetString");
    if (taken || getString(GL_VERSION).find("Mesa") == std::string::npos || taken.exchange(true))
        return;
    const EarlyEntryPoint create(glCreateShader, "glCreateShader");
    const EarlyEntryPoint source(glShaderSource, "glShaderSource");
    const EarlyEntryPoint compile(glCompileShader, "glCompileShader");
    const EarlyEntryPoint remove(glDeleteShader, "glDeleteShader");
    const char* const text = "#version 330\nvoid main() { one; two; three; } // undeclared, a message each\n";
    glDisable(GL_DEBUG_OUTPUT); // so that nobody hears of it; it is switched on next
    const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    glDeleteShader(shader);
}

// The driver keeps the user pointer for as long as its context lives, which may be longer than the callback's
// holder. It is therefore a number, looked up in a table that outlives everything, never an address. Removal
// waits for calls on other threads, which drivers make when output is asynchronous.
class CallbackTable {
public:
    using Id = std::uintptr_t;

    static CallbackTable& get() {
        static CallbackTable* const instance = new CallbackTable;
        return *instance;
    }

    Id add(const CallbackType& callback) {
        const std::lock_guard lock(m_mutex);
        m_entries.emplace(++m_lastId, std::make_shared<Entry>(Entry{callback, {}}));
        return m_lastId;
    }
    void remove(Id id) {
        std::unique_lock lock(m_mutex);
        const auto removed = m_entries.extract(id);
        if (!removed)
            return;
        const auto& callers = removed.mapped()->callers;
        m_returned.wait(lock, [&callers, self = std::this_thread::get_id()] {
            return std::all_of(callers.begin(), callers.end(), [self](auto id_) { return id_ == self; });
        });
    }
    template<class... Args>
    void call(Id id, const Args&... args) {
        std::unique_lock lock(m_mutex);
        const auto found = m_entries.find(id);
        if (found == m_entries.end())
            return;
        const Call call(*this, found->second); // keeps the callback alive when it replaces itself
        lock.unlock();
        call.entry->callback(args...);
    }

private:
    struct Entry {
        CallbackType callback;
        std::vector<std::thread::id> callers; // one for each call in flight
    };
    struct Call : private Utils::NotCopyable {
        Call(CallbackTable& owner, std::shared_ptr<Entry> called)
            : table(owner)
            , entry(std::move(called)) {
            entry->callers.push_back(std::this_thread::get_id());
        }
        ~Call() {
            const std::lock_guard lock(table.m_mutex);
            auto& callers = entry->callers;
            callers.erase(std::find(callers.begin(), callers.end(), std::this_thread::get_id()));
            table.m_returned.notify_all();
        }
        CallbackTable& table;
        const std::shared_ptr<Entry> entry;
    };

    std::mutex m_mutex;
    std::condition_variable m_returned;
    std::unordered_map<Id, std::shared_ptr<Entry>> m_entries;
    Id m_lastId = 0;
};

void GLAD_API_PTR forwardMessage(GLenum source, GLenum type, GLuint id, GLenum severity, GLsizei length,
                                 const GLchar* message, const void* userPointer) {
    if (!message)
        return;
    const std::string text = length < 0 ? std::string(message) : std::string(message, std::size_t(length));
    CallbackTable::get().call(reinterpret_cast<CallbackTable::Id>(userPointer),
                              static_cast<MessageSource>(source), static_cast<MessageType>(type), id,
                              static_cast<MessageSeverity>(severity), text);
}

// Holds the callback of one context.
class DebugMessageCallbackHelper : public InstanceManager<DebugMessageCallbackHelper> {
public:
    ~DebugMessageCallbackHelper() override {
        if (glDebugMessageCallback && glDisable)
            uninstall();
        CallbackTable::get().remove(m_id);
    }

    void install(const CallbackType& callback, bool synchronous) {
        if (!glDebugMessageCallback) {
            logMessage(Log::Warning, category,
                       "Can not set debug message callback due to missing OpenGL extension");
            return;
        }
        CallbackTable& table = CallbackTable::get();
        const CallbackTable::Id previous = std::exchange(m_id, 0);
        if (callback) {
            takeNumbersOfNoise();
            m_id = table.add(callback);
            glEnable(GL_DEBUG_OUTPUT);
            if (synchronous)
                glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
            else
                glDisable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the driver hands the number back, no more.
            glDebugMessageCallback(&forwardMessage, reinterpret_cast<const void*>(m_id));
        } else {
            uninstall();
        }
        table.remove(previous);
    }

private:
    static void uninstall() {
        glDisable(GL_DEBUG_OUTPUT);
        glDebugMessageCallback(nullptr, nullptr);
    }

    CallbackTable::Id m_id = 0;
};

GpuVendor detectedVendor() {
    static std::mutex mutex;
    static std::optional<GpuVendor> vendor;
    {
        const std::lock_guard lock(mutex);
        if (vendor)
            return *vendor;
    }
    // A message may arrive while a context is being created, before the driver can be asked, or on a thread
    // of the driver's own, where it cannot.
    if (!glGetString || !glGetStringi || !glGetIntegerv || !ContextManager::hasCurrent())
        return GpuVendor::Unknown;
    const GpuVendor detected = platformInfo().vendor;
    const std::lock_guard lock(mutex);
    vendor = detected;
    return detected;
}

bool isKnownNoise(unsigned int id) {
    const auto isOneOf = [id](std::initializer_list<unsigned int> ids) {
        return std::find(ids.begin(), ids.end(), id) != ids.end();
    };
    switch (detectedVendor()) {
    case GpuVendor::Nvidia:
        return isOneOf({131186, 131218, 131154});
    case GpuVendor::Amd:
        return isOneOf({2, 100});
    case GpuVendor::Intel:
        return isOneOf({1, 2, 3});
    case GpuVendor::Mesa:
    case GpuVendor::Microsoft:
        return id == 1;
    case GpuVendor::Apple:
    case GpuVendor::Unknown:
        break;
    }
    return false;
}

int levelOf(MessageType type, MessageSeverity severity) {
    if (type == MessageType::Performance && severity == MessageSeverity::Medium)
        return Log::Debug;
    if (type == MessageType::Error)
        return Log::Error;
    return severity == MessageSeverity::High ? Log::Warning : Log::Info;
}

std::string_view prefixOf(MessageType type) {
    switch (type) {
    case MessageType::Error:
        return "Error: ";
    case MessageType::DeprecatedBehavior:
        return "Deprecated Behavior: ";
    case MessageType::UndefinedBehavior:
        return "Undefined Behavior: ";
    case MessageType::Portability:
        return "Portability: ";
    case MessageType::Performance:
        return "Performance: ";
    default:
        return "Other: ";
    }
}

std::string_view categoryOf(MessageSource source) {
    switch (source) {
    case MessageSource::API:
        return "OpenGL Driver (API)";
    case MessageSource::WindowSystem:
        return "OpenGL Driver (Windowing System)";
    case MessageSource::ShaderCompiler:
        return "OpenGL Driver (Shader Compiler)";
    case MessageSource::ThirdParty:
        return "OpenGL Driver (3rd Party)";
    case MessageSource::Application:
        return "OpenGL Driver (Application)";
    default:
        return "OpenGL Driver (Other)";
    }
}

// Whether the current context has KHR_debug, asked before the full loading.
bool hasDebugOutput() {
    const EarlyEntryPoint string(glGetString, "glGetString");
    const EarlyEntryPoint stringIndexed(glGetStringi, "glGetStringi");
    const EarlyEntryPoint integer(glGetIntegerv, "glGetIntegerv");
    if (versionInfo() >= Utils::Version{.major = 4, .minor = 3, .patch = 0, .preRelease = {}, .build = {}})
        return true;
    const int count = getInt(GL_NUM_EXTENSIONS);
    for (GLuint i = 0; i < static_cast<GLuint>(count); ++i)
        if (const GLubyte* const name = glGetStringi(GL_EXTENSIONS, i))
            if (std::string_view(reinterpret_cast<const char*>(name)) == "GL_KHR_debug")
                return true;
    return false;
}

} // namespace

OpenGlException::OpenGlException(const std::string& message, Error error)
    : std::runtime_error(message)
    , m_error(error) {}

OpenGlException::~OpenGlException() = default;

bool OpenGlException::isCritical() const {
    return m_error == Error::StackOverflow || m_error == Error::StackUnderflow;
}

bool OpenGlException::isFatal() const {
    return m_error == Error::OutOfMemory;
}

Error check(bool log, const char* file, int line) {
    const auto error = static_cast<Error>(glGetError());
    if (error != Error::NoError && log)
        logMessage(Log::Error, category, [&] { return errorToString(file, line, error); });
    return error;
}

void checkAndThrow(bool log, const char* file, int line) {
    const Error error = check(log, file, line);
    if (error != Error::NoError)
        throw OpenGlException(errorToString(file, line, error), error);
}

GLenum checkFramebufferStatus(bool log) {
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (status != GL_FRAMEBUFFER_COMPLETE && log)
        logMessage(Log::Error, category,
                   [status] { return "OpenGL framebuffer error: " + framebufferStatusText(status); });
    return status;
}

void insertMessage(const std::string& text) {
    if (!glDebugMessageInsert)
        return warnOnce();
    const std::string_view marker = shortened(text);
    glDebugMessageInsert(GL_DEBUG_SOURCE_APPLICATION, GL_DEBUG_TYPE_MARKER, 0, GL_DEBUG_SEVERITY_NOTIFICATION,
                         static_cast<GLsizei>(marker.size()), marker.data());
}

Group::Group(const std::string& name) {
    if (!glPushDebugGroup) {
        warnOnce();
        return;
    }
    const int depth = getInt(GL_DEBUG_GROUP_STACK_DEPTH);
    if (depth >= getInt(GL_MAX_DEBUG_GROUP_STACK_DEPTH))
        return;
    const std::string_view text = shortened(name);
    glPushDebugGroup(GL_DEBUG_SOURCE_APPLICATION, 1, static_cast<GLsizei>(text.size()), text.data());
    if (getInt(GL_DEBUG_GROUP_STACK_DEPTH) > depth)
        m_context = ContextManager::currentContextId();
}

// The depth is asked for because another context may have got the handle of one that is gone.
Group::~Group() {
    if (m_context == ContextManager::currentContextId() && glPopDebugGroup &&
        getInt(GL_DEBUG_GROUP_STACK_DEPTH) > 1)
        glPopDebugGroup();
}

void setMessageCallback(const CallbackType& callback, bool synchronous) {
    DebugMessageCallbackHelper::get()->install(callback, synchronous);
}

void defaultMessageCallback(MessageSource source, MessageType type, unsigned int id, MessageSeverity severity,
                            const std::string& message) {
    if (severity == MessageSeverity::Low || severity == MessageSeverity::Notification ||
        type == MessageType::Marker || type == MessageType::PushGroup || type == MessageType::PopGroup)
        return;
    if (isKnownNoise(id))
        return;
    logMessage(levelOf(type, severity), categoryOf(source), [&] {
        std::string text(prefixOf(type));
        text += message;
        if (type == MessageType::Error)
            text += '\n' + Platform::stacktrace();
        return text;
    });
}

} // namespace Debug

void Context::installDefaultDebugMessageHandler() {
    const bool loaded = glEnable && glDisable && glDebugMessageCallback;
    if (!loaded && !Debug::hasDebugOutput()) {
        Debug::setMessageCallback(Debug::defaultMessageCallback, true); // says what is missing
        return;
    }
    const EarlyEntryPoint enable(glEnable, "glEnable");
    const EarlyEntryPoint disable(glDisable, "glDisable");
    const EarlyEntryPoint callback(glDebugMessageCallback, "glDebugMessageCallback");
    Debug::setMessageCallback(Debug::defaultMessageCallback, true);
}

} // namespace Veltrand::GL
