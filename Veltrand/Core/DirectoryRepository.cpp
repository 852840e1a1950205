// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/DirectoryRepository.h>

#include <Veltrand/Core/Log.h>

#include <algorithm>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Veltrand::Resource {

namespace {

namespace fs = std::filesystem;

// Tells one state of a file from the next; all zero for no file. Editors that replace a file change its
// inode, others its time.
struct Stamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    time_t seconds = 0;
    long nanoseconds = 0;
    friend bool operator==(const Stamp&, const Stamp&) = default;
};

Stamp stampOf(const fs::path& path) {
    struct stat status {};
    if (path.empty() || stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

class File {
public:
    explicit File(const fs::path& path)
        // Not waiting for the other end, should the file have become a pipe.
        : m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK)) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }

    // Up to its end, however long the file has become meanwhile; nothing if it cannot be read.
    [[nodiscard]] std::optional<std::string> read() const {
        std::string text;
        char block[16384];
        for (;;) {
            const ssize_t count = ::read(m_descriptor, block, sizeof(block));
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                return std::nullopt;
            if (count == 0)
                return text;
            text.append(block, static_cast<std::size_t>(count));
        }
    }

private:
    int m_descriptor;
};

} // namespace

struct __attribute__((visibility("hidden"))) DirectoryRepository::Private {
    std::string name;
    fs::path directory;
    mutable std::mutex mutex;
    std::map<std::string, Stamp, std::less<>> known; // by name, of everything that was asked for

    [[nodiscard]] fs::path resolve(std::string_view file) const;
    Stamp remember(std::string_view file);
};

// The file that a name stands for, free of links; empty when there is none in the directory.
fs::path DirectoryRepository::Private::resolve(std::string_view file) const {
    if (file.empty() || file.find('\0') != std::string_view::npos)
        return {};
    std::error_code error;
    const fs::path root = fs::canonical(directory, error);
    if (error)
        return {};
    fs::path path = fs::canonical(root / file, error);
    if (error)
        return {};
    const auto [rootEnd, end] = std::mismatch(root.begin(), root.end(), path.begin(), path.end());
    if (rootEnd == root.end())
        return path;
    constexpr std::string_view category = "Core.Resource.DirectoryRepository";
    if (Log::isAccepted(Log::Warning, category))
        Log::log(Log::Warning, category,
                 "'" + std::string(file) + "' leads out of the directory " + directory.string());
    return {};
}

// Notes the file's state when its name is asked for first, before anything is read. What comes later counts
// as a change until it has been taken.
Stamp DirectoryRepository::Private::remember(std::string_view file) {
    const Stamp stamp = stampOf(resolve(file));
    const std::lock_guard lock(mutex);
    known.emplace(file, stamp);
    return stamp;
}

DirectoryRepository::DirectoryRepository(std::string name, const fs::path& directory)
    : m_data(std::make_unique<Private>()) {
    m_data->name = std::move(name);
    m_data->directory = fs::absolute(directory).lexically_normal();
    if (!fs::is_directory(m_data->directory))
        throw std::runtime_error("There is no directory " + m_data->directory.string());
    addRepository(this);
}

DirectoryRepository::~DirectoryRepository() {
    removeRepository(this);
}

std::string DirectoryRepository::name() const {
    return m_data->name;
}

const fs::path& DirectoryRepository::directory() const {
    return m_data->directory;
}

bool DirectoryRepository::contains(std::string_view const& file) const {
    return m_data->remember(file) != Stamp();
}

std::optional<ByteBuffer> DirectoryRepository::query(std::string_view const& file) const {
    if (!contains(file))
        return std::nullopt;
    const auto text = File(m_data->resolve(file)).read();
    if (!text)
        return std::nullopt;
    return ByteBuffer(ByteBufferView(static_cast<const void*>(text->data()), text->size()));
}

std::vector<std::string> DirectoryRepository::takeChanges() {
    std::vector<std::string> changed;
    const std::lock_guard lock(m_data->mutex);
    for (auto& [file, stamp] : m_data->known)
        if (const Stamp now = stampOf(m_data->resolve(file)); std::exchange(stamp, now) != now)
            changed.push_back(file);
    return changed;
}

} // namespace Veltrand::Resource
