// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/LocalContexts.h>

#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/detail/ContextTable.h>
#include <Veltrand/GL/detail/PreviousCurrent.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

std::uintptr_t handleOf(const Context& context) {
    return reinterpret_cast<std::uintptr_t>(context.internalHandle());
}

// Contexts of earlier starts. Never destroyed: each waits for its thread.
struct LeftContexts {
    static LeftContexts& get() {
        static LeftContexts* const instance = new LeftContexts;
        return *instance;
    }

    std::mutex mutex;
    std::unordered_map<std::thread::id, std::vector<std::unique_ptr<Context>>> contexts;
    std::atomic<std::size_t> count{0}; // in most processes there never is one
};

} // namespace

// Under the lock, since `close` destroys what is not current.
std::optional<bool> LocalContexts::makeCurrent() {
    const std::lock_guard lock(m_mutex);
    const auto found = m_contexts.find(std::this_thread::get_id());
    return found == m_contexts.end() ? std::nullopt : std::optional(found->second->makeCurrent());
}

bool LocalContexts::add(std::unique_ptr<Context> context) {
    const std::lock_guard lock(m_mutex);
    if (!m_closed)
        m_contexts.emplace(std::this_thread::get_id(), std::move(context));
    return !m_closed;
}

std::unique_ptr<Context> LocalContexts::take() {
    const std::lock_guard lock(m_mutex);
    auto taken = m_contexts.extract(std::this_thread::get_id());
    return taken ? std::move(taken.mapped()) : nullptr;
}

std::size_t LocalContexts::close() {
    Map contexts;
    std::size_t left = 0;
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    contexts.swap(m_contexts);
    // Under the lock, so that a thread which ends now finds its context in one place or the other.
    for (auto& [thread, context] : contexts)
        if (ContextTable::get().isCurrentOnAnotherThread(handleOf(*context))) {
            leaveToThread(thread, std::move(context));
            ++left;
        }
    return left;
}

void leaveToThread(std::thread::id thread, std::unique_ptr<Context> context) {
    LeftContexts& left = LeftContexts::get();
    const std::lock_guard lock(left.mutex);
    left.contexts[thread].push_back(std::move(context));
    ++left.count;
}

void destroyLeftContexts(LeftCurrent current) {
    LeftContexts& left = LeftContexts::get();
    if (left.count == 0)
        return;
    std::vector<std::unique_ptr<Context>> mine;
    {
        const std::lock_guard lock(left.mutex);
        const auto entry = left.contexts.find(std::this_thread::get_id());
        if (entry == left.contexts.end())
            return;
        std::vector<std::unique_ptr<Context>>& all = entry->second;
        const auto firstKept = std::partition(all.begin(), all.end(), [current](const auto& context) {
            return current == LeftCurrent::Destroyed ||
                   handleOf(*context) != ContextManager::currentContextId();
        });
        mine.assign(std::move_iterator(all.begin()), std::move_iterator(firstKept));
        all.erase(all.begin(), firstKept);
        if (all.empty())
            left.contexts.erase(entry);
        left.count -= mine.size();
    }
    if (mine.empty())
        return;
    std::optional<PreviousCurrent> other;
    if (std::none_of(mine.begin(), mine.end(), [](const auto& context) {
            return handleOf(*context) == ContextManager::currentContextId();
        }))
        other.emplace();
    mine.clear();
}

} // namespace Veltrand::GL
