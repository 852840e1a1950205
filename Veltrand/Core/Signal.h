// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Export.h>
#include <Veltrand/Core/NotCopyable.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

// The words "emit", "slots" and "signals" are macros in many applications, so they name nothing here.

namespace Veltrand {

/// Names one connection; no two connections of a process have the same name.
enum class SignalConnection : std::uint64_t {};

class SignalReceiver;

namespace detail {

class SignalCore;
struct ReceiverLinks;

// What a signal knows of a slot whatever its arguments. The signal's lock guards the members.
struct VELTRAND_CORE_API SlotRecord : private Utils::NotCopyable {
    SlotRecord() = default;
    virtual ~SlotRecord();

    SignalConnection connection{};
    std::weak_ptr<ReceiverLinks> receiver;
    bool connected = true;
    std::vector<std::thread::id> callers; // one for each call in flight
};

// The state of a signal. Emissions in flight share it, so that a slot may destroy the signal.
class VELTRAND_CORE_API SignalCore : public std::enable_shared_from_this<SignalCore>,
                                     private Utils::NotCopyable {
public:
    using Records = std::vector<std::shared_ptr<SlotRecord>>;

    explicit SignalCore(bool threadSafe);
    ~SignalCore();

    SignalConnection connect(std::shared_ptr<SlotRecord> record, const SignalReceiver* receiver);
    bool disconnect(SignalConnection connection) noexcept;
    void disconnectAll() noexcept;
    [[nodiscard]] std::size_t connectionCount() const;
    [[nodiscard]] std::shared_ptr<const Records> records() const;

    void block();
    void unblock();
    [[nodiscard]] bool isBlocked() const;

private:
    friend class SlotCall;

    [[nodiscard]] std::unique_lock<std::mutex> lock() const;
    void waitForOtherThreads(std::unique_lock<std::mutex>& lock, const SlotRecord& record) const;
    [[nodiscard]] std::shared_ptr<const Records> dropIdle() noexcept;
    bool enter(SlotRecord& record);
    void leave(SlotRecord& record) noexcept;

    const bool m_threadSafe;
    std::atomic<int> m_blocks{0};
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_idle;
    std::shared_ptr<const Records> m_records; // replaced, never changed: emissions walk it unlocked
};

// Lets disconnection wait while one slot runs; false when the slot has been disconnected.
class VELTRAND_CORE_API SlotCall {
public:
    SlotCall(SignalCore& core, SlotRecord& record);
    SlotCall(const SlotCall&) = delete;
    SlotCall& operator=(const SlotCall&) = delete;
    ~SlotCall();
    explicit operator bool() const { return m_entered; }

private:
    SignalCore& m_core;
    SlotRecord& m_record;
    bool m_entered;
};

// Logs the exception being handled.
VELTRAND_CORE_API void reportThrowingSlot() noexcept;

} // namespace detail

/// A list of functions that are called, in the order in which they were connected, when the signal is
/// emitted.
///
/// Slots may connect and disconnect slots of the same signal, emit it again, and destroy it: a slot connected
/// during an emission is first called by the next one, a slot disconnected during an emission is not called
/// any more. What a slot throws leaves the emission; the slots after it are not called.
///
/// With @p ThreadSafe every operation but destruction may be called from any thread. No lock is held while a
/// slot runs, so slots may run on several threads at once; disconnecting a slot returns once no other thread
/// is inside it. Two slots that disconnect each other from two threads therefore wait for ever. Without
/// @p ThreadSafe the signal belongs to one thread at a time.
template<bool ThreadSafe, class... Args>
class SignalImpl : private Utils::NotCopyable {
    static_assert((!std::is_rvalue_reference_v<Args> && ...), "several slots cannot share a moved argument");

public:
    /// Arguments are passed on as the signal declares them.
    using Slot = std::function<void(Args...)>;

    SignalImpl() = default;
    /// Disconnects every slot; receivers forget this signal.
    ~SignalImpl() { m_core->disconnectAll(); }

    /// Appends @p slot. An empty one throws `std::invalid_argument` "Slot must not be empty.".
    SignalConnection connect(Slot slot) { return m_core->connect(record(std::move(slot)), nullptr); }
    /// Appends @p slot and binds it to @p receiver, whose destruction disconnects it.
    SignalConnection connect(const SignalReceiver& receiver, Slot slot) {
        return m_core->connect(record(std::move(slot)), &receiver);
    }
    /// Whether this signal had the connection.
    bool disconnect(SignalConnection connection) { return m_core->disconnect(connection); }
    /// As `disconnect` for every slot.
    void disconnectAll() { m_core->disconnectAll(); }
    /// The number of slots, also while the signal is blocked.
    [[nodiscard]] std::size_t connectionCount() const { return m_core->connectionCount(); }

    /// Emits the signal: calls every slot unless the signal is blocked.
    void operator()(Args... args) const {
        const std::shared_ptr<detail::SignalCore> core = m_core;
        if (core->isBlocked())
            return;
        const auto records = core->records();
        for (const auto& record : *records)
            if (const detail::SlotCall call{*core, *record})
                static_cast<const Record&>(*record).slot(args...);
    }

    /// Emissions between `block` and `unblock` are lost. Blocks nest; an `unblock` too many does nothing. An
    /// emission that is under way goes on. `SignalBlocker` does both for a scope.
    void block() { m_core->block(); }
    /// Ends one block.
    void unblock() { m_core->unblock(); }
    /// Whether emissions are lost now.
    [[nodiscard]] bool isBlocked() const { return m_core->isBlocked(); }

private:
    friend class SignalBlocker;

