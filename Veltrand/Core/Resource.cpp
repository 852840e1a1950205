// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Resource.h>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Veltrand::Resource {

namespace {

struct Entry {
    const Repository* repository;
    std::vector<std::thread::id> users; // one for each call in flight
    bool leaving = false;               // removed, and listed only until its last call returns
};

struct Registry {
    std::mutex mutex;
    std::condition_variable released;
    std::vector<std::shared_ptr<Entry>> entries; // newest first

    void eraseIdle() {
        std::erase_if(entries, [](const auto& entry) { return entry->leaving && entry->users.empty(); });
    }
};

// Constructed by whichever static initialiser comes first, never destroyed: repositories unregister at exit.
Registry& registry() {
    static Registry* const instance = new Registry;
    return *instance;
}

// Keeps a repository registered, or its removal waiting, while one of its operations runs.
class Use {
public:
    explicit Use(std::shared_ptr<Entry> entry)
        : m_entry(std::move(entry)) {} // the registry's mutex is held
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    ~Use() {
        Registry& r = registry();
        const std::lock_guard lock(r.mutex);
        const auto mine = std::find(m_entry->users.begin(), m_entry->users.end(), std::this_thread::get_id());
        m_entry->users.erase(mine);
        if (m_entry->leaving) {
            r.eraseIdle();
            r.released.notify_all();
        }
    }

    [[nodiscard]] const Repository& repository() const { return *m_entry->repository; }

private:
    std::shared_ptr<Entry> m_entry;
};

// Calls visit(repository) for each repository of that name, newest first, until it returns true. The registry
// is not locked meanwhile, so a repository may itself ask for resources.
template<class Visit>
void forEachNamed(std::string_view name, Visit&& visit) {
    Registry& r = registry();
    std::unique_lock lock(r.mutex);
    const auto snapshot = r.entries;
    lock.unlock();
    for (const auto& entry : snapshot) {
        lock.lock();
        if (entry->leaving) {
            lock.unlock();
            continue;
        }
        entry->users.push_back(std::this_thread::get_id());
        const Use use(entry);
        lock.unlock();
        const Repository& repository = use.repository();
        if ((name.empty() || repository.name() == name) && visit(repository))
            return;
    }
}

} // namespace

Repository::~Repository() {
    removeRepository(this);
}

void addRepository(const Repository* repository) {
    if (!repository)
        return;
    Registry& r = registry();
    const std::lock_guard lock(r.mutex);
    const bool known = std::any_of(r.entries.begin(), r.entries.end(), [&](const auto& entry) {
        return entry->repository == repository && !entry->leaving;
    });
    if (!known)
        r.entries.insert(r.entries.begin(), std::make_shared<Entry>(Entry{repository, {}}));
}

void removeRepository(const Repository* repository) {
    Registry& r = registry();
    std::unique_lock lock(r.mutex);
    // An entry that another thread is removing counts too: both calls wait until it is out of use.
    std::vector<std::shared_ptr<Entry>> leaving;
    for (const auto& entry : r.entries)
        if (entry->repository == repository)
            leaving.push_back(entry);
    for (const auto& entry : leaving)
        entry->leaving = true;
    const auto isMine = [self = std::this_thread::get_id()](std::thread::id user) { return user == self; };
    r.released.wait(lock, [&] {
        return std::all_of(leaving.begin(), leaving.end(), [&](const auto& entry) {
            return std::all_of(entry->users.begin(), entry->users.end(), isMine);
        });
    });
    r.eraseIdle();
}

const Repository* locate(std::string_view repository, std::string_view path) {
    const Repository* result = nullptr;
    forEachNamed(repository, [&](const Repository& candidate) {
        if (candidate.contains(path))
            result = &candidate;
        return result != nullptr;
    });
    return result;
}

std::optional<ByteBuffer> query(std::string_view repository, std::string_view path) {
    std::optional<ByteBuffer> result;
    forEachNamed(repository, [&](const Repository& candidate) {
        if (candidate.contains(path))
            result = candidate.query(path);
        return result.has_value();
    });
    return result;
}

} // namespace Veltrand::Resource
