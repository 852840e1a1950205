// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/Endings.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <cstddef>
#include <pthread.h>
#include <utility>

namespace Veltrand::GL {

namespace {

// Has no destructor, so that it is there as long as its thread.
struct Actions {
    std::array<void (*)(), 4> list;
    std::size_t size;
};
thread_local Actions t_actions{};

void callAll() {
    const Actions actions = std::exchange(t_actions, Actions{});
    if (isProcessEnding()) // which threads may outlive a little
        return;
    for (std::size_t left = actions.size; left > 0; --left)
        actions.list[left - 1]();
}

// A key of the thread's data, whose destructor runs when a thread ends and not, as that of a thread-local
// object does, when it calls `exit`. Unloading the library deletes it.
class ThreadEndKey {
public:
    ThreadEndKey() {
        pthread_key_create(&m_key, [](void*) { callAll(); });
    }
    ThreadEndKey(const ThreadEndKey&) = delete;
    ThreadEndKey& operator=(const ThreadEndKey&) = delete;
    ~ThreadEndKey() { pthread_key_delete(m_key); }

    // Any value asks for the destructor.
    void set() const { pthread_setspecific(m_key, &t_actions); }
    void clear() const { pthread_setspecific(m_key, nullptr); }

private:
    pthread_key_t m_key{};
};

const ThreadEndKey g_threadEnd;

std::atomic<bool> g_processEnding{false};

} // namespace

void callAtThreadEnd(void (*action)()) {
    Actions& actions = t_actions;
    const auto end = actions.list.begin() + static_cast<std::ptrdiff_t>(actions.size);
    if (isProcessEnding() || std::find(actions.list.begin(), end, action) != end)
        return;
    assert(actions.size < actions.list.size());
    actions.list[actions.size++] = action;
    g_threadEnd.set();
}

void callThreadEndActions() {
    g_threadEnd.clear();
    callAll();
}

void keepLibraryUntilThreadEnd() {
    // The C library does not unmap a library while the destructor of one of its thread-local objects is due.
    struct Keep {
        Keep() = default;
        Keep(const Keep&) = delete;
        Keep& operator=(const Keep&) = delete;
        ~Keep() { std::atomic_signal_fence(std::memory_order_seq_cst); }
    };
    static thread_local const Keep keep;
    static_cast<void>(&keep);
}

bool isProcessEnding() {
    return g_processEnding;
}

void noteProcessEnd() {
    g_processEnding = true;
}

} // namespace Veltrand::GL
