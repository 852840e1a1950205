// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/ByteBuffer.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Veltrand::Resource {

/// The files of a repository as they lie in the library: each name with the chunks that make up its payload.
class EmbeddedFiles {
public:
    using Chunks = std::vector<ByteBufferView>;

    void add(std::string name, Chunks chunks) { m_files.emplace(std::move(name), std::move(chunks)); }

    /// The chunks of a file, null when there is none of this name.
    [[nodiscard]] const Chunks* find(std::string_view name) const {
        const auto found = m_files.find(name);
        return found == m_files.end() ? nullptr : &found->second;
    }

    /// A copy of the bytes of all chunks, one after the other.
    [[nodiscard]] static ByteBuffer gather(const Chunks& chunks) {
        if (chunks.size() == 1)
            return ByteBuffer(chunks.front());
        std::size_t size = 0;
        for (const ByteBufferView& chunk : chunks)
            size += chunk.size();
        ByteBuffer payload(size);
        std::byte* end = payload.data();
        for (const ByteBufferView& chunk : chunks)
            end = std::copy(chunk.begin(), chunk.end(), end);
        return payload;
    }

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
    };
    std::unordered_map<std::string, Chunks, Hash, std::equal_to<>> m_files;
};

} // namespace Veltrand::Resource
