// SPDX-License-Identifier: BSD-3-Clause
#include "support/Png.h"

#include <Veltrand/Core/NotCopyable.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <png.h>
#include <unistd.h>

namespace Veltrand::Apps {

namespace {

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& reason) {
    throw std::runtime_error("cannot write " + file.string() + ": " + reason + ".");
}

std::string lastError() {
    return std::generic_category().message(errno);
}

/// A new file that is removed again unless it was kept.
class TemporaryFile : private Utils::NotCopyable {
public:
    explicit TemporaryFile(const std::filesystem::path& target)
        : m_target(target)
        , m_path(target.parent_path() /
                 ("." + target.filename().string() + "." + std::to_string(::getpid()) + ".part")) {
        const int descriptor = ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (descriptor < 0)
            refuse(m_target, lastError());
        m_stream = ::fdopen(descriptor, "wb");
        if (m_stream == nullptr) {
            ::close(descriptor);
            std::remove(m_path.c_str());
            refuse(m_target, lastError());
        }
    }
    ~TemporaryFile() {
        if (m_stream != nullptr)
            std::fclose(m_stream);
        if (!m_kept)
            std::remove(m_path.c_str());
    }

    [[nodiscard]] std::FILE* stream() const { return m_stream; }

    void keep() {
        std::FILE* stream = m_stream;
        m_stream = nullptr;
        if (std::fclose(stream) != 0 || std::rename(m_path.c_str(), m_target.c_str()) != 0)
            refuse(m_target, lastError());
        m_kept = true;
    }

private:
    std::filesystem::path m_target;
    std::filesystem::path m_path;
    std::FILE* m_stream = nullptr;
    bool m_kept = false;
};

} // namespace

void writePng(const std::filesystem::path& file, int width, int height,
              Utils::Span<const std::uint8_t> rgba) {
    if (width < 1 || height < 1 ||
        rgba.size() != std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
        refuse(file, "the pixels do not fill its size");
    TemporaryFile temporary(file);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGBA;
    // A negative stride: the first row in memory is the lowest one.
    if (png_image_write_to_stdio(&image, temporary.stream(), 0, rgba.data(), -4 * width, nullptr) == 0)
        refuse(file, image.message);
    temporary.keep();
}

} // namespace Veltrand::Apps
