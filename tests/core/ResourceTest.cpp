// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Resource.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace Veltrand {

namespace {

// Runs something in each query, and fails to produce a file that reads "broken". Registers itself once whole.
class TestRepository final : public Resource::Repository {
public:
    using Files = std::map<std::string, std::string, std::less<>>;

    TestRepository(std::string name, Files files, std::function<void()> onQuery = {})
        : m_name(std::move(name))
        , m_files(std::move(files))
        , m_onQuery(std::move(onQuery)) {
        Resource::addRepository(this);
    }
    ~TestRepository() override { Resource::removeRepository(this); }

    [[nodiscard]] std::string name() const override { return m_name; }
    [[nodiscard]] bool contains(std::string_view const& file) const override {
        return m_files.contains(file);
    }
    [[nodiscard]] std::optional<ByteBuffer> query(std::string_view const& file) const override {
        if (m_onQuery)
            m_onQuery();
        const std::string& text = m_files.find(file)->second;
        if (text == "broken")
            return std::nullopt;
        return ByteBuffer(ByteBufferView(text.data(), text.size()));
    }

private:
    std::string m_name;
    Files m_files;
    std::function<void()> m_onQuery;
};

std::string content(std::string_view repository, std::string_view path) {
    const auto bytes = Resource::query(repository, path);
    return bytes ? bytes->view().toString() : "none";
}

const TestRepository beforeMain("Static", {{"file", "static"}});

} // namespace

TEST(Resource, WorksDuringExit) {
    const auto exitWithRepository = [] {
        static const TestRepository dying("Dying", {{"file", "late"}});
        std::atexit([] {
            std::fprintf(stderr, "%s %s", content("Dying", "file").c_str(),
                         content("Static", "file").c_str());
        });
        std::exit(0);
    };
    EXPECT_EXIT(exitWithRepository(), ::testing::ExitedWithCode(0), "late static");
}

TEST(Resource, PrefersTheNewestRepositoryThatCanProduceTheFile) {
    const TestRepository oldest("A", {{"x", "old"}, {"y", "old y"}, {"z", "old z"}});
    const TestRepository other("B", {{"x", "other"}, {"w", "only B"}});
    auto newest = std::make_unique<TestRepository>("A", TestRepository::Files{{"x", "new"}, {"y", "broken"}});
    Resource::addRepository(&oldest);
    Resource::addRepository(nullptr);

    const struct {
        const char *repository, *path, *content;
        const Resource::Repository* place;
    } cases[] = {
        {"A", "x", "new", newest.get()}, {"A", "y", "old y", newest.get()}, {"A", "z", "old z", &oldest},
        {"B", "x", "other", &other},     {"", "x", "new", newest.get()},    {"", "w", "only B", &other},
        {"A", "w", "none", nullptr},     {"a", "x", "none", nullptr},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(content(c.repository, c.path), c.content) << c.repository << '/' << c.path;
        EXPECT_EQ(Resource::locate(c.repository, c.path), c.place) << c.repository << '/' << c.path;
    }
    newest.reset();
    EXPECT_EQ(content("A", "x"), "old");
}

TEST(Resource, LetsARepositoryQueryAndLeaveFromWithinItsOwnQuery) {
    const TestRepository inner("Inner", {{"file", "inner"}});
    std::string seen;
    std::unique_ptr<TestRepository> outer;
    outer = std::make_unique<TestRepository>("Outer", TestRepository::Files{{"file", "outer"}}, [&] {
        seen = content("Inner", "file");
        Resource::removeRepository(outer.get());
    });
    EXPECT_EQ(content("Outer", "file"), "outer");
    EXPECT_EQ(seen, "inner");
    EXPECT_EQ(content("Outer", "file"), "none");
}

TEST(Resource, EveryRemovalWaitsForTheQueryInFlight) {
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::atomic<bool> left{false};
    const TestRepository repository("Slow", {{"file", "slow"}}, [&] {
        entered.set_value();
        mayLeave.get_future().wait();
        left = true;
    });
    auto query = std::async(std::launch::async, [] { return content("Slow", "file"); });
    entered.get_future().wait();
    const auto remove = [&] {
        Resource::removeRepository(&repository);
        return left.load();
    };
    auto first = std::async(std::launch::async, remove);
    auto second = std::async(std::launch::async, remove);
    EXPECT_EQ(first.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    EXPECT_EQ(Resource::locate("Slow", "file"), nullptr);
    mayLeave.set_value();
    EXPECT_TRUE(first.get());
    EXPECT_TRUE(second.get());
    EXPECT_EQ(query.get(), "slow");
}

TEST(Resource, TakesRepositoriesInAndOutWhileThreadsQuery) {
    const TestRepository lasting("Shared", {{"file", "lasting"}});
    std::atomic<int> running{3};
    std::vector<std::thread> threads(3);
    for (std::thread& thread : threads)
        thread = std::thread([&] {
            for (int i = 0; i < 100; ++i) {
                const TestRepository mine("Passing", {{"file", "passing"}});
                const std::string text = content("Shared", "file");
                EXPECT_TRUE(text == "lasting" || text == "passing") << text;
            }
            --running;
        });
    while (running > 0)
        const TestRepository passing("Shared", {{"file", "passing"}});
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(content("", "file"), "lasting");
}

} // namespace Veltrand
