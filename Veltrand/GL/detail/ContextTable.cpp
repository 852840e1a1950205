// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/ContextTable.h>

#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/detail/Endings.h>
#include <Veltrand/GL/detail/LocalContexts.h>
#include <Veltrand/GL/detail/ShareGroup.h>

#include <unistd.h>
#include <utility>
#include <vector>

namespace Veltrand::GL {

ContextTable& ContextTable::get() {
    static ContextTable* const instance = new ContextTable;
    return *instance;
}

bool ContextTable::add(Handle context, std::shared_ptr<ShareGroup> group) {
    const std::lock_guard lock(m_mutex);
    return m_records.emplace(context, Record{.group = std::move(group), .process = getpid()}).second;
}

void ContextTable::setOwner(Handle context, Context& owner) {
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_records.find(context); found != m_records.end())
        found->second.owner = &owner;
}

void ContextTable::remove(Handle context) {
    const std::lock_guard lock(m_mutex);
    m_records.erase(context);
}

std::shared_ptr<ShareGroup> ContextTable::groupOf(Handle context) {
    if (context == 0)
        return std::make_shared<ShareGroup>();
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_records.find(context); found != m_records.end())
        return found->second.group;
    return foreignGroupLocked({});
}

std::shared_ptr<ShareGroup> ContextTable::foreignGroup(const std::string& displayName) {
    const std::lock_guard lock(m_mutex);
    return foreignGroupLocked(displayName);
}

std::shared_ptr<ShareGroup> ContextTable::foreignGroupLocked(const std::string& displayName) {
    std::shared_ptr<ShareGroup>& group = m_foreign[displayName];
    if (!group)
        group = std::make_shared<ShareGroup>(displayName);
    return group;
}

void ContextTable::noteCurrent(Handle context) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_records.find(context);
    if (found == m_records.end())
        return;
    found->second.thread = found->second.lastThread = std::this_thread::get_id();
    callAtThreadEnd(&endThread); // whose id is given out again at once
}

void ContextTable::noteReleased(Handle context) {
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_records.find(context); found != m_records.end())
        found->second.thread = {};
}

std::thread::id ContextTable::threadOf(Handle context) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_records.find(context);
    if (found == m_records.end())
        return {};
    const std::thread::id thread = found->second.thread;
    // Others may have released it here.
    const bool released =
        thread == std::this_thread::get_id() && ContextManager::currentContextId() != context;
    return released ? std::thread::id() : thread;
}

bool ContextTable::isCurrentOnAnotherThread(Handle context) {
    const std::thread::id thread = threadOf(context);
    return thread != std::thread::id() && thread != std::this_thread::get_id();
}

std::vector<Context*> ContextTable::ownersOfThisThread() {
    const std::lock_guard lock(m_mutex);
    std::vector<Context*> owners;
    for (const auto& [handle, record] : m_records)
        if (record.owner && record.lastThread == std::this_thread::get_id() && record.process == getpid())
            owners.push_back(record.owner);
    return owners;
}

bool ContextTable::leaveToItsThread(Handle context, std::thread::id endingThread) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_records.find(context);
    if (found == m_records.end())
        return false;
    Record& record = found->second;
    record.left |= record.thread != std::thread::id() && record.thread != endingThread &&
                   record.thread != std::this_thread::get_id();
    return record.left;
}

bool ContextTable::takeLeft(Handle context) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_records.find(context);
    return found != m_records.end() && found->second.thread == std::this_thread::get_id() &&
           std::exchange(found->second.left, false);
}

// The thread's data of the window system may be gone already, so that a left context is made current again.
void ContextTable::endThread() {
    ContextTable& table = get();
    std::vector<Context*> left;
    {
        const std::lock_guard lock(table.m_mutex);
        for (auto& [handle, record] : table.m_records) {
            if (record.lastThread == std::this_thread::get_id())
                record.lastThread = {};
            if (record.thread != std::this_thread::get_id() || record.process != getpid())
                continue;
            if (std::exchange(record.left, false) && record.owner)
                left.push_back(record.owner);
            record.thread = {};
        }
    }
    for (Context* context : left)
        context->deinitialize();
    destroyLeftContexts();
}

} // namespace Veltrand::GL
