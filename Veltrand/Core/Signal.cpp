// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Log.h>
#include <Veltrand/Core/Signal.h>

#include <exception>
#include <map>
#include <new>
#include <string>

namespace Veltrand {

namespace detail {

// No thread holds this lock and a signal's lock at the same time, so their order cannot matter.
struct ReceiverLinks {
    std::mutex mutex;
    std::map<SignalConnection, std::weak_ptr<SignalCore>> cores;

    void forget(SignalConnection connection) {
        const std::lock_guard lock(mutex);
        cores.erase(connection);
    }
};

namespace {

std::atomic<std::uint64_t> lastConnection{0};

void forgetInReceiver(const SlotRecord& record) {
    if (const auto links = record.receiver.lock())
        links->forget(record.connection);
}

} // namespace

SlotRecord::~SlotRecord() = default;

SignalCore::SignalCore(bool threadSafe)
    : m_threadSafe(threadSafe)
    , m_records(std::make_shared<Records>()) {}

SignalCore::~SignalCore() = default;

std::unique_lock<std::mutex> SignalCore::lock() const {
    return m_threadSafe ? std::unique_lock(m_mutex) : std::unique_lock(m_mutex, std::defer_lock);
}

SignalConnection SignalCore::connect(std::shared_ptr<SlotRecord> record, const SignalReceiver* receiver) {
    const SignalConnection connection{++lastConnection};
    record->connection = connection;
    std::shared_ptr<const Records> previous; // freed after the lock is released
    const auto append = [&] {
        const auto guard = lock();
        auto records = std::make_shared<Records>(*m_records);
        records->push_back(std::move(record));
        previous = std::exchange(m_records, std::move(records));
    };
    if (!receiver) {
        append();
        return connection;
    }
    const std::shared_ptr<ReceiverLinks> links = receiver->m_links;
    record->receiver = links;
    {
        const std::lock_guard guard(links->mutex);
        links->cores.emplace(connection, weak_from_this());
    }
    try {
        append();
    } catch (...) {
        links->forget(connection);
        throw;
    }
    return connection;
}

bool SignalCore::disconnect(SignalConnection connection) noexcept {
    // Slots are destroyed last and unlocked: what they hold may use this signal.
    std::shared_ptr<const Records> previous;
    std::shared_ptr<SlotRecord> record;
    auto guard = lock();
    const auto found =
        std::find_if(m_records->begin(), m_records->end(),
                     [connection](const auto& candidate) { return candidate->connection == connection; });
    if (found == m_records->end())
        return false;
    record = *found;
    const bool wasConnected = std::exchange(record->connected, false);
    waitForOtherThreads(guard, *record);
    previous = dropIdle();
    if (guard)
        guard.unlock();
    forgetInReceiver(*record);
    return wasConnected;
}

void SignalCore::disconnectAll() noexcept {
    std::shared_ptr<const Records> previous;
    auto guard = lock();
    const std::shared_ptr<const Records> records = m_records;
    for (const auto& record : *records)
        record->connected = false;
    for (const auto& record : *records)
        waitForOtherThreads(guard, *record);
    previous = dropIdle();
    if (guard)
        guard.unlock();
    for (const auto& record : *records)
        forgetInReceiver(*record);
}

void SignalCore::waitForOtherThreads(std::unique_lock<std::mutex>& lock, const SlotRecord& record) const {
    if (!m_threadSafe)
        return;
    m_idle.wait(lock, [&record, self = std::this_thread::get_id()] {
        return std::all_of(record.callers.begin(), record.callers.end(),
                           [self](std::thread::id caller) { return caller == self; });
    });
}

// Disconnected records stay listed while they run, so that a second disconnection waits for them too.
// Returns the old list, to be freed without the lock.
std::shared_ptr<const SignalCore::Records> SignalCore::dropIdle() noexcept {
    try {
        auto kept = std::make_shared<Records>();
        std::copy_if(m_records->begin(), m_records->end(), std::back_inserter(*kept),
                     [](const auto& record) { return record->connected || !record->callers.empty(); });
        return std::exchange(m_records, std::move(kept));
    } catch (const std::bad_alloc&) {
        return nullptr; // a dead record is never called and goes with the next removal
    }
}

std::size_t SignalCore::connectionCount() const {
    const auto guard = lock();
    return static_cast<std::size_t>(std::count_if(m_records->begin(), m_records->end(),
                                                  [](const auto& record) { return record->connected; }));
}

std::shared_ptr<const SignalCore::Records> SignalCore::records() const {
    const auto guard = lock();
    return m_records;
}

void SignalCore::block() {
    ++m_blocks;
}

void SignalCore::unblock() {
    int blocks = m_blocks;
    while (blocks > 0 && !m_blocks.compare_exchange_weak(blocks, blocks - 1)) {
    }
}

bool SignalCore::isBlocked() const {
    return m_blocks > 0;
}

bool SignalCore::enter(SlotRecord& record) {
    const auto guard = lock();
    if (!record.connected)
        return false;
    record.callers.push_back(std::this_thread::get_id());
    return true;
}

void SignalCore::leave(SlotRecord& record) noexcept {
    std::shared_ptr<const Records> previous;
    const auto guard = lock();
    record.callers.erase(std::find(record.callers.begin(), record.callers.end(), std::this_thread::get_id()));
    if (record.connected)
        return;
    previous = dropIdle();
    m_idle.notify_all();
}

SlotCall::SlotCall(SignalCore& core, SlotRecord& record)
    : m_core(core)
    , m_record(record)
    , m_entered(core.enter(record)) {}

SlotCall::~SlotCall() {
    if (m_entered)
        m_core.leave(m_record);
}

void reportThrowingSlot() noexcept {
    constexpr std::string_view category = "Core.SignalDebouncer";
    if (!Log::isAccepted(Log::Error, category))
        return;
    try {
        throw;
    } catch (const std::exception& error) {
        Log::log(Log::Error, category, std::string("A slot threw at the end of a scope: ") + error.what());
    } catch (...) {
        Log::log(Log::Error, category, "A slot threw at the end of a scope.");
    }
}

} // namespace detail

SignalBlocker::SignalBlocker(std::shared_ptr<detail::SignalCore> core)
    : m_core(std::move(core)) {
    m_core->block();
}

SignalBlocker& SignalBlocker::operator=(SignalBlocker&& other) noexcept {
    std::swap(m_core, other.m_core);
    return *this;
}

SignalBlocker::~SignalBlocker() {
    if (m_core)
        m_core->unblock();
}

static_assert(std::is_nothrow_move_constructible_v<SignalBlocker> &&
              !std::is_copy_constructible_v<SignalBlocker>);

SignalReceiver::SignalReceiver()
    : m_links(std::make_shared<detail::ReceiverLinks>()) {}

SignalReceiver::~SignalReceiver() {
    disconnectAll();
}

void SignalReceiver::disconnectAll() noexcept {
    decltype(m_links->cores) cores;
    {
        const std::lock_guard lock(m_links->mutex);
        cores.swap(m_links->cores);
    }
    for (const auto& [connection, weak] : cores)
        if (const auto core = weak.lock())
            core->disconnect(connection);
}

std::size_t SignalReceiver::connectionCount() const {
    const std::lock_guard lock(m_links->mutex);
    return m_links->cores.size();
}

} // namespace Veltrand
