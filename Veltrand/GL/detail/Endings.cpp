// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/Endings.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <pthread.h>
#include <vector>

namespace Veltrand::GL {

namespace {

using Actions = std::vector<void (*)()>;

void callAll(Actions* actions) {
    const std::unique_ptr<Actions> owned(actions);
    std::for_each(owned->rbegin(), owned->rend(), [](void (*action)()) { action(); });
}

// A key of the thread's data, whose destructor runs when a thread ends and not, as that of a thread-local
// object does, when it calls `exit`. Unloading the library deletes it.
class ActionsKey {
public:
    ActionsKey() {
        pthread_key_create(&m_key, [](void* actions) { callAll(static_cast<Actions*>(actions)); });
    }
    ActionsKey(const ActionsKey&) = delete;
    ActionsKey& operator=(const ActionsKey&) = delete;
    ~ActionsKey() { pthread_key_delete(m_key); }

    [[nodiscard]] Actions* get() const { return static_cast<Actions*>(pthread_getspecific(m_key)); }
    // Whether that could be done.
    [[nodiscard]] bool set(const Actions* actions) const { return pthread_setspecific(m_key, actions) == 0; }

private:
    pthread_key_t m_key{};
};

const ActionsKey g_actionsKey;

std::atomic<bool> g_processEnding{false};

} // namespace

void callAtThreadEnd(void (*action)()) {
    if (isProcessEnding())
        return;
    Actions* const present = g_actionsKey.get();
    if (!present) {
        auto actions = std::make_unique<Actions>(1, action);
        if (g_actionsKey.set(actions.get()))
            static_cast<void>(actions.release());
    } else if (std::find(present->begin(), present->end(), action) == present->end()) {
        present->push_back(action);
    }
}

void callThreadEndActions() {
    Actions* const actions = g_actionsKey.get();
    if (actions && g_actionsKey.set(nullptr))
        callAll(actions);
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
