// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Resource.h>

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace Veltrand::Testing {

/// A repository that serves the files of a map for as long as it lives.
class MapRepository final : public Resource::Repository {
public:
    using Files = std::map<std::string, std::string, std::less<>>;
    /// Runs in each query; false if the file cannot be produced.
    using OnQuery = std::function<bool(std::string_view file)>;

    MapRepository(std::string name, Files files, OnQuery onQuery = {})
        : m_name(std::move(name))
        , m_files(std::move(files))
        , m_onQuery(std::move(onQuery)) {
        Resource::addRepository(this);
    }
    ~MapRepository() override { Resource::removeRepository(this); }

    /// Adds a file or replaces its content. No other thread may read meanwhile.
    void set(const std::string& file, std::string content) { m_files[file] = std::move(content); }
    void remove(const std::string& file) { m_files.erase(file); }

    [[nodiscard]] std::string name() const override { return m_name; }
    [[nodiscard]] bool contains(std::string_view const& file) const override {
        return m_files.contains(file);
    }
    [[nodiscard]] std::optional<ByteBuffer> query(std::string_view const& file) const override {
        const auto found = m_files.find(file);
        if (found == m_files.end() || (m_onQuery && !m_onQuery(file)))
            return std::nullopt;
        return ByteBuffer(ByteBufferView(found->second.data(), found->second.size()));
    }

private:
    std::string m_name;
    Files m_files;
    OnQuery m_onQuery;
};

} // namespace Veltrand::Testing
