// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/InstanceManager.h>

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/detail/ContextTable.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cxxabi.h>
#include <iterator>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

struct Key {
    std::uintptr_t context;
    std::type_index type;
    friend bool operator==(const Key&, const Key&) = default;
};

struct KeyHash {
    std::size_t operator()(const Key& key) const { return key.type.hash_code() ^ key.context; }
};

// The type whose constructor or destructor runs on this thread with the registry locked.
thread_local const std::type_index* t_insideType = nullptr;

class InsideInstance {
public:
    explicit InsideInstance(const std::type_index& type)
        : m_previous(std::exchange(t_insideType, &type)) {}
    ~InsideInstance() { t_insideType = m_previous; }
    InsideInstance(const InsideInstance&) = delete;
    InsideInstance& operator=(const InsideInstance&) = delete;

private:
    const std::type_index* m_previous;
};

using Instances = std::unordered_map<Key, std::unique_ptr<InstanceManagerBase>, KeyHash>;

void destroy(Instances&& instances) {
    for (auto& [key, instance] : instances) {
        const InsideInstance inside(key.type);
        instance.reset();
    }
}

// Counts the forks between the first process and this one: to ask for the process at each look-up of an
// instance would be a system call each.
std::atomic<unsigned int> g_numForks{0};

class Registry {
public:
    Registry() {
        pthread_atfork(nullptr, nullptr, [] { ++g_numForks; });
    }
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;
    // OpenGL calls of destructors do nothing where no context is current. Where one is, its display may be
    // closed, and the driver may have cleaned up.
    ~Registry() {
        leaveToParentProcess();
        if (!ContextManager::hasCurrent())
            destroyAllExcept(
                [](std::uintptr_t context) { return ContextTable::get().isCurrentOnAnotherThread(context); });
        keepForEver();
    }

    // Locked, unless this thread is inside an instance and holds the lock already: an instance may own a
    // context, whose end is the end of that context's instances.
    [[nodiscard]] std::unique_lock<std::mutex> lock() {
        std::unique_lock lock(m_mutex, std::defer_lock);
        if (!t_insideType)
            lock.lock();
        leaveToParentProcess();
        return lock;
    }

    [[nodiscard]] Instances& instances() { return m_instances; }

    // Taken out first, so that what destructors do to the registry does not disturb the walk.
    template<class IsWanted>
    [[nodiscard]] Instances take(const IsWanted& isWanted) {
        Instances taken;
        for (auto entry = m_instances.begin(); entry != m_instances.end();) {
            const auto next = std::next(entry);
            if (isWanted(entry->first.context))
                taken.insert(m_instances.extract(entry));
            entry = next;
        }
        return taken;
    }
    [[nodiscard]] Instances takeContext(std::uintptr_t wanted) {
        return take([wanted](std::uintptr_t context) { return context == wanted; });
    }
    void setAside(std::uintptr_t context) { m_aside.push_back(takeContext(context)); }

    template<class IsKept>
    void destroyAllExcept(const IsKept& isKept) {
        destroy(take([&isKept](std::uintptr_t context) { return !isKept(context); }));
        for (Instances& aside : std::exchange(m_aside, {}))
            destroy(std::move(aside));
    }

private:
    // In a forked child the instances name objects of contexts that the parent still uses; they are kept
    // where nothing destroys them.
    void leaveToParentProcess() {
        const unsigned int numForks = g_numForks;
        if (std::exchange(m_numForks, numForks) == numForks)
            return;
        keepForEver();
    }
    void keepForEver() {
        static auto* const kept = new std::vector<Instances>;
        kept->push_back(std::exchange(m_instances, {}));
        for (Instances& aside : std::exchange(m_aside, {}))
            kept->push_back(std::move(aside));
    }

    std::mutex m_mutex;
    Instances m_instances;
    std::vector<Instances> m_aside;
    unsigned int m_numForks = 0;
};

Registry g_registry;

std::string typeName(const std::type_index& type) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    return name ? name.get() : type.name();
}

} // namespace

InstanceManagerBase* InstanceManagerBase::lookup(const std::type_index& type,
                                                 InstanceManagerBase* (*createFunc)()) {
    if (t_insideType)
        throw std::logic_error("Per-context instance of " + typeName(type) +
                               " requested inside the constructor or destructor of " +
                               typeName(*t_insideType) + '.');
    const auto lock = g_registry.lock();
    const Key key{ContextManager::currentContextId(), type};
    if (const auto found = g_registry.instances().find(key); found != g_registry.instances().end())
        return found->second.get();
    const InsideInstance inside(type);
    std::unique_ptr<InstanceManagerBase> instance(createFunc());
    return g_registry.instances().emplace(key, std::move(instance)).first->second.get();
}

void InstanceManagerBase::deinitCurrent() {
    const auto lock = g_registry.lock();
    destroy(g_registry.takeContext(ContextManager::currentContextId()));
}

void InstanceManagerBase::setAside(std::uintptr_t context) {
    const auto lock = g_registry.lock();
    g_registry.setAside(context);
}

void InstanceManagerBase::deinitAll() {
    deinitAllExcept([](std::uintptr_t) { return false; });
}

void InstanceManagerBase::deinitAllExcept(const std::function<bool(std::uintptr_t)>& isKept) {
    const auto lock = g_registry.lock();
    g_registry.destroyAllExcept(isKept);
}

bool InstanceManagerBase::isInsideInstance() {
    return t_insideType != nullptr;
}

} // namespace Veltrand::GL
