// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/LRUCache.h>

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace Veltrand {

namespace {

using Keys = std::vector<std::string>;

class LRUCache : public ::testing::Test {
protected:
    LRUCache() {
        cache.evictionSignal().connect([this](const std::string& key) {
            evicted.push_back(key);
            onEviction(key);
        });
    }
    void insert(const std::string& key, int value, unsigned size = 1) {
        cache.insert(key, value, ByteSize(size));
    }

    Container::LRUCache<std::string, int> cache{ByteSize(2)};
    Keys evicted;
    std::function<void(const std::string& key)> onEviction = [](const std::string&) {};
};

} // namespace

TEST_F(LRUCache, EvictsTheLeastRecentlyUsed) {
    insert("a", 1);
    insert("b", 2);
    ASSERT_NE(cache.find("a"), nullptr);
    insert("c", 3);
    EXPECT_EQ(evicted, Keys{"b"});
    insert("big", 4, 3);
    EXPECT_EQ(evicted, (Keys{"b", "a", "c", "big"}));
    EXPECT_EQ(cache.totalSize(), ByteSize(0));
}

TEST_F(LRUCache, ReplacesAPresentKeyInFront) {
    cache.setBudget(ByteSize(10));
    insert("a", 1, 4);
    insert("b", 2, 4);
    const auto* const a = cache.find("a");
    insert("b", 3, 1);
    insert("a", 5, 9);
    EXPECT_EQ(cache.find("a"), a);
    EXPECT_EQ(a->value(), 5);
    EXPECT_EQ(cache.totalSize(), ByteSize(10));
    cache.setBudget(ByteSize(9));
    EXPECT_EQ(evicted, Keys{"b"});
}

TEST_F(LRUCache, ExtractsAndClearsInSilence) {
    insert("a", 1);
    insert("b", 2);
    EXPECT_EQ(cache.extract(cache.find("a")->key()), 1);
    EXPECT_EQ(cache.totalSize(), ByteSize(1));
    cache.clear();
    EXPECT_EQ(cache.elementCount(), 0u);
    EXPECT_EQ(evicted, Keys{});
}

TEST_F(LRUCache, EvictionSlotsMayChangeTheCache) {
    onEviction = [this](const std::string& key) {
        EXPECT_FALSE(cache.contains(key));
        EXPECT_EQ(cache.totalSize(), ByteSize(cache.elementCount()));
        if (key == "a") {
            insert("from slot", 0); // evicts "b" from within
            insert("a", 9);
        }
        if (key == "from slot")
            cache.clear();
    };
    insert("a", 1);
    insert("b", 2);
    insert("c", 3);
    EXPECT_EQ(evicted, (Keys{"a", "b", "c"}));
    EXPECT_TRUE(cache.contains("a"));
    insert("d", 4);
    EXPECT_EQ(evicted, (Keys{"a", "b", "c", "from slot"}));
    EXPECT_EQ(cache.elementCount(), 0u);
}

} // namespace Veltrand
