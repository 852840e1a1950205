// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/LRUCache.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Veltrand {

namespace {

using Evictions = std::vector<std::string>;

constexpr ByteSize bytes(std::uint64_t count) {
    return ByteSize(count);
}

} // namespace

TEST(LRUCache, EvictsTheLeastRecentlyUsed) {
    Container::LRUCache<std::string, int> cache(bytes(2));
    Evictions evicted;
    cache.evictionSignal().connect([&](const std::string& key) { evicted.push_back(key); });
    cache.insert("a", 1, bytes(1));
    cache.insert("b", 2, bytes(1));
    ASSERT_NE(cache.find("a"), nullptr);
    cache.insert("c", 3, bytes(1));
    EXPECT_EQ(evicted, Evictions{"b"});
    cache.insert("big", 4, bytes(3));
    EXPECT_EQ(evicted, (Evictions{"b", "a", "c", "big"}));
    EXPECT_EQ(cache.totalSize(), bytes(0));
}

TEST(LRUCache, ReplacesAPresentKeyInFront) {
    Container::LRUCache<std::string, int> cache(bytes(10));
    Evictions evicted;
    cache.evictionSignal().connect([&](const std::string& key) { evicted.push_back(key); });
    cache.insert("a", 1, bytes(4));
    cache.insert("b", 2, bytes(4));
    const auto* const a = cache.find("a");
    cache.insert("b", 3, bytes(1));
    cache.insert("a", 5, bytes(9));
    EXPECT_EQ(cache.find("a"), a);
    EXPECT_EQ(a->value(), 5);
    EXPECT_EQ(cache.totalSize(), bytes(10));
    cache.setBudget(bytes(9));
    EXPECT_EQ(evicted, Evictions{"b"});
}

TEST(LRUCache, ExtractsAndClearsInSilence) {
    Container::LRUCache<std::string, std::unique_ptr<int>> cache(bytes(10));
    cache.evictionSignal().connect([](const std::string& key) { ADD_FAILURE() << key; });
    cache.insert("a", std::make_unique<int>(1), bytes(4));
    cache.insert("b", std::make_unique<int>(2), bytes(5));
    const auto a = cache.extract(cache.find("a")->key());
    EXPECT_EQ(**a, 1);
    EXPECT_EQ(cache.totalSize(), bytes(5));
    cache.clear();
    EXPECT_EQ(cache.elementCount(), 0u);
}

TEST(LRUCache, EvictionSlotsMayChangeTheCache) {
    Container::LRUCache<std::string, int> cache(bytes(2));
    Evictions evicted;
    cache.evictionSignal().connect([&](const std::string& key) {
        evicted.push_back(key);
        EXPECT_FALSE(cache.contains(key));
        EXPECT_EQ(cache.totalSize(), bytes(cache.elementCount()));
        if (key == "a") {
            cache.insert("from slot", 0, bytes(1)); // evicts "b" from within
            cache.insert("a", 9, bytes(1));
        }
        if (key == "from slot")
            cache.clear();
    });
    cache.insert("a", 1, bytes(1));
    cache.insert("b", 2, bytes(1));
    cache.insert("c", 3, bytes(1));
    EXPECT_EQ(evicted, (Evictions{"a", "b", "c"}));
    EXPECT_TRUE(cache.contains("a"));
    cache.insert("d", 4, bytes(1));
    EXPECT_EQ(evicted, (Evictions{"a", "b", "c", "from slot"}));
    EXPECT_EQ(cache.elementCount(), 0u);
}

} // namespace Veltrand
