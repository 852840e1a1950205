// SPDX-License-Identifier: BSD-3-Clause
#include "support/MapRepository.h"
#include "support/Threads.h"

#include <Veltrand/Core/Resource.h>

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace Veltrand {

namespace {

using Testing::MapRepository;

std::string content(std::string_view repository, std::string_view path) {
    const auto bytes = Resource::query(repository, path);
    return bytes ? bytes->view().toString() : "none";
}

const MapRepository beforeMain("Static", {{"file", "static"}});

} // namespace

TEST(Resource, WorksDuringExit) {
    const auto exitWithRepository = [] {
        static const MapRepository dying("Dying", {{"file", "late"}});
        std::atexit([] {
            std::fprintf(stderr, "%s %s", content("Dying", "file").c_str(),
                         content("Static", "file").c_str());
        });
        std::exit(0);
    };
    EXPECT_EXIT(exitWithRepository(), ::testing::ExitedWithCode(0), "late static");
}

TEST(Resource, PrefersTheNewestRepositoryThatCanProduceTheFile) {
    const MapRepository oldest("A", {{"x", "old"}, {"y", "old y"}, {"z", "old z"}});
    const MapRepository other("B", {{"x", "other"}, {"w", "only B"}});
    auto newest = std::make_unique<MapRepository>("A", MapRepository::Files{{"x", "new"}, {"y", "broken"}},
                                                  [](std::string_view file) { return file != "y"; });
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
    const MapRepository inner("Inner", {{"file", "inner"}});
    std::string seen;
    std::unique_ptr<MapRepository> outer;
    outer = std::make_unique<MapRepository>("Outer", MapRepository::Files{{"file", "outer"}},
                                            [&](std::string_view) {
                                                seen = content("Inner", "file");
                                                Resource::removeRepository(outer.get());
                                                return true;
                                            });
    EXPECT_EQ(content("Outer", "file"), "outer");
    EXPECT_EQ(seen, "inner");
    EXPECT_EQ(content("Outer", "file"), "none");
}

TEST(Resource, EveryRemovalWaitsForTheQueryInFlight) {
    Testing::CallInFlight call;
    const MapRepository repository("Slow", {{"file", "slow"}}, [&](std::string_view) {
        call();
        return true;
    });
    const auto remove = [&] { Resource::removeRepository(&repository); };
    call.expectWait([] { EXPECT_EQ(content("Slow", "file"), "slow"); }, {remove, remove},
                    [] { EXPECT_EQ(Resource::locate("Slow", "file"), nullptr); });
}

TEST(Resource, TakesRepositoriesInAndOutWhileThreadsQuery) {
    const MapRepository lasting("Shared", {{"file", "lasting"}});
    const auto query = [] {
        const MapRepository mine("Passing", {{"file", "passing"}});
        const std::string text = content("Shared", "file");
        EXPECT_TRUE(text == "lasting" || text == "passing") << text;
    };
    Testing::onThreads(100, query, [] { const MapRepository passing("Shared", {{"file", "passing"}}); });
    EXPECT_EQ(content("", "file"), "lasting");
}

} // namespace Veltrand
