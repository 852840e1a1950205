// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Resource.h>
#include <map>
#include <string>
#include <utility>

/// Serves GLSL that an example carries as strings. Applications keep theirs in files, see
/// directory_reload.cpp.
class StringRepository final : public Veltrand::Resource::Repository {
public:
    using Files = std::map<std::string, std::string, std::less<>>;

    StringRepository(std::string name, Files files)
        : m_name(std::move(name))
        , m_files(std::move(files)) {
        Veltrand::Resource::addRepository(this);
    }
    ~StringRepository() override { Veltrand::Resource::removeRepository(this); }

    [[nodiscard]] std::string name() const override { return m_name; }
    [[nodiscard]] bool contains(std::string_view const& file) const override {
        return m_files.find(file) != m_files.end();
    }
    [[nodiscard]] std::optional<Veltrand::ByteBuffer> query(std::string_view const& file) const override {
        const auto found = m_files.find(file);
        if (found == m_files.end())
            return std::nullopt;
        const std::string& text = found->second;
        return Veltrand::ByteBuffer(Veltrand::ByteBufferView(text.data(), text.size()));
    }

private:
    std::string m_name;
    Files m_files;
};
