// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <cstdint>

namespace Veltrand::GL {

/// Owns an OpenGL buffer object: its name, the target it is bound to, its usage hint and its size.
///
/// Nothing is bound implicitly: allocations, uploads and reads work on whatever buffer is bound to the
/// class's target. Each constructor leaves its new buffer bound, which serves the first upload; later ones
/// need `bind()` first. Every call needs the context that owns the buffer, or one that shares objects with
/// it.
class VELTRAND_GL_API Buffer : private Utils::NotCopyable {
public:
    /// What a buffer is bound to.
    enum class Target : GLenum {
        Parameter = 0x80EE,         // GL_PARAMETER_BUFFER
        Array = 0x8892,             // GL_ARRAY_BUFFER
        ElementArray = 0x8893,      // GL_ELEMENT_ARRAY_BUFFER
        PixelPack = 0x88EB,         // GL_PIXEL_PACK_BUFFER
        PixelUnpack = 0x88EC,       // GL_PIXEL_UNPACK_BUFFER
        Uniform = 0x8A11,           // GL_UNIFORM_BUFFER
        Texture = 0x8C2A,           // GL_TEXTURE_BUFFER
        TransformFeedback = 0x8C8E, // GL_TRANSFORM_FEEDBACK_BUFFER
        CopyRead = 0x8F36,          // GL_COPY_READ_BUFFER
        CopyWrite = 0x8F37,         // GL_COPY_WRITE_BUFFER
        DrawIndirect = 0x8F3F,      // GL_DRAW_INDIRECT_BUFFER
        ShaderStorage = 0x90D2,     // GL_SHADER_STORAGE_BUFFER
        DispatchIndirect = 0x90EE,  // GL_DISPATCH_INDIRECT_BUFFER
        Query = 0x9192,             // GL_QUERY_BUFFER
        AtomicCounter = 0x92C0,     // GL_ATOMIC_COUNTER_BUFFER
    };

    /// How often the contents change (Stream, Static, Dynamic) and who writes and reads them (Draw:
    /// application to OpenGL, Read: OpenGL to application, Copy: OpenGL to OpenGL).
    enum class Usage : GLenum {
        StreamDraw = 0x88E0,  // GL_STREAM_DRAW
        StreamRead = 0x88E1,  // GL_STREAM_READ
        StreamCopy = 0x88E2,  // GL_STREAM_COPY
        StaticDraw = 0x88E4,  // GL_STATIC_DRAW
        StaticRead = 0x88E5,  // GL_STATIC_READ
        StaticCopy = 0x88E6,  // GL_STATIC_COPY
        DynamicDraw = 0x88E8, // GL_DYNAMIC_DRAW
        DynamicRead = 0x88E9, // GL_DYNAMIC_READ
        DynamicCopy = 0x88EA, // GL_DYNAMIC_COPY
    };

    /// A new buffer without storage, bound to @p target. Throws `std::runtime_error` "Could not generate
    /// Buffer." when OpenGL gives no name. GL: glGenBuffers, glBindBuffer, 1.5
    Buffer(Target target, Usage usage);
    virtual ~Buffer();
    /// The source then owns nothing and has size 0: it binds no buffer, takes no data and draws nothing.
    Buffer(Buffer&& other) noexcept;
    Buffer& operator=(Buffer&& other) noexcept;

    /// GL: glBindBuffer, 1.5
    void bind() const;
    /// Binds no buffer to @p target. GL: glBindBuffer, 1.5
    static void unbind(Target target);

    /// Gives the bound buffer new storage of undefined content. A negative size is logged and changes
    /// nothing. GL: glBufferData, 1.5
    void allocateBuffer(std::int64_t bytes);

    /// Writes into the storage of the buffer bound to @p target; offset and size in bytes.
    /// GL: glBufferSubData, 1.5
    static void glBufferSubDataImpl(Target target, std::int64_t offset, std::int64_t bytes, const void* data);
    /// Reads from the storage of the buffer bound to @p target; offset and size in bytes.
    /// GL: glGetBufferSubData, 1.5
    static void glGetBufferSubDataImpl(Target target, std::int64_t offset, std::int64_t bytes, void* data);

    /// What `bind` binds it to, since construction.
    [[nodiscard]] Target target() const { return m_target; }
    /// The hint that allocations pass on, since construction.
    [[nodiscard]] Usage usage() const { return m_usage; }
    /// The OpenGL name, 0 after a move.
    [[nodiscard]] GLuint id() const { return m_id; }
    /// Bytes of the last allocation, 0 before any.
    [[nodiscard]] std::int64_t size() const { return m_size; }

private:
    Target m_target;
    Usage m_usage;
    GLuint m_id = 0;
    std::int64_t m_size = 0;
};

} // namespace Veltrand::GL
