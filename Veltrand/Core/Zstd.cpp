// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Log.h>
#include <Veltrand/Core/Zstd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>
#include <zstd.h>

namespace Veltrand::Compression::zstd {

namespace {

struct Deleter {
    void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
    void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
};
using Compressor = std::unique_ptr<ZSTD_CCtx, Deleter>;
using Decompressor = std::unique_ptr<ZSTD_DCtx, Deleter>;

// Working memory that no call uses at the moment.
template<class Worker>
class Pool {
public:
    [[nodiscard]] Worker take() {
        const std::lock_guard lock(m_mutex);
        if (m_idle.empty())
            return nullptr;
        Worker worker = std::move(m_idle.back());
        m_idle.pop_back();
        return worker;
    }
    void giveBack(Worker worker) {
        const std::lock_guard lock(m_mutex);
        if (m_idle.size() < maximumIdle)
            m_idle.push_back(std::move(worker));
    }

private:
    static constexpr std::size_t maximumIdle = 8;
    std::mutex m_mutex;
    std::vector<Worker> m_idle;
};

// The reason why a frame yields no content.
struct FrameError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::size_t checked(std::size_t result) {
    if (ZSTD_isError(result))
        throw FrameError(ZSTD_getErrorName(result));
    return result;
}

std::string tooLarge(ByteSize maximum) {
    return "its content is larger than the permitted " + std::to_string(maximum.bytes()) + " bytes";
}

// Proves that the bytes are one frame and nothing else, without decompressing it.
void checkExtent(ByteBufferView frame) {
    constexpr std::array<unsigned char, 4> magic{0x28, 0xB5, 0x2F, 0xFD};
    const auto sameByte = [](unsigned char expected, std::byte found) {
        return std::byte{expected} == found;
    };
    if (frame.size() < magic.size() || !std::equal(magic.begin(), magic.end(), frame.begin(), sameByte))
        throw FrameError("it is not a zstd frame");
    const std::size_t extent = ZSTD_findFrameCompressedSize(frame.data(), frame.size());
    if (ZSTD_isError(extent))
        throw FrameError(std::string("it is cut off or corrupt (") + ZSTD_getErrorName(extent) + ")");
    if (extent < frame.size())
        throw FrameError(std::to_string(frame.size() - extent) + " bytes follow the frame");
}

ByteBuffer decompressSized(ZSTD_DCtx& worker, ByteBufferView frame, std::uint64_t size, ByteSize maximum) {
    if (size > maximum.bytes())
        throw FrameError(tooLarge(maximum));
    // A block takes at least four bytes and yields at most 128 KiB: a lie beyond that costs no memory.
    if (size >> 17 > frame.size() / 4 + 1)
        throw FrameError("it is too short for the " + std::to_string(size) + " bytes it states");
    ByteBuffer content(static_cast<std::size_t>(size));
    const std::size_t written =
        checked(ZSTD_decompressDCtx(&worker, content.data(), content.size(), frame.data(), frame.size()));
    if (written != content.size())
        throw FrameError("its content is smaller than the size it states");
    return content;
}

ByteBuffer decompressUnsized(ZSTD_DCtx& worker, ByteBufferView frame, ByteSize maximum) {
    // One byte of room beyond the maximum tells a content of just that size from a larger one.
    const auto limit = static_cast<std::size_t>(
        std::min<std::uint64_t>(maximum.bytes(), std::numeric_limits<std::ptrdiff_t>::max() - 1) + 1);
    ByteBuffer content(std::min(limit, std::max(frame.size() * 4, ZSTD_DStreamOutSize())));
    ZSTD_inBuffer in{frame.data(), frame.size(), 0};
    ZSTD_outBuffer out{content.data(), content.size(), 0};
    checked(ZSTD_DCtx_reset(&worker, ZSTD_reset_session_only));
    while (checked(ZSTD_decompressStream(&worker, &out, &in)) != 0) {
        if (out.pos < out.size && in.pos == in.size)
            throw FrameError("it is cut off");
        if (out.pos < out.size)
            continue;
        if (out.size == limit)
            break;
        ByteBuffer larger(out.size < limit / 2 ? out.size * 2 : limit);
        std::copy(content.data(), content.data() + out.pos, larger.data());
        content = std::move(larger);
        out = {content.data(), content.size(), out.pos};
    }
    if (out.pos == limit)
        throw FrameError(tooLarge(maximum));
    return ByteBuffer(ByteBufferView(content.data(), out.pos));
}

} // namespace

struct Context::Impl {
    Pool<Compressor> compressors;
    Pool<Decompressor> decompressors;
};

Context::Context()
    : m_impl(std::make_unique<Impl>()) {}
Context::Context(Context&& other) noexcept = default;
Context& Context::operator=(Context&& other) noexcept = default;
Context::~Context() = default;

static_assert(std::is_nothrow_move_constructible_v<Context> && !std::is_copy_constructible_v<Context>);

ByteBuffer Context::compress(ByteBufferView content, int level) const {
    Compressor worker = m_impl->compressors.take();
    if (!worker)
        worker.reset(ZSTD_createCCtx());
    if (!worker)
        throw std::bad_alloc();
    level = std::clamp(level, ZSTD_minCLevel(), ZSTD_maxCLevel());
    checked(ZSTD_CCtx_setParameter(worker.get(), ZSTD_c_compressionLevel, level));
    checked(ZSTD_CCtx_setParameter(worker.get(), ZSTD_c_checksumFlag, 1));
    ByteBuffer frame(ZSTD_compressBound(content.size()));
    frame.shrink(
        checked(ZSTD_compress2(worker.get(), frame.data(), frame.size(), content.data(), content.size())));
    m_impl->compressors.giveBack(std::move(worker));
    return ByteBuffer(frame.view());
}

std::optional<ByteBuffer> Context::decompress(ByteBufferView frame, ByteSize maximumSize) const {
    std::string reason;
    try {
        checkExtent(frame);
        Decompressor worker = m_impl->decompressors.take();
        if (!worker)
            worker.reset(ZSTD_createDCtx());
        if (!worker)
            throw std::bad_alloc();
        const std::uint64_t size = ZSTD_getFrameContentSize(frame.data(), frame.size());
        if (size == ZSTD_CONTENTSIZE_ERROR)
            throw FrameError("its header is corrupt");
        ByteBuffer content = size == ZSTD_CONTENTSIZE_UNKNOWN
                                 ? decompressUnsized(*worker, frame, maximumSize)
                                 : decompressSized(*worker, frame, size, maximumSize);
        m_impl->decompressors.giveBack(std::move(worker));
        return content;
    } catch (const FrameError& error) {
        reason = error.what();
    } catch (const std::bad_alloc&) {
        reason = "out of memory";
    }
    constexpr std::string_view category = "Core.Compression.zstd";
    if (Log::isAccepted(Log::Error, category))
        Log::log(Log::Error, category,
                 "Cannot decompress a frame of " + std::to_string(frame.size()) + " bytes: " + reason + '.');
    return std::nullopt;
}

} // namespace Veltrand::Compression::zstd
