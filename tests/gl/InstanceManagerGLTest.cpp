// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/InstanceManager.h>

namespace Veltrand::GL {

namespace {

struct Counted : InstanceManager<Counted> {
    Counted() { ++alive; }
    ~Counted() override { --alive; }
    static inline int alive = 0;
};

struct NestedInConstructor : InstanceManager<NestedInConstructor> {
    NestedInConstructor() { static_cast<void>(Counted::get()); }
};

struct NestedInDestructor : InstanceManager<NestedInDestructor> {
    ~NestedInDestructor() override {
        text = Testing::thrown([] { static_cast<void>(Counted::get()); });
    }
    static inline std::string text;
};

struct InstanceManagerGL : Testing::GLFixture {
    ~InstanceManagerGL() override { InstanceManagerBase::deinitAll(); }
};

} // namespace

TEST_F(InstanceManagerGL, OneInstancePerContext) {
    Counted* const here = Counted::get();
    EXPECT_EQ(Counted::get(), here);
    Counted* there = nullptr;
    ContextManager::get().runWithOpenGL([&there] { there = Counted::get(); }, true);
    EXPECT_NE(there, here);
    ContextManager::get().runWithOpenGL([] { InstanceManagerBase::deinitCurrent(); }, true);
    EXPECT_EQ(Counted::alive, 1);
    EXPECT_EQ(Counted::get(), here);
}

TEST_F(InstanceManagerGL, InstancesDieWithTheirContextOrAtTheEndOfAll) {
    auto context = ContextManager::get().mainContext()->clone();
    static_cast<void>(Counted::get());
    context.reset();
    EXPECT_EQ(Counted::alive, 0);
    // No context is current now; what is made here belongs to none.
    EXPECT_EQ(Counted::get(), Counted::get());
    ContextManager::makeCurrent();
    InstanceManagerBase::deinitCurrent();
    EXPECT_EQ(Counted::alive, 1);
    InstanceManagerBase::deinitAll();
    EXPECT_EQ(Counted::alive, 0);
}

TEST_F(InstanceManagerGL, NestingIsRefusedInsteadOfDeadlocking) {
    const std::string text = Testing::thrown([] { static_cast<void>(NestedInConstructor::get()); });
    EXPECT_NE(text.find("NestedInConstructor"), std::string::npos) << text;
    EXPECT_NE(text.find("Counted"), std::string::npos) << text;
    EXPECT_FALSE(InstanceManagerBase::isInsideInstance());

    static_cast<void>(NestedInDestructor::get());
    InstanceManagerBase::deinitAll();
    EXPECT_NE(NestedInDestructor::text.find("NestedInDestructor"), std::string::npos);
    // The registry is usable afterwards.
    EXPECT_NE(Counted::get(), nullptr);
}

} // namespace Veltrand::GL
