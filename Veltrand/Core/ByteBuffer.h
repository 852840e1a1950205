// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Export.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Veltrand {

/// A borrowed range of bytes; whoever owns them must outlive the view.
class ByteBufferView {
public:
    constexpr ByteBufferView() = default;
    /// @p size bytes from @p data on; null only for none.
    constexpr ByteBufferView(const std::byte* data, std::size_t size)
        : m_data(data)
        , m_size(size) {}
    /// The same for memory of any type; @p size is in bytes.
    ByteBufferView(const void* data, std::size_t size)
        : m_data(static_cast<const std::byte*>(data))
        , m_size(size) {}

    /// Null for a view that was made without bytes.
    [[nodiscard]] constexpr const std::byte* data() const { return m_data; }
    /// In bytes.
    [[nodiscard]] constexpr std::size_t size() const { return m_size; }
    /// Whether the size is 0.
    [[nodiscard]] constexpr bool empty() const { return m_size == 0; }
    /// For range-based `for`, together with `end()`.
    [[nodiscard]] constexpr const std::byte* begin() const { return m_data; }
    /// One past the last byte.
    [[nodiscard]] constexpr const std::byte* end() const { return m_data + m_size; }

    /// The bytes as they are, as text.
    [[nodiscard]] std::string_view toStringView() const {
        return {reinterpret_cast<const char*>(m_data), m_size};
    }
    /// A copy of the bytes as text, which outlives their owner.
    [[nodiscard]] std::string toString() const { return std::string(toStringView()); }

private:
    const std::byte* m_data = nullptr;
    std::size_t m_size = 0;
};

/// An owned range of bytes of fixed size. Copies copy the bytes.
class VELTRAND_CORE_API ByteBuffer {
public:
    ByteBuffer() = default;
    /// @p size bytes of undefined content, to be written by the caller.
    explicit ByteBuffer(std::size_t size);
    /// A copy of the bytes of @p view.
    explicit ByteBuffer(ByteBufferView view);
    /// Has memory of its own.
    ByteBuffer(const ByteBuffer& other);
    /// As the copy constructor; if memory runs out, this buffer is as it was.
    ByteBuffer& operator=(const ByteBuffer& other);
    /// The source is then empty.
    ByteBuffer(ByteBuffer&& other) noexcept;
    ByteBuffer& operator=(ByteBuffer&& other) noexcept;
    ~ByteBuffer() = default;

    /// May be written to, up to `size()` bytes; null for an empty buffer that never had any.
    [[nodiscard]] std::byte* data() { return m_data.get(); }
    /// The same for reading.
    [[nodiscard]] const std::byte* data() const { return m_data.get(); }
    /// In bytes.
    [[nodiscard]] std::size_t size() const { return m_size; }
    /// Whether the size is 0.
    [[nodiscard]] bool empty() const { return m_size == 0; }

    /// Forgets the bytes from @p size on; a @p size beyond the current one changes nothing.
    void shrink(std::size_t size);

    /// Good until the buffer is destroyed, assigned to or moved from.
    [[nodiscard]] ByteBufferView view() const { return {m_data.get(), m_size}; }
    /// As `view()`, so that functions which read take either.
    operator ByteBufferView() const { return view(); }

private:
    std::unique_ptr<std::byte[]> m_data;
    std::size_t m_size = 0;
};

/// Whether both ranges hold the same bytes.
[[nodiscard]] VELTRAND_CORE_API bool operator==(ByteBufferView a, ByteBufferView b);

} // namespace Veltrand
