// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Buffer.h>
#include <Veltrand/GL/ElementTraits.h>

#include <array>
#include <memory>
#include <ranges>
#include <span>
#include <vector>

namespace Veltrand::GL {

/// Vertex attributes, stored array after array (not interleaved), with the description of each array and the
/// calls that draw them through a vertex array object that the library keeps per context.
///
/// The draw calls leave no vertex array object bound.
class VELTRAND_GL_API VertexBuffer : public Buffer {
public:
    /// One attribute array. Array k begins where the arrays before it end.
    struct VertexAttrib {
        std::uint64_t count;       ///< elements (vertices)
        int components;            ///< components per element, 1 to 4
        GLenum type;               ///< component type, such as GL_FLOAT
        std::uint64_t elementSize; ///< bytes per element
        bool normalized;           ///< integers are mapped to [0, 1] or [-1, 1]
        bool valid;                ///< whether there is any element
    };

    /// An empty buffer, bound. Failure as for `Buffer`.
    explicit VertexBuffer(Usage usage);
    ~VertexBuffer() override;
    /// As for `Buffer`.
    VertexBuffer(VertexBuffer&&) noexcept = default;
    VertexBuffer& operator=(VertexBuffer&& other) noexcept;

    /// GL: glBindBuffer, 1.5
    static void unbind();

    /// Replaces the contents of the bound buffer by one attribute array per contiguous range. An empty range
    /// keeps its place, so that the index of each attribute is its position among the arguments.
    ///
    /// Elements are scalars or fixed-size Eigen vectors of one to four components, usually float; `int` and
    /// smaller integers reach the shader as floats, `unsigned int` as integers. Arrays lie close together:
    /// put those of 8- and 16-bit components last, so that the others stay aligned.
    /// GL: glBufferData, glBufferSubData, 1.5
    template<std::ranges::contiguous_range... Ranges>
    requires(Element<std::ranges::range_value_t<Ranges>>&&...) void setData(const Ranges&... arrays) {
        const std::array<Array, sizeof...(Ranges)> list{describe(arrays)...};
        setDataImpl(list);
    }

    /// Whether integer components of an attribute are normalised; an index out of range is ignored.
    void setVertexAttribNormalization(int index, bool normalized);

    /// One entry for each range of the last `setData`, empty ones too.
    [[nodiscard]] const std::vector<VertexAttrib>& attributes() const { return m_attributes; }
    /// Elements of the first attribute, 0 when there is none.
    [[nodiscard]] std::uint64_t numVertices() const;

    // Drawing, with attribute k at location k. An empty buffer draws nothing and logs at debug level.

    /// GL: glDrawArrays, 3.0
    void draw(Primitive mode) const;
    /// Primitive restart is switched on for the call when the index buffer has a restart index, and off after
    /// it. GL: glDrawElements, glPrimitiveRestartIndex, 3.1
    void draw(Primitive mode, const IndexBuffer& indices) const;
    /// GL: glDrawArraysInstanced, 3.1
    void drawInstanced(Primitive mode, int instances) const;
    /// GL: glDrawElementsInstanced, glPrimitiveRestartIndex, 3.1
    void drawInstanced(Primitive mode, int instances, const IndexBuffer& indices) const;
    /// Draws several runs of consecutive vertices in one call.
    /// @param restarts for each further run the index of its first vertex, ascending and up to
    ///        `numVertices()`; a position that repeats or goes back is ignored
    /// GL: glMultiDrawArrays, 3.0
    void drawMultiRestart(Primitive mode, const std::vector<unsigned long>& restarts) const;

    /// A square over all of clip space, for `Primitive::TriangleFan`: attribute 0 has the corners from (-1,
    /// -1) counter-clockwise, attribute 1 their texture coordinates from (0, 0) to (1, 1). Leaves no array
    /// buffer bound.
    [[nodiscard]] static std::unique_ptr<VertexBuffer> createFullscreenSquare();

private:
    struct Array {
        const void* data;
        std::uint64_t count;
        int components;
        PixelType type;
        std::uint64_t elementSize;
    };
    template<class Range>
    [[nodiscard]] static Array describe(const Range& range) {
        using T = std::ranges::range_value_t<Range>;
        static_assert(sizeof(T) ==
                      ElementTraits<T>::components * sizeof(typename ElementTraits<T>::ScalarType));
        return {std::ranges::data(range), std::ranges::size(range), ElementTraits<T>::components,
                ElementTraits<T>::type, sizeof(T)};
    }
    void setDataImpl(std::span<const Array> arrays);

    std::vector<VertexAttrib> m_attributes;
};

} // namespace Veltrand::GL
