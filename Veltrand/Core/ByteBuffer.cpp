// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/ByteBuffer.h>

#include <algorithm>
#include <utility>

namespace Veltrand {

ByteBuffer::ByteBuffer(std::size_t size)
    : m_data(size ? std::make_unique_for_overwrite<std::byte[]>(size) : nullptr)
    , m_size(size) {}

ByteBuffer::ByteBuffer(ByteBufferView view)
    : ByteBuffer(view.size()) {
    std::copy(view.begin(), view.end(), m_data.get());
}

ByteBuffer::ByteBuffer(const ByteBuffer& other)
    : ByteBuffer(other.view()) {}

ByteBuffer& ByteBuffer::operator=(const ByteBuffer& other) {
    if (this != &other)
        *this = ByteBuffer(other.view());
    return *this;
}

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : m_data(std::move(other.m_data))
    , m_size(std::exchange(other.m_size, 0)) {}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
    m_data = std::move(other.m_data);
    m_size = std::exchange(other.m_size, 0);
    return *this;
}

void ByteBuffer::shrink(std::size_t size) {
    m_size = std::min(m_size, size);
}

bool operator==(ByteBufferView a, ByteBufferView b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

} // namespace Veltrand
