// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"
#include "support/Threads.h"

#include <Veltrand/Core/Signal.h>

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Veltrand {

namespace {

// What both kinds of signals have in common.
template<class ThreadSafe>
class AnySignal : public ::testing::Test {
protected:
    using Signal = SignalImpl<ThreadSafe::value, const std::string&>;

    typename Signal::Slot note(std::string name) {
        return [this, name = std::move(name)](const std::string& text) { calls.push_back(name + text); };
    }
    [[nodiscard]] std::vector<std::string> take() { return std::exchange(calls, {}); }

    std::vector<std::string> calls;
};
using Calls = std::vector<std::string>;
using Kinds = ::testing::Types<std::true_type, std::false_type>;

} // namespace

TYPED_TEST_SUITE(AnySignal, Kinds, );

TYPED_TEST(AnySignal, CallsInOrderOfConnection) {
    typename TestFixture::Signal signal;
    signal.connect(this->note("a"));
    const SignalConnection b = signal.connect(this->note("b"));
    signal.connect(this->note("c"));
    const SignalConnection bad = signal.connect([](const std::string&) { throw std::runtime_error("slot"); });
    EXPECT_THROW(signal("1"), std::runtime_error);
    EXPECT_TRUE(signal.disconnect(bad));
    EXPECT_EQ(this->take(), (Calls{"a1", "b1", "c1"}));
    EXPECT_TRUE(signal.disconnect(b));
    EXPECT_FALSE(signal.disconnect(b));
    signal("2");
    EXPECT_EQ(this->take(), (Calls{"a2", "c2"}));
    EXPECT_THROW(signal.connect({}), std::invalid_argument);
}

TYPED_TEST(AnySignal, LetsSlotsConnectDisconnectAndEmit) {
    typename TestFixture::Signal signal;
    SignalConnection self{};
    SignalConnection later{};
    self = signal.connect([&](const std::string& text) {
        this->calls.push_back("self" + text);
        signal.disconnect(self);
        signal.disconnect(later);
        signal.connect(this->note("new"));
        signal("nested");
        EXPECT_EQ(text, "1") << "the slot is still whole after its own disconnection";
    });
    later = signal.connect(this->note("later"));
    signal.connect(this->note("last"));
    signal("1");
    EXPECT_EQ(this->take(), (Calls{"self1", "lastnested", "newnested", "last1"}));
}

TYPED_TEST(AnySignal, LetsASlotDestroyTheSignal) {
    auto signal = std::make_unique<typename TestFixture::Signal>();
    const SignalReceiver receiver;
    const auto token = std::make_shared<int>(0);
    signal->connect(receiver, [&signal, token](const std::string&) { signal.reset(); });
    signal->connect(receiver, this->note("never"));
    (*signal)("1");
    EXPECT_EQ(this->take(), Calls{});
    EXPECT_EQ(receiver.connectionCount(), 0u);
    EXPECT_EQ(token.use_count(), 1) << "the slots are destroyed with their signal";
}

TYPED_TEST(AnySignal, BlocksNest) {
    auto signal = std::make_unique<typename TestFixture::Signal>();
    signal->connect(this->note("a"));
    {
        const SignalBlocker outer(*signal);
        SignalBlocker inner(*signal);
        const SignalBlocker moved(std::move(inner));
        signal->unblock();
        (*signal)("1");
        signal->block();
    }
    (*signal)("2");
    EXPECT_EQ(this->take(), Calls{"a2"});
    const SignalBlocker surviving(*signal);
    signal.reset();
}

TYPED_TEST(AnySignal, EndsWithTheReceiver) {
    typename TestFixture::Signal first;
    auto second = std::make_unique<typename TestFixture::Signal>();
    first.connect(this->note("free"));
    auto receiver = std::make_unique<SignalReceiver>();
    const SignalConnection gone = first.connect(*receiver, this->note("b"));
    second->connect(*receiver, this->note("c"));
    first.disconnect(gone);
    second.reset();
    EXPECT_EQ(receiver->connectionCount(), 0u);
    first.connect(*receiver, [&](const std::string&) { receiver.reset(); });
    first.connect(*receiver, this->note("never"));
    first("1");
    first("2");
    EXPECT_EQ(this->take(), (Calls{"free1", "free2"}));
}

TYPED_TEST(AnySignal, IsThinnedOutByADebouncer) {
    auto signal = std::make_unique<typename TestFixture::Signal>();
    SignalDebouncer debouncer(*signal);
    debouncer.debounced().connect(this->note(""));
    (*signal)("now");
    {
        auto outer = debouncer.hold();
        for (const char* text : {"a", "b", "a", "b"})
            (*signal)(text);
        static_cast<void>(debouncer.hold());
        EXPECT_EQ(this->take(), Calls{"now"});
        const auto moved = std::move(outer);
        signal.reset();
    }
    EXPECT_EQ(this->take(), (Calls{"a", "b"}));
}

TEST(SignalDebouncer, LogsWhatASlotThrowsAtTheEndOfAScope) {
    Testing::LogCapture log;
    SignalImpl<false> signal;
    SignalDebouncer debouncer(signal);
    debouncer.debounced().connect([] { throw std::runtime_error("slot"); });
    {
        const auto scope = debouncer.hold();
        signal();
        signal();
    }
    EXPECT_EQ(log.take(), (std::vector<Testing::LogLine>{
                              {4, "Core.SignalDebouncer", "A slot threw at the end of a scope: slot"}}));
    auto scope = debouncer.hold();
    signal();
    EXPECT_THROW(scope.close(), std::runtime_error);
}

TEST(ThreadSafeSignal, DisconnectionWaitsForTheCallInFlight) {
    SignalImpl<true> signal;
    auto receiver = std::make_unique<SignalReceiver>();
    Testing::CallInFlight call;
    const SignalConnection connection = signal.connect(*receiver, [&] { call(); });
    call.expectWait([&] { signal(); }, {[&] { signal.disconnect(connection); }, [&] { receiver.reset(); }},
                    [&] { EXPECT_EQ(signal.connectionCount(), 0u) << "no lock is held while a slot runs"; });
}

TEST(ThreadSafeSignal, ConnectsAndDisconnectsWhileThreadsEmit) {
    SignalImpl<true, int> signal;
    std::atomic<int> lasting{0};
    signal.connect([&](int step) { lasting += step; });
    const auto use = [&] {
        signal(1);
        signal.disconnect(signal.connect([](int) {}));
    };
    Testing::onThreads(200, use, [&] {
        std::atomic<bool> alive{true}; // a call after the receiver's end would touch the dead variable
        {
            const SignalReceiver receiver;
            signal.connect(receiver, [&alive](int) { EXPECT_TRUE(alive); });
        }
        alive = false;
    });
    EXPECT_EQ(lasting, 4 * 200);
    EXPECT_EQ(signal.connectionCount(), 1u);
}

} // namespace Veltrand
