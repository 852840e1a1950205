// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/ContextManagerState.h>

#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

// Never destroyed.
struct Current {
    static Current& get() {
        static Current* const instance = new Current;
        return *instance;
    }

    std::mutex mutex;
    std::shared_ptr<ContextManagerState> state = std::make_shared<ContextManagerState>();
};

} // namespace

std::unique_ptr<Context> MainContext::take() {
    const std::lock_guard lock(m_mutex);
    return std::unique_ptr<Context>(m_context.exchange(nullptr));
}

std::optional<bool> MainContext::doneCurrent() {
    const std::lock_guard lock(m_mutex);
    const Context* const context = m_context;
    return context ? std::optional(context->doneCurrent()) : std::nullopt;
}

std::shared_ptr<ContextManagerState> currentState() {
    Current& current = Current::get();
    const std::lock_guard lock(current.mutex);
    // In a forked child the record belongs to the parent; not even its thread object may be destroyed. It is
    // kept where nothing destroys it.
    if (current.state->process != getpid()) {
        static auto* const kept = new std::vector<std::shared_ptr<ContextManagerState>>;
        kept->push_back(std::exchange(current.state, std::make_shared<ContextManagerState>()));
    }
    return current.state;
}

void renewState() {
    Current& current = Current::get();
    const std::lock_guard lock(current.mutex);
    current.state = std::make_shared<ContextManagerState>();
}

} // namespace Veltrand::GL
