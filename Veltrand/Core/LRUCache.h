// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/ByteSize.h>
#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/Core/Signal.h>

#include <cstddef>
#include <functional>
#include <iterator>
#include <list>
#include <optional>
#include <unordered_map>
#include <utility>

namespace Veltrand::Container {

/// A map of bounded size that drops what has not been used for longest. What a size counts is up to the
/// caller: bytes, or 1 for each element. The sum of all sizes has to fit 64 bits.
///
/// Eviction slots and destructors of values may call any operation of the cache: when they run, the element
/// concerned has left the cache, which is consistent. The cache belongs to one thread at a time.
template<class Key, class Value, class Hasher = std::hash<Key>, class Equal = std::equal_to<Key>>
class LRUCache : private Utils::NotCopyable {
public:
    /// Not thread-safe, like the cache.
    using EvictionSignal = SignalImpl<false, Key const&>;

    /// What is kept under one key. Its value may be changed in place, its size only by `insert`.
    class Element {
    public:
        /// For the cache itself.
        Element(Key key, Value value, ByteSize size)
            : m_key(std::move(key))
            , m_value(std::move(value))
            , m_size(size) {}

        /// What it was inserted with.
        [[nodiscard]] const Key& key() const { return m_key; }
        /// May be changed or moved from.
        [[nodiscard]] Value& value() { return m_value; }
        /// The same for reading.
        [[nodiscard]] const Value& value() const { return m_value; }
        /// As given at insertion, whatever has become of the value.
        [[nodiscard]] ByteSize size() const { return m_size; }

    private:
        friend class LRUCache;
        Key m_key;
        Value m_value;
        ByteSize m_size;
    };

    /// Empty. A budget of 0 keeps nothing but elements of size 0.
    explicit LRUCache(ByteSize budget)
        : m_budget(budget) {}
    ~LRUCache() { clear(); }

    /// Emitted with the key of each element that trimming evicts, after the element has left the cache and
    /// before its value is destroyed.
    [[nodiscard]] EvictionSignal& evictionSignal() { return m_evicted; }

    /// Puts an element in front, then trims. If the key is present, its element gets the new value and size,
    /// and the old value is destroyed. When copying or allocating throws, the cache is as it was.
    void insert(Key key, Value value, ByteSize size);

    /// The element of @p key, which becomes the most recently used; null when there is none. It stays where
    /// it is until it is evicted, extracted or cleared.
    [[nodiscard]] Element* find(const Key& key);
    /// Whether there is such an element; its rank stays as it is.
    [[nodiscard]] bool contains(const Key& key) const { return m_index.contains(&key); }
    /// Removes the element of @p key and hands out its value. The eviction signal stays silent.
    [[nodiscard]] std::optional<Value> extract(const Key& key);
    /// Removes every element, the least recently used one first. The eviction signal stays silent.
    void clear();

    /// Evicts least recently used elements as long as the total size is above the budget; an element that is
    /// larger than the budget goes too, once it is the last one. What a slot throws leaves this function with
    /// the elements evicted so far gone.
    void trim();

    /// What the sizes may add up to.
    [[nodiscard]] ByteSize budget() const { return m_budget; }
    /// Stores the new budget and trims to it.
    void setBudget(ByteSize budget);
    /// The sum of the sizes of all elements.
    [[nodiscard]] ByteSize totalSize() const { return m_totalSize; }
    /// Of whatever size.
    [[nodiscard]] std::size_t elementCount() const { return m_elements.size(); }

private:
    using List = std::list<Element>;
    // The index refers to the keys in the list, so each key is held once.
    struct KeyHasher {
        std::size_t operator()(const Key* key) const { return Hasher()(*key); }
    };
    struct KeyEqual {
        bool operator()(const Key* a, const Key* b) const { return Equal()(*a, *b); }
    };

    /// Takes an element out of list, index and size; it lives on in the returned list.
    [[nodiscard]] List unlink(typename List::iterator position);

    EvictionSignal m_evicted;
    List m_elements; // most recently used first
    std::unordered_map<const Key*, typename List::iterator, KeyHasher, KeyEqual> m_index;
    ByteSize m_budget;
    ByteSize m_totalSize;
};

template<class Key, class Value, class Hasher, class Equal>
void LRUCache<Key, Value, Hasher, Equal>::insert(Key key, Value value, ByteSize size) {
    if (Element* const element = find(key)) {
        [[maybe_unused]] const Value old = std::exchange(element->m_value, std::move(value));
        m_totalSize -= std::exchange(element->m_size, size);
        m_totalSize += size;
    } else {
        List fresh;
        fresh.emplace_front(std::move(key), std::move(value), size);
        m_index.emplace(&fresh.front().m_key, fresh.begin());
        m_elements.splice(m_elements.begin(), fresh);
        m_totalSize += size;
    }
    trim();
}

template<class Key, class Value, class Hasher, class Equal>
auto LRUCache<Key, Value, Hasher, Equal>::find(const Key& key) -> Element* {
    const auto found = m_index.find(&key);
    if (found == m_index.end())
        return nullptr;
    m_elements.splice(m_elements.begin(), m_elements, found->second);
    return &m_elements.front();
}

template<class Key, class Value, class Hasher, class Equal>
std::optional<Value> LRUCache<Key, Value, Hasher, Equal>::extract(const Key& key) {
    const auto found = m_index.find(&key);
    if (found == m_index.end())
        return std::nullopt;
    List taken = unlink(found->second);
    return std::optional<Value>(std::move(taken.front().m_value));
}

template<class Key, class Value, class Hasher, class Equal>
void LRUCache<Key, Value, Hasher, Equal>::clear() {
    while (!m_elements.empty())
        [[maybe_unused]] const List removed = unlink(std::prev(m_elements.end()));
}

template<class Key, class Value, class Hasher, class Equal>
void LRUCache<Key, Value, Hasher, Equal>::trim() {
    while (m_totalSize > m_budget) {
        const List evicted = unlink(std::prev(m_elements.end()));
        m_evicted(evicted.front().m_key);
    }
}

template<class Key, class Value, class Hasher, class Equal>
void LRUCache<Key, Value, Hasher, Equal>::setBudget(ByteSize budget) {
    m_budget = budget;
    trim();
}

template<class Key, class Value, class Hasher, class Equal>
auto LRUCache<Key, Value, Hasher, Equal>::unlink(typename List::iterator position) -> List {
    m_index.erase(&position->m_key);
    m_totalSize -= position->m_size;
    List taken;
    taken.splice(taken.begin(), m_elements, position);
    return taken;
}

} // namespace Veltrand::Container
