// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/ByteBuffer.h>
#include <Veltrand/Core/ByteSize.h>
#include <Veltrand/Core/Export.h>
#include <Veltrand/Core/NotCopyable.h>

#include <memory>
#include <optional>

namespace Veltrand::Compression::zstd {

/// Compresses and decompresses zstd frames, and keeps the working memory for the next call. One context
/// serves any number of threads at once. After a move the source may only be assigned to or destroyed.
class VELTRAND_CORE_API Context : private Utils::NotCopyable {
public:
    Context();
    /// Takes the working memory along.
    Context(Context&& other) noexcept;
    Context& operator=(Context&& other) noexcept;
    ~Context();

    /// @p content as one frame that carries its size and a checksum. @p level is zstd's, from fast negative
    /// ones to 22; a level beyond that range counts as its end. Throws `std::runtime_error` when zstd fails
    /// (in practice: out of memory).
    [[nodiscard]] ByteBuffer compress(ByteBufferView content, int level = 3) const;

    /// The content of @p frame, which is exactly one zstd frame, with or without a stored content size.
    ///
    /// Nothing, and one line of level 4 in "Core.Compression.zstd" that gives the reason, when the frame is
    /// corrupt or cut off, when bytes follow it, when the size it states is wrong, when the content would be
    /// larger than @p maximumSize, or when memory runs out. A frame without checksum cannot show every
    /// change. A frame without stored size must have a window of at most 128 MiB.
    [[nodiscard]] std::optional<ByteBuffer> decompress(ByteBufferView frame,
                                                       ByteSize maximumSize = ByteSize::fromGB(1)) const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Veltrand::Compression::zstd
