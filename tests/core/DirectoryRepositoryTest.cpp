// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

#include <Veltrand/Core/DirectoryRepository.h>

#include <gtest/gtest.h>
#include <vector>

namespace Veltrand {

namespace {

namespace fs = std::filesystem;

class DirectoryRepositoryTest : public ::testing::Test {
protected:
    DirectoryRepositoryTest() {
        fs::create_directories(inside / "folder");
        root.write("secret", "secret");
        root.write("inside/a", "first");
        root.write("inside/folder/b", "deep");
    }

    static std::string content(const std::string& path) {
        const auto bytes = Resource::query("Files", path);
        return bytes ? bytes->view().toString() : "none";
    }

    const Testing::TemporaryDirectory root;
    const fs::path inside = root.path() / "inside";
};

} // namespace

TEST_F(DirectoryRepositoryTest, ServesWhatLiesInTheDirectoryAndNothingElse) {
    fs::create_symlink("../secret", inside / "link");
    Testing::LogCapture log;
    const Resource::DirectoryRepository repository("Files", inside);
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
        {(root.path() / "secret").string(), "none", true},
    };
    for (const auto& [file, expected, escapes] : cases) {
        EXPECT_EQ(content(file), expected) << file;
        EXPECT_NE(log.take("Core.Resource.DirectoryRepository").empty(), escapes) << file;
    }
    EXPECT_THROW(Resource::DirectoryRepository("Files", root.path() / "none"), std::runtime_error);
}

TEST_F(DirectoryRepositoryTest, TellsWhichOfTheFilesAskedForHaveChanged) {
    using Names = std::vector<std::string>;
    Resource::DirectoryRepository repository("Files", inside);
    EXPECT_EQ(content("a") + content("folder/b") + content("new"), "firstdeepnone");
    EXPECT_EQ(repository.takeChanges(), Names{});
    root.write("inside/a", "second");
    root.write("inside/new", "new");
    root.write("inside/other", "not asked for");
    fs::remove(inside / "folder" / "b");
    EXPECT_EQ(content("a") + content("folder/b") + content("new"), "secondnonenew");
    EXPECT_EQ(repository.takeChanges(), (Names{"a", "folder/b", "new"}));
    EXPECT_EQ(repository.takeChanges(), Names{});
}

} // namespace Veltrand
