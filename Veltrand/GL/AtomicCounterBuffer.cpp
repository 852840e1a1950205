// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/AtomicCounterBuffer.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>

#include <glad/gl.h>
#include <string>
#include <string_view>

namespace Veltrand::GL {

static_assert(MoveOnly<AtomicCounterBuffer>);

namespace {

constexpr std::string_view category = "GL.AtomicCounterBuffer";
constexpr std::int64_t counterSize = sizeof(unsigned int);

} // namespace

AtomicCounterBuffer::AtomicCounterBuffer(int numCounters, Usage usage)
    : Buffer(Target::AtomicCounter, usage) {
    if (!GLAD_GL_VERSION_4_2)
        logMessage(Log::Error, category,
                   "Trying to instantiate a AtomicCounterBuffer on unsupported hardware. Requires at least "
                   "OpenGL 4.2.");
    if (numCounters < 0) {
        logMessage(Log::Error, category, [numCounters] {
            return "A buffer cannot have " + std::to_string(numCounters) + " counters; it is left empty.";
        });
        numCounters = 0;
    }
    bind();
    setData(std::vector<unsigned int>(static_cast<std::size_t>(numCounters), 0));
}

AtomicCounterBuffer::~AtomicCounterBuffer() = default;

void AtomicCounterBuffer::bindBase(GLuint index) {
    glBindBufferBase(GL_ATOMIC_COUNTER_BUFFER, index, id());
}

void AtomicCounterBuffer::unbind() {
    Buffer::unbind(Target::AtomicCounter);
}

void AtomicCounterBuffer::setData(Utils::Span<const unsigned int> values) {
    if (id() == 0)
        return;
    const auto bytes = static_cast<std::int64_t>(values.size_bytes());
    allocateBuffer(bytes);
    if (!values.empty())
        glBufferSubDataImpl(Target::AtomicCounter, 0, bytes, values.data());
}

void AtomicCounterBuffer::reset(unsigned int value) {
    const std::vector<unsigned int> values(static_cast<std::size_t>(size() / counterSize), value);
    bind();
    setData(values);
}

std::vector<unsigned int> AtomicCounterBuffer::getData() const {
    std::vector<unsigned int> values(static_cast<std::size_t>(size() / counterSize));
    // A size that is no multiple of a counter's, left by allocateBuffer(), must not run past the vector.
    if (!values.empty())
        glGetBufferSubDataImpl(Target::AtomicCounter, 0,
                               static_cast<std::int64_t>(values.size()) * counterSize, values.data());
    return values;
}

} // namespace Veltrand::GL
