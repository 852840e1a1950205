// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Buffer.h>
#include <Veltrand/GL/ElementTraits.h>

#include <ranges>

namespace Veltrand::GL {

/// A type that indices are uploaded from: unsigned integers of 8, 16 or 32 bits, or triangles of three ints.
template<class T>
concept IndexElement = std::same_as<T, unsigned char> || std::same_as<T, unsigned short> ||
    std::same_as<T, unsigned int> ||
    (ElementTraits<T>::components == 3 && std::same_as<typename ElementTraits<T>::ScalarType, int>);

/// Indices of the vertices to draw, and the index at which a primitive restarts.
class VELTRAND_GL_API IndexBuffer : public Buffer {
public:
    /// An empty buffer, bound. Failure as for `Buffer`.
    explicit IndexBuffer(Usage usage);
    ~IndexBuffer() override;
    /// As for `Buffer`.
    IndexBuffer(IndexBuffer&& other) noexcept;
    IndexBuffer& operator=(IndexBuffer&& other) noexcept;

    /// Replaces the contents of the bound buffer by a contiguous range of indices; a triangle counts three.
    /// The restart index is left as it was. GL: glBufferData, glBufferSubData, 1.5
    template<std::ranges::contiguous_range Range>
    requires IndexElement<std::ranges::range_value_t<Range>>
    void setData(const Range& indices) {
        using T = std::ranges::range_value_t<Range>;
        static_assert(sizeof(T) ==
                      ElementTraits<T>::components * sizeof(typename ElementTraits<T>::ScalarType));
        constexpr PixelType type =
            ElementTraits<T>::type == PixelType::Int ? PixelType::UInt : ElementTraits<T>::type;
        setDataImpl(std::ranges::data(indices),
                    static_cast<std::int64_t>(std::ranges::size(indices)) * ElementTraits<T>::components,
                    sizeof(typename ElementTraits<T>::ScalarType), static_cast<GLenum>(type));
    }

    /// Number of indices, 0 before any upload.
    [[nodiscard]] std::int64_t numElements() const { return m_indices.count; }
    /// GL_UNSIGNED_BYTE (also before any upload), GL_UNSIGNED_SHORT or GL_UNSIGNED_INT.
    [[nodiscard]] GLenum type() const { return m_indices.type; }

    /// The index that ends a strip, loop or fan and begins the next; 0 (at start): none does.
    [[nodiscard]] GLuint primitiveRestartIndex() const { return m_indices.restart; }
    /// Holds for draws from now on; makes no OpenGL call.
    void setPrimitiveRestartIndex(GLuint index) { m_indices.restart = index; }

    /// GL: glBindBuffer, 1.5
    static void unbind();

private:
    struct Indices {
        std::int64_t count = 0;
        GLenum type = static_cast<GLenum>(PixelType::UByte);
        GLuint restart = 0;
    };

    void setDataImpl(const void* data, std::int64_t count, std::int64_t indexSize, GLenum type);

    Indices m_indices;
};

} // namespace Veltrand::GL