    struct Record : detail::SlotRecord {
        explicit Record(Slot function)
            : slot(std::move(function)) {}
        const Slot slot;
    };
    [[nodiscard]] static std::shared_ptr<Record> record(Slot slot) {
        if (!slot)
            throw std::invalid_argument("Slot must not be empty.");
        return std::make_shared<Record>(std::move(slot));
    }

    const std::shared_ptr<detail::SignalCore> m_core = std::make_shared<detail::SignalCore>(ThreadSafe);
};

/// Blocks a signal for a scope; the signal may die first.
class VELTRAND_CORE_API SignalBlocker : private Utils::NotCopyable {
public:
    /// Blocks until the end of the scope.
    template<bool ThreadSafe, class... Args>
    [[nodiscard]] explicit SignalBlocker(SignalImpl<ThreadSafe, Args...>& signal)
        : SignalBlocker(signal.m_core) {}
    /// The source then blocks nothing.
    SignalBlocker(SignalBlocker&& other) noexcept = default;
    SignalBlocker& operator=(SignalBlocker&& other) noexcept;
    ~SignalBlocker();

private:
    explicit SignalBlocker(std::shared_ptr<detail::SignalCore> core);

    std::shared_ptr<detail::SignalCore> m_core;
};

/// Ties slots to the life of an object: its destruction disconnects every slot bound to it, of any number of
/// signals, and returns once no other thread is inside one of them (thread-safe signals).
///
/// As a member, declare it last, so that slots end before what they use. As a base class it dies after the
/// derived class's members: where other threads emit, call `disconnectAll` first thing in the destructor.
class VELTRAND_CORE_API SignalReceiver : private Utils::NotCopyable {
public:
    SignalReceiver();
    ~SignalReceiver();

    /// What the destruction does: every slot bound to it is disconnected and no longer run by other threads.
    void disconnectAll() noexcept;
    /// The number of slots bound to it whose signals live.
    [[nodiscard]] std::size_t connectionCount() const;

private:
    friend class detail::SignalCore;

    const std::shared_ptr<detail::ReceiverLinks> m_links;
};

/// Follows a signal and thins it out: while at least one scope of `hold` is open, emissions of the source are
/// collected, and when the last scope closes, each distinct set of arguments is emitted once, in the order of
/// first occurrence. With no scope open, emissions pass through.
///
/// Arguments are copied and compared with `==`. The debouncer must outlive its scopes; the source may die
/// first. Over a thread-safe source it may be used from several threads: a scope then holds back the
/// emissions of all of them.
template<bool ThreadSafe, class... Args>
class SignalDebouncer : private Utils::NotCopyable {
    static_assert(((!std::is_lvalue_reference_v<Args> ||
                    std::is_const_v<std::remove_reference_t<Args>>)&&...),
                  "a slot could change only a copy of the argument");

public:
    /// While one is open, emissions are collected.
    class [[nodiscard]] Scope : private Utils::NotCopyable {
    public:
        /// As `hold`.
        explicit Scope(SignalDebouncer& owner)
            : m_owner(&owner) {
            owner.open();
        }
        /// The source then holds nothing back.
        Scope(Scope&& other) noexcept
            : m_owner(std::exchange(other.m_owner, nullptr)) {}
        Scope& operator=(Scope&&) = delete;
        /// Closes the scope. What a slot throws is logged at level 4 in "Core.SignalDebouncer" and ends this
        /// emission.
        ~Scope();

        /// Closes the scope early. What a slot throws leaves this function; what was not yet emitted is lost.
        void close();

    private:
        SignalDebouncer* m_owner;
    };

    /// Connects itself to @p source, for its own life.
    explicit SignalDebouncer(SignalImpl<ThreadSafe, Args...>& source) {
        source.connect(m_receiver, [this](Args... args) { take(args...); });
    }

    /// Opens a scope.
    Scope hold() { return Scope(*this); }
    /// The thinned-out signal.
    [[nodiscard]] SignalImpl<ThreadSafe, Args...>& debounced() { return m_debounced; }

private:
    using Emission = std::tuple<std::decay_t<Args>...>;

    void open() {
        const std::lock_guard lock(m_mutex);
        ++m_scopes;
    }
    void close();
    void take(Args... args);
    [[nodiscard]] bool collect(Args... args);

    std::mutex m_mutex;
    int m_scopes = 0;
    std::vector<Emission> m_collected;
    SignalImpl<ThreadSafe, Args...> m_debounced;
    SignalReceiver m_receiver;
};

template<bool ThreadSafe, class... Args>
SignalDebouncer<ThreadSafe, Args...>::Scope::~Scope() {
    try {
        close();
    } catch (...) {
        detail::reportThrowingSlot();
    }
}

template<bool ThreadSafe, class... Args>
void SignalDebouncer<ThreadSafe, Args...>::Scope::close() {
    if (SignalDebouncer* const owner = std::exchange(m_owner, nullptr))
        owner->close();
}

template<bool ThreadSafe, class... Args>
void SignalDebouncer<ThreadSafe, Args...>::close() {
    std::vector<Emission> collected;
    {
        const std::lock_guard lock(m_mutex);
        if (--m_scopes == 0)
            collected.swap(m_collected);
    }
    for (const Emission& emission : collected)
        std::apply(m_debounced, emission);
}

template<bool ThreadSafe, class... Args>
void SignalDebouncer<ThreadSafe, Args...>::take(Args... args) {
    if (!collect(args...))
        m_debounced(args...);
}

template<bool ThreadSafe, class... Args>
bool SignalDebouncer<ThreadSafe, Args...>::collect(Args... args) {
    const std::lock_guard lock(m_mutex);
    if (m_scopes == 0)
        return false;
    Emission emission(args...);
    if (std::find(m_collected.begin(), m_collected.end(), emission) == m_collected.end())
        m_collected.push_back(std::move(emission));
    return true;
}

} // namespace Veltrand
