// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"

#include <Veltrand/Core/DirectoryRepository.h>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace Veltrand {

namespace {

namespace fs = std::filesystem;

class DirectoryRepositoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(m_root / "inside" / "folder");
        write("secret", "secret");
        write("inside/a", "first");
        write("inside/folder/b", "deep");
    }
    void TearDown() override { fs::remove_all(m_root); }
    void write(const char* file, const char* text) const { std::ofstream(m_root / file) << text; }

    static std::string content(const std::string& path) {
        const auto bytes = Resource::query("Files", path);
        return bytes ? bytes->view().toString() : "none";
    }

    const fs::path m_root = fs::path(::testing::TempDir()) / ("directory" + std::to_string(getpid()));
};

} // namespace

TEST_F(DirectoryRepositoryTest, ServesWhatLiesInTheDirectoryAndNothingElse) {
    fs::create_symlink("../secret", m_root / "inside" / "link");
    Testing::LogCapture log;
    const Resource::DirectoryRepository repository("Files", m_root / "inside");
    const struct {
        std::string file;
        const char* content;
        bool escapes = false;
    } cases[] = {
        {"a", "first"},
        {"folder/b", "deep"},
        {"", "none"},
        {"folder", "none"},
        {std::string("a\0b", 3), "none"},
        {"../secret", "none", true},
        {"link", "none", true},
        {(m_root / "secret").string(), "none", true},
    };
    for (const auto& [file, expected, escapes] : cases) {
        EXPECT_EQ(content(file), expected) << file;
        EXPECT_NE(log.take("Core.Resource.DirectoryRepository").empty(), escapes) << file;
    }
    EXPECT_THROW(Resource::DirectoryRepository("Files", m_root / "none"), std::runtime_error);
}

TEST_F(DirectoryRepositoryTest, TellsWhichOfTheFilesAskedForHaveChanged) {
    using Names = std::vector<std::string>;
    Resource::DirectoryRepository repository("Files", m_root / "inside");
    EXPECT_EQ(content("a") + content("folder/b") + content("new"), "firstdeepnone");
    EXPECT_EQ(repository.takeChanges(), Names{});
    write("inside/a", "second");
    write("inside/new", "new");
    write("inside/other", "not asked for");
    fs::remove(m_root / "inside" / "folder" / "b");
    EXPECT_EQ(content("a") + content("folder/b") + content("new"), "secondnonenew");
    EXPECT_EQ(repository.takeChanges(), (Names{"a", "folder/b", "new"}));
    EXPECT_EQ(repository.takeChanges(), Names{});
}

} // namespace Veltrand
